// Port numbers and port ranges of rule texts.
//
//     80           ->  80-80
//     1024-65535   ->  1024-65535
//     90-80        ->  refused
#pragma once

#include <cstdint>

#include "syntax/text.h"

namespace rs {

// Reads a port from 1 to 65535 in one to five decimal digits; leading zeros are allowed, blanks are
// not. RULE_ERR_BAD_RULE for anything else, null text included, with *out left alone.
[[nodiscard]] int32_t parsePort(Text text, uint16_t* out) noexcept;

struct PortPair {
    uint16_t low;
    uint16_t high;
};

// Reads "port" or "port-port", split at the last '-'. The first port is not above the second.
// RULE_ERR_BAD_RULE for anything else, null text included, with *out left alone.
[[nodiscard]] int32_t parsePortPair(Text text, PortPair* out) noexcept;

// Whether a port field of a rule with endpoints is well formed:
//
//     field     '*' | item { ',' item }
//     item      port | port '-' port
//
// RULE_OK or RULE_ERR_BAD_RULE, also for null or empty text.
[[nodiscard]] int32_t checkPortField(Text text) noexcept;

// The same for one item.
[[nodiscard]] int32_t checkPortItem(Text text) noexcept;

}  // namespace rs
