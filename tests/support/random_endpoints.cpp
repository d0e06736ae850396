#include "support/random_endpoints.h"

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "support/random_rules.h"

namespace rs::test {

namespace {

constexpr Number128 CENTRES_OF_IPV6[] = {0,
                                         LAST_ADDRESS,
                                         makeNumber(0x20010DB800000000, 0),
                                         makeNumber(0x20010DB800000000, UINT64_MAX),
                                         makeNumber(0x20010DB8FFFFFFFF, 0xFFFFFFFF00000000),
                                         FIRST_MAPPED,
                                         LAST_MAPPED};

// Before and after the ends of blocks of 2^16 and of 2^24 addresses, and of all addresses.
constexpr uint32_t CENTRES_OF_IPV4[] = {0x0A010000, 0x0A00FFF0, 0x0AFFFFFF, 0,
                                        0xFFFFFFFF, 0x0A018000, 0xC0A80101};

constexpr uint32_t MANY_ADDRESSES = 1U << 22U;

template <typename T, size_t COUNT>
const T& pickOf(const T (&choices)[COUNT], RandomSource& random) {
    return choices[static_cast<size_t>(random.below(COUNT))];
}

Number128 addressBelow(Number128 low, Number128 distance) {
    return low < distance ? Number128{0} : low - distance;
}

AddressRange prefixAt(Number128 address, uint32_t freeBits) {
    const Number128 rest = (Number128{1} << freeBits) - 1;
    return {address & ~rest, address | rest, false};
}

std::string randomBlanks(RandomSource& random) {
    constexpr std::string_view BLANKS = " \t\r\n";
    std::string blanks;
    while (random.oneIn(8)) {
        blanks += BLANKS[static_cast<size_t>(random.below(BLANKS.size()))];
    }
    return blanks;
}

std::string randomMask(RandomSource& random) {
    static const std::vector<std::string> MASKS{
        "1",          "2",          "4",          "3",          "7",         "0x1",
        "0x00000006", "4294967295", "0xFfFfFfFf", "0000000002", "0x80000000"};
    return random.pick(MASKS);
}

// Prefixes that are refused, and those whose characters count as digits though they are none.
std::string withOddPrefix(const std::string& text, RandomSource& random) {
    static const std::vector<std::string> PREFIXES{
        "1:", "4\t5", "4\n2", "/9?", "9 5", "032", "0", "33", "128", "129", "\"\xC0", "/", "8"};
    std::string changed = text;
    size_t at = changed.find('/');
    if (at == std::string::npos) {
        at = changed.find(';', static_cast<size_t>(random.below(changed.size() + 1)));
        at = std::min(at, changed.size());
        return changed.insert(at, '/' + random.pick(PREFIXES));
    }
    const size_t end = std::min(changed.find_first_not_of("0123456789", at + 1), changed.size());
    return changed.replace(at + 1, end - at - 1, random.pick(PREFIXES));
}

}  // namespace

RandomEndpoints::RandomEndpoints(int32_t ruleType, uint64_t rangeCount, RandomSource& random)
    : random_(random),
      ruleType_(ruleType),
      ipv4Share_(random.below(5)),
      spreadBits_(static_cast<uint32_t>(random.between(1, random.oneIn(3) ? 18 : 5))) {
    for (uint64_t count = random.between(1, 3); count > 0; --count) {
        centres_.push_back(nextCentre());
    }
    for (uint64_t i = 0; i < rangeCount; ++i) {
        ranges_.push_back(nextRange());
    }
}

Number128 RandomEndpoints::nextCentre() {
    return random_.below(4) < ipv4Share_ ? mappedNumber(pickOf(CENTRES_OF_IPV4, random_))
                                         : pickOf(CENTRES_OF_IPV6, random_);
}

Number128 RandomEndpoints::nextAddress() {
    const Number128 centre = random_.pick(centres_);
    const Number128 offset = random_.below(uint64_t{1} << spreadBits_);
    // Half of the addresses before the centre, none of them beyond the other end of the space.
    return random_.oneIn(2) ? addressBelow(centre, offset)
                            : centre + std::min(offset, LAST_ADDRESS - centre);
}

AddressRange RandomEndpoints::nextRange() {
    const Number128 address = nextAddress();
    switch (random_.below(8)) {
        case 0:
        case 1:
        case 2:
            return {address, address, false};
        case 3:
        case 4:
            return prefixAt(address, random_.below32(spreadBits_ + 2));
        case 5: {
            const Number128 other = nextAddress();
            const AddressRange hull{std::min(address, other), std::max(address, other), false};
            // A range of many IPv4 addresses fills many blocks, which takes its time.
            const bool isLarge = hull.isInIpv4View() && hull.high - hull.low > MANY_ADDRESSES;
            return isLarge && !random_.oneIn(50) ? AddressRange{address, address, false} : hull;
        }
        case 6:
            return {address, address + std::min<Number128>(random_.below(4), ~address), false};
        default:
            return nextLargeRange(address);
    }
}

// All addresses of a family, or many that are not mapped ones, when chance has it.
AddressRange RandomEndpoints::nextLargeRange(Number128 address) {
    // In wide rules the mapped space is a range like any other, which fills every block.
    if (isMappedNumber(address) && random_.oneIn(25)) {
        return {FIRST_MAPPED, LAST_MAPPED, false};
    }
    if (!isMappedNumber(address) && random_.oneIn(4)) {
        return random_.oneIn(2) ? AddressRange{0, LAST_ADDRESS, false}
                                : prefixAt(address, 64 + random_.below32(64));
    }
    return {addressBelow(address, 1), address, false};
}

// Only ranges between mapped addresses can be written in IPv4 form; others are in IPv6 form.
std::string RandomEndpoints::nextItem(bool asIpv6) {
    const AddressRange* range = &random_.pick(ranges_);
    for (int attempt = 0; !asIpv6 && !range->isInIpv4View() && attempt < 8; ++attempt) {
        range = &random_.pick(ranges_);
    }
    const bool mustBeIpv6 = asIpv6 || !range->isInIpv4View();
    std::string text;
    do {
        text = writeRange(*range, random_);
        std::erase_if(text, [](char byte) { return byte <= ' '; });
    } while ((text.find(':') != std::string::npos) != mustBeIpv6);
    return text;
}

std::string RandomEndpoints::nextAddresses(bool asIpv6) {
    if (random_.oneIn(6)) {
        return "*";
    }
    std::string text = nextItem(asIpv6);
    if (ruleType_ == RULE_TYPE_IP_PORT) {
        while (random_.oneIn(4)) {
            text += ',' + nextItem(random_.oneIn(4) ? !asIpv6 : asIpv6);
        }
    }
    return text;
}

std::string RandomEndpoints::nextRepeatedAddresses(bool asIpv6) {
    std::vector<std::string> items;
    for (uint64_t count = random_.between(1, 4); count > 0; --count) {
        items.push_back(nextItem(random_.oneIn(6) ? !asIpv6 : asIpv6));
    }
    std::string text = items.front();
    for (uint64_t count = random_.between(1, 30); count > 0; --count) {
        text += ',' + random_.pick(items);
    }
    return text;
}

std::string RandomEndpoints::nextPorts() {
    static const std::vector<std::string> PORTS{
        "*", "*",     "*",     "*",       "*",        "80",         "79-81",   "80,81", "1-65535",
        "1", "65535", "00080", "1-1,443", "443,1-80", "2-79,82-99", "1-65534", "443",   "80-80"};
    return random_.pick(PORTS);
}

std::string RandomEndpoints::nextText() {
    // Texts of one family are in the form without IPv6 or wide throughout; where both families meet
    // a packet filter rule is refused.
    const bool asIpv6 = random_.below(4) >= ipv4Share_;
    // Piece by piece, so that every compiler draws the numbers in this order.
    std::string text;
    for (int endpoint = 0; endpoint < 2; ++endpoint) {
        text += nextAddresses(asIpv6);
        text += ';' + nextPorts() + ';';
    }
    if (ruleType_ == RULE_TYPE_IP_PORT) {
        return text + randomMask(random_);
    }
    text.pop_back();
    return (random_.oneIn(4) ? "TcP;" : "tcp;") + text;
}

std::string RandomEndpoints::nextRule() {
    if (!earlier_.empty() && random_.oneIn(6)) {
        return random_.pick(earlier_);
    }
    std::string text = randomBlanks(random_);
    text += nextText();
    text += randomBlanks(random_);
    if (random_.oneIn(12)) {
        text = mutateEndpointRule(text, random_);
    }
    earlier_.push_back(text);
    return text;
}

std::string RandomEndpoints::nextRepeatingRule() {
    if (random_.oneIn(4)) {
        return nextRule();
    }
    const bool asIpv6 = random_.below(4) >= ipv4Share_;
    std::string text = nextRepeatedAddresses(asIpv6);
    text += ';' + nextPorts() + ';';
    text += nextAddresses(asIpv6);
    text += ';' + nextPorts() + ';';
    text += randomMask(random_);
    earlier_.push_back(text);
    return text;
}

uint32_t RandomEndpoints::nextPort() {
    static const std::vector<uint32_t> PORTS{80, 80, 80, 80, 80, 80,  80,  0,   1,     2,
                                             79, 81, 82, 98, 99, 100, 442, 443, 65534, 65535};
    const uint32_t port = random_.pick(PORTS);
    // The high half of a port does not count.
    return random_.oneIn(6) ? port | random_.bits32() << 16U : port;
}

Number128 RandomEndpoints::nextKeyAddress() {
    const AddressRange& range = random_.pick(ranges_);
    switch (random_.below(6)) {
        case 0:
            return nextAddress();
        case 1:
            return random_.pick(edgesOf(range));
        default:
            return random_.oneIn(2) ? range.low : range.high;
    }
}

EndpointKey RandomEndpoints::nextKey() {
    static const std::vector<uint32_t> MASKS{1, 2, 4, 6, 7, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFF, 0};
    const Number128 first = nextKeyAddress();
    const uint32_t firstPort = nextPort();
    const Number128 second = nextKeyAddress();
    const uint32_t secondPort = nextPort();
    return {first, firstPort, second, secondPort, random_.pick(MASKS)};
}

EndpointKey RandomEndpoints::nextMappedKey() {
    EndpointKey key = nextKey();
    for (Number128* address : {&key.firstAddress, &key.secondAddress}) {
        for (int attempt = 0; !isMappedNumber(*address) && attempt < 8; ++attempt) {
            *address = nextKeyAddress();
        }
        *address = mappedNumber(static_cast<uint32_t>(*address));
    }
    return key;
}

std::string mutateEndpointRule(const std::string& text, RandomSource& random) {
    // The last ones have codes near those of digits, below and above.
    constexpr std::string_view BYTES =
        "0123456789;;;;**,,--//..::xXaFtcpTCP \t\r\n!\"#$%&'()+<=>?@";
    if (random.oneIn(6)) {
        return withOddPrefix(text, random);
    }
    std::string mutated = text;
    const size_t hex = mutated.rfind(";0x");
    if (hex != std::string::npos && random.oneIn(10)) {
        mutated[hex + 2] = 'X';
        return mutated;
    }
    for (uint64_t count = random.between(1, random.oneIn(4) ? 4 : 1); count > 0; --count) {
        const auto at = static_cast<size_t>(random.below(mutated.size() + 1));
        const auto byte = random.oneIn(40) ? static_cast<char>(random.below(256))
                                           : BYTES[static_cast<size_t>(random.below(BYTES.size()))];
        switch (random.below(4)) {
            case 0:
                mutated.insert(at, 1, byte);
                break;
            case 1:
                mutated.erase(at, static_cast<size_t>(random.between(1, 2)));
                break;
            case 2:
                mutated.insert(at, mutated.substr(static_cast<size_t>(random.below(at + 1)), 5));
                break;
            default:
                mutated.replace(at, 1, 1, byte);
                break;
        }
    }
    return mutated;
}

std::string longEndpointRule(int32_t ruleType, uint64_t length, RandomSource& random) {
    const bool isIpPort = ruleType == RULE_TYPE_IP_PORT;
    std::string head = isIpPort ? "" : "tcp;";
    head += random.oneIn(2) ? "10.0.0.1;" : "::1;";
    const std::string tail = std::string(";*;*") + (isIpPort ? ";1" : "");
    std::string list;
    if (isIpPort && random.oneIn(2)) {
        list = head.substr(0, head.size() - 1);
        while (list.size() + tail.size() + 15 < length) {
            list += random.oneIn(2) ? ",10.0.0.2" : ",1.0.0.0/8";
        }
        head = list + ';';
    }
    list = "1";
    while (head.size() + list.size() + tail.size() + 6 < length) {
        list += ",00080";
    }
    while (head.size() + list.size() + tail.size() + 1 < length) {
        list += ",1";
    }
    list += head.size() + list.size() + tail.size() < length ? "0" : "";
    std::string text = randomBlanks(random);
    text += head + list + tail;
    return text + randomBlanks(random);
}

}  // namespace rs::test
