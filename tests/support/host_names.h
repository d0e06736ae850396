// Host names of a length, and host names that share a bucket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace rs::test {

// A name of length bytes without a trailing dot, in labels of at most 63 bytes.
inline std::string nameOfLength(size_t length, char byte = 'a') {
    std::string name;
    while (name.size() + 64 < length) {
        name += std::string(61, byte) + '.';
    }
    return name + std::string(length - name.size(), byte);
}

// The letters of every sharing name, without the dots.
inline constexpr std::string_view SHARED_LETTERS = "abcdefghijklm";

// Different names that share one hash: one text with dots at different places. Each number below
// 4096 has its own.
inline std::string sharingName(uint32_t number) {
    std::string name(1, SHARED_LETTERS[0]);
    for (uint32_t i = 1; i < SHARED_LETTERS.size(); ++i) {
        if ((number >> (i - 1) & 1U) != 0) {
            name += '.';
        }
        name += SHARED_LETTERS[i];
    }
    return name;
}

}  // namespace rs::test
