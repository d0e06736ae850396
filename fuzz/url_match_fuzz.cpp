// Lookups in a group of URL rules: rules, one in a line, and a URL in the last.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "fuzz_check.h"
#include "support/reference_url.h"
#include "text_match.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    rs::fuzz::runTextMatch<rs::test::ReferenceUrlRules>(RULE_TYPE_URL, rs_matchUrlWithRuleGroup,
                                                        rs::fuzz::viewOf(data, size));
    return 0;
}
