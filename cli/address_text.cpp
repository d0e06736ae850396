#include "address_text.h"

#include <ruleset.h>

#include <algorithm>

#include "syntax/ascii.h"
#include "syntax/ip_address.h"
#include "text_input.h"
#include "text_output.h"

namespace cli {

namespace {

bool isAllDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), rs::isDecimalDigit);
}

std::string whyBadIpv4Field(std::string_view field) {
    if (field.empty()) {
        return "empty field in an IPv4 address";
    }
    if (!isAllDigits(field)) {
        return "not a number in an IPv4 address: " + shownText(field);
    }
    if (field.size() > 1 && field.front() == '0') {
        return "leading zero in a field: " + shownText(field);
    }
    return field.size() > 3 || std::stoi(std::string(field)) > 255
               ? "field above 255: " + shownText(field)
               : "";
}

std::string whyBadIpv4(std::string_view text) {
    size_t fields = 1;
    for (;; ++fields) {
        const size_t dot = text.find('.');
        std::string why = whyBadIpv4Field(text.substr(0, dot));
        if (!why.empty()) {
            return why;
        }
        if (dot == std::string_view::npos) {
            break;
        }
        text.remove_prefix(dot + 1);
    }
    return "an IPv4 address has 4 fields, not " + std::to_string(fields);
}

std::string whyBadIpv6Group(std::string_view group) {
    const bool isHex = std::all_of(group.begin(), group.end(), [](char byte) {
        return rs::hexDigitValue(byte) != rs::NOT_A_HEX_DIGIT;
    });
    if (!isHex) {
        return "not a hexadecimal number in an IPv6 address: " + shownText(group);
    }
    return group.size() > 4 ? "more than 4 digits in a group: " + shownText(group) : "";
}

std::string whyBadIpv6Groups(std::string_view text) {
    while (!text.empty()) {
        const size_t colon = text.find(':');
        const std::string_view group = text.substr(0, colon);
        if (group.find('.') != std::string_view::npos) {
            return whyBadIpv4(group);
        }
        std::string why = whyBadIpv6Group(group);
        if (!why.empty()) {
            return why;
        }
        text.remove_prefix(colon == std::string_view::npos ? text.size() : colon + 1);
    }
    return "";
}

std::string whyBadIpv6(std::string_view text) {
    if (text.find_first_of("[]%") != std::string_view::npos) {
        return "an IPv6 address has neither brackets nor a zone here";
    }
    const size_t gap = text.find("::");
    if (gap != std::string_view::npos && text.find("::", gap + 1) != std::string_view::npos) {
        return "two '::' in an IPv6 address";
    }
    std::string why = whyBadIpv6Groups(text);
    if (!why.empty()) {
        return why;
    }
    return gap == std::string_view::npos ? "an IPv6 address has 8 groups, or fewer and '::'"
                                         : "too many groups, or a ':' too many";
}

// The library also reads IPv4 prefix lengths with bytes that are no digits. It is asked first, so
// those that it takes do not come here.
std::string whyBadPrefixLength(std::string_view length, int largest) {
    const std::string range = "1 to " + std::to_string(largest);
    if (length.empty()) {
        return "no prefix length behind '/'";
    }
    if (isAllDigits(length) && length.find_first_not_of('0') == std::string_view::npos) {
        return largest == 32 ? "a prefix of 0 covers everything: write 0.0.0.0-255.255.255.255"
                             : "a prefix of 0 covers everything: write "
                               "::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff";
    }
    if (largest == 32 && length.size() > 1 && length.front() == '0') {
        return "leading zero in the prefix length";
    }
    return "prefix length must be " + range + ": " + shownText(length);
}

bool looksLikeIpv6(std::string_view address) {
    return address.find(':') != std::string_view::npos;
}

}  // namespace

bool parseAddress(std::string_view text, ParsedAddress& out) {
    text = trimmed(text);
    const auto length = static_cast<uint32_t>(text.size());
    if (rs::parseIPv4Address({text.data(), length}, &out.ipv4) == RULE_OK) {
        out.isIpv4 = true;
        out.address = rs::mappedAddress(out.ipv4);
        return true;
    }
    rs::Ipv6Groups groups;
    if (rs::parseIPv6Address({text.data(), length}, &groups) != RULE_OK) {
        return false;
    }
    out.isIpv4 = false;
    for (size_t i = 0; i < out.address.words.size(); ++i) {
        out.address.words[i] = (uint32_t{groups[2 * i]} << 16U) | groups[2 * i + 1];
    }
    return true;
}

bool parseIpv4(std::string_view text, uint32_t& out) {
    return rs::parseIPv4Address({text.data(), static_cast<uint32_t>(text.size())}, &out) == RULE_OK;
}

std::string whyBadAddress(std::string_view text) {
    text = trimmed(text);
    if (text.empty()) {
        return "empty address";
    }
    if (looksLikeIpv6(text)) {
        return whyBadIpv6(text);
    }
    return text.find('.') != std::string_view::npos && rs::isDecimalDigit(text.front())
               ? whyBadIpv4(text)
               : "not an IPv4 or IPv6 address";
}

std::string whyBadAddressItem(std::string_view text) {
    text = trimmed(text);
    if (text.empty()) {
        return "empty rule";
    }
    const size_t separator = text.find_first_of("/-");
    const std::string_view address = text.substr(0, separator);
    ParsedAddress first{};
    if (!parseAddress(address, first) || trimmed(address) != address) {
        return trimmed(address) != address ? "blank inside a rule" : whyBadAddress(address);
    }
    if (separator == std::string_view::npos) {
        return "not an IPv4 or IPv6 address";
    }
    const std::string_view second = text.substr(separator + 1);
    if (text[separator] == '/') {
        return whyBadPrefixLength(second, first.isIpv4 ? 32 : 128);
    }
    ParsedAddress last{};
    if (trimmed(second) != second) {
        return "blank inside a rule";
    }
    if (!parseAddress(second, last)) {
        return whyBadAddress(second);
    }
    return first.isIpv4 != last.isIpv4 ? "a range of two address families"
                                       : "first address above the last";
}

}  // namespace cli
