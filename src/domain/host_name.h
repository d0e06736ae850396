// Host names -> their one canonical form, in which they are stored, hashed and compared.
//
//     WEB.Example.COM.        ->  web.example.com        lower case, no trailing dot
//     %41%42c.com             ->  abc.com                escapes decoded
//     Bücher.example          ->  xn--bcher-kva.example  internationalized labels as ASCII
//
// A strict normalizer knows letters, digits, '-', '%', '.' and bytes from 0x80 on (read as UTF-8).
// Two tolerant ones call it first, and copy literally what it refuses. The one for rules allows
// other bytes in labels of legal length. The one for names to be matched allows anything.
//
// Percent-decoded bytes are not looked at again: "a%2fb" is the label "a/b", and "%2e" is no
// separator.
//
// All write bytes without a terminating NUL into out; *inOutCapacity is the capacity in and, with
// RULE_OK, the length out. A result that does not fit is RULE_ERR_BUFFER_SMALL, with out
// unspecified as after every failure.
//
// Ownership:  the caller owns both buffers.
// Threads:    none of its own: bytes in, bytes out.
// Cost:       linear in the length of the name; a name that the strict one refuses is read
//             twice. Nothing is allocated.
#pragma once

#include <cstdint>

namespace rs {

inline constexpr uint32_t MAX_HOST_LENGTH = 255;

// Copies a label, lower-casing ASCII and decoding escapes. *inOutNonAscii is set when a decoded byte
// is 0x80 or above, and never cleared. RULE_ERR_BAD_RULE for a '%' without two hexadecimal digits.
[[nodiscard]] int32_t percentDecodeLower(const char* label, uint32_t length, char* out,
                                         uint32_t* inOutCapacity, bool* inOutNonAscii) noexcept;

// The canonical form of one label, 1 to 63 bytes of it. nonAscii says that the label has a byte
// from 0x80 on that is not escaped. RULE_ERR_BAD_RULE for an empty label, a bad escape, more than
// 255 bytes decoded, bad UTF-8, more than 63 code points, or a result over 63 bytes.
[[nodiscard]] int32_t normalizeHostLabel(const char* label, uint32_t length, char* out,
                                         uint32_t* inOutCapacity, bool nonAscii) noexcept;

// The strict normalizer. RULE_ERR_INVALID_ARG for null pointers and a zero length, RULE_ERR_BAD_RULE
// for any other byte, a bad label, or more than 255 bytes of result. A trailing dot is dropped, but
// needs its room.
[[nodiscard]] int32_t normalizeHostName(const char* name, uint32_t length, char* out,
                                        uint32_t* inOutCapacity) noexcept;

// The form for rules. What the strict normalizer refuses with RULE_ERR_BAD_RULE is copied literally,
// in lower case and with good escapes decoded, as long as its labels have 1 to 63 bytes (the last
// may be empty), it holds none of '#', '/', ':', '?', and the result has at most 255 bytes.
[[nodiscard]] int32_t normalizeRuleHost(const char* name, uint32_t length, char* out,
                                        uint32_t* inOutCapacity) noexcept;

// The form for names to be matched: as for rules, but the literal copy takes everything, at any
// length.
[[nodiscard]] int32_t normalizeMatchHost(const char* name, uint32_t length, char* out,
                                         uint32_t* inOutCapacity) noexcept;

}  // namespace rs
