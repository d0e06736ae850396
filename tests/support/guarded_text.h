// Texts that touch memory which nobody may read.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace rs::test {

// Pages that may be used, between two that may not:
//
//     | no access | .......... bytes .......... | no access |
//                  ^ first()             last(n) ^ ends here
//
// A byte read or written on the wrong side of either border ends the program, with any compiler and without a
// sanitizer, even when vector or library code does it.
class GuardedPages {
public:
    explicit GuardedPages(size_t capacity)
        : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          used_((capacity + page_ - 1) / page_ * page_) {
        void* block =
            mmap(nullptr, used_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block == MAP_FAILED) {
            throw std::runtime_error("mmap failed");
        }
        block_ = static_cast<char*>(block);
        if (mprotect(first(), used_, PROT_READ | PROT_WRITE) != 0) {
            munmap(block_, used_ + 2 * page_);
            throw std::runtime_error("mprotect failed");
        }
    }

    ~GuardedPages() { munmap(block_, used_ + 2 * page_); }

    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    char* first() const { return block_ + page_; }

    // Where `size` bytes begin that end at the upper border.
    char* last(size_t size) const { return first() + used_ - size; }

private:
    size_t page_;
    size_t used_;
    char* block_ = nullptr;
};

// Calls use(data, length) with the text against the upper border, then against the lower one.
template <typename Use>
void useAtBothBorders(const GuardedPages& pages, std::string_view text, const Use& use) {
    for (char* place : {pages.last(text.size()), pages.first()}) {
        std::copy(text.begin(), text.end(), place);
        use(place, static_cast<uint32_t>(text.size()));
    }
}

}  // namespace rs::test
