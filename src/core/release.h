// Handing a rule's userData back to the host, at most once per rule and compiled structure.
//
// While a structure is built, one byte per rule (the claims) says whether the rule's userData is
// accounted for. The first entry made for a rule claims it and carries ENTRY_RELEASES_USER_DATA;
// the rule's other entries refer to the same userData without owning it.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// What a destructor of a compiled structure needs to call the host back.
struct ReleaseInfo {
    RuleReleaseCallback releaseCallback;  // may be null
    void* releaseContext;                 // borrowed from the host
    uint32_t flags;
};

// Bit 0 of an entry's flags, and of the flags given to callReleaseCallback.
inline constexpr uint32_t ENTRY_RELEASES_USER_DATA = 1;

// Calls back when bit 0 of flags is set and neither userData nor callback is null.
inline void callReleaseCallback(RuleReleaseCallback callback, void* context, void* userData,
                                uint32_t flags) noexcept {
    if ((flags & ENTRY_RELEASES_USER_DATA) != 0 && userData != nullptr && callback != nullptr) {
        callback(userData, context);
    }
}

// Claims a rule's userData for its entry: when userData is not null and the byte at position is 0,
// sets that byte and raises bit 0 of *flags. releasedBytes may be null when userData is.
inline void markRuleReleased(uint8_t* releasedBytes, const void* userData, uint32_t position,
                             uint32_t* flags) noexcept {
    if (userData != nullptr && releasedBytes[position] == 0) {
        releasedBytes[position] = 1;
        *flags |= ENTRY_RELEASES_USER_DATA;
    }
}

}  // namespace rs
