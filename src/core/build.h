// What the compilers of all rule types start with.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "core/release.h"
#include "core/rule_set.h"

namespace rs {

// How a structure compiled from a set hands userData back.
inline ReleaseInfo releaseInfoOf(const RuleSet& set) noexcept {
    return {set.releaseCallback, set.releaseContext, 0};
}

// One byte per rule of the list, all 0, in which entries claim userData; none when no rule has any.
// False when memory is out.
[[nodiscard]] inline bool allocateClaims(const RuleSet& set, const RuleList& list,
                                         OwnedMemory<uint8_t>& claims) noexcept {
    if (set.hasUserData == 0 || list.ruleCount == 0) {
        return true;
    }
    claims.reset(allocateArray<uint8_t>(list.ruleCount));
    return claims != nullptr;
}

}  // namespace rs
