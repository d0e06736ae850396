#include "rule_texts.h"

#include <ruleset.h>

#include <algorithm>
#include <string_view>

namespace rs::fuzz {

namespace {

using test::Number128;

std::string writeHex(uint32_t value) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), DIGITS[value & 15U]);
        value >>= 4U;
    } while (value != 0);
    return text;
}

// An IPv4-mapped address as a dotted quad, unless it has to be IPv6.
std::string writeAddress(Number128 address, bool asIpv6) {
    const test::AddressBytes bytes = test::bytesOf(address);
    std::string text;
    if (!asIpv6 && test::isMappedNumber(address)) {
        for (size_t i = 12; i < bytes.size(); ++i) {
            text += (i == 12 ? "" : ".") + std::to_string(bytes[i]);
        }
        return text;
    }
    for (size_t i = 0; i < bytes.size(); i += 2) {
        text += (i == 0 ? "" : ":") + writeHex(bytes[i] * 256U + bytes[i + 1]);
    }
    return text;
}

// An address, a prefix or a range. One from an IPv4 address to an IPv6 one is not well formed.
std::string takeAddressItem(ByteReader& input) {
    const uint32_t form = input.below(8);
    const bool asIpv6 = form >= 4;
    const Number128 first = takeAddress(input);
    std::string text = writeAddress(first, asIpv6);
    switch (form % 4) {
        case 0:
            return text;
        case 1: {
            const bool isIpv4 = !asIpv6 && test::isMappedNumber(first);
            return text + '/' + std::to_string(isIpv4 ? input.below(34) : input.below(130));
        }
        case 2:
            return text + '-' + writeAddress(first + input.byte(), asIpv6);
        default: {
            const Number128 second = takeAddress(input);
            return writeAddress(std::min(first, second), asIpv6) + '-' +
                   writeAddress(std::max(first, second), asIpv6);
        }
    }
}

// '*', or up to `most` items between commas.
template <typename TakeItem>
std::string takeList(ByteReader& input, uint32_t most, const TakeItem& takeItem) {
    const uint32_t count = input.below(most + 1);
    std::string text = count == 0 ? "*" : takeItem(input);
    for (uint32_t i = 1; i < count; ++i) {
        text += ',' + takeItem(input);
    }
    return text;
}

uint32_t takeSmallOrAny(ByteReader& input) {
    return input.oneIn(4) ? input.word() : input.below(16);
}

// A number, or two joined by '-', the first not above the second.
std::string takeNumbers(ByteReader& input, uint32_t low, uint32_t largest) {
    const auto takeNumber = [&] {
        return std::clamp(takeSmallOrAny(input) & largest, low, largest);
    };
    const bool isRange = input.oneIn(2);
    const uint32_t first = takeNumber();
    if (!isRange) {
        return std::to_string(first);
    }
    const uint32_t second = takeNumber();
    return std::to_string(std::min(first, second)) + '-' + std::to_string(std::max(first, second));
}

std::string takePorts(ByteReader& input) {
    return takeList(input, 3, [](ByteReader& in) { return takeNumbers(in, 1, 65535); });
}

std::string takeIpPortRule(ByteReader& input) {
    std::string text;
    for (int i = 0; i < 2; ++i) {
        text += takeList(input, 3, takeAddressItem) + ';';
        text += takePorts(input) + ';';
    }
    constexpr std::string_view MASKS[] = {"1", "2", "3", "0x10", "0xffffffff", "4294967295"};
    return text.append(input.pick(MASKS));
}

std::string takePacketFilterRule(ByteReader& input) {
    std::string text = input.oneIn(4) ? "TCP" : "tcp";
    for (int i = 0; i < 2; ++i) {
        text += ';' + takeList(input, 1, takeAddressItem);
        text += ';' + takePorts(input);
    }
    return text;
}

std::string takeCompoundNumbers(ByteReader& input, uint32_t largest) {
    return takeList(input, 3, [largest](ByteReader& in) {
        constexpr std::string_view ENDS[] = {"", "", "", "*"};
        return takeNumbers(in, 0, largest).append(in.pick(ENDS));
    });
}

