// Port numbers and port ranges of rule texts.
#pragma once

#include <cstdint>

namespace rs {

// Reads a port from 1 to 65535 in one to five decimal digits; leading zeros are allowed, blanks are
// not. RULE_ERR_BAD_RULE for anything else, null text included.
int32_t parsePort(const char* text, uint32_t length, uint16_t* out) noexcept;

struct PortPair {
    uint16_t low;
    uint16_t high;
};

// Reads "port" or "port-port", split at the last '-', the first port not above the second.
// RULE_ERR_BAD_RULE for anything else, null text included.
int32_t parsePortPair(const char* text, uint32_t length, PortPair* out) noexcept;

// Whether a port field of a rule with endpoints is well formed:
//
//     field     '*' | item { ',' item }
//     item      port | port '-' port
//
// RULE_OK or RULE_ERR_BAD_RULE, also for null or empty text.
int32_t checkPortField(const char* text, uint32_t length) noexcept;

// The same for one item.
int32_t checkPortItem(const char* text, uint32_t length) noexcept;

}  // namespace rs
