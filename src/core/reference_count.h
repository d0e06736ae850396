// Counters that several threads may change: plain words, so that the structs around them stay
// trivial, touched through these operations only.
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

inline uint32_t readCount(const uint32_t& count) noexcept {
    // atomic_ref takes no const object before C++26; a load changes nothing.
    return std::atomic_ref<uint32_t>(const_cast<uint32_t&>(count)).load(std::memory_order_relaxed);
}

// Takes a further reference to something that the caller already holds one to.
inline void retainReference(uint32_t& refCount) noexcept {
    incrementCount(refCount);
}

// Drops a reference. True for the one caller that dropped the last: it frees, and sees everything
// that the others wrote before they let go.
[[nodiscard]] inline bool dropReference(uint32_t& refCount) noexcept {
    return std::atomic_ref<uint32_t>(refCount).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

}  // namespace rs
