// An output of limited size. It appends what fits and refuses what does not.
//
//     out  [ h t t p s | e x a m p l e . |             ]
//            written: length()            end(), room()
//
// Invariant: length() is capacity at most. What is refused leaves the writer as it was, so that a
//            caller can answer RULE_ERR_BUFFER_SMALL, or try something shorter.
//
//     TextWriter writer(out, *inOutCapacity);
//     if (!writer.put(HTTPS)) {
//         return RULE_ERR_BUFFER_SMALL;
//     }
//     *inOutCapacity = writer.length();
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>

#include "syntax/text.h"

namespace rs {

class TextWriter {
public:
    constexpr TextWriter(char* out, uint32_t capacity) noexcept : out_(out), capacity_(capacity) {}

    [[nodiscard]] constexpr uint32_t length() const noexcept { return length_; }
    [[nodiscard]] constexpr uint32_t room() const noexcept { return capacity_ - length_; }
    [[nodiscard]] constexpr char* end() const noexcept { return out_ + length_; }

    // What was written from a position on. The position is a length() of earlier.
    [[nodiscard]] constexpr Text from(uint32_t start) const noexcept {
        return {out_ + start, length_ - start};
    }

    [[nodiscard]] constexpr bool put(char byte) noexcept {
        if (room() == 0) {
            return false;
        }
        out_[length_++] = byte;
        return true;
    }

    // All of a text, or nothing.
    [[nodiscard]] constexpr bool put(Text text) noexcept {
        if (text.length > room()) {
            return false;
        }
        std::copy(text.begin(), text.end(), end());
        length_ += text.length;
        return true;
    }

    // The same with 'A' to 'Z' as 'a' to 'z'.
    [[nodiscard]] constexpr bool putLower(Text text) noexcept {
        if (text.length > room()) {
            return false;
        }
        std::transform(text.begin(), text.end(), end(), lowerAscii);
        length_ += text.length;
        return true;
    }

    // A number in base 10 or 16, in lower case, without leading zeros.
    [[nodiscard]] bool putNumber(uint32_t number, int base) noexcept {
        const std::to_chars_result result = std::to_chars(end(), out_ + capacity_, number, base);
        if (result.ec != std::errc{}) {
            return false;
        }
        length_ = static_cast<uint32_t>(result.ptr - out_);
        return true;
    }

    // Counts bytes that the caller wrote at end(), of which there is room for as many.
    constexpr void addWritten(uint32_t length) noexcept { length_ += length; }

    // Lets write(out, inOutCapacity) append. It is given the room that is left, stores the length
    // of what it wrote, and returns a status, which is returned here. Unless that is RULE_OK,
    // nothing counts as written.
    template <typename Write>
    [[nodiscard]] int32_t append(const Write& write) noexcept {
        uint32_t length = room();
        const int32_t status = write(end(), &length);
        if (status == RULE_OK) {
            length_ += length;
        }
        return status;
    }

    // Forgets the last byte. The output is not empty.
    constexpr void dropLast() noexcept { --length_; }

private:
    char* out_;
    uint32_t capacity_;
    uint32_t length_ = 0;
};

}  // namespace rs
