#include "core/lines.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Line {
    uint32_t words[16];
};

TEST(Lines, BeginAtACacheLineAndAreZeroFilled) {
    for (const size_t count : {1U, 2U, 3U, 1000U, 100000U}) {
        SCOPED_TRACE(count);
        const OwnedLines<Line> lines(allocateLines<Line>(count));
        ASSERT_TRUE(lines);
        EXPECT_EQ(0, reinterpret_cast<uintptr_t>(lines.get()) % CACHE_LINE);
        for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(0, lines.get()[i].words[15]);
            lines.get()[i].words[15] = 1;
        }
    }
}

TEST(Lines, RefuseSizesThatMemoryCannotHave) {
    EXPECT_EQ(nullptr, allocateLines<Line>(0));
    EXPECT_EQ(nullptr, allocateLines<Line>(SIZE_MAX / sizeof(Line)));
    EXPECT_EQ(nullptr, allocateLines<Line>(SIZE_MAX / sizeof(Line) - 1));
    EXPECT_EQ(nullptr, allocateLines<Line>(SIZE_MAX));
    freeLines<Line>(nullptr);
}

}  // namespace

}  // namespace rs::test
