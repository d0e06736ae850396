// Lookups in a group of domain rules: rules, one in a line, and a name in the last. The bytes of the input choose
// whether the group has a flat lookup: always, never, or by its size.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numeric>

#include "fuzz_check.h"
#include "lookup/flat_policy.h"
#include "support/reference_domain.h"
#include "text_match.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr rs::FlatUse USES[] = {rs::FlatUse::BY_SIZE, rs::FlatUse::ALWAYS, rs::FlatUse::NEVER};
    rs::flatUse = USES[std::accumulate(data, data + size, size_t{0}) % std::size(USES)];
    rs::fuzz::runTextMatch<rs::test::ReferenceDomainRules>(
        RULE_TYPE_FQDN, rs_matchDomainNameWithRuleGroup, rs::fuzz::viewOf(data, size));
    return 0;
}
