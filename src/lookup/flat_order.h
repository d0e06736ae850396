// The flat lookup of ranges that are asked one after the other: those that hold an address, in the order of their
// numbers, up to the first that answers.
//
//     ranges   #0 20-29   #1 10-49   #2 12-14   #3 60-69
//
//     place      1    2    3    4    5    6    7    8
//     bounds    10   12   15   20   30   50   60   70      where a range begins, or has ended
//     firsts    #1   #1+  #1   #0+  #1    -   #3    -      the first range that holds the addresses from there on;
//                                                          + when others hold them too
//     centres    2 -> #2                                   the ranges that share addresses with others, each listed
//                4 -> #0, #1                               under the place in it that 2 divides most often
//
// An address finds its place by way of every 16th bound, every 256th ..., and there the range that is asked first. Most
// lookups end with its answer. The others follow in order: a range that holds place 5 is listed under one of the centres
// 5, 6, 4 and 8, one for each power of 2. The lists of these are in the order of numbers, and are merged. In the list of
// a centre to the right of the place, the ranges that begin at the place or before it hold it; in one to the left, those
// that end there or later. A step to the next of them passes over 16, 256 ... ranges at once where none does:
//
//     spans     low-high | low-high | ... of the listed ranges, in places
//               lowest-highest of each 16 of them | ... of each 256 | ...
//
// Ranges are numbered by their user, below 2^31.
//
// Invariants: bounds ascend. centres[c] up to centres[c + 1] are the positions of what is listed under c, by number.
// Ownership:  owns its arrays. The ranges are their user's.
// Threads:    read-only once built.
// Cost:       a lookup is log2(2n) steps for n ranges, 4 of them in lines side by side, and one word beside the answer
//             of the first range. A range takes 42 bytes with addresses of 128 bits, 17 with those of 32, and up to 22
//             more when it shares addresses with others. A build sorts the bounds, and is linear otherwise.
// Worst case: no list of ranges makes it worse than log2(2n) lists, each begun once with at most 32 spans a level, and
//             as many steps again for each range that holds the address, comes before the one that answers, and says no.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/memory.h"
#include "syntax/address128.h"

namespace rs {

template <typename Address>
struct OrderedRange {
    Address low;
    Address high;  // inclusive
    uint32_t number;
};

__extension__ using Number128 = unsigned __int128;

constexpr uint32_t orderNumberOf(uint32_t address) noexcept {
    return address;
}

constexpr Number128 orderNumberOf(const Address128& address) noexcept {
    const auto pair = [](uint32_t left, uint32_t right) noexcept {
        return uint64_t{left} << 32U | right;
    };
    return Number128{pair(address.words[0], address.words[1])} << 64U |
           pair(address.words[2], address.words[3]);
}

template <typename Address>
using OrderNumber = decltype(orderNumberOf(Address{}));

// Places from low to high.
struct PlaceSpan {
    uint32_t low;
    uint32_t high;
};

// Beside the number of a first range: other ranges hold the place, too.
inline constexpr uint32_t OTHERS_FOLLOW = uint32_t{1} << 31U;
inline constexpr uint32_t NO_FIRST = UINT32_MAX;

// How many spans, or bounds, have one of the next level.
inline constexpr uint32_t SPAN_SHIFT = 4;
inline constexpr size_t SPANS_OF_NEXT = size_t{1} << SPAN_SHIFT;
inline constexpr uint32_t MOST_SPAN_LEVELS = 9;
inline constexpr uint32_t MOST_CENTRE_LEVELS = 32;

template <typename Address>
struct FlatOrder {
    OrderNumber<Address>* bounds;  // owned, like all arrays
    uint32_t* firsts;
    uint32_t* centres;  // null when no two ranges share an address, like the next two
    uint32_t* numbers;
    PlaceSpan* spans;
    OrderNumber<Address>* tops;  // every 16th bound, every 256th ...; null for 16 bounds or fewer
    uint32_t boundCount;
    uint32_t topLevels;
    std::array<size_t, MOST_SPAN_LEVELS> topStarts;  // in tops
    uint32_t spanLevels;
    std::array<size_t, MOST_SPAN_LEVELS> levelStarts;  // in spans
};

// Builds the lookup of ranges whose numbers ascend; null when memory is out, without a range, and with a number that
// is too high.
template <typename Address>
[[nodiscard]] FlatOrder<Address>* buildFlatOrder(const OrderedRange<Address>* ranges,
                                                 uint32_t count) noexcept;

// Frees a lookup; null is left alone.
template <typename Address>
void freeFlatOrder(FlatOrder<Address>* order) noexcept;

template <typename Address>
using OwnedFlatOrder = Owned<FlatOrder<Address>, freeFlatOrder<Address>>;

// The position of the last number that is not above the given one, among those of which the first, which is not above it
// either, is on the level above at a position.
template <typename Number>
[[nodiscard]] size_t lastNotAbove(const Number* numbers, size_t count, size_t positionAbove,
                                  Number number) noexcept {
    constexpr size_t NUMBERS_OF_LINE = 64 / sizeof(Number);
    const Number* first = numbers + (positionAbove << SPAN_SHIFT);
    for (size_t i = 0; i < SPANS_OF_NEXT; i += NUMBERS_OF_LINE) {
        __builtin_prefetch(first + i);
    }
    size_t length = std::min(SPANS_OF_NEXT, count - (positionAbove << SPAN_SHIFT));
    while (length > 1) {
        const size_t half = length / 2;
        first = first[half] <= number ? first + half : first;
        length -= half;
    }
    return static_cast<size_t>(first - numbers);
}

// The place of an address, counted from 1; 0 for one before all bounds.
template <typename Address>
[[nodiscard]] uint32_t placeInOrder(const FlatOrder<Address>& order,
                                    const Address& address) noexcept {
    const OrderNumber<Address> number = orderNumberOf(address);
    if (number < order.bounds[0]) {
        return 0;
    }
    size_t position = 0;
    for (uint32_t level = order.topLevels; level > 0; --level) {
        const size_t count = ((order.boundCount - 1) >> (SPAN_SHIFT * level)) + 1;
        position = lastNotAbove(order.tops + order.topStarts[level - 1], count, position, number);
    }
    return static_cast<uint32_t>(lastNotAbove(order.bounds, order.boundCount, position, number)) +
           1;
}

// The ranges listed under one centre that hold a place, by number.
template <typename Address>
class CentreWalk {
public:
    CentreWalk() = default;
    CentreWalk(const FlatOrder<Address>& order, uint32_t centre, uint32_t place) noexcept
        : order_(&order),
          place_(place),
          isRight_(place <= centre),
          position_(order.centres[centre]),
          end_(order.centres[centre + 1]) {
        settle();
    }

