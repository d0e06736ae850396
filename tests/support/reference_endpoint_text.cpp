#include "support/reference_endpoint_text.h"

#include <cstddef>
#include <string>

namespace rs::test {

namespace {

constexpr size_t LONGEST_RULE = 4095;
constexpr size_t FIELD_COUNT = 5;
constexpr uint32_t EVERY_BIT = 0xFFFFFFFF;
constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::string_view DIGITS = "0123456789";

using ReadItem = std::optional<AddressRange> (*)(std::string_view);

bool isOneOf(char character, std::string_view characters) {
    return characters.find(character) != std::string_view::npos;
}

bool isMadeOf(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == std::string_view::npos;
}

std::string_view withoutOuterBlanks(std::string_view text) {
    while (!text.empty() && isOneOf(text.front(), BLANKS)) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isOneOf(text.back(), BLANKS)) {
        text.remove_suffix(1);
    }
    return text;
}

std::vector<std::string_view> piecesBetween(char separator, std::string_view text) {
    std::vector<std::string_view> pieces;
    for (size_t end = text.find(separator); end != std::string_view::npos;
         end = text.find(separator)) {
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.push_back(text);
    return pieces;
}

// The five fields of a rule; nothing when there are not five, or the rule is empty or too long.
std::vector<std::string_view> fieldsOf(std::string_view text) {
    const std::string_view rule = withoutOuterBlanks(text);
    if (rule.empty() || rule.size() > LONGEST_RULE) {
        return {};
    }
    std::vector<std::string_view> fields = piecesBetween(';', rule);
    if (fields.size() != FIELD_COUNT) {
        fields.clear();
    }
    return fields;
}

std::optional<AddressRange> readWideItem(std::string_view text) {
    const std::optional<AddressRange> range = readIpv4Range(text);
    return range ? range : readIpv6Range(text);
}

// The form without IPv6 looks at the outer bytes of the whole field, and an item may end in other
// bytes than digits: in 10.0.0.0/1: the prefix is 20.
bool mayBeAddressField(std::string_view field, bool isWide) {
    if (field.empty()) {
        return false;
    }
    if (isWide) {
        return !isOneOf(field.front(), BLANKS) && !isOneOf(field.back(), BLANKS);
    }
    return isOneOf(field.front(), DIGITS) && isOneOf(field.back(), DIGITS);
}

std::optional<EndpointAddresses> readAddresses(const std::vector<std::string_view>& items,
                                               ReadItem readItem) {
    EndpointAddresses addresses{false, {}};
    for (const std::string_view item : items) {
        const std::optional<AddressRange> range = readItem(item);
        if (!range) {
            return std::nullopt;
        }
        addresses.items.insert(addresses.items.begin(), *range);
    }
    return addresses;
}

std::optional<EndpointAddresses> readAddressList(std::string_view field, bool isWide) {
    if (field == "*") {
        return EndpointAddresses{true, {}};
    }
    if (!mayBeAddressField(field, isWide)) {
        return std::nullopt;
    }
    return readAddresses(piecesBetween(',', field), isWide ? readWideItem : readIpv4Range);
}

std::optional<EndpointAddresses> readOneAddress(std::string_view field, bool isWide) {
    if (field == "*") {
        return EndpointAddresses{true, {}};
    }
    if (!mayBeAddressField(field, isWide)) {
        return std::nullopt;
    }
    return readAddresses({field}, isWide ? readIpv6Range : readIpv4Range);
}

std::optional<uint32_t> readRuleMask(std::string_view field) {
    if (field.empty() || field.size() > 10) {
        return std::nullopt;
    }
    const bool isHex = field.size() > 2 && field.substr(0, 2) == "0x";
    const std::string_view digits = isHex ? field.substr(2) : field;
    if (!isMadeOf(digits, isHex ? "0123456789abcdefABCDEF" : DIGITS)) {
        return std::nullopt;
    }
    const unsigned long long value = std::stoull(std::string(digits), nullptr, isHex ? 16 : 10);
    if (value == 0 || value > EVERY_BIT) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(value);
}

bool isTcp(std::string_view field) {
    return field.size() == 3 && isOneOf(field[0], "tT") && isOneOf(field[1], "cC") &&
           isOneOf(field[2], "pP");
}

// Puts the four fields of the endpoints together; nothing when one of them was not read.
std::optional<EndpointRuleText> makeRule(const std::optional<EndpointAddresses>& first,
                                         std::string_view firstPorts,
                                         const std::optional<EndpointAddresses>& second,
                                         std::string_view secondPorts, uint32_t ruleMask,
                                         bool isWide) {
    const auto portsOfFirst = readPortList(firstPorts);
    const auto portsOfSecond = readPortList(secondPorts);
    if (!first || !portsOfFirst || !second || !portsOfSecond) {
        return std::nullopt;
    }
    return EndpointRuleText{*first, *portsOfFirst, *second, *portsOfSecond, ruleMask, isWide};
}

std::optional<EndpointRuleText> readIpPortForm(const std::vector<std::string_view>& fields,
                                               bool isWide) {
    const std::optional<uint32_t> ruleMask = readRuleMask(fields[4]);
    if (!ruleMask) {
        return std::nullopt;
    }
    return makeRule(readAddressList(fields[0], isWide), fields[1],
                    readAddressList(fields[2], isWide), fields[3], *ruleMask, isWide);
}

std::optional<EndpointRuleText> readPacketFilterForm(const std::vector<std::string_view>& fields,
                                                     bool isWide) {
    if (!isTcp(fields[0])) {
        return std::nullopt;
    }
    return makeRule(readOneAddress(fields[1], isWide), fields[2], readOneAddress(fields[3], isWide),
                    fields[4], EVERY_BIT, isWide);
}

}  // namespace

std::optional<EndpointRuleText> readIpPortRule(std::string_view text, bool allowIpv6) {
    // No rule has a blank inside, not even in a prefix whose characters nobody checks.
    const std::vector<std::string_view> fields = fieldsOf(text);
    if (fields.empty() ||
        withoutOuterBlanks(text).find_first_of(BLANKS) != std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<EndpointRuleText> rule = readIpPortForm(fields, false);
    return rule || !allowIpv6 ? rule : readIpPortForm(fields, true);
}

std::optional<EndpointRuleText> readPacketFilterRule(std::string_view text, bool allowIpv6) {
    const std::vector<std::string_view> fields = fieldsOf(text);
    if (fields.empty()) {
        return std::nullopt;
    }
    const std::optional<EndpointRuleText> rule = readPacketFilterForm(fields, false);
    return rule || !allowIpv6 ? rule : readPacketFilterForm(fields, true);
}

}  // namespace rs::test
