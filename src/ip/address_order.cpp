#include "ip/address_order.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace rs {

namespace {

// Fewer than this many are sorted by comparing: a pass of the other way costs as much as some hundred comparisons.
constexpr uint32_t FEW_ADDRESSES = 256;

// Most lists differ in four bytes or in six. Beyond these, few addresses are still equal.
constexpr uint32_t MOST_PASSES = 6;

constexpr uint32_t BYTE_VALUES = 256;

// The bytes of an address, counted from the most significant one.
uint32_t byteOf(uint32_t address, uint32_t position) noexcept {
    return (address >> (24 - 8 * position)) & 0xFFU;
}

uint32_t byteOf(const Address128& address, uint32_t position) noexcept {
    return byteOf(address.words[position / 4], position % 4);
}

// The positions of the bytes to sort by, the most significant one first.
struct SortPlan {
    std::array<uint32_t, MOST_PASSES> positions;
    uint32_t count;
    bool isComplete;  // addresses that agree in these bytes are equal
};

template <typename Address>
class AddressSort {
public:
    using Tagged = TaggedAddress<Address>;

    AddressSort(TaggedAddresses<Address>& tagged, uint32_t count) noexcept
        : tagged_(tagged), count_(count) {}

    bool sort() noexcept {
        if (count_ < FEW_ADDRESSES) {
            std::sort(tagged_.get(), tagged_.get() + count_);
            return true;
        }
        const SortPlan plan = makePlan();
        if (plan.count == 0) {
            return true;
        }
        OwnedMemory<Tagged[]> scratch(allocateArray<Tagged>(count_));
        if (!scratch) {
            return false;
        }
        for (uint32_t pass = plan.count; pass > 0; --pass) {
            sortByByte(plan.positions[pass - 1], scratch.get());
            tagged_.swap(scratch);
        }
        if (!plan.isComplete) {
            sortEqualStarts(plan);
        }
        return true;
    }

private:
    static constexpr uint32_t BYTES = sizeof(Address);

    SortPlan makePlan() const noexcept {
        Address varying{};
        for (uint32_t i = 1; i < count_; ++i) {
            addDifference(varying, tagged_[0].address, tagged_[i].address);
        }
        SortPlan plan{{}, 0, true};
        for (uint32_t position = 0; position < BYTES; ++position) {
            if (byteOf(varying, position) == 0) {
                continue;
            }
            if (plan.count == MOST_PASSES) {
                plan.isComplete = false;
                break;
            }
            plan.positions[plan.count++] = position;
        }
        return plan;
    }

    static void addDifference(uint32_t& varying, uint32_t left, uint32_t right) noexcept {
        varying |= left ^ right;
    }

    static void addDifference(Address128& varying, const Address128& left,
                              const Address128& right) noexcept {
        for (size_t i = 0; i < varying.words.size(); ++i) {
            addDifference(varying.words[i], left.words[i], right.words[i]);
        }
    }

    // Moves everything into sorted, in the order of one byte; equal ones keep their order.
    void sortByByte(uint32_t position, Tagged* sorted) noexcept {
        std::array<uint32_t, BYTE_VALUES> starts{};
        for (uint32_t i = 0; i < count_; ++i) {
            ++starts[byteOf(tagged_[i].address, position)];
        }
        uint32_t start = 0;
        for (uint32_t& value : starts) {
            const uint32_t count = value;
            value = start;
            start += count;
        }
        for (uint32_t i = 0; i < count_; ++i) {
            sorted[starts[byteOf(tagged_[i].address, position)]++] = tagged_[i];
        }
    }

    void sortEqualStarts(const SortPlan& plan) noexcept {
        const auto agree = [&plan](const Tagged& left, const Tagged& right) noexcept {
            return std::all_of(
                plan.positions.begin(), plan.positions.end(), [&](uint32_t position) {
                    return byteOf(left.address, position) == byteOf(right.address, position);
                });
        };
        Tagged* const end = tagged_.get() + count_;
        for (Tagged* first = tagged_.get(); first != end;) {
            Tagged* next = first + 1;
            while (next != end && agree(*first, *next)) {
                ++next;
            }
            std::sort(first, next);
            first = next;
        }
    }

    TaggedAddresses<Address>& tagged_;
    uint32_t count_;
};

}  // namespace

bool sortAddresses(TaggedAddresses<uint32_t>& tagged, uint32_t count) noexcept {
    return AddressSort<uint32_t>(tagged, count).sort();
}

bool sortAddresses(TaggedAddresses<Address128>& tagged, uint32_t count) noexcept {
    return AddressSort<Address128>(tagged, count).sort();
}

}  // namespace rs
