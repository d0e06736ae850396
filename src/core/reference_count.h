// Counters that several threads may change.
//
// A counter is a plain word, so that the structs around it stay trivial. Once a second thread may
// see it, only these operations touch it, all of them atomically.
//
//     1 --retainReference--> 2 --dropReference--> 1 (false) --dropReference--> 0 (true: free it)
//
// Ownership:  who takes a reference drops it. The one who drops the last frees what is counted.
// Threads:    any. The one who frees sees all that others wrote before they dropped theirs.
// Cost:       one atomic step.
#pragma once

#include <atomic>
#include <cstdint>

namespace rs {

// Adds one and returns the new value.
inline uint32_t incrementCount(uint32_t& count) noexcept {
    return std::atomic_ref<uint32_t>(count).fetch_add(1, std::memory_order_relaxed) + 1;
}

inline void decrementCount(uint32_t& count) noexcept {
    std::atomic_ref<uint32_t>(count).fetch_sub(1, std::memory_order_relaxed);
}

// Takes one more reference; the caller already holds one.
inline void retainReference(uint32_t& refCount) noexcept {
    incrementCount(refCount);
}

// Drops one reference. True if it was the last: the caller frees, and sees all earlier writes.
[[nodiscard]] inline bool dropReference(uint32_t& refCount) noexcept {
    return std::atomic_ref<uint32_t>(refCount).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

}  // namespace rs