std::string takeCompoundRule(ByteReader& input) {
    std::string text = takeCompoundNumbers(input, UINT32_MAX) + ';';
    text += takeCompoundNumbers(input, UINT32_MAX) + ';';
    text += takeList(input, 3, takeAddressItem) + ';';
    text += takeCompoundNumbers(input, UINT16_MAX) + ';';
    constexpr std::string_view PREFIXES[] = {"", "0x", " "};
    for (int i = 0; i < 2; ++i) {
        text += input.pick(PREFIXES);
        text += std::to_string(takeSmallOrAny(input)) + (i == 0 ? ";" : "");
    }
    return text;
}

std::string takeDomainRule(ByteReader& input) {
    constexpr std::string_view FRONTS[] = {"", "", "", "*.", "*.", "*"};
    const std::string_view front = input.pick(FRONTS);
    return front == "*" ? "*" : std::string(front) + takeHostName(input);
}

std::string takePath(ByteReader& input) {
    constexpr std::string_view PIECES[] = {"/",   "/a",  "a",  "b",  "/abcde", "abcd",
                                           "?q=", "+1",  "#f", "*",  "%2",     "F",
                                           "%41", "/b/", "X",  "/.", "//",     "=&"};
    std::string text;
    for (uint32_t count = input.below(5); count > 0; --count) {
        text += input.pick(PIECES);
    }
    return text.empty() || text[0] == '/' ? text : '/' + text;
}

}  // namespace

Number128 takeAddress(ByteReader& input) {
    constexpr Number128 EDGES[] = {
        0,
        test::FIRST_MAPPED - 1,
        test::FIRST_MAPPED,
        test::LAST_MAPPED,
        test::LAST_MAPPED + 1,
        test::LAST_ADDRESS,
    };
    switch (input.below(8)) {
        case 0:
        case 1:
            return test::mappedNumber(0x0A000000U + input.byte());
        case 2:
            return test::mappedNumber(0x0A000000U + input.below(4) * 0x10000U + input.byte());
        case 3:
            return test::mappedNumber(input.word());
        case 4:
            return test::makeNumber(0x20010DB800000000U, input.byte());
        case 5:
            return input.pick(EDGES);
        case 6:
            return Number128{1} << input.below(128);
        default: {
            Number128 address = 0;
            for (int i = 0; i < 4; ++i) {
                address = address << 32U | input.word();
            }
            return address;
        }
    }
}

std::string takeHostName(ByteReader& input) {
    constexpr std::string_view LABELS[] = {"a",   "b",       "com", "example",      "A-b",
                                           "%61", "b_ücher", "%2e", "xn--bcher-kva"};
    std::string name;
    if (input.oneIn(2)) {
        // The same letters in another order share a bucket of the index.
        const uint32_t letters = input.byte();
        for (uint32_t shift = 0; shift < 8; shift += 2) {
            name += static_cast<char>('a' + (letters >> shift & 3U));
        }
        name += '.';
    }
    name += input.pick(LABELS);
    for (uint32_t count = input.below(3); count > 0; --count) {
        name += '.';
        name += input.pick(LABELS);
    }
    return name;
}

std::string takeUrl(ByteReader& input) {
    constexpr std::string_view SCHEMES[] = {"",   "",         "",       "http://", "https://",
                                            "//", "HTTPS://", "ftp://", "httpx://"};
    constexpr std::string_view PORTS[] = {"", "", "", ":80", ":443", ":8080", ":*", ":0"};
    constexpr std::string_view HOSTS[] = {"a.com", "[::1]",  "[::ffff:10.0.0.1]", "10.0.0.1", "*",
                                          "*.com", "u@a.com"};
    std::string text(input.pick(SCHEMES));
    text += input.oneIn(4) ? takeDomainRule(input) : std::string(input.pick(HOSTS));
    text += input.pick(PORTS);
    return text + takePath(input);
}

std::string takeRuleText(int32_t ruleType, ByteReader& input) {
    if (input.oneIn(8)) {
        return std::string(input.line());
    }
    switch (ruleType) {
        case RULE_TYPE_FQDN:
            return takeDomainRule(input);
        case RULE_TYPE_URL:
            return takeUrl(input);
        case RULE_TYPE_PACKET_FILTER:
            return takePacketFilterRule(input);
        case RULE_TYPE_IP_PORT:
            return takeIpPortRule(input);
        case RULE_TYPE_COMPOUND:
            return takeCompoundRule(input);
        default:
            return takeAddressItem(input);
    }
}

}  // namespace rs::fuzz
