#include "syntax/ip_address.h"

#include <ruleset.h>

#include <algorithm>

#include "syntax/ascii.h"
#include "syntax/text_scan.h"

namespace rs {

namespace {

constexpr uint32_t NO_GAP = IPV6_GROUP_COUNT;

// The groups read so far, in text order, and how many of them stand before "::".
struct GroupReader {
    Ipv6Groups groups{};
    uint32_t count = 0;
    uint32_t gap = NO_GAP;

    [[nodiscard]] bool hasGap() const noexcept { return gap != NO_GAP; }
};

bool appendGroup(GroupReader& reader, const char* text, uint32_t length) noexcept {
    if (length == 0 || length > 4 || reader.count == IPV6_GROUP_COUNT) {
        return false;
    }
    if (parseHexGroup(text, length, &reader.groups[reader.count]) != RULE_OK) {
        return false;
    }
    ++reader.count;
    return true;
}

bool appendDottedQuad(GroupReader& reader, const char* text, uint32_t length) noexcept {
    const uint32_t mostBefore = reader.hasGap() ? 5 : 6;
    uint32_t address = 0;
    if (reader.count > mostBefore || parseIPv4Address(text, length, &address) != RULE_OK) {
        return false;
    }
    reader.groups[reader.count++] = static_cast<uint16_t>(address >> 16U);
    reader.groups[reader.count++] = static_cast<uint16_t>(address & 0xFFFFU);
    return true;
}

// Length of the piece at the start of text that ends before the first ':' or at the end.
uint32_t pieceLength(const char* text, uint32_t length) noexcept {
    return static_cast<uint32_t>(std::find(text, text + length, ':') - text);
}

bool readGroups(const char* text, uint32_t length, GroupReader& reader) noexcept {
    uint32_t i = 0;
    if (length >= 2 && text[0] == ':' && text[1] == ':') {
        reader.gap = 0;
        i = 2;
    }
    while (i < length) {
        const uint32_t piece = pieceLength(text + i, length - i);
        const bool isLast = i + piece == length;
        if (isLast && std::find(text + i, text + length, '.') != text + length) {
            return appendDottedQuad(reader, text + i, piece);
        }
        if (!appendGroup(reader, text + i, piece)) {
            return false;
        }
        if (isLast) {
            return true;
        }
        i += piece + 1;
        if (i == length) {
            return false;  // a single ':' ends no address
        }
        if (text[i] == ':') {
            if (reader.hasGap()) {
                return false;
            }
            reader.gap = reader.count;
            ++i;
        }
    }
    return reader.hasGap();
}

}  // namespace

int32_t parseIPv4Address(const char* text, uint32_t length, uint32_t* out) noexcept {
    uint32_t address = 0;
    uint32_t fieldStart = 0;
    uint32_t dots = 0;
    for (uint32_t i = 0; i <= length; ++i) {
        if (i < length && text[i] != '.') {
            if (!isDecimalDigit(text[i]) || i - fieldStart == 3) {
                return RULE_ERR_BAD_RULE;
            }
            continue;
        }
        uint32_t field = 0;
        if (parseDecimalField(text + fieldStart, i - fieldStart, &field) != RULE_OK ||
            field > 255) {
            return RULE_ERR_BAD_RULE;
        }
        address = (address << 8U) | field;
        if (i < length && ++dots > 3) {
            return RULE_ERR_BAD_RULE;
        }
        fieldStart = i + 1;
    }
    if (dots != 3) {
        return RULE_ERR_BAD_RULE;
    }
    *out = address;
    return RULE_OK;
}

int32_t parseIPv6Address(const char* text, uint32_t length, Ipv6Groups* out) noexcept {
    GroupReader reader;
    if (length == 0 || !readGroups(text, length, reader)) {
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
        return RULE_ERR_FAILED;  // "::" stands for one group at least
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
