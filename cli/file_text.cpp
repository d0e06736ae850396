#include "file_text.h"

#include <algorithm>
#include <new>
#include <sys/stat.h>

#include "lines.h"

namespace cli {

namespace {

constexpr size_t SMALLEST_STEP = size_t{1} << 16U;

// What is in a plain file now; 0 for all else.
size_t sizeNow(const InputFile& file) {
    struct stat status {};
    const bool isPlain = fstat(file.descriptor(), &status) == 0 && S_ISREG(status.st_mode);
    return isPlain ? static_cast<size_t>(status.st_size) : 0;
}

}  // namespace

FileText::FileText(const InputFile& file) {
    // One byte more shows the end of a file of that size.
    resize(std::max(sizeNow(file) + 1, SMALLEST_STEP));
    for (;;) {
        const size_t count = file.read(bytes_.get() + length_, capacity_ - length_);
        length_ += count;
        checkLines(file.path());
        if (count == 0) {
            break;
        }
        if (length_ == capacity_) {
            resize(capacity_ + std::max(capacity_ / 2, SMALLEST_STEP));
        }
    }
    resize(std::max<size_t>(length_, 1));
    text_ = withoutByteOrderMark({bytes_.get(), length_});
}

void FileText::resize(size_t capacity) {
    // The C allocator moves large blocks without copying them.
    auto* bytes = static_cast<char*>(std::realloc(bytes_.get(), capacity));
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(bytes_.release());
    bytes_.reset(bytes);
    capacity_ = capacity;
}

void FileText::checkLines(const std::string& path) {
    while (length_ - checked_ > LONGEST_LINE) {
        const size_t wholeLines = lengthOfWholeLines({bytes_.get() + checked_, LONGEST_LINE + 1});
        if (wholeLines == 0) {
            throwLineTooLong(path, 1 + countLineEnds({bytes_.get(), checked_}));
        }
        checked_ += wholeLines;
    }
}

}  // namespace cli
