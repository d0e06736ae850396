// UTF-8 bytes -> code points, for internationalized labels.
//
//     62 c3 9c 63    ->    62 dc 63    or, in lower case, 62 fc 63
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
// Deliberate: the last byte of a sequence of four is read even where length ends after the first
// three. So bytes must have one readable byte more than length says. When that byte continues no
// sequence, as 0 does not, such a sequence is refused.
[[nodiscard]] int32_t utf8ToCodePoints(const char* bytes, uint32_t length, uint32_t* out,
                                       uint32_t* inOutCount, bool lowerCase) noexcept;

}  // namespace rs
