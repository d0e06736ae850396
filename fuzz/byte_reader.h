// An input read as a row of decisions: the first byte decides first. When the bytes are used up, all
// further decisions are zero, so that every input means something.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace rs::fuzz {

class ByteReader {
public:
    ByteReader(const uint8_t* data, size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    bool isEmpty() const { return rest_.empty(); }

    uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        const auto first = static_cast<uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return first;
    }

    // A number below limit, which is 1 to 256.
    uint32_t below(uint32_t limit) { return byte() % limit; }

    // False once the bytes are used up.
    bool oneIn(uint32_t count) { return below(count) == count - 1; }

    uint32_t word() {
        uint32_t value = 0;
        for (size_t i = 0; i < sizeof value; ++i) {
            value = value << 8U | byte();
        }
        return value;
    }

    template <typename T, size_t COUNT>
    const T& pick(const T (&choices)[COUNT]) {
        static_assert(COUNT <= 256);
        return choices[below(COUNT)];
    }

    // The bytes up to the next line feed, which is taken, too.
    std::string_view line() {
        const size_t end = std::min(rest_.find('\n'), rest_.size());
        const std::string_view text = rest_.substr(0, end);
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return text;
    }

private:
    std::string_view rest_;
};

}  // namespace rs::fuzz
