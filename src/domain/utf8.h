// UTF-8 bytes -> code points, for internationalized labels.
#pragma once

#include <cstdint>

namespace rs {

// Decodes bytes into out, whose capacity is *inOutCount; the number of code points comes back
// there. lowerCase maps each code point to its lower-case form. Overlong forms and surrogate values
// are accepted as they come.
//
// RULE_ERR_INVALID_ARG for null pointers and for bytes that are not of the form of UTF-8, sequences
// cut off by the end included; RULE_ERR_BUFFER_SMALL for too many code points.
//
// Deliberate: the last byte of a sequence of four is read from behind the first three even where
// length ends there, so bytes must have one readable byte more than length says. A caller that puts
// a byte there which continues no sequence, such as 0, has such a sequence refused.
[[nodiscard]] int32_t utf8ToCodePoints(const char* bytes, uint32_t length, uint32_t* out,
                                       uint32_t* inOutCount, bool lowerCase) noexcept;

}  // namespace rs
