// Lookups in a group of domain rules: rules, one in a line, and a name in the last.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "fuzz_check.h"
#include "support/reference_domain.h"
#include "text_match.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    rs::fuzz::runTextMatch<rs::test::ReferenceDomainRules>(
        RULE_TYPE_FQDN, rs_matchDomainNameWithRuleGroup, rs::fuzz::viewOf(data, size));
    return 0;
}
