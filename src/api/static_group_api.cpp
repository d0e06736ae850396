// Sharing the compiled structures of a group, for hosts that link statically.
#include <ruleset_static.h>

#include <algorithm>
#include <iterator>

#include "api/rule_type.h"
#include "core/memory.h"
#include "core/rule_group.h"

namespace rs {

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

}  // namespace rs
