// The lines of a text: where they end, how many there are, and how long one may be.
//
//     10.0.0.1 CR LF 10.0.0.2 LF LF x         four lines: "10.0.0.1", "10.0.0.2", "" and "x"
//
// Cost: a step for each block of sixteen bytes, and one for each line. Nothing is copied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "syntax/byte_block.h"

namespace cli {

// The bytes of the longest line that is read, without the LF at its end. So memory is bounded, whatever
// the input.
inline constexpr size_t LONGEST_LINE = size_t{64} << 20U;

// Throws std::length_error, which names the line and the limit.
[[noreturn]] void throwLineTooLong(const std::string& path, uint64_t lineNumber);

// How many line ends a text has.
uint64_t countLineEnds(std::string_view text);

// The length of the part of a text that ends after its last line end; 0 without any.
size_t lengthOfWholeLines(std::string_view text);

// The bytes of a file without the byte order mark that it may begin with.
std::string_view withoutByteOrderMark(std::string_view file);

// Walks the lines of a text, which must live as long as the lines.
class Lines {
public:
    explicit Lines(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

    // The next line, without the LF or CRLF at its end. False after the last line. A text that ends
    // with LF has no empty line after it.
    bool next(std::string_view& line) {
        if (at_ == end_) {
            return false;
        }
        const char* lineEnd = rs::findInClass(
            at_, end_, [](rs::ByteBlock block) noexcept { return block.equalTo('\n'); });
        const bool hasReturn = lineEnd != at_ && lineEnd[-1] == '\r';
        line = {at_, static_cast<size_t>(lineEnd - at_) - (hasReturn ? 1 : 0)};
        at_ = lineEnd == end_ ? end_ : lineEnd + 1;
        return true;
    }

    // The bytes that are not yet walked over.
    [[nodiscard]] std::string_view rest() const { return {at_, static_cast<size_t>(end_ - at_)}; }

private:
    const char* at_;
    const char* end_;
};

}  // namespace cli
