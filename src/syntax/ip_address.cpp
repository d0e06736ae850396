#include "syntax/ip_address.h"

#include <ruleset.h>

#include <algorithm>

#include "syntax/number.h"

namespace rs {

namespace {

constexpr NumberForm QUAD_FIELD{
    .maxLength = 3, .maxValue = 255, .leadingZeros = LeadingZeros::REFUSED};
constexpr NumberForm HEX_GROUP{.base = 16, .maxLength = 4};

constexpr uint32_t QUAD_FIELD_COUNT = 4;
constexpr Text GAP = literalText("::");
constexpr uint32_t NO_GAP = IPV6_GROUP_COUNT;

// The groups read so far, in text order, and how many of them are before "::".
struct GroupReader {
    Ipv6Groups groups{};
    uint32_t count = 0;
    uint32_t gap = NO_GAP;

    [[nodiscard]] bool hasGap() const noexcept { return gap != NO_GAP; }
};

bool appendGroup(GroupReader& reader, Text text) noexcept {
    if (reader.count == IPV6_GROUP_COUNT ||
        !readNumber<HEX_GROUP>(text, reader.groups[reader.count])) {
        return false;
    }
    ++reader.count;
    return true;
}

bool appendDottedQuad(GroupReader& reader, Text text) noexcept {
    // A quad is two groups, and "::" is one group at least.
    const uint32_t mostBefore = reader.hasGap() ? 5 : 6;
    uint32_t address = 0;
    if (reader.count > mostBefore || parseIPv4Address(text, &address) != RULE_OK) {
        return false;
    }
    reader.groups[reader.count++] = static_cast<uint16_t>(address >> 16U);
    reader.groups[reader.count++] = static_cast<uint16_t>(address & 0xFFFFU);
    return true;
}

bool readGroups(Text rest, GroupReader& reader) noexcept {
    if (rest.startsWith(GAP)) {
        reader.gap = 0;
        rest = rest.from(GAP.length);
    }
    while (!rest.isEmpty()) {
        const Text piece = rest.first(rest.find(':'));
        const bool isLast = piece.length == rest.length;
        if (isLast && piece.find('.') != piece.length) {
            return appendDottedQuad(reader, piece);
        }
        if (!appendGroup(reader, piece)) {
            return false;
        }
        if (isLast) {
            return true;
        }
        rest = rest.from(piece.length + 1);
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
    uint32_t address = 0;
    for (uint32_t i = 0; i < QUAD_FIELD_COUNT; ++i) {
        const bool isLast = i + 1 == QUAD_FIELD_COUNT;
        const uint32_t fieldLength = isLast ? text.length : text.find('.');
        uint32_t field = 0;
        if (!readNumber<QUAD_FIELD>(text.first(fieldLength), field)) {
            return RULE_ERR_BAD_RULE;
        }
        address = (address << 8U) | field;
        if (!isLast) {
            if (fieldLength == text.length) {
                return RULE_ERR_BAD_RULE;
            }
            text = text.from(fieldLength + 1);
        }
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
