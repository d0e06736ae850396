#include "ip/cover_index.h"

#include <algorithm>

#include "ip/address_order.h"

namespace rs {

bool CoverIndex::reserve(const RangePlaces& ranges) noexcept {
    ranges_ = &ranges;
    // Sorted as addresses that end with the ruleValue and the rank.
    TaggedAddresses<Address128> tagged;
    if (!tagged.reserve(ranges.count) || !keys_.reserve(ranges.count) ||
        !positions_.reserve(ranges.count) || !places_.reserve(ranges.count) ||
        !held_.reserve(ranges.count)) {
        return false;
    }
    for (uint32_t i = 0; i < ranges.count; ++i) {
        tagged[i] = {{{0, 0, ranges.values[i], ranges.ranges[i].low}}, i};
    }
    if (!sortAddresses(tagged, ranges.count)) {
        return false;
    }
    for (uint32_t place = 0; place < ranges.count; ++place) {
        const TaggedAddress<Address128>& at = tagged[place];
        keys_[place] = keyOf(at.address.words[2], at.address.words[3]);
        positions_[place] = at.tag;
        places_[at.tag] = place;
    }
    return true;
}

void CoverIndex::add(uint32_t position) noexcept {
    const uint32_t place = places_[position];
    const uint32_t ruleValue = ranges_->values[position];
    const uint32_t end = ranges_->ranges[position].end;
    const uint32_t before = held_.atOrBefore(place);
    if (isOfValue(before, ruleValue) && endAt(before) >= end) {
        return;
    }
    for (;;) {
        const uint32_t next = held_.atOrAfter(place);
        if (!isOfValue(next, ruleValue) || endAt(next) > end) {
            break;
        }
        held_.remove(next);
    }
    held_.add(place);
}

uint32_t CoverIndex::reach(uint32_t ruleValue, uint32_t rank) const noexcept {
    const uint64_t* first = keys_.get();
    const uint64_t* after = std::upper_bound(first, first + ranges_->count, keyOf(ruleValue, rank));
    if (after == first) {
        return 0;
    }
    const uint32_t place = held_.atOrBefore(static_cast<uint32_t>(after - first - 1));
    return isOfValue(place, ruleValue) ? endAt(place) : 0;
}

}  // namespace rs
