// Memory for the tables of the peers, in huge pages as the library's are.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <sys/mman.h>
#include <vector>

namespace bench {

// False gives big tables ordinary pages.
inline bool usesHugePages = true;

template <typename T>
struct HugeAllocator {
    // NOLINTNEXTLINE(readability-identifier-naming): the standard library asks for this name
    using value_type = T;

    HugeAllocator() = default;
    template <typename U>
    explicit HugeAllocator(const HugeAllocator<U>& /*other*/) {}

    T* allocate(size_t count) {
        constexpr size_t HUGE_PAGE = size_t{1} << 21U;
        const size_t length = (count * sizeof(T) + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
        const bool isHuge = usesHugePages && count * sizeof(T) >= HUGE_PAGE;
        void* memory =
            isHuge ? std::aligned_alloc(HUGE_PAGE, length) : std::malloc(count * sizeof(T));
        if (memory == nullptr) {
            std::abort();
        }
        if (isHuge) {
            madvise(memory, length, MADV_HUGEPAGE);
        }
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, size_t /*count*/) { std::free(memory); }

    template <typename U>
    bool operator==(const HugeAllocator<U>& /*other*/) const {
        return true;
    }
};

template <typename T>
using HugeVector = std::vector<T, HugeAllocator<T>>;

}  // namespace bench
