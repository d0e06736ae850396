// Asking the kernel to hold big memory in pages of 2 MiB. A lookup that reads a table of many megabytes at random
// places waits for the page tables as well as for the memory; with huge pages it seldom does.
//
// Ownership:  none. The memory stays its owner's.
// Threads:    any.
// Cost:       a system call for memory that holds a whole huge page, nothing for smaller memory.
#pragma once

#include <cstddef>

namespace rs {

inline constexpr size_t HUGE_PAGE = size_t{1} << 21U;

// Asks for huge pages in the part of a block that consists of whole ones. The block was allocated and not written yet:
// pages that are in use stay as they are. A kernel that refuses is no failure. errno stays as it was.
void adviseHugePages(void* memory, size_t length) noexcept;

}  // namespace rs
