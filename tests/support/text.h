// Texts for operations that take bytes and a length.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace rs::test {

constexpr uint32_t size32(std::string_view text) {
    return static_cast<uint32_t>(text.size());
}

// The piece, count times in a row.
inline std::string repeat(std::string_view piece, size_t count) {
    std::string result;
    for (size_t i = 0; i < count; ++i) {
        result += piece;
    }
    return result;
}

// A copy in a block of exactly its size, so that the address sanitizer sees every byte read beyond
// the end; no NUL follows.
class ExactText {
public:
    explicit ExactText(std::string_view text)
        : bytes_(std::make_unique<char[]>(text.size())), length_(size32(text)) {
        std::copy(text.begin(), text.end(), bytes_.get());
    }

    const char* data() const { return bytes_.get(); }
    uint32_t size() const { return length_; }

private:
    std::unique_ptr<char[]> bytes_;
    uint32_t length_;
};

}  // namespace rs::test
