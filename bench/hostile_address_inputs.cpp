// Rules that hold addresses: IP, packet filter, IP:Port and compound rules.
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

#include "addresses.h"
#include "hostile_families.h"
#include "random.h"

namespace bench {
namespace {

std::string hexadecimal(uint32_t number) {
    std::array<char, 9> digits{};
    std::snprintf(digits.data(), digits.size(), "%x", number);
    return digits.data();
}

// The shortest text of the IPv6 address whose last 32 bits are given.
std::string shortIpv6(uint32_t low) {
    return low <= 0xFFFF ? "::" + hexadecimal(low)
                         : "::" + hexadecimal(low >> 16U) + ":" + hexadecimal(low & 0xFFFFU);
}

std::string ipv4(uint32_t address) {
    return textOf(address);
}

uint32_t randomWord(Random& random) {
    return static_cast<uint32_t>(random.next());
}

// One item or more, between commas, of about so many bytes.
std::string listOf(const std::string& item, size_t bytes) {
    return filled(item + ",", bytes) + item;
}

// ------------------------------------------------------------------------------------------------ IP rules

void randomAddresses(HostileInput& input) {
    Random random(1);
    std::string rule;
    do {
        const uint32_t address = randomWord(random);
        const auto length = static_cast<uint32_t>(20 + random.below(12));
        input.addIpv4Key(address);
        rule = random.below(2) == 0
                   ? ipv4(address)
                   : ipv4(address & UINT32_MAX << (32 - length)) + "/" + std::to_string(length);
    } while (input.add(rule));
}

void nestedRanges(HostileInput& input, bool ownValues) {
    // Short texts allow more rules, as long as there are enough of them.
    const uint32_t middle = input.limit() < 200'000 ? 0x7000 : 0x7000000;
    for (uint32_t i = 1;
         input.add(shortIpv6(middle - i) + "-" + shortIpv6(middle + i), ownValues ? i : 1); ++i) {
    }
    input.addIpv6Key({0, 0, 0, middle});
}
void nestedValues(HostileInput& input) {
    nestedRanges(input, true);
}
void nestedOneValue(HostileInput& input) {
    nestedRanges(input, false);
}

void addSeparatePairs(HostileInput& input, uint32_t value) {
    for (uint32_t i = 1; !input.isHalfFull() && input.add(shortIpv6(4 * i) + "/127", value); ++i) {
    }
}

void narrowWideOneValue(HostileInput& input) {
    addSeparatePairs(input, 1);
    input.repeat("::/1");
    input.addIpv6Key({0, 0, 0, 7});
}

void narrowWideValues(HostileInput& input) {
    addSeparatePairs(input, 1);
    for (uint32_t value = 2; input.add("::/9", value); ++value) {
    }
    input.addIpv6Key({0, 0, 0, 7});
}

// Later ranges are ever wider, and each holds all narrow ones. The values are so few that the pieces of the narrow ranges
// have few entries each.
void addWidening(HostileInput& input, uint32_t valueCount) {
    addSeparatePairs(input, 0);
    const auto narrowCount = static_cast<uint32_t>(input.rules().size());
    for (uint32_t i = 1; input.add("::-" + shortIpv6(4 * narrowCount + 2 * i), i % valueCount);
         ++i) {
    }
    input.addIpv6Key({0, 0, 0, 7});
}
void narrowWiderOneValue(HostileInput& input) {
    addWidening(input, 1);
}
void narrowWiderValues(HostileInput& input) {
    addWidening(input, 8);
}

void twoValuesWideFirst(HostileInput& input) {
    input.add("::/1", 1);
    for (uint32_t i = 1; input.add(shortIpv6(2 * i) + "/127", 2); ++i) {
    }
    input.addIpv6Key({0, 0, 0, 7});
}

void sameHostValues(HostileInput& input) {
    for (uint32_t value = 1; input.add("::", value); ++value) {
    }
    input.addIpv6Key({});
}

// Calls add with IPv4 addresses of one sum of weighted octets, as long as it returns true.
template <typename Add>
void forEachHostOfOneSum(const Add& add) {
    constexpr uint32_t SUM = 6500;
    for (uint32_t octets = 0; octets < 1U << 24U; ++octets) {
        const uint32_t others =
            37 * (octets >> 16U) + 19 * (octets >> 8U & 0xFFU) + 17 * (octets & 0xFFU);
        const uint32_t last = (SUM - others) / 13;
        if (others > SUM || (SUM - others) % 13 != 0 || last > 255) {
            continue;
        }
        if (!add(octets << 8U | last)) {
            return;
        }
    }
}

void hostsOfOneSum(HostileInput& input) {
    forEachHostOfOneSum([&input](uint32_t address) {
        input.addIpv4Key(address);
        return input.add(ipv4(address));
    });
}

constexpr HostileFamily IP_FAMILIES[] = {
    {"random", "half IPv4 hosts, half prefixes of 20 to 31 bits, one ruleValue", "",
     randomAddresses},
    {"nested_values", "`::6fff-::7001`, `::6ffe-::7002` and so on, a ruleValue each",
     "each range has an entry in every piece that it overlaps with another ruleValue: the square "
     "of their number",
     nestedValues},
    {"nested_one_value", "the same with one ruleValue",
     "each range meets the pieces of those before it: the number of ranges", nestedOneValue},
    {"narrow_wide_one_value", "half `::4/127`, `::8/127` and so on, then `::/1` again and again",
     "the first wide range fills each gap between the narrow ones: the number of gaps",
     narrowWideOneValue},
    {"narrow_wide_values", "the same narrow ranges, then `::/9` with a ruleValue each",
     "each range has an entry in every piece that it overlaps: the narrow ranges times the "
     "different ruleValues of the wide ones",
     narrowWideValues},
    {"narrow_wider_one_value",
     "half `::4/127`, `::8/127` and so on, then `::-::a002`, `::-::a004` and so on over all of "
     "them",
     "each wide range meets the pieces of those before it: the number of ranges",
     narrowWiderOneValue},
    {"narrow_wider_values", "the same with eight ruleValues in turn",
     "each wide range meets the pieces of those before it, and has an entry in those that its "
     "ruleValue has not covered: the number of ranges times the ruleValues",
     narrowWiderValues},
    {"two_values_wide_first",
     "`::/1` with one ruleValue, then `::2/127`, `::4/127` and so on with another",
     "each narrow range cuts the wide one: their number", twoValuesWideFirst},
    {"same_host6_values", "`::` again and again, a ruleValue each",
     "one node holds an entry for each rule: their number", sameHostValues},
    {"hosts_of_one_sum", "IPv4 hosts with one sum of weighted octets, which is their hash",
     "one chain of a table of 4,095 buckets holds them all: the number of such hosts",
     hostsOfOneSum},
};

// ------------------------------------------------------------------------------------------------ endpoint rules

void randomEndpoints(HostileInput& input, const std::string& before, const std::string& after) {
    Random random(5);
    std::string rule;
    do {
        const uint32_t first = randomWord(random) & 0xFFFFFF00;
        const uint32_t second = randomWord(random) & 0xFFFFFF00;
        input.addIpv4Key(first, 80, second, 7);
        rule = before + ipv4(first) + "/24;80,443;" + ipv4(second) + "/24;1-65535" + after;
    } while (input.add(rule));
}
void randomFilters(HostileInput& input) {
    randomEndpoints(input, "tcp;", "");
}
void randomPairs(HostileInput& input) {
    randomEndpoints(input, "", ";1");
}

// Rules with single first addresses, each of which is looked up.
void addFirstHost4(HostileInput& input, uint32_t address) {
    input.addIpv4Key(address, 9, address, 9);
}

template <typename IsAdded>
void firstHosts(HostileInput& input, const IsAdded& isAdded) {
    Random random(9);
    uint32_t address = 0;
    do {
        address = randomWord(random);
        addFirstHost4(input, address);
    } while (isAdded(ipv4(address)));
}

template <typename IsAdded>
void firstHostsOfOneSum(HostileInput& input, const IsAdded& isAdded) {
    forEachHostOfOneSum([&](uint32_t address) {
        addFirstHost4(input, address);
        return isAdded(ipv4(address));
    });
}

// The first and the last word of an address have one sum, which is what its hash is made of.
template <typename IsAdded>
void firstIpv6HostsOfOneSum(HostileInput& input, const IsAdded& isAdded) {
    constexpr uint32_t SUM = 0x2A030000;
    uint32_t word = 0;
    do {
        ++word;
        input.addIpv6Key({SUM - word, 0, 0, word}, 9, {}, 9);
    } while (isAdded(textOf(Ipv6{uint64_t{SUM - word} << 32U, word})));
}

// All addresses but the last: a range, while the one of all addresses is "*".
constexpr const char* ALMOST_ALL = "0.0.0.0-255.255.255.254";

void wideFilters(HostileInput& input) {
    input.repeat(std::string("tcp;") + ALMOST_ALL + ";9;*;9");
    input.addIpv4Key(1, 8, 1, 8);
}

void wideFiltersWithPorts(HostileInput& input) {
    input.repeat(std::string("tcp;") + ALMOST_ALL + ";" + listOf("9", 4000) + ";*;9");
    input.addIpv4Key(1, 8, 1, 8);
}

void filterPorts(HostileInput& input) {
    input.repeat("tcp;::;" + listOf("9", 4060) + ";::;9");
    input.addIpv6Key({}, 8);
}

void filtersOfOneAddress(HostileInput& input) {
    input.repeat("tcp;::;9;::;9");
    input.addIpv6Key({}, 8);
}

void filterHosts(HostileInput& input) {
    firstHosts(input,
               [&input](const std::string& host) { return input.add("tcp;" + host + ";9;*;9"); });
}
void filterHostsOfOneSum(HostileInput& input) {
    firstHostsOfOneSum(
        input, [&input](const std::string& host) { return input.add("tcp;" + host + ";9;*;9"); });
}
void filterIpv6HostsOfOneSum(HostileInput& input) {
    firstIpv6HostsOfOneSum(
        input, [&input](const std::string& host) { return input.add("tcp;" + host + ";9;*;9"); });
}

constexpr HostileFamily PACKET_FILTER_FAMILIES[] = {
    {"random", "`tcp;a.b.c.0/24;80,443;d.e.f.0/24;1-65535`", "", randomFilters},
    {"wide_blocks", "`tcp;0.0.0.0-255.255.255.254;9;*;9` again and again",
     "a range has an entry in each /16 block that it touches, 65,536 at most: the number of such "
     "rules",
     wideFilters},
    {"wide_blocks_ports", "the same with 2,000 ports in a rule of 4,095 bytes",
     "a rule has an entry in each /16 block, and a lookup walks the ports of all rules of a block: "
     "the number of such rules",
     wideFiltersWithPorts},
    {"ports", "`tcp;::;9,9,9...;::;9` of 4,095 bytes",
     "every port of every rule of one first address is compared: their number", filterPorts},
    {"one_first_address", "`tcp;::;9;::;9` again and again",
     "every rule of one first address is walked: their number", filtersOfOneAddress},
    {"first_hosts", "`tcp;a.b.c.d;9;*;9`, random IPv4 hosts as first addresses",
     "the addresses of a table of 4,095 buckets share them: their number", filterHosts},
    {"first_hosts_of_one_sum",
     "first addresses with one sum of weighted octets, which is their hash",
     "one chain holds them all: the number of such addresses", filterHostsOfOneSum},
    {"first_hosts6_of_one_sum",
     "IPv6 first addresses with one sum of their words, which is their hash",
     "one chain holds them all: the number of such addresses", filterIpv6HostsOfOneSum},
};

void crossIpv6Ports(HostileInput& input) {
    input.repeat(listOf("::", 2030) + ";" + listOf("9", 2030) + ";::;9;1");
    input.addIpv6Key({}, 8, {0, 0, 0, 1}, 8);
}

void crossIpv4Any(HostileInput& input) {
    input.repeat(listOf("0.0.0.0-255.255.255.255", 2030) + ";" + listOf("9", 2000) +
                 ";0.0.0.0;9;1");
    input.addIpv4Key(0x01020304, 8, 0, 8);
}

void widePairs(HostileInput& input) {
    input.repeat(std::string(ALMOST_ALL) + ";9;*;9;1");
    input.addIpv4Key(1, 8, 1, 8);
}

void widePairsWithPorts(HostileInput& input) {
    input.repeat(std::string(ALMOST_ALL) + ";" + listOf("9", 4000) + ";*;9;1");
    input.addIpv4Key(1, 8, 1, 8);
}

void halvesOfAll(HostileInput& input) {
    input.repeat(listOf("0.0.0.0/1", 4060) + ";9;*;9;1");
    input.addIpv4Key(1, 8, 1, 8);
}

void pairsOfOneAddress(HostileInput& input) {
    input.repeat("::;9;::;9;1");
    input.addIpv6Key({}, 8);
}

void pairHosts(HostileInput& input) {
    firstHosts(input, [&input](const std::string& host) { return input.add(host + ";9;*;9;1"); });
}
void pairHostsOfOneSum(HostileInput& input) {
    firstHostsOfOneSum(input,
                       [&input](const std::string& host) { return input.add(host + ";9;*;9;1"); });
}
void pairIpv6HostsOfOneSum(HostileInput& input) {
    firstIpv6HostsOfOneSum(
        input, [&input](const std::string& host) { return input.add(host + ";9;*;9;1"); });
}

constexpr HostileFamily IP_PORT_FAMILIES[] = {
    {"random", "`a.b.c.0/24;80,443;d.e.f.0/24;1-65535;1`", "", randomPairs},
    {"cross6_ports",
     "680 times `::` as first address and 1,000 times port `9`, in rules of 4,095 bytes",
     "a lookup walks the ports of every rule for its address: the bytes of the list",
     crossIpv6Ports},
    {"cross4_any",
     "80 times all IPv4 addresses as first address and 1,000 times port `9`, likewise",
     "a lookup walks the ports of every rule for all addresses: the bytes of the list",
     crossIpv4Any},
    {"wide_blocks", "`0.0.0.0-255.255.255.254;9;*;9;1` again and again",
     "a range has an entry in each /16 block that it touches, 65,536 at most: the number of such "
     "rules",
     widePairs},
    {"wide_blocks_ports", "the same with 2,000 ports in a rule of 4,095 bytes",
     "a rule has an entry in each /16 block, and a lookup walks the ports of all rules of a block: "
     "the number of such rules",
     widePairsWithPorts},
    {"halves_of_all", "400 times `0.0.0.0/1` as first address of one rule",
     "a rule has an entry in each /16 block that it touches, 65,536 at most: the number of such "
     "rules",
     halvesOfAll},
    {"one_first_address", "`::;9;::;9;1` again and again",
     "every rule of one first address is walked: their number", pairsOfOneAddress},
    {"first_hosts", "`a.b.c.d;9;*;9;1`, random IPv4 hosts as first addresses",
     "the addresses of a table of 4,095 buckets share them: their number", pairHosts},
    {"first_hosts_of_one_sum",
     "first addresses with one sum of weighted octets, which is their hash",
     "one chain holds them all: the number of such addresses", pairHostsOfOneSum},
    {"first_hosts6_of_one_sum",
     "IPv6 first addresses with one sum of their words, which is their hash",
     "one chain holds them all: the number of such addresses", pairIpv6HostsOfOneSum},
};

// ------------------------------------------------------------------------------------------------ compound rules

void randomCompounds(HostileInput& input) {
    Random random(7);
    std::string rule;
    do {
        rule = "10-20," + std::to_string(random.below(100'000)) + ";*;" +
               ipv4(randomWord(random) & 0xFFFFFF00) + "/24;80,443;1;0";
    } while (input.add(rule));
    input.addIpv4Key(0x01020304);
}

void compoundPorts(HostileInput& input) {
    input.repeat("0;9;::;" + listOf("9", 4070) + ";2;0");
    input.addIpv4Key(0x01020304);
}

void compoundStars(HostileInput& input) {
    input.repeat("0;9;" + listOf("*", 4070) + ";9;2;0");
    input.addIpv4Key(0x01020304);
}

constexpr HostileFamily COMPOUND_FAMILIES[] = {
    {"random", "`10-20,n;*;a.b.c.0/24;80,443;1;0`", "", randomCompounds},
    {"ports16", "2,030 times `9` in field 4, in rules of 4,095 bytes",
     "a lookup walks every item of every rule: the bytes of the list", compoundPorts},
    {"addresses_star", "2,030 times `*` in field 3, likewise",
     "each item of two bytes has a record of its own, in the set and in the group: the bytes of "
     "the list",
     compoundStars},
};
}  // namespace

HostileFamilies ipFamilies() {
    return IP_FAMILIES;
}
HostileFamilies packetFilterFamilies() {
    return PACKET_FILTER_FAMILIES;
}
HostileFamilies ipPortFamilies() {
    return IP_PORT_FAMILIES;
}
HostileFamilies compoundFamilies() {
    return COMPOUND_FAMILIES;
}

}  // namespace bench
