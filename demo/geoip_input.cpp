// Writes what the demonstration gives to the command: rules.txt from two files of country ranges, and
// keys.txt with a million addresses.
//
//     usage: geoip_input GEOIP GEOIP6 FOLDER
//
//     GEOIP      16777216,16777471,AU             two IPv4 addresses as numbers, country
//     GEOIP6     2001:200::,2001:200:ffff:...,JP  two IPv6 addresses as texts, country
//                lines that begin with '#' are comments
//
//     rules.txt  1.0.0.0-1.0.0.255 TAB 16725 TAB 1
//                rule, value, id: the value is the country, 256 * 'A' + 'U', and the id counts the
//                rules from 1
//     keys.txt   one address a line: half of them drawn inside a range, half outside all ranges
//
// The addresses depend on nothing but the files and a fixed seed.
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "input.h"

namespace {

// Wide enough for both families; an IPv4 address is a number below 2^32.
__extension__ using Address = unsigned __int128;

struct Range {
    Address low;
    Address high;  // inclusive
    std::string country;
};

// The ranges of one family in the order of the file, which is that of the addresses.
struct Family {
    int number;  // AF_INET or AF_INET6
    std::vector<Range> ranges;
};

constexpr uint32_t KEY_COUNT = 1'000'000;

// A number from 0 to last: as many bits as last has, drawn again while they exceed it.
Address upTo(Address last, demo::Random& random) {
    Address mask = last;
    for (uint32_t shift = 1; shift < 128; shift *= 2) {
        mask |= mask >> shift;
    }
    Address number = 0;
    do {
        number = ((Address{random.next()} << 64U) | random.next()) & mask;
    } while (number > last);
    return number;
}

Address addressOfBytes(const uint8_t* bytes, uint32_t count) {
    Address address = 0;
    for (uint32_t i = 0; i < count; ++i) {
        address = (address << 8U) | bytes[i];
    }
    return address;
}

bool parseAddress(int family, const std::string& text, Address& address) {
    if (family == AF_INET) {
        uint32_t number = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        address = number;
        return error == std::errc() && stop == end;
    }
    std::array<uint8_t, 16> bytes{};
    if (inet_pton(AF_INET6, text.c_str(), bytes.data()) != 1) {
        return false;
    }
    address = addressOfBytes(bytes.data(), bytes.size());
    return true;
}

std::string textOf(int family, Address address) {
    std::array<uint8_t, 16> bytes{};
    const uint32_t count = family == AF_INET ? 4 : 16;
    for (uint32_t i = count; i > 0; --i) {
        bytes[i - 1] = static_cast<uint8_t>(address & 0xFFU);
        address >>= 8U;
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    return inet_ntop(family, bytes.data(), text.data(), text.size());
}

// Reads "low,high,CC".
bool parseRange(int family, const std::string& line, Range& range) {
    const size_t first = line.find(',');
    const size_t second = line.find(',', first + 1);
    if (first == std::string::npos || second == std::string::npos || line.size() != second + 3) {
        return false;
    }
    range.country = line.substr(second + 1);
    return parseAddress(family, line.substr(0, first), range.low) &&
           parseAddress(family, line.substr(first + 1, second - first - 1), range.high) &&
           range.low <= range.high;
}

Family readRanges(int family, const char* path) {
    std::ifstream file = demo::open(path);
    Family result{family, {}};
    std::string line;
    for (uint32_t number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        Range range;
        // The search below needs ranges in order that do not overlap.
        if (!parseRange(family, line, range) ||
            (!result.ranges.empty() && range.low <= result.ranges.back().high)) {
            demo::fail(std::string(path) + ":" + std::to_string(number) + ": unexpected line");
        }
        result.ranges.push_back(range);
    }
    if (result.ranges.empty()) {
        demo::fail(std::string("no ranges in ") + path);
    }
    return result;
}

uint32_t valueOf(std::string_view country) {
    return 256U * static_cast<uint8_t>(country[0]) + static_cast<uint8_t>(country[1]);
}

void writeRules(const Family& family, uint32_t& id, std::ofstream& out) {
    for (const Range& range : family.ranges) {
        out << textOf(family.number, range.low);
        if (range.low != range.high) {
            out << '-' << textOf(family.number, range.high);
        }
        out << '\t' << valueOf(range.country) << '\t' << ++id << '\n';
    }
}

Address drawInside(const Family& family, demo::Random& random) {
    const Range& range = family.ranges[static_cast<size_t>(upTo(family.ranges.size() - 1, random))];
    return range.low + upTo(range.high - range.low, random);
}

bool isCovered(const Family& family, Address address) {
    const auto after =
        std::upper_bound(family.ranges.begin(), family.ranges.end(), address,
                         [](Address key, const Range& range) { return key < range.low; });
    return after != family.ranges.begin() && address <= std::prev(after)->high;
}

Address drawOutside(const Family& family, demo::Random& random) {
    // All global IPv6 addresses in use lie in 2000::/3; elsewhere a miss would be no work.
    const Address first = family.number == AF_INET ? 0 : Address{2} << 124U;
    const Address last = (Address{1} << (family.number == AF_INET ? 32U : 125U)) - 1;
    Address address = 0;
    do {
        address = first + upTo(last, random);
    } while (isCovered(family, address));
    return address;
}

void writeKeys(const Family& ipv4, const Family& ipv6, std::ofstream& out) {
    demo::Random random;
    uint32_t insideLeft = KEY_COUNT / 2;
    for (uint32_t left = KEY_COUNT; left > 0; --left) {
        const bool inside = upTo(left - 1, random) < insideLeft;
        insideLeft -= inside ? 1 : 0;
        const Family& family = upTo(1, random) == 0 ? ipv4 : ipv6;
        out << textOf(family.number,
                      inside ? drawInside(family, random) : drawOutside(family, random))
            << '\n';
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        demo::fail("usage: geoip_input GEOIP GEOIP6 FOLDER");
    }
    const Family ipv4 = readRanges(AF_INET, argv[1]);
    const Family ipv6 = readRanges(AF_INET6, argv[2]);
    const std::string rulesPath = std::string(argv[3]) + "/rules.txt";
    const std::string keysPath = std::string(argv[3]) + "/keys.txt";

    std::ofstream rules = demo::create(rulesPath);
    uint32_t id = 0;
    writeRules(ipv4, id, rules);
    writeRules(ipv6, id, rules);
    demo::finish(rules, rulesPath);

    std::ofstream keys = demo::create(keysPath);
    writeKeys(ipv4, ipv6, keys);
    demo::finish(keys, keysPath);

    std::printf("%zu %zu %u\n", ipv4.ranges.size(), ipv6.ranges.size(), KEY_COUNT);
    return 0;
}
