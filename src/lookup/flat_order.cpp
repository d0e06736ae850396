#include "lookup/flat_order.h"

#include <algorithm>

#include "core/lines.h"

namespace rs {

namespace {

// Both ends of a range as places, counted from 1.
using RangePlaces = PlaceSpan;

// The steps of a build share what they know. Arrays of places have one more than there are bounds, as places count
// from 1; their last value is a stop.
template <typename Address>
class OrderBuild {
public:
    OrderBuild(const OrderedRange<Address>* ranges, uint32_t count) noexcept
        : ranges_(ranges), count_(count), order_(allocateRecord<FlatOrder<Address>>()) {}

    [[nodiscard]] FlatOrder<Address>* run() noexcept {
        return order_ && sortBounds() && pickTops() && findPlaces() && countHolders() &&
                       paintFirsts() && listShared() && summarize()
                   ? order_.release()
                   : nullptr;
    }

private:
    using Number = OrderNumber<Address>;

    // Of bounds and tops lookups prefetch a whole node, so both have room for one after the last.
    bool sortBounds() noexcept {
        Number* bounds = order_->bounds = allocateLines<Number>(2 * size_t{count_} + SPANS_OF_NEXT);
        if (bounds == nullptr) {
            return false;
        }
        Number* end = bounds;
        for (uint32_t i = 0; i < count_; ++i) {
            const auto after = static_cast<Number>(orderNumberOf(ranges_[i].high) + 1);
            *end++ = orderNumberOf(ranges_[i].low);
            if (after != 0) {
                *end++ = after;
            }
        }
        std::sort(bounds, end);
        order_->boundCount = static_cast<uint32_t>(std::unique(bounds, end) - bounds);
        return true;
    }

    static size_t nextLevelCount(size_t count) noexcept {
        return (count + SPANS_OF_NEXT - 1) >> SPAN_SHIFT;
    }

    // The last level of tops has 16 or fewer.
    bool pickTops() noexcept {
        size_t topCount = 0;
        for (size_t count = order_->boundCount; count > SPANS_OF_NEXT;) {
            count = nextLevelCount(count);
            order_->topStarts[order_->topLevels++] = topCount;
            topCount += count;
        }
        if (topCount == 0) {
            return true;
        }
        order_->tops = allocateLines<Number>(topCount + SPANS_OF_NEXT);
        if (order_->tops == nullptr) {
            return false;
        }
        const Number* below = order_->bounds;
        size_t count = order_->boundCount;
        for (uint32_t level = 0; level < order_->topLevels; ++level) {
            Number* tops = order_->tops + order_->topStarts[level];
            for (size_t i = 0; i < count; i += SPANS_OF_NEXT) {
                tops[i >> SPAN_SHIFT] = below[i];
            }
            below = tops;
            count = nextLevelCount(count);
        }
        return true;
    }

    bool findPlaces() noexcept {
        places_.reset(allocateArray<RangePlaces>(count_));
        if (!places_) {
            return false;
        }
        for (uint32_t i = 0; i < count_; ++i) {
            places_[i] = {placeInOrder(*order_, ranges_[i].low),
                          placeInOrder(*order_, ranges_[i].high)};
        }
        return true;
    }

    // crowdedUpTo_[p] is how many places up to p are in several ranges.
    bool countHolders() noexcept {
        crowdedUpTo_.reset(allocateArray<uint32_t>(size_t{order_->boundCount} + 2));
        if (!crowdedUpTo_) {
            return false;
        }
        for (uint32_t i = 0; i < count_; ++i) {
            ++crowdedUpTo_[places_[i].low];
            --crowdedUpTo_[size_t{places_[i].high} + 1];  // wraps around, until all are added
        }
        uint32_t holders = 0;
        uint32_t crowded = 0;
        for (size_t place = 1; place <= order_->boundCount; ++place) {
            holders += crowdedUpTo_[place];
            crowdedUpTo_[place] = crowded += holders > 1 ? 1 : 0;
        }
        return true;
    }

    [[nodiscard]] bool isShared(uint32_t low, uint32_t high) const noexcept {
        return crowdedUpTo_[high] != crowdedUpTo_[low - 1];
    }

    // Each range takes the places in it that no range before it has taken.
    bool paintFirsts() noexcept {
        const size_t count = order_->boundCount;
        order_->firsts = allocateLines<uint32_t>(count);
        OwnedMemory<uint32_t[]> nextFree(allocateArray<uint32_t>(count + 2));
        if (order_->firsts == nullptr || !nextFree) {
            return false;
        }
        std::fill_n(order_->firsts, count, NO_FIRST);
        for (uint32_t place = 0; place < count + 2; ++place) {
            nextFree[place] = place;
        }
        const auto freeFrom = [&nextFree](uint32_t place) noexcept {
            while (nextFree[place] != place) {
                place = nextFree[place] = nextFree[nextFree[place]];
            }
            return place;
        };
        for (uint32_t i = 0; i < count_; ++i) {
            for (uint32_t place = freeFrom(places_[i].low); place <= places_[i].high;
                 place = freeFrom(place)) {
                order_->firsts[place - 1] =
                    ranges_[i].number | (isShared(place, place) ? OTHERS_FOLLOW : 0);
                nextFree[place] = place + 1;
            }
        }
        return true;
    }

