// The addresses of a list in order, by their ranks.
//
//     tagged   10.0.0.9, tag 0 | 10.0.0.1, tag 1 | 10.0.0.9, tag 2
//     sorted   10.0.0.1, tag 1 | 10.0.0.9, tag 0 | 10.0.0.9, tag 2
//
//     AddressTable    rank 0: 10.0.0.1    rank 1: 10.0.0.9
//
// Where all addresses are those of IPv4, everything is done in 32 bits. An address is then read in its IPv4-mapped
// form as well.
//
// Ownership:  an AddressTable owns its addresses.
// Threads:    none; it lives during a build.
// Cost:       sorting is a pass for each byte in which addresses differ, six passes at most. Addresses that are still
//             equal after these are sorted by comparing.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/memory.h"
#include "syntax/address128.h"

namespace rs {

template <typename Address>
struct TaggedAddress {
    Address address;
    uint32_t tag;
    friend constexpr auto operator<=>(const TaggedAddress&,
                                      const TaggedAddress&) noexcept = default;
};

template <typename Address>
using TaggedAddresses = OwnedMemory<TaggedAddress<Address>[]>;

// Sorts by address, and those of one address by tag. On entry the tags ascend. False when memory is out.
[[nodiscard]] bool sortAddresses(TaggedAddresses<uint32_t>& tagged, uint32_t count) noexcept;
[[nodiscard]] bool sortAddresses(TaggedAddresses<Address128>& tagged, uint32_t count) noexcept;

class AddressTable {
public:
    // Makes room for so many addresses of 32 or of 128 bits. False when memory is out.
    template <typename Stored>
    [[nodiscard]] bool reserve(uint32_t count) noexcept {
        OwnedMemory<Stored[]>& room = stored<Stored>();
        room.reset(allocateArray<Stored>(count));
        return room != nullptr;
    }

    [[nodiscard]] uint32_t count() const noexcept { return count_; }

    // Appends an address above all others, into the room.
    template <typename Stored>
    void append(const Stored& address) noexcept {
        stored<Stored>()[count_++] = address;
    }

    // The address of a rank, as one of 32 or of 128 bits.
    template <typename Address>
    [[nodiscard]] Address at(uint32_t rank) const noexcept {
        return narrow_ != nullptr ? convert<Address>(narrow_[rank]) : convert<Address>(wide_[rank]);
    }

    // The address before that of a rank. The one before the end of the table is the last of all addresses.
    template <typename Address>
    [[nodiscard]] Address before(uint32_t rank) const noexcept {
        if (rank < count_) {
            return previousAddress(at<Address>(rank));
        }
        return narrow_ != nullptr ? convert<Address>(UINT32_MAX) : convert<Address>(LAST_ADDRESS);
    }

private:
    template <typename Stored>
    [[nodiscard]] OwnedMemory<Stored[]>& stored() noexcept {
        if constexpr (std::is_same_v<Stored, uint32_t>) {
            return narrow_;
        } else {
            return wide_;
        }
    }

    template <typename Address>
    static Address convert(uint32_t address) noexcept {
        if constexpr (std::is_same_v<Address, uint32_t>) {
            return address;
        } else {
            return mappedAddress(address);
        }
    }

    template <typename Address>
    static Address convert(const Address128& address) noexcept {
        if constexpr (std::is_same_v<Address, uint32_t>) {
            return address.words[3];
        } else {
            return address;
        }
    }

    OwnedMemory<uint32_t[]> narrow_;
    OwnedMemory<Address128[]> wide_;
    uint32_t count_ = 0;
};

}  // namespace rs
