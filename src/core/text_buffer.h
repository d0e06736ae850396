// The buffer for a canonical text, whose length is known only when it is written.
//
//     input of     sizes of a growing buffer     the largest
//     5 bytes      21  37  53  ...  8181         8181
//     15 bytes     31  47  63  ...  8191         8191
//     8175 bytes   8191                          8191
//     9000 bytes   9016                          9016
//
// Which texts are too long is defined by a buffer that grows: a normalizer gets the first size, and
// the next one while it answers RULE_ERR_BUFFER_SMALL. The first size exceeds the input by one step,
// each next size exceeds the one before by one step and is 8191 at most; there is a first size
// whatever its length.
//
// A normalizer is called once, with the largest size, and that gives the same status and the same
// text. A normalizer reads its capacity only to see whether the next piece fits. Up to the first
// piece that does not fit, it takes the same steps and writes the same bytes in any buffer. So a
// call that ends with another status than RULE_ERR_BUFFER_SMALL ends alike in every larger buffer,
// and the first such call of a growing buffer ends like the call in the largest. Without such a
// call, the largest was tried too, and answered RULE_ERR_BUFFER_SMALL.
//
// Cost:       one run of the normalizer, where a growing buffer takes a run for every 16 bytes.
#pragma once

#include <cstdint>

namespace rs {

inline constexpr uint32_t TEXT_BUFFER_STEP = 16;
inline constexpr uint32_t MAX_TEXT_BUFFER = 8191;

// The largest size for an input. It may be over UINT32_MAX, more than any normalizer can be given.
constexpr uint64_t largestTextBuffer(uint32_t inputLength) noexcept {
    const uint64_t first = uint64_t{inputLength} + TEXT_BUFFER_STEP;
    return first >= MAX_TEXT_BUFFER
               ? first
               : first + (MAX_TEXT_BUFFER - first) / TEXT_BUFFER_STEP * TEXT_BUFFER_STEP;
}

}  // namespace rs
