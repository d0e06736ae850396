// The library's one setting.
//
// Threads:    a plain word. A host sets it before it adds rules, while no other thread uses the
//             library; from then on it is only read.
#pragma once

#include <cstdint>

namespace rs {

// Whether rule texts may name IPv6 addresses: 1 at first, otherwise 0 or 1. Every parser reads it
// afresh. Only setLibraryOption of <ruleset_static.h> changes it.
extern uint32_t ipv6Enabled;

}  // namespace rs