    static uint32_t centreOf(const RangePlaces& range) noexcept {
        const auto shift = static_cast<uint32_t>(std::bit_width((range.low - 1) ^ range.high)) - 1;
        return range.high >> shift << shift;
    }

    template <typename Visit>
    void forEachShared(const Visit& visit) const noexcept {
        for (uint32_t i = 0; i < count_; ++i) {
            if (isShared(places_[i].low, places_[i].high)) {
                visit(centreOf(places_[i]), i);
            }
        }
    }

    // Counts what is listed under each centre, then puts it there: centres[c + 1] is where the next one goes, until
    // all of c are there.
    bool listShared() noexcept {
        forEachShared([this](uint32_t /*centre*/, uint32_t /*i*/) noexcept { ++sharedCount_; });
        if (sharedCount_ == 0) {
            return true;
        }
        const size_t centreCount = size_t{order_->boundCount} + 2;
        order_->centres = allocateLines<uint32_t>(centreCount + 1);
        order_->numbers = allocateLines<uint32_t>(sharedCount_);
        order_->spans = allocateLines<PlaceSpan>(spanCount());
        if (order_->centres == nullptr || order_->numbers == nullptr || order_->spans == nullptr) {
            return false;
        }
        uint32_t* nextOf = order_->centres + 1;
        forEachShared([nextOf](uint32_t centre, uint32_t) noexcept { ++nextOf[centre + 1]; });
        for (size_t centre = 0; centre + 1 < centreCount; ++centre) {
            nextOf[centre + 1] += nextOf[centre];
        }
        forEachShared([this, nextOf](uint32_t centre, uint32_t i) noexcept {
            const uint32_t position = nextOf[centre]++;
            order_->numbers[position] = ranges_[i].number;
            order_->spans[position] = places_[i];
        });
        return true;
    }

    // Of all levels, whose starts are noted on the way.
    size_t spanCount() noexcept {
        size_t start = 0;
        for (size_t count = sharedCount_;; count = nextLevelCount(count)) {
            order_->levelStarts[order_->spanLevels++] = start;
            start += count;
            if (count == 1) {
                return start;
            }
        }
    }

    bool summarize() noexcept {
        size_t count = sharedCount_;
        for (uint32_t level = 1; level < order_->spanLevels; ++level) {
            const PlaceSpan* below = order_->spans + order_->levelStarts[level - 1];
            PlaceSpan* spans = order_->spans + order_->levelStarts[level];
            for (size_t i = 0; i < count; ++i) {
                PlaceSpan& span = spans[i >> SPAN_SHIFT];
                const bool isFirst = i % SPANS_OF_NEXT == 0;
                span.low = isFirst ? below[i].low : std::min(span.low, below[i].low);
                span.high = isFirst ? below[i].high : std::max(span.high, below[i].high);
            }
            count = nextLevelCount(count);
        }
        return true;
    }

    const OrderedRange<Address>* ranges_;
    uint32_t count_;
    OwnedFlatOrder<Address> order_;
    OwnedMemory<RangePlaces[]> places_;
    OwnedMemory<uint32_t[]> crowdedUpTo_;
    size_t sharedCount_ = 0;
};

}  // namespace

template <typename Address>
FlatOrder<Address>* buildFlatOrder(const OrderedRange<Address>* ranges, uint32_t count) noexcept {
    if (count == 0 || ranges[count - 1].number >= OTHERS_FOLLOW - 1) {
        return nullptr;
    }
    return OrderBuild<Address>(ranges, count).run();
}

template <typename Address>
void freeFlatOrder(FlatOrder<Address>* order) noexcept {
    if (order == nullptr) {
        return;
    }
    freeLines(order->bounds);
    freeLines(order->tops);
    freeLines(order->firsts);
    freeLines(order->centres);
    freeLines(order->numbers);
    freeLines(order->spans);
    freeMemory(order);
}

template FlatOrder<uint32_t>* buildFlatOrder(const OrderedRange<uint32_t>*, uint32_t) noexcept;
template FlatOrder<Address128>* buildFlatOrder(const OrderedRange<Address128>*, uint32_t) noexcept;
template void freeFlatOrder(FlatOrder<uint32_t>*) noexcept;
template void freeFlatOrder(FlatOrder<Address128>*) noexcept;

}  // namespace rs
