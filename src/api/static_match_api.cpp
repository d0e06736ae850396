// The lookups for hosts that link statically. A door checks its arguments and asks the matcher of
// the same name, which takes the compiled structure by reference.
#include <ruleset_static.h>

#include "compound/compound_match.h"
#include "core/rule_group.h"

namespace rs {

int32_t matchCompound(const RuleGroup* group, CompoundFlow* flow, bool wantsListValue,
                      MatchResult* result) noexcept {
    if (group == nullptr || flow == nullptr || result == nullptr ||
        group->compoundTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchCompound(*group->compoundTable, *flow, wantsListValue, *result);
}

}  // namespace rs
