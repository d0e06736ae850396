// Giving a rule's userData back to the host, at most once per rule and compiled structure.
//
//     rule 1 --- entry  ENTRY_RELEASES_USER_DATA --> userData      freed: the host is called back
//           \--- entry  0 ------------------------> userData      freed: nothing happens
//
// A rule may have several entries, and one of them owns its userData. While a structure is built,
// one byte per rule (the claims) says whether an entry owns it already. Rule types whose rules have
// one entry each need no claims.
//
// Ownership:  the host owns what userData points to. To own userData here means to be the one that
//             gives it back.
// Threads:    the callback runs in the thread that drops the last reference, or that builds.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// What is needed to call the host back when a compiled structure is freed.
struct ReleaseInfo {
    RuleReleaseCallback releaseCallback;  // may be null
    void* releaseContext;                 // borrowed from the host
    uint32_t flags;                       // 0
};

// Bit 0 of an entry's flags: the entry owns its rule's userData.
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
