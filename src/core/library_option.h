// The library's one setting. It is a plain word: a host sets it before it adds rules, with
// setLibraryOption of <ruleset_static.h>.
#pragma once

#include <cstdint>

namespace rs {

// Whether rule texts may name IPv6 addresses; 1 at first, otherwise 0 or 1. Every parser reads it
// afresh. Changed by setLibraryOption only.
extern uint32_t ipv6Enabled;

}  // namespace rs
