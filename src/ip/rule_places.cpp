#include "ip/rule_places.h"

#include <algorithm>
#include <type_traits>

#include "core/structure.h"
#include "ip/rank_set.h"
#include "syntax/address128.h"

namespace rs {

namespace {

// Each range has two tags.
constexpr uint32_t MOST_RANGES = UINT32_MAX / 2;

template <typename Address>
Address addressOf(const Address128& address) noexcept {
    if constexpr (std::is_same_v<Address, uint32_t>) {
        return address.words[3];
    } else {
        return address;
    }
}

template <typename Address>
bool isLast(const Address& address) noexcept {
    return nextAddress(address) == Address{};
}

// What the rules are read into: the tag of a host is its position, those of a range are twice its position, and one
// more for its end.
template <typename Address>
struct RuleAddresses {
    TaggedAddresses<Address>& hosts;
    TaggedAddresses<Address>& bounds;
    BuildArray<uint32_t> hostValues{};
    uint32_t hostCount = 0;
    uint32_t boundCount = 0;  // an end after all addresses has none
    uint32_t rangeCount = 0;
};

template <typename Address>
bool makeRoom(RulePlaces& places, RuleAddresses<Address>& read) noexcept {
    HostPlaces& hosts = places.hosts;
    RangePlaces& ranges = places.ranges;
    return read.hosts.reserve(hosts.count) && read.hostValues.reserve(hosts.count) &&
           hosts.ranks.reserve(hosts.count) && read.bounds.reserve(2 * uint64_t{ranges.count}) &&
           ranges.values.reserve(ranges.count) && ranges.ranges.reserve(ranges.count);
}

template <typename Address>
void readRule(const IpRule& rule, RuleAddresses<Address>& read, RangePlaces& ranges) noexcept {
    const auto low = addressOf<Address>(rule.addresses.startAddress);
    if (isSingle(rule)) {
        read.hostValues[read.hostCount] = rule.ruleValue;
        read.hosts[read.hostCount] = {low, read.hostCount};
        ++read.hostCount;
        return;
    }
    const auto high = addressOf<Address>(rule.addresses.endAddress);
    const uint32_t position = read.rangeCount++;
    ranges.values[position] = rule.ruleValue;
    read.bounds[read.boundCount++] = {low, 2 * position};
    if (isLast(high)) {
        ranges.ranges[position].end = NO_RANK;
    } else {
        read.bounds[read.boundCount++] = {nextAddress(high), 2 * position + 1};
    }
}

// Gives the hosts of one address their rank. Of those with one ruleValue the earliest has it.
template <typename Address>
void rankHosts(TaggedAddress<Address>* tagged, uint32_t count, const uint32_t* values,
               uint32_t rank, uint32_t* ranks) noexcept {
    using Tagged = TaggedAddress<Address>;
    const auto valueOf = [values](const Tagged& host) noexcept { return values[host.tag]; };
    if (count > 1) {
        std::sort(tagged, tagged + count, [&](const Tagged& left, const Tagged& right) noexcept {
            return valueOf(left) != valueOf(right) ? valueOf(left) < valueOf(right)
                                                   : left.tag < right.tag;
        });
    }
    for (uint32_t i = 0; i < count; ++i) {
        const bool isDuplicate = i > 0 && valueOf(tagged[i]) == valueOf(tagged[i - 1]);
        ranks[tagged[i].tag] = isDuplicate ? DUPLICATE_HOST : rank;
    }
}

template <typename Address>
bool placeHosts(RuleAddresses<Address>& read, HostPlaces& hosts) noexcept {
    if (!sortAddresses(read.hosts, hosts.count)) {
        return false;
    }
    hosts.addresses.keepSorted<Address>(
        hosts.count, [&](uint32_t rank, TaggedAddress<Address>* tagged, uint32_t count) noexcept {
            rankHosts(tagged, count, read.hostValues.get(), rank, hosts.ranks.get());
        });
    return true;
}

template <typename Address>
bool placeRanges(RuleAddresses<Address>& read, RangePlaces& ranges) noexcept {
    if (!sortAddresses(read.bounds, read.boundCount)) {
        return false;
    }
    ranges.addresses.keepSorted<Address>(
        read.boundCount,
        [&](uint32_t rank, const TaggedAddress<Address>* tagged, uint32_t count) noexcept {
            for (uint32_t i = 0; i < count; ++i) {
                RangePlace& place = ranges.ranges[tagged[i].tag / 2];
                (tagged[i].tag % 2 == 0 ? place.low : place.end) = rank;
            }
        });
    for (uint32_t i = 0; i < ranges.count; ++i) {
        RangePlace& place = ranges.ranges[i];
        place.end = place.end == NO_RANK ? ranges.addresses.count() : place.end;
    }
    return true;
}

// Counts the rules of each kind.
void countRules(RuleList& rules, RulePlaces& places) noexcept {
    static_cast<void>(forEachRule<IpRule>(rules, [&](const IpRule& rule, uint32_t) noexcept {
        uint32_t& count = isSingle(rule) ? places.hosts.count : places.ranges.count;
        uint32_t& ipv4Count = isSingle(rule) ? places.hosts.ipv4Count : places.ranges.ipv4Count;
        ++count;
        ipv4Count += hasIpv4View(rule) ? 1 : 0;
        return true;
    }));
}

template <typename Address>
bool placeRulesOf(RuleList& rules, RulePlaces& places) noexcept {
    RuleAddresses<Address> read{places.hosts.addresses.unsorted<Address>(),
                                places.ranges.addresses.unsorted<Address>()};
    if (!makeRoom(places, read)) {
        return false;
    }
    static_cast<void>(forEachRule<IpRule>(rules, [&](const IpRule& rule, uint32_t) noexcept {
        readRule(rule, read, places.ranges);
        return true;
    }));
    return placeHosts(read, places.hosts) && placeRanges(read, places.ranges);
}

}  // namespace

bool isSingle(const IpRule& rule) noexcept {
    return (rule.addresses.addressFlags & ADDRESS_FLAG_SINGLE) != 0;
}

bool hasIpv4View(const IpRule& rule) noexcept {
    if ((rule.addresses.addressFlags & ADDRESS_FLAG_IPV6) == 0) {
        return true;
    }
    return isIpv4Mapped(rule.addresses.startAddress) &&
           (isSingle(rule) || isIpv4Mapped(rule.addresses.endAddress));
}

bool placeRules(RuleList& rules, RulePlaces& places) noexcept {
    countRules(rules, places);
    if (places.ranges.count > MOST_RANGES) {
        return false;
    }
    const bool isNarrow = places.hosts.ipv4Count == places.hosts.count &&
                          places.ranges.ipv4Count == places.ranges.count;
    return isNarrow ? placeRulesOf<uint32_t>(rules, places)
                    : placeRulesOf<Address128>(rules, places);
}

}  // namespace rs
