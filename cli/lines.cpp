#include "lines.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace cli {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

constexpr size_t STEP_BLOCKS = 4;
constexpr size_t STEP_BYTES = STEP_BLOCKS * rs::BLOCK_BYTES;

}  // namespace

void throwLineTooLong(const std::string& path, uint64_t lineNumber) {
    throw std::length_error(path + ':' + std::to_string(lineNumber) + ": line over the limit of " +
                            std::to_string(LONGEST_LINE >> 20U) + " MiB");
}

uint64_t countLineEnds(std::string_view text) {
    uint64_t count = 0;
    // Processors that every build is for have no instruction that counts bits, so it is done for a few
    // blocks at once.
    while (text.size() >= STEP_BYTES) {
        uint64_t ends = 0;
        for (size_t block = 0; block < STEP_BLOCKS; ++block) {
            const size_t place = block * rs::BLOCK_BYTES;
            const uint64_t bits = rs::ByteBlock::load(text.data() + place).equalTo('\n').bits();
            ends |= bits << place;
        }
        count += static_cast<uint64_t>(std::popcount(ends));
        text.remove_prefix(STEP_BYTES);
    }
    return count + static_cast<uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

size_t lengthOfWholeLines(std::string_view text) {
    // npos is -1: without a line end the length is 0.
    return text.rfind('\n') + 1;
}

std::string_view withoutByteOrderMark(std::string_view file) {
    if (file.starts_with(BYTE_ORDER_MARK)) {
        file.remove_prefix(BYTE_ORDER_MARK.size());
    }
    return file;
}

}  // namespace cli
