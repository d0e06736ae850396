#include "core/scratch.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

template <typename AnyScratch>
bool isInside(const AnyScratch& scratch, const char* bytes) {
    const auto start = reinterpret_cast<uintptr_t>(&scratch);
    const auto address = reinterpret_cast<uintptr_t>(bytes);
    return start <= address && address < start + sizeof scratch;
}

TEST(Scratch, IsOnTheStackUpToItsSize) {
    for (const size_t size : {size_t{0}, size_t{1}, size_t{99}, size_t{100}}) {
        Scratch<100> scratch;
        char* bytes = scratch.reserve(size);
        ASSERT_NE(nullptr, bytes);
        EXPECT_TRUE(isInside(scratch, bytes)) << size;
        // The sanitizers see that all of them may be written.
        std::memset(bytes, 'x', size);
    }
}

TEST(Scratch, IsOnTheHeapBeyondItsSize) {
    for (const size_t size : {size_t{101}, size_t{4096}, size_t{1} << 20U}) {
        Scratch<100> scratch;
        char* bytes = scratch.reserve(size);
        ASSERT_NE(nullptr, bytes);
        EXPECT_FALSE(isInside(scratch, bytes)) << size;
        std::memset(bytes, 'x', size);
    }
}

TEST(Scratch, TwoOfThemShareNothing) {
    for (const size_t size : {size_t{8}, size_t{9}}) {
        Scratch<8> first;
        Scratch<8> second;
        char* firstBytes = first.reserve(size);
        char* secondBytes = second.reserve(size);
        ASSERT_NE(nullptr, firstBytes);
        ASSERT_NE(nullptr, secondBytes);
        std::memset(firstBytes, 'a', size);
        std::memset(secondBytes, 'b', size);
        for (size_t i = 0; i < size; ++i) {
            EXPECT_EQ('a', firstBytes[i]);
            EXPECT_EQ('b', secondBytes[i]);
        }
    }
}

TEST(Scratch, IsNullWhenMemoryIsOut) {
    // The compiler must not see the size: it warns of one that no block can have.
    volatile size_t size = SIZE_MAX;
    Scratch<100> scratch;
    EXPECT_EQ(nullptr, scratch.reserve(size));
}

}  // namespace

}  // namespace rs::test
