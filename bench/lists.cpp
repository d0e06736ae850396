#include "lists.h"

#include <ruleset.h>

#include <algorithm>
#include <array>
#include <string>

#include "random.h"
#include "real_lists.h"

namespace bench {
namespace {

// The first 64 bits of IPv6 addresses are drawn from 2000::/3, where global addresses lie.
constexpr uint64_t IPV6_FIRST = uint64_t{1} << 61U;

// ------------------------------------------------------------------------------------------------ addresses

template <typename Address>
std::string rangeText(const Interval<Address>& range) {
    return textOf(range.first) + "-" + textOf(range.last);
}

RuleList makeIpv4Hosts(uint32_t count, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_IP, {}, {}, {}};
    for (uint32_t i = 0; i < count; ++i) {
        const Ipv4 address = scatter(i);
        list.ipv4.push_back({address, address});
        list.rules.add(textOf(address));
    }
    return list;
}

Ipv6 ipv6Host(uint64_t number) {
    return {IPV6_FIRST | mix(number) >> 3U, mix(~number)};
}

RuleList makeIpv6Hosts(uint32_t count, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_IP, {}, {}, {}};
    for (uint32_t i = 0; i < count; ++i) {
        const Ipv6 address = ipv6Host(i);
        list.ipv6.push_back({address, address});
        list.rules.add(textOf(address));
    }
    return list;
}

// A range in the first nine tenths of each of count equal cells. Addresses of no rule lie between them.
void addIpv4Cells(Intervals<Ipv4>& ranges, uint32_t count, Random& random) {
    const uint64_t cell = (uint64_t{1} << 32U) / count;
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t low = i * cell + random.below(cell / 4);
        const uint64_t high = low + random.between(1, cell * 9 / 10 - cell / 4);
        ranges.push_back({static_cast<Ipv4>(low), static_cast<Ipv4>(high)});
    }
}

RuleList listOfIpv4Ranges(Intervals<Ipv4> ranges, Random& random) {
    shuffle(ranges, random);
    RuleList list{RULE_TYPE_IP, {}, std::move(ranges), {}};
    for (const Interval<Ipv4>& range : list.ipv4) {
        list.rules.add(rangeText(range));
    }
    return list;
}

RuleList makeIpv4Ranges(uint32_t count, const std::string& /*directory*/) {
    Random random(count);
    Intervals<Ipv4> ranges;
    addIpv4Cells(ranges, count, random);
    return listOfIpv4Ranges(std::move(ranges), random);
}

RuleList makeIpv4Overlapping(uint32_t count, const std::string& /*directory*/) {
    Random random(count);
    Intervals<Ipv4> ranges;
    addIpv4Cells(ranges, count * 2 / 5, random);
    addIpv4Cells(ranges, count - count * 2 / 5, random);
    return listOfIpv4Ranges(std::move(ranges), random);
}

// A prefix of 32 to 64 bits in the lower half of each cell.
RuleList makeIpv6Prefixes(uint32_t count, const std::string& /*directory*/) {
    Random random(count);
    const uint64_t cell = (uint64_t{1} << 61U) / count;
    std::vector<uint32_t> order(count);
    for (uint32_t i = 0; i < count; ++i) {
        order[i] = i;
    }
    shuffle(order, random);
    RuleList list{RULE_TYPE_IP, {}, {}, {}};
    for (const uint32_t i : order) {
        const auto length = static_cast<uint32_t>(random.between(32, 64));
        const uint64_t rest = length == 64 ? 0 : UINT64_MAX >> length;
        const uint64_t place = IPV6_FIRST + i * cell + cell / 4 + random.below(cell / 4);
        const Interval<Ipv6> prefix = {{place & ~rest, 0}, {place | rest, UINT64_MAX}};
        list.ipv6.push_back(prefix);
        list.rules.add(textOf(prefix.first) + "/" + std::to_string(length));
    }
    return list;
}

// ------------------------------------------------------------------------------------------------ endpoints

// The addresses of another list as first addresses.
RuleList withEndpoints(RuleList list, int32_t type) {
    const bool isFilter = type == RULE_TYPE_PACKET_FILTER;
    TextList rules;
    for (size_t i = 0; i < list.rules.size(); ++i) {
        rules.add((isFilter ? "tcp;" : "") + std::string(list.rules[i]) +
                  (isFilter ? ";443;*;*" : ";443;*;*;1"));
    }
    list.type = type;
    list.rules = std::move(rules);
    return list;
}

RuleList makeIpPortIpv4(uint32_t count, const std::string& directory) {
    return withEndpoints(makeIpv4Hosts(count, directory), RULE_TYPE_IP_PORT);
}
RuleList makeIpPortIpv6(uint32_t count, const std::string& directory) {
    return withEndpoints(makeIpv6Hosts(count, directory), RULE_TYPE_IP_PORT);
}
RuleList makeFilterIpv4(uint32_t count, const std::string& directory) {
    return withEndpoints(makeIpv4Hosts(count, directory), RULE_TYPE_PACKET_FILTER);
}
RuleList makeFilterIpv6(uint32_t count, const std::string& directory) {
    return withEndpoints(makeIpv6Hosts(count, directory), RULE_TYPE_PACKET_FILTER);
}
RuleList makeIpPortRanges(uint32_t count, const std::string& directory) {
    return withEndpoints(makeIpv6Prefixes(count, directory), RULE_TYPE_IP_PORT);
}

