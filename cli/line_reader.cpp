#include "line_reader.h"

#include <cstring>

namespace cli {

namespace {

constexpr size_t BLOCK_SIZE = size_t{1} << 18U;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

}  // namespace

bool LineReader::next(std::string_view& line) {
    size_t searched = start_;
    for (;;) {
        const void* lineEnd = std::memchr(buffer_.data() + searched, '\n', end_ - searched);
        if (lineEnd != nullptr) {
            const auto length =
                static_cast<size_t>(static_cast<const char*>(lineEnd) - buffer_.data()) - start_;
            ++lineNumber_;
            line = cleaned({buffer_.data() + start_, length});
            start_ += length + 1;
            return true;
        }
        searched = end_ - start_;  // fill moves the rest to the front: it holds no line end
        if (!fill()) {
            break;
        }
    }
    if (start_ == end_) {
        return false;
    }
    ++lineNumber_;
    line = cleaned({buffer_.data() + start_, end_ - start_});
    start_ = end_;
    return true;
}

std::string_view LineReader::cleaned(std::string_view line) const {
    if (lineNumber_ == 1 && line.starts_with(BYTE_ORDER_MARK)) {
        line.remove_prefix(BYTE_ORDER_MARK.size());
    }
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

// Moves the bytes of the unfinished line to the front and reads more bytes after them. False at the
// end of the file.
bool LineReader::fill() {
    std::memmove(buffer_.data(), buffer_.data() + start_, end_ - start_);
    end_ -= start_;
    start_ = 0;
    if (atEnd_) {
        return false;
    }
    if (buffer_.size() - end_ < BLOCK_SIZE) {
        buffer_.resize(end_ + 2 * BLOCK_SIZE);
    }
    const size_t count = file_.read(buffer_.data() + end_, buffer_.size() - end_);
    end_ += count;
    atEnd_ = count == 0;
    return count != 0;
}

}  // namespace cli
