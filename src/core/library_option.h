// The library's one setting. It is a plain word: a host sets it before it adds rules.
#pragma once

#include <cstdint>

namespace rs {

inline constexpr int32_t RULE_OPTION_IPV6 = 1;

// Whether rule texts may name IPv6 addresses; 1 at first, otherwise 0 or 1. Every parser reads it
// afresh. Changed by setLibraryOption only.
extern uint32_t ipv6Enabled;

// RULE_OPTION_IPV6 sets ipv6Enabled to 1 for any value but 0. RULE_ERR_INVALID_ARG, with nothing
// changed, for another option.
int32_t setLibraryOption(int32_t option, int32_t value) noexcept;

}  // namespace rs
