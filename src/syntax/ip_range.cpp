#include "syntax/ip_range.h"

#include <ruleset.h>

#include <cstddef>

#include "syntax/ip_address.h"
#include "syntax/number.h"

namespace rs {

namespace {

constexpr NumberForm IPV6_PREFIX{.maxLength = 3, .minValue = 1, .maxValue = 128};
// Deliberate: digits are not checked, so that the value may wrap before it is judged.
constexpr NumberForm IPV4_PREFIX{.maxLength = 3,
                                 .minValue = 1,
                                 .maxValue = 32,
                                 .leadingZeros = LeadingZeros::REFUSED,
                                 .digits = Digits::UNCHECKED,
                                 .overflow = Overflow::WRAPS};

// An item cut at its first '/' or '-'.
struct RangePieces {
    Text address;
    Text second;     // empty without a separator
    char separator;  // '/', '-', or 0 for a single address
};

RangePieces splitRange(Text item) noexcept {
    for (uint32_t i = 0; i < item.length; ++i) {
        const char byte = item.text[i];
        if (byte == '/' || byte == '-') {
            return {item.first(i), item.from(i + 1), byte};
        }
    }
    return {item, item.from(item.length), 0};
}

void setIpv4Range(AddressSpec& spec, uint32_t start, uint32_t end) noexcept {
    spec.startAddress = mappedAddress(start);
    spec.endAddress = mappedAddress(end);
    if (start == end) {
        spec.addressFlags |= ADDRESS_FLAG_SINGLE;
    }
}

int32_t readIpv4Dash(uint32_t start, Text second, AddressSpec& spec) noexcept {
    uint32_t end = 0;
    if (parseIPv4Address(second, &end) != RULE_OK || start > end) {
        return RULE_ERR_BAD_RULE;
    }
    setIpv4Range(spec, start, end);
    return RULE_OK;
}

int32_t readIpv4Prefix(uint32_t address, Text second, AddressSpec& spec) noexcept {
    uint32_t prefix = 0;
    if (!readNumber<IPV4_PREFIX>(second, prefix)) {
        return RULE_ERR_BAD_RULE;
    }
    const auto hostBits = static_cast<uint32_t>((uint64_t{1} << (32 - prefix)) - 1);
    setIpv4Range(spec, address & ~hostBits, address | hostBits);
    return RULE_OK;
}

bool readIpv6Address(Text text, Address128& out) noexcept {
    Ipv6Groups groups;
    if (parseIPv6Address(text, &groups) != RULE_OK) {
        return false;
    }
    for (size_t i = 0; i < out.words.size(); ++i) {
        out.words[i] = (uint32_t{groups[2 * i]} << 16U) | groups[2 * i + 1];
    }
    return true;
}

void setIpv6Range(AddressSpec& spec, const Address128& start, const Address128& end) noexcept {
    spec.startAddress = start;
    spec.endAddress = end;
    spec.addressFlags = ADDRESS_FLAG_IPV6 | (start == end ? ADDRESS_FLAG_SINGLE : 0U);
}

int32_t readIpv6Dash(const Address128& start, Text second, AddressSpec& spec) noexcept {
    Address128 end{};
    if (!readIpv6Address(second, end) || start > end) {
        return RULE_ERR_BAD_RULE;
    }
    setIpv6Range(spec, start, end);
    return RULE_OK;
}

// The one bits of a prefix that fall into one word, where bits is how many are left from that word
// on.
uint32_t wordMask(uint32_t bits) noexcept {
    if (bits == 0) {
        return 0;
    }
    return bits >= 32 ? 0xFFFFFFFFU : ~(0xFFFFFFFFU >> bits);
}

int32_t readIpv6Prefix(const Address128& address, Text second, AddressSpec& spec) noexcept {
    uint32_t prefix = 0;
    if (!readNumber<IPV6_PREFIX>(second, prefix)) {
        return RULE_ERR_BAD_RULE;
    }
    Address128 start{};
    Address128 end{};
    uint32_t bitsLeft = prefix;
    for (uint32_t i = 0; i < start.words.size(); ++i) {
        const uint32_t mask = wordMask(bitsLeft);
        start.words[i] = address.words[i] & mask;
        end.words[i] = start.words[i] | ~mask;
        bitsLeft -= bitsLeft < 32 ? bitsLeft : 32;
    }
    setIpv6Range(spec, start, end);
    return RULE_OK;
}

}  // namespace

int32_t parseIPv4Range(Text text, AddressSpec* out) noexcept {
    if (out == nullptr || text.text == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const RangePieces pieces = splitRange(trimBlanks(text));
    uint32_t address = 0;
    if (parseIPv4Address(pieces.address, &address) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    if (pieces.separator == '-') {
        return readIpv4Dash(address, pieces.second, *out);
    }
    if (pieces.separator == '/') {
        return readIpv4Prefix(address, pieces.second, *out);
    }
    setIpv4Range(*out, address, address);
    return RULE_OK;
}

int32_t parseIPv6Range(Text text, AddressSpec* out) noexcept {
    if (out == nullptr || text.text == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const Text item = trimBlanks(text);
    if (item.isEmpty() || item.length > MAX_ITEM_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    const RangePieces pieces = splitRange(item);
    Address128 address{};
    if (!readIpv6Address(pieces.address, address)) {
        return RULE_ERR_BAD_RULE;
    }
    if (pieces.separator == '-') {
        return readIpv6Dash(address, pieces.second, *out);
    }
    if (pieces.separator == '/') {
        return readIpv6Prefix(address, pieces.second, *out);
    }
    setIpv6Range(*out, address, address);
    return RULE_OK;
}

}  // namespace rs