// ------------------------------------------------------------------------------------------------ names and URLs

std::string makeWord(Random& random, uint64_t fewestSyllables, uint64_t mostSyllables) {
    constexpr std::string_view CONSONANTS = "bcdfghklmnprstvz";
    constexpr std::string_view VOWELS = "aeiou";
    std::string word;
    for (uint64_t i = random.between(fewestSyllables, mostSyllables); i > 0; --i) {
        word += CONSONANTS[random.below(CONSONANTS.size())];
        word += VOWELS[random.below(VOWELS.size())];
    }
    return random.below(4) == 0 ? word + std::to_string(random.below(100)) : word;
}

std::string makeHost(uint64_t number) {
    return makeName(number, 1);
}

void addUrls(TextList& rules, uint32_t count) {
    Random random(count);
    uint64_t hosts = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const bool sharesHost = hosts != 0 && random.below(8) == 0;
        rules.add(makeHost(sharesHost ? random.below(hosts) : hosts) + makePath(random.next()));
        hosts += sharesHost ? 0 : 1;
    }
}

RuleList makeNames(uint32_t count, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_FQDN, {}, {}, {}};
    for (uint32_t i = 0; i < count; ++i) {
        list.rules.add("*." + makeName(i, 0));
    }
    return list;
}

RuleList makeUrls(uint32_t count, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_URL, {}, {}, {}};
    addUrls(list.rules, count);
    return list;
}

RuleList makeCrowdedUrls(uint32_t count, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_URL, {}, {}, {}};
    for (uint32_t i = 0; i < CROWDED_HOST_PATHS; ++i) {
        list.rules.add("crowded.example.com" + makePath(mix(i)));
    }
    addUrls(list.rules, count - CROWDED_HOST_PATHS);
    return list;
}

constexpr ListKind KINDS[] = {
    {"ipv4_hosts", makeIpv4Hosts, false},
    {"ipv6_hosts", makeIpv6Hosts, false},
    {"ipv4_ranges", makeIpv4Ranges, false},
    {"ipv4_overlapping", makeIpv4Overlapping, false},
    {"ipv6_prefixes", makeIpv6Prefixes, false},
    {"ip_port_ipv4", makeIpPortIpv4, false},
    {"ip_port_ipv6", makeIpPortIpv6, false},
    {"packet_filter_ipv4", makeFilterIpv4, false},
    {"packet_filter_ipv6", makeFilterIpv6, false},
    {"ip_port_ranges", makeIpPortRanges, false},
    {"names", makeNames, false},
    {"urls", makeUrls, false},
    {"urls_crowded", makeCrowdedUrls, false},
    {"real_ipv4_overlapping", makeRealIpv4Overlapping, true},
    {"real_ipv6_prefixes", makeRealIpv6Prefixes, true},
    {"real_names", makeRealNames, true},
};

}  // namespace

// A quarter of the names are under a parent that neighbours of their number have, too; half have labels in front.
std::string makeName(uint64_t number, uint64_t seed) {
    constexpr std::array<const char*, 12> ENDS = {"com", "com", "com", "com", "net",   "org",
                                                  "de",  "ru",  "top", "xyz", "co.uk", "info"};
    constexpr std::array<const char*, 6> USUAL = {"www", "mail", "cdn", "img", "api", "ads"};
    Random random(mix(number + (seed << 40U)));
    std::string front;
    const bool hasParent = random.below(4) == 0;
    if (random.below(12) == 0) {
        front = std::string(USUAL[random.below(USUAL.size())]) + ".";
    }
    if (hasParent || random.below(3) == 0) {
        front += makeWord(random, 1, 4) + ".";
    }
    Random parent(mix((hasParent ? number / 8 : number) + (seed << 40U) + (hasParent ? 1 : 2)));
    return front + makeWord(parent, 4, 8) + "." + ENDS[parent.below(ENDS.size())];
}

// A folder, as "/pola/dire/", or a file, as "/pola/dire.html": no path goes on inside of a piece of another.
std::string makePath(uint64_t number) {
    constexpr std::array<const char*, 4> ENDS = {".html", ".php", ".js", ".zip"};
    Random random(mix(number));
    std::string path = "/";
    for (uint64_t i = random.below(6); i > 0; --i) {
        path += makeWord(random, 1, 5) + "/";
    }
    path += makeWord(random, 2, 5);
    return path + (random.below(4) == 0 ? "/" : ENDS[random.below(ENDS.size())]);
}

std::span<const ListKind> listKinds() {
    return KINDS;
}

const ListKind* findListKind(std::string_view name) {
    const auto* kind = std::find_if(std::begin(KINDS), std::end(KINDS),
                                    [name](const ListKind& each) { return each.name == name; });
    return kind == std::end(KINDS) ? nullptr : kind;
}

}  // namespace bench
