#include "syntax/ip_address.h"

#include <ruleset.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "syntax/ascii.h"
#include "syntax/byte_block.h"

namespace rs {

namespace {

constexpr uint32_t MOST_GROUP_DIGITS = 4;

// hexDigitValue of every byte.
constexpr std::array<uint8_t, 256> HEX_DIGITS = []() {
    std::array<uint8_t, 256> values{};
    for (uint32_t byte = 0; byte < values.size(); ++byte) {
        values[byte] = static_cast<uint8_t>(hexDigitValue(static_cast<char>(byte)));
    }
    return values;
}();

constexpr uint32_t QUAD_FIELD_COUNT = 4;
constexpr uint32_t SHORTEST_QUAD = 7;  // 0.0.0.0
constexpr uint32_t LONGEST_QUAD = 15;  // 255.255.255.255
constexpr Text GAP = literalText("::");
constexpr uint32_t NO_GAP = IPV6_GROUP_COUNT;

// The number of a field of digits. isGood becomes false for an empty field, one of more than three digits, a leading
// zero, and a number over 255.
uint32_t readQuadField(const char* bytes, uint32_t length, bool& isGood) noexcept {
    uint32_t field = 0;
    std::memcpy(&field, bytes, sizeof field);
    const bool hasLeadingZero = (length > 1) & ((field & 0xFFU) == '0');
    // The digits, the last one in byte 2, after zeros for those that are not there.
    const uint32_t digits = field << (24 - 8 * length) % 32 & 0x000F0F0FU;
    const uint32_t number = (digits & 0xFFU) * 100 + (digits >> 8U & 0xFFU) * 10 + (digits >> 16U);
    isGood &= (length - 1 < 3) & !hasLeadingZero & (number <= 255);
    return number;
}

// The groups read so far, in text order, and how many of them are before "::".
struct GroupReader {
    Ipv6Groups groups{};
    uint32_t count = 0;
    uint32_t gap = NO_GAP;

    [[nodiscard]] bool hasGap() const noexcept { return gap != NO_GAP; }
};

bool appendGroup(GroupReader& reader, uint32_t group) noexcept {
    if (reader.count == IPV6_GROUP_COUNT) {
        return false;
    }
    reader.groups[reader.count++] = static_cast<uint16_t>(group);
    return true;
}

bool appendDottedQuad(GroupReader& reader, Text text) noexcept {
    // A quad is two groups, and "::" is one group at least.
    const uint32_t mostBefore = reader.hasGap() ? 5 : 6;
    uint32_t address = 0;
    return reader.count <= mostBefore && parseIPv4Address(text, &address) == RULE_OK &&
           appendGroup(reader, address >> 16U) && appendGroup(reader, address & 0xFFFFU);
}

// The number of hexadecimal digits at the beginning of a text, of which five are read at most.
uint32_t readHexDigits(Text text, uint32_t& value) noexcept {
    const uint32_t most = std::min(text.length, MOST_GROUP_DIGITS + 1);
    uint32_t count = 0;
    value = 0;
    for (; count < most; ++count) {
        const uint32_t digit = HEX_DIGITS[static_cast<uint8_t>(text.text[count])];
        if (digit == NOT_A_HEX_DIGIT) {
            break;
        }
        value = (value << 4U) | digit;
    }
    return count;
}

bool readGroups(Text rest, GroupReader& reader) noexcept {
    if (rest.startsWith(GAP)) {
        reader.gap = 0;
        rest = rest.from(GAP.length);
    }
    while (!rest.isEmpty()) {
        uint32_t group = 0;
        const uint32_t digits = readHexDigits(rest, group);
        const bool isLast = digits == rest.length;
        if (!isLast && rest.text[digits] == '.') {
            return appendDottedQuad(reader, rest);
        }
        if (digits == 0 || digits > MOST_GROUP_DIGITS || !appendGroup(reader, group)) {
            return false;
        }
        if (isLast) {
            return true;
        }
        if (rest.text[digits] != ':') {
            return false;
        }
        rest = rest.from(digits + 1);
        if (rest.isEmpty()) {
            return false;  // a single ':' ends no address
        }
        if (*rest.text == ':') {
            if (reader.hasGap()) {
                return false;
            }
            reader.gap = reader.count;
            rest = rest.from(1);
        }
    }
    return reader.hasGap();
}

}  // namespace

int32_t parseIPv4Address(Text text, uint32_t* out) noexcept {
    if (text.length < SHORTEST_QUAD || text.length > LONGEST_QUAD) {
        return RULE_ERR_BAD_RULE;
    }
    const ByteBlock block = ByteBlock::of(ShortText::of(text.text, text.length));
    std::array<char, BLOCK_BYTES + sizeof(uint32_t)> bytes{};
    block.store(bytes.data());
    const uint32_t all = firstBits(text.length);
    // A dot after the text ends the last field like the others.
    uint32_t dots = block.equalTo('.').bits() | (all + 1);
    const uint32_t digits = block.between('0', '9').bits();
    if (std::popcount(dots) != QUAD_FIELD_COUNT || ((dots | digits) & all) != all) {
        return RULE_ERR_BAD_RULE;
    }
    uint32_t address = 0;
    uint32_t start = 0;
    bool isGood = true;
    for (uint32_t i = 0; i < QUAD_FIELD_COUNT; ++i) {
        const auto end = static_cast<uint32_t>(std::countr_zero(dots));
        const uint32_t field = readQuadField(bytes.data() + start, end - start, isGood);
        address = (address << 8U) | field;
        start = end + 1;
        dots &= dots - 1;
    }
    if (!isGood) {
        return RULE_ERR_BAD_RULE;
    }
    *out = address;
    return RULE_OK;
}

int32_t parseIPv6Address(Text text, Ipv6Groups* out) noexcept {
    GroupReader reader;
    if (text.isEmpty() || !readGroups(text, reader)) {
        return RULE_ERR_FAILED;
    }
    if (!reader.hasGap()) {
        if (reader.count != IPV6_GROUP_COUNT) {
            return RULE_ERR_FAILED;
        }
        *out = reader.groups;
        return RULE_OK;
    }
    if (reader.count == IPV6_GROUP_COUNT) {
        return RULE_ERR_FAILED;  // "::" is one group at least
    }
    Ipv6Groups address{};
    const auto firstAfterGap = reader.groups.begin() + reader.gap;
    const auto end = reader.groups.begin() + reader.count;
    std::copy(reader.groups.begin(), firstAfterGap, address.begin());
    std::copy_backward(firstAfterGap, end, address.end());
    *out = address;
    return RULE_OK;
}

}  // namespace rs
