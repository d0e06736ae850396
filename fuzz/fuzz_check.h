// What fuzz entries need to compare the library with the reference.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/reference_host.h"

namespace rs::fuzz {

// Ends the program when a comparison fails: the fuzzer then keeps the input.
inline void check(bool isSame, const char* what, size_t capacity = 0) {
    if (!isSame) {
        std::fprintf(stderr, "the library and the reference differ: %s, capacity %zu\n", what,
                     capacity);
        std::abort();
    }
}

inline std::string_view viewOf(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// An output block of exactly its capacity, so that a byte written behind it is found.
class Output {
public:
    explicit Output(size_t capacity)
        : bytes_(std::make_unique<char[]>(capacity)), length_(static_cast<uint32_t>(capacity)) {}

    char* data() { return bytes_.get(); }
    uint32_t* inOutLength() { return &length_; }
    uint32_t length() const { return length_; }
    std::string text() const { return {bytes_.get(), length_}; }

private:
    std::unique_ptr<char[]> bytes_;
    uint32_t length_;
};

// The first byte of an input gives a capacity and is taken off. Above 250 it means room enough.
inline size_t takeCapacity(std::string_view& input) {
    constexpr size_t ROOM = 8191;
    const size_t first = static_cast<unsigned char>(input.front());
    input.remove_prefix(1);
    return first > 250 ? ROOM : first;
}

// An operation that writes into a block, at one capacity and at those where the answer changes.
template <typename Operation>
void checkOutcome(const test::Outcome& expected, size_t capacity, const char* what,
                  const Operation& operation) {
    std::vector<size_t> capacities{capacity, expected.room, expected.room + 1};
    if (expected.room > 0) {
        capacities.push_back(expected.room - 1);
    }
    for (const size_t each : capacities) {
        Output out(each);
        const int32_t status = operation(out.data(), out.inOutLength());
        check(status == expected.statusAt(each), what, each);
        check(status != RULE_OK || out.text() == expected.text, what, each);
    }
}

// The lines of an input; the last one is what is looked up, the others are rules.
inline std::vector<std::string_view> linesOf(std::string_view input) {
    std::vector<std::string_view> lines;
    for (;;) {
        const size_t end = input.find('\n');
        lines.push_back(input.substr(0, end));
        if (end == std::string_view::npos) {
            return lines;
        }
        input.remove_prefix(end + 1);
    }
}

}  // namespace rs::fuzz
