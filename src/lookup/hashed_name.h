// A name with its hash, and the order in which blocks of names are sorted and searched.
//
//     hash     bytes
//     5000     2 xy 1 z      the hash decides first: most names are told apart by one number
//     7000     1 a 2 bc      names of one hash are ordered by their bytes, then by length
//     7000     2 ab 1 c
//
// Names of one hash are neighbours in this order, and two names are equal only when their bytes are.
//
// Invariants: the hashes of names that are sorted together are at most INT32_MAX, see largestNameHash:
//             only then do their wrapping differences put them in one line, as sorting needs.
// Ownership:  a HashedName borrows its bytes.
// Threads:    none of its own: values in, values out.
// Cost:       comparing reads the bytes only when the hashes are the same.
#pragma once

#include <cstdint>
#include <cstring>

namespace rs {

struct HashedName {
    const char* bytes;  // borrowed
    uint32_t length;
    uint32_t hash;
};

// Below 0 when left comes before right, 0 when they are equal, above 0 otherwise. The hashes are
// compared by the sign of their difference, which wraps around: 0xFFFFFFFF comes before 0. So three
// hashes may come one before the other in a circle, unless all are at most INT32_MAX.
[[nodiscard]] inline int32_t compareHashedNames(const HashedName& left,
                                                const HashedName& right) noexcept {
    const auto hashOrder = static_cast<int32_t>(left.hash - right.hash);
    if (hashOrder != 0) {
        return hashOrder;
    }
    const uint32_t shorter = left.length < right.length ? left.length : right.length;
    const int32_t bytesOrder = std::memcmp(left.bytes, right.bytes, shorter);
    if (bytesOrder != 0) {
        return bytesOrder;
    }
    return static_cast<int32_t>(left.length > right.length) -
           static_cast<int32_t>(left.length < right.length);
}

// One step of the hash of a name, which starts at 0: the hash of the bytes so far takes a further
// byte in. 32-bit arithmetic that wraps around; each rule type has a factor of its own.
constexpr uint32_t addToNameHash(uint32_t hash, char byte, uint32_t factor) noexcept {
    return hash + static_cast<uint8_t>(byte) * factor + (hash >> 16U);
}

// The largest hash of a name of length bytes at most, whose bytes are all 0xFF: a step grows with the
// hash and with the byte as long as it does not wrap. From INT32_MAX on a further step might; what is
// returned then is a hash above INT32_MAX, perhaps of a shorter name.
constexpr uint32_t largestNameHash(uint32_t length, uint32_t factor) noexcept {
    uint32_t hash = 0;
    for (uint32_t i = 0; i < length && hash <= INT32_MAX; ++i) {
        hash = addToNameHash(hash, '\xFF', factor);
    }
    return hash;
}

}  // namespace rs
