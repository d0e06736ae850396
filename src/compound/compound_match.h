// Compiled compound rules + flow -> MatchResult.
//
// A lookup walks the entries in rule order and ends at the first one that covers the flow. Besides
// the flow's outputs and the result it writes nothing, and it allocates nothing: any number of
// threads may look up in one table, each with a flow of its own.
#pragma once

#include <ruleset_static.h>

#include <cstdint>

#include "compound/compound_index.h"

namespace rs {

// The matcher of matchCompound in <ruleset_static.h>, which says what becomes of the flow. Returns 1
// with the first rule that covers the flow in result, 0 when none does.
[[nodiscard]] int32_t matchCompound(const CompoundTable& table, CompoundFlow& flow,
                                    bool wantsListValue, MatchResult& result) noexcept;

// RULE_OK when an entry covers a flow, with the flow's outputs written; RULE_ERR_FAILED otherwise,
// with the flow as before.
[[nodiscard]] int32_t testCompoundEntry(const CompoundEntry& entry, CompoundFlow& flow,
                                        bool wantsListValue) noexcept;

}  // namespace rs
