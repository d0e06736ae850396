// Sharing the compiled structures of a group, and asking what they lack, for hosts that link
// statically.
#include <ruleset_static.h>

#include <algorithm>
#include <iterator>

#include "api/rule_type.h"
#include "core/memory.h"
#include "core/rule_group.h"
#include "domain/domain_index.h"
#include "ip/ip_index.h"
#include "url/url_index.h"

namespace rs {

namespace {

template <typename Structure>
uint32_t leftOutOf(const Structure* structure) noexcept {
    return structure == nullptr ? 0 : structure->leftOut;
}

}  // namespace

RuleGroup* retainRuleGroup(const RuleGroup* group) noexcept {
    if (group == nullptr) {
        return nullptr;
    }
    auto* copy = allocateRecord<RuleGroup>();
    if (copy == nullptr) {
        return nullptr;
    }
    std::copy(std::begin(group->reservedWords), std::end(group->reservedWords),
              std::begin(copy->reservedWords));
    copy->refCount = 1;
    copy->nonEmpty = group->nonEmpty;
    // The callback stays null: ruleset_static.h says what follows from that.
    retainSlots(*group, *copy);
    return copy;
}

// The structures of other types have all rules: a build of one that runs out of memory fails.
uint32_t rulesLeftOut(const RuleGroup* group) noexcept {
    if (group == nullptr) {
        return 0;
    }
    return leftOutOf(group->ipTable) + leftOutOf(group->urlIndex) + leftOutOf(group->domainIndex);
}

}  // namespace rs
