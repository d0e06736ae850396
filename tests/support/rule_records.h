// The records of a rule set.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/rule_set.h"

namespace rs::test {

// The record at a position of a list, counted from 1.
template <typename Rule>
Rule& ruleAt(RuleList& list, uint32_t position) {
    ListLink* link = &list.head;
    for (uint32_t i = 0; i < position; ++i) {
        link = link->next;
    }
    return *reinterpret_cast<Rule*>(link);
}

}  // namespace rs::test
