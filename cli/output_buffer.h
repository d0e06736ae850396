// Text that grows at its end, to be written at once.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace cli {

class OutputBuffer {
public:
    // All may throw std::bad_alloc.
    void write(std::string_view text) {
        std::copy(text.begin(), text.end(), room(text.size()));
        length_ += text.size();
    }
    void write(char byte) {
        *room(1) = byte;
        ++length_;
    }
    void writeNumber(uint64_t number) {
        char* digits = room(LONGEST_NUMBER);
        length_ += static_cast<size_t>(std::to_chars(digits, digits + LONGEST_NUMBER, number).ptr -
                                       digits);
    }

    [[nodiscard]] std::string_view text() const { return {bytes_.get(), length_}; }

    // Makes it empty. Memory far above the usual is given back.
    void clear() {
        length_ = 0;
        if (capacity_ > LARGEST_KEPT) {
            bytes_.reset();
            capacity_ = 0;
        }
    }

private:
    static constexpr size_t LONGEST_NUMBER = 20;
    static constexpr size_t FIRST_CAPACITY = size_t{1} << 16U;
    static constexpr size_t LARGEST_KEPT = size_t{1} << 23U;

    // Where the next size bytes belong.
    char* room(size_t size) {
        if (capacity_ - length_ < size) {
            grow(size);
        }
        return bytes_.get() + length_;
    }

    void grow(size_t size) {
        const size_t capacity = std::max({FIRST_CAPACITY, 2 * capacity_, length_ + size});
        auto bytes = std::make_unique_for_overwrite<char[]>(capacity);
        if (length_ != 0) {
            std::memcpy(bytes.get(), bytes_.get(), length_);
        }
        bytes_ = std::move(bytes);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> bytes_;
    size_t length_ = 0;
    size_t capacity_ = 0;
};

}  // namespace cli
