// Small scanners over length-delimited bytes: they allocate nothing, need no terminating NUL and
// write nothing but their outputs.
#pragma once

#include <cstdint>

namespace rs {

// Drops space, tab, CR and LF from both ends. The piece that is left is borrowed from text and may
// be empty. RULE_ERR_INVALID_ARG for a null argument.
int32_t trimWhitespace(const char* text, uint32_t length, const char** outStart,
                       uint32_t* outLength) noexcept;

// Reads one to three characters as a decimal number without a leading zero.
// RULE_ERR_BAD_RANGE for a null text, another length, or a leading zero before more characters.
//
// Deliberate: digits are not checked here, ':' counts as ten; callers that need digits check first.
// Each character counts as its unsigned code minus 48, in 32-bit arithmetic that wraps.
int32_t parseDecimalField(const char* text, uint32_t length, uint32_t* out) noexcept;

// Reads hexadecimal digits of either case and keeps the low 16 bits; an empty text is 0. Limiting
// the length is the caller's. RULE_ERR_FAILED for any other character.
int32_t parseHexGroup(const char* text, uint32_t length, uint16_t* out) noexcept;

}  // namespace rs
