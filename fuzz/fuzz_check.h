// What fuzz entries need to compare the library with the reference.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
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

// A record between bytes that nobody may write. The address sanitizer sees most of such writes;
// here they are found in every build. The record begins with the same bytes.
template <typename Record>
class Guarded {
    static_assert(std::is_trivially_copyable_v<Record>);

public:
    Guarded() { std::memset(&block_, GUARD, sizeof block_); }

    Record* record() { return &block_.record; }

    // Whether all bytes of the record from `first` on, and those around it, are as at first.
    bool isUntouchedFrom(size_t first) const {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&block_.record);
        const auto isGuard = [](unsigned char byte) { return byte == GUARD; };
        return std::all_of(std::begin(block_.before), std::end(block_.before), isGuard) &&
               std::all_of(bytes + first, bytes + sizeof(Record), isGuard) &&
               std::all_of(std::begin(block_.after), std::end(block_.after), isGuard);
    }

private:
    static constexpr unsigned char GUARD = 0xA5;

    struct {
        unsigned char before[64];
        Record record;
        unsigned char after[64];
    } block_;
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
