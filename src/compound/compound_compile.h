// List of compound rules -> CompoundTable.
//
//     rule 1, rule 2, rule 3   ->   entries -> rule 1 -> rule 2 -> rule 3
//
// Threads:    none; the host serialises builds with all other use of the set.
// Cost:       one walk over the rules, which copies the four lists of each.
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
