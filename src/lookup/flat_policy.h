// When a compiled structure gets a flat lookup beside its ordered ones: from which number of keys on.
//
// A flat lookup costs memory and a part of the build. In a small structure, which is in the nearest cache, it answers
// no sooner. Each threshold is a constant, with the measurement that chose it.
//
// Threads:    flatUse is a plain word for the whole process. Only tests change it, while no other thread builds.
#pragma once

#include <cstdint>

namespace rs {

enum class FlatUse : uint32_t {
    BY_SIZE,  // from the threshold on: what hosts have
    ALWAYS,   // wherever there is a key
    NEVER,
};

// Groups answer alike with every value. Tests build them with each of the three.
extern FlatUse flatUse;

// Whether a structure of count keys gets a flat lookup whose threshold this is.
[[nodiscard]] bool wantsFlat(uint64_t count, uint64_t threshold) noexcept;

}  // namespace rs