    [[nodiscard]] bool isAtEnd() const noexcept { return position_ == end_; }
    [[nodiscard]] uint32_t number() const noexcept { return order_->numbers[position_]; }

    void step() noexcept {
        ++position_;
        settle();
    }

private:
    [[nodiscard]] bool mayHold(uint32_t level, size_t i) const noexcept {
        const PlaceSpan& span = order_->spans[order_->levelStarts[level] + i];
        return isRight_ ? span.low <= place_ : place_ <= span.high;
    }

    // Goes on to the next range that holds the place. Positions at the end of a list share a span of a higher level
    // with the next list, so that such a span may promise what is not there.
    void settle() noexcept {
        uint32_t level = 0;
        for (size_t i = position_; i << (SPAN_SHIFT * level) < end_;) {
            if (mayHold(level, i)) {
                if (level == 0) {
                    position_ = static_cast<uint32_t>(i);
                    return;
                }
                --level;
                i <<= SPAN_SHIFT;
                continue;
            }
            ++i;
            while (level + 1 < order_->spanLevels && i % SPANS_OF_NEXT == 0) {
                ++level;
                i >>= SPAN_SHIFT;
            }
        }
        position_ = end_;
    }

    const FlatOrder<Address>* order_ = nullptr;
    uint32_t place_ = 0;
    bool isRight_ = false;  // the centre is the place, or to the right of it
    uint32_t position_ = 0;
    uint32_t end_ = 0;
};

// Asks the ranges that hold a place, without the first of them.
template <typename Address, typename Ask>
[[nodiscard]] int32_t askOthersInOrder(const FlatOrder<Address>& order, uint32_t place,
                                       uint32_t first, const Ask& ask) noexcept {
    std::array<CentreWalk<Address>, MOST_CENTRE_LEVELS> walks;
    uint32_t walkCount = 0;
    const auto topLevel = static_cast<uint32_t>(std::bit_width(order.boundCount));
    for (auto level = static_cast<uint32_t>(std::countr_zero(place)); level < topLevel; ++level) {
        const uint64_t centre = (uint64_t{place} >> (level + 1) << (level + 1)) | uint64_t{1}
                                                                                      << level;
        if (centre > order.boundCount) {
            continue;
        }
        const CentreWalk<Address> walk(order, static_cast<uint32_t>(centre), place);
        if (!walk.isAtEnd()) {
            walks[walkCount++] = walk;
        }
    }
    while (walkCount != 0) {
        uint32_t earliest = 0;
        for (uint32_t i = 1; i < walkCount; ++i) {
            earliest = walks[i].number() < walks[earliest].number() ? i : earliest;
        }
        const uint32_t number = walks[earliest].number();
        const int32_t status = number == first ? 0 : ask(number);
        if (status != 0) {
            return status;
        }
        walks[earliest].step();
        if (walks[earliest].isAtEnd()) {
            walks[earliest] = walks[--walkCount];
        }
    }
    return 0;
}

// Asks the ranges that hold an address, in order of their numbers: the first status but 0 that ask(number) answers, or 0.
template <typename Address, typename Ask>
[[nodiscard]] int32_t askInOrder(const FlatOrder<Address>& order, const Address& address,
                                 const Ask& ask) noexcept {
    const uint32_t place = placeInOrder(order, address);
    const uint32_t first = place == 0 ? NO_FIRST : order.firsts[place - 1];
    if (first == NO_FIRST) {
        return 0;
    }
    const uint32_t number = first & ~OTHERS_FOLLOW;
    const int32_t status = ask(number);
    return status != 0 || (first & OTHERS_FOLLOW) == 0
               ? status
               : askOthersInOrder(order, place, number, ask);
}

}  // namespace rs
