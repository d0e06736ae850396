#include "core/huge_pages.h"

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/mman.h>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

// Whether the kernel lists the flag "hg" for the page at an address.
bool isAdvised(const void* address) {
    std::ifstream maps("/proc/self/smaps");
    bool isInside = false;
    for (std::string line; std::getline(maps, line);) {
        uintptr_t low = 0;
        uintptr_t high = 0;
        char dash = 0;
        std::istringstream words(line);
        if (words >> std::hex >> low >> dash >> high && dash == '-') {
            const auto place = reinterpret_cast<uintptr_t>(address);
            isInside = low <= place && place < high;
        } else if (isInside && line.starts_with("VmFlags:")) {
            return line.find(" hg") != std::string::npos;
        }
    }
    return false;
}

TEST(HugePages, AreAskedForInWholePagesOnly) {
    constexpr size_t LENGTH = 4 * HUGE_PAGE;
    void* memory =
        mmap(nullptr, LENGTH, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    auto* bytes = static_cast<char*>(memory);
    const size_t skipped =
        (HUGE_PAGE - reinterpret_cast<uintptr_t>(memory) % HUGE_PAGE) % HUGE_PAGE;
    errno = 7;
    adviseHugePages(bytes, skipped + HUGE_PAGE - 1);
    EXPECT_FALSE(isAdvised(bytes + skipped));
    adviseHugePages(bytes, skipped + HUGE_PAGE);
    EXPECT_EQ(7, errno);
    std::ifstream setting("/sys/kernel/mm/transparent_hugepage/enabled");
    if (setting) {
        EXPECT_TRUE(isAdvised(bytes + skipped));
    }
    EXPECT_FALSE(isAdvised(bytes + skipped + HUGE_PAGE));
    munmap(memory, LENGTH);
}

TEST(HugePages, AreNotAskedForWithoutMemory) {
    errno = 7;
    adviseHugePages(nullptr, SIZE_MAX);
    EXPECT_EQ(7, errno);
}

}  // namespace

}  // namespace rs::test
