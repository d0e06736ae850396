// The lines of a file or of standard input, many at a time.
//
//     LineBlock   | line LF line LF ... line LF | begun line |  room  |
//                   lines                         kept for the next block
//
// Ownership: a block owns its bytes; blocks are filled again and again. Texts in a block are valid until
//            it is filled again.
// Threads:   one at a time fills blocks. Filled blocks belong to those that took them.
// Cost:      a file may be of any size. A block has 256 KiB, or the longest line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "input_file.h"
#include "stop_signal.h"

namespace cli {

class LineBlock {
public:
    // Whole lines, each with its end; the last one of a file may lack it.
    [[nodiscard]] std::string_view lines() const { return lines_; }

    // The number of the first line in its file, counted from 1.
    [[nodiscard]] uint64_t firstLine() const { return firstLine_; }

private:
    friend class LineBlocks;

    std::unique_ptr<char[]> bytes_;
    size_t capacity_ = 0;
    std::string_view lines_;
    uint64_t firstLine_ = 0;
};

// Fills blocks with the lines of a file. The file and the signal must live as long.
class LineBlocks {
public:
    LineBlocks(const InputFile& file, const StopSignal& stop) : file_(file), stop_(stop) {}

    // Waits for at least one line and takes all that can be read without waiting again, as long as they
    // fit. A byte order mark at the start of the file is left out. False at the end of the file and
    // after the signal. Throws std::system_error when reading fails, std::length_error for a line that
    // is too long, and std::bad_alloc.
    bool next(LineBlock& block);

private:
    [[nodiscard]] size_t begin(LineBlock& block);
    void finish(LineBlock& block, size_t lineBytes, size_t allBytes);

    const InputFile& file_;
    const StopSignal& stop_;
    std::string begunLine_;
    uint64_t nextLine_ = 1;
    bool atEnd_ = false;
};

}  // namespace cli
