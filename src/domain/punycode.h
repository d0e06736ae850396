// Punycode (RFC 3492) with its standard parameters: code points -> the ASCII form of a label.
//
//     b ü c h e r   ->   xn--bcher-kva      prefix, basic code points, '-', deltas of the others
//
// Threads:    none of its own: values in, bytes out.
// Cost:       at most the square of the number of code points. Nothing is allocated.
#pragma once

#include <cstdint>

namespace rs {

// The longest label, in bytes of output and in code points of input.
inline constexpr uint32_t MAX_LABEL_LENGTH = 63;

// Encodes a label into out; *inOutCapacity is the capacity in and the length out. A label of basic
// code points (below 0x80) alone is copied as it is, without prefix or delimiter.
//   addPrefix   write "xn--" before an encoded label
//   lowerBasic  lower-case the basic code points of an encoded label
// RULE_OK with length 0 for a count of 0. RULE_ERR_INVALID_ARG for null pointers,
// RULE_ERR_BUFFER_SMALL, or RULE_ERR_BAD_RULE for a result over MAX_LABEL_LENGTH and for deltas that
// do not fit 31 bits.
[[nodiscard]] int32_t punycodeEncode(const uint32_t* codePoints, uint32_t count, char* out,
                                     uint32_t* inOutCapacity, bool addPrefix,
                                     bool lowerBasic) noexcept;

// The bias for the next delta (RFC 3492 section 6.1).
void punycodeAdapt(uint32_t delta, uint32_t numPoints, bool firstTime, uint32_t* biasOut) noexcept;

// The character of a digit: 0 to 25 are letters, 26 to 35 are '0' to '9'. RULE_ERR_BAD_RULE for any
// other value.
[[nodiscard]] int32_t punycodeDigit(uint32_t value, bool upperCase, char* charOut) noexcept;

}  // namespace rs
