// The addresses of a list in order, by their ranks.
//
//     tagged   10.0.0.9, tag 0 | 10.0.0.1, tag 1 | 10.0.0.9, tag 2
//     sorted   10.0.0.1, tag 1 | 10.0.0.9, tag 0 | 10.0.0.9, tag 2
//
//     table    rank 0: 10.0.0.1 | rank 1: 10.0.0.9
//
// Where all addresses are those of IPv4, everything is done in 32 bits. An address is then read in its IPv4-mapped
// form as well.
//
// Ownership:  an AddressTable owns its addresses. It keeps them where they were sorted.
// Threads:    none; it lives during a build.
// Cost:       sorting is a pass for each byte in which addresses differ, six passes at most. Addresses that are still
//             equal after these are sorted by comparing.
#pragma once

#include <cstdint>
#include <type_traits>

#include "ip/build_array.h"
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
using TaggedAddresses = BuildArray<TaggedAddress<Address>>;

// Sorts by address, and those of one address by tag. On entry the tags ascend. False when memory is out.
[[nodiscard]] bool sortAddresses(TaggedAddresses<uint32_t>& tagged, uint32_t count) noexcept;
[[nodiscard]] bool sortAddresses(TaggedAddresses<Address128>& tagged, uint32_t count) noexcept;

class AddressTable {
public:
    [[nodiscard]] uint32_t count() const noexcept { return count_; }

    // Where addresses of 32 or of 128 bits are read and sorted, before they are kept.
    template <typename Stored>
    [[nodiscard]] TaggedAddresses<Stored>& unsorted() noexcept {
        if constexpr (std::is_same_v<Stored, uint32_t>) {
            return narrow_;
        } else {
            return wide_;
        }
    }

    // Keeps one of each of the sorted addresses: visit(rank, first, number) for these, with the first of so many equal
    // ones, whose order visit may change.
    template <typename Stored, typename Visit>
    void keepSorted(uint32_t unsortedCount, const Visit& visit) noexcept {
        isNarrow_ = std::is_same_v<Stored, uint32_t>;
        TaggedAddresses<Stored>& tagged = unsorted<Stored>();
        for (uint32_t first = 0; first < unsortedCount;) {
            uint32_t next = first + 1;
            while (next < unsortedCount && tagged[next].address == tagged[first].address) {
                ++next;
            }
            visit(count_, &tagged[first], next - first);
            tagged[count_++] = tagged[first];
            first = next;
        }
    }

    // The address of a rank, as one of 32 or of 128 bits.
    template <typename Address>
    [[nodiscard]] Address at(uint32_t rank) const noexcept {
        return isNarrow_ ? convert<Address>(narrow_[rank].address)
                         : convert<Address>(wide_[rank].address);
    }

    // The address before that of a rank. The one before the end of the table is the last of all addresses.
    template <typename Address>
    [[nodiscard]] Address before(uint32_t rank) const noexcept {
        if (rank < count_) {
            return previousAddress(at<Address>(rank));
        }
        return isNarrow_ ? convert<Address>(UINT32_MAX) : convert<Address>(LAST_ADDRESS);
    }

private:
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

    TaggedAddresses<uint32_t> narrow_;
    TaggedAddresses<Address128> wide_;
    uint32_t count_ = 0;
    bool isNarrow_ = false;
};

}  // namespace rs
