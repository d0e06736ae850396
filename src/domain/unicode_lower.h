// Lower-casing of code points in internationalized labels.
//
//     U+00DC    ->    U+00FC        U with diaeresis, capital and small
//
// Cost:       a search in a sorted table.
#pragma once

#include <cstdint>

namespace rs {

// The lower-case form of a code point; code points without one stay. The mapping is simple (one to
// one), independent of locale, and fixed: stored rules depend on it.
uint32_t lowerCodePoint(uint32_t codePoint) noexcept;

}  // namespace rs
