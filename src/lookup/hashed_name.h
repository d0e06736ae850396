// A name beside its hash, and the order in which blocks of names are sorted and searched.
#pragma once

#include <cstdint>
#include <cstring>

namespace rs {

struct HashedName {
    const char* bytes;  // borrowed
    uint32_t length;
    uint32_t hash;
};

// Below 0, 0 or above 0 as left stands before, at or behind right: by the sign of the wrapping
// difference of the hashes, then by the bytes up to the shorter length, then by length. Two names
// may share a hash; only equal bytes make them equal.
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

// The hash of names: one step per byte, in wrapping 32-bit arithmetic.
constexpr uint32_t addToNameHash(uint32_t hash, char byte, uint32_t factor) noexcept {
    return hash + static_cast<uint8_t>(byte) * factor + (hash >> 16U);
}

}  // namespace rs
