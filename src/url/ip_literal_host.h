// Bracketed IPv6 literals as hosts of URLs (RFC 3986 section 3.2.2).
//
// Threads:    none of its own: bytes in, bytes out. Nothing is allocated.
#pragma once

#include <cstdint>

namespace rs {

// Writes the canonical form of "[address]": all eight groups, never compressed; or, for an
// IPv4-mapped address, the dotted quad without brackets.
//
//     [2001:DB8::1]       ->  [2001:db8:0:0:0:0:0:1]
//     [::FFFF:1.2.3.4]    ->  1.2.3.4
//
// *inOutCapacity is the capacity in and the length out. RULE_ERR_INVALID_ARG for null or zero
// arguments, RULE_ERR_BAD_RULE for any other text, RULE_ERR_BUFFER_SMALL.
[[nodiscard]] int32_t normalizeIpLiteralHost(const char* host, uint32_t length, char* out,
                                             uint32_t* inOutCapacity) noexcept;

}  // namespace rs
