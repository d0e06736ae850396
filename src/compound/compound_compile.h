// List of compound rules -> CompoundTable.
#pragma once

#include "compound/compound_index.h"
#include "core/rule_group.h"
#include "core/rule_set.h"

namespace rs {

// Compiles the compound rules of a set, stores the table in the group's slot and returns it. Null,
// with null in the slot, for a null argument or when memory is out; the entries made until then give
// their userData back through the set's callback, the last one first.
[[nodiscard]] CompoundTable* buildCompoundTable(RuleSet* set, RuleGroup* group) noexcept;

}  // namespace rs
