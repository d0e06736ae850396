#include "api/domain_wire_api.h"

#include "core/rule_group.h"
#include "domain/domain_match.h"

namespace rs {

int32_t matchDomainWireWithRuleGroup(const RuleGroup* group, const char* wireName,
                                     uint32_t wireLength, MatchResult* result) noexcept {
    if (group == nullptr || wireName == nullptr || wireLength == 0 || result == nullptr ||
        group->domainIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return lookupDomainWire(*group->domainIndex, wireName, wireLength, *result);
}

}  // namespace rs
