// Lines of a file or of standard input, read in large blocks.
//
//     buffer_   | lines returned | lines to come | begun line |  room  |
//                                 start_                       end_
//
// Cost:       a file may be of any size. The memory in use is that of two blocks and the longest
//             line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "input_file.h"

namespace cli {

// Reads the lines of a file, which must live as long as the reader.
class LineReader {
public:
    explicit LineReader(const InputFile& file) : file_(file) {}

    // The next line, without the LF or CRLF at its end and without a byte order mark at the start
    // of the file. The reader owns the bytes; they are valid until the next call. False at the end
    // of the file. Throws std::system_error when reading fails.
    bool next(std::string_view& line);

    // The number of the line that next returned last, counted from 1.
    [[nodiscard]] uint64_t lineNumber() const { return lineNumber_; }

private:
    bool fill();
    std::string_view cleaned(std::string_view line) const;

    const InputFile& file_;
    std::string buffer_;  // its size is the capacity
    size_t start_ = 0;    // where the next line starts
    size_t end_ = 0;      // where the bytes that were read end
    bool atEnd_ = false;
    uint64_t lineNumber_ = 0;
};

}  // namespace cli
