// Compiled compound rules + flow -> MatchResult.
//
//     entries -> rule 1: no -> rule 2: yes      outputs into the flow, rule 2 into the result
//
// A lookup walks the entries in rule order and ends at the first one that covers the flow.
//
// Ownership:  userData in a result is the table's.
// Threads:    a lookup writes the flow's outputs and the result only. Any number of threads may
//             look up in one table, each with a flow of its own.
// Cost:       a walk over the entries up to the first that covers. Nothing is allocated.
#pragma once

#include <ruleset_static.h>

#include <cstdint>

#include "compound/compound_index.h"

namespace rs {

// Returns 1 with the first rule that covers the flow in result, 0 when none does. matchCompound in
// <ruleset_static.h> says what becomes of the flow.
[[nodiscard]] int32_t matchCompound(const CompoundTable& table, CompoundFlow& flow,
                                    bool wantsListValue, MatchResult& result) noexcept;

// RULE_OK when an entry covers a flow, with the flow's outputs written; RULE_ERR_FAILED otherwise,
// with the flow as before.
[[nodiscard]] int32_t testCompoundEntry(const CompoundEntry& entry, CompoundFlow& flow,
                                        bool wantsListValue) noexcept;

}  // namespace rs
