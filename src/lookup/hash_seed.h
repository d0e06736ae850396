// Hashes that whoever writes a rule list cannot foresee.
//
//     process         16 random bytes that the kernel gives every process when it starts
//     HashSeed        made of them and of a counter: another one for each structure
//     mixHash         two words -> one, of which every bit depends on all bits of both
//
// Without a secret, a list could be chosen so that all its rules meet in one place of a table. Answers
// never depend on a seed; only the places of rules in tables do.
//
// Threads:    a seed may be made in any thread.
// Cost:       no system call; mixing is one multiplication of 64 bits.
#pragma once

#include <cstdint>

namespace rs {

struct HashSeed {
    uint64_t left;
    uint64_t right;
};

// A seed that was not there before in this process, unless 2^64 were made.
[[nodiscard]] HashSeed newHashSeed() noexcept;

// The two halves of the product of both words, put together.
constexpr uint64_t mixHash(uint64_t left, uint64_t right) noexcept {
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(left) * right;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64U);
}

}  // namespace rs
