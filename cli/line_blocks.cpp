#include "line_blocks.h"

#include <algorithm>
#include <cstring>

#include "lines.h"

namespace cli {

namespace {

constexpr size_t BLOCK_SIZE = size_t{1} << 18U;
constexpr size_t LARGEST_BLOCK = LONGEST_LINE + 1;  // with the line end

}  // namespace

bool LineBlocks::next(LineBlock& block) {
    size_t filled = begin(block);
    size_t lineBytes = 0;  // up to the last line end
    while (!atEnd_ && (lineBytes == 0 || (filled < block.capacity_ && file_.isReady()))) {
        if (filled == block.capacity_) {
            if (filled == LARGEST_BLOCK) {
                throwLineTooLong(file_.path(), nextLine_);
            }
            const size_t capacity = std::min(2 * filled, LARGEST_BLOCK);
            auto bytes = std::make_unique_for_overwrite<char[]>(capacity);
            std::memcpy(bytes.get(), block.bytes_.get(), filled);
            block.bytes_ = std::move(bytes);
            block.capacity_ = capacity;
        }
        if (!stop_.waitForInput(file_)) {
            return false;
        }
        const size_t count = file_.read(block.bytes_.get() + filled, block.capacity_ - filled);
        atEnd_ = count == 0;
        const size_t wholeLines = lengthOfWholeLines({block.bytes_.get() + filled, count});
        lineBytes = wholeLines == 0 ? lineBytes : filled + wholeLines;
        filled += count;
    }
    finish(block, atEnd_ ? filled : lineBytes, filled);
    return filled != 0;
}

// Gives the block its usual size and puts the begun line into it. Returns its length.
size_t LineBlocks::begin(LineBlock& block) {
    const size_t capacity = std::max(BLOCK_SIZE, begunLine_.size());
    if (block.capacity_ != capacity) {
        block.bytes_ = std::make_unique_for_overwrite<char[]>(capacity);
        block.capacity_ = capacity;
    }
    std::memcpy(block.bytes_.get(), begunLine_.data(), begunLine_.size());
    return begunLine_.size();
}

void LineBlocks::finish(LineBlock& block, size_t lineBytes, size_t allBytes) {
    block.firstLine_ = nextLine_;
    block.lines_ = {block.bytes_.get(), lineBytes};
    begunLine_.assign(block.bytes_.get() + lineBytes, allBytes - lineBytes);
    if (nextLine_ == 1) {
        block.lines_ = withoutByteOrderMark(block.lines_);
    }
    nextLine_ += countLineEnds(block.lines_);
}

}  // namespace cli
