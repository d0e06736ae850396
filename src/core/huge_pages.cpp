#include "core/huge_pages.h"

#include <cerrno>
#include <cstdint>
#include <sys/mman.h>

namespace rs {

void adviseHugePages(void* memory, size_t length) noexcept {
    const auto start = reinterpret_cast<uintptr_t>(memory);
    const size_t skipped = (HUGE_PAGE - start % HUGE_PAGE) % HUGE_PAGE;
    if (memory == nullptr || length < skipped + HUGE_PAGE) {
        return;
    }
    const size_t wholePages = (length - skipped) / HUGE_PAGE * HUGE_PAGE;
    const int savedErrno = errno;
    static_cast<void>(madvise(static_cast<char*>(memory) + skipped, wholePages, MADV_HUGEPAGE));
    errno = savedErrno;
}

}  // namespace rs
