#include "url/ip_literal_host.h"

#include <ruleset.h>

#include <algorithm>
#include <charconv>

#include "syntax/ip_address.h"

namespace rs {

namespace {

constexpr uint32_t MAX_LITERAL_LENGTH = 41;  // of "[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]"

bool isMapped(const Ipv6Groups& groups) noexcept {
    return std::all_of(groups.begin(), groups.begin() + 5,
                       [](uint16_t group) noexcept { return group == 0; }) &&
           groups[5] == 0xFFFF;
}

// A literal being written; there is room for the longest.
struct LiteralText {
    char bytes[MAX_LITERAL_LENGTH];
    uint32_t length = 0;

    void put(char byte) noexcept { bytes[length++] = byte; }

    void putNumber(uint32_t number, int base) noexcept {
        const auto result = std::to_chars(bytes + length, bytes + MAX_LITERAL_LENGTH, number, base);
        length = static_cast<uint32_t>(result.ptr - bytes);
    }
};

LiteralText printDottedQuad(const Ipv6Groups& groups) noexcept {
    LiteralText text;
    const uint32_t fields[] = {uint32_t{groups[6]} >> 8U, groups[6] & 0xFFU,
                               uint32_t{groups[7]} >> 8U, groups[7] & 0xFFU};
    for (const uint32_t field : fields) {
        if (text.length != 0) {
            text.put('.');
        }
        text.putNumber(field, 10);
    }
    return text;
}

LiteralText printGroups(const Ipv6Groups& groups) noexcept {
    LiteralText text;
    for (const uint16_t group : groups) {
        text.put(text.length == 0 ? '[' : ':');
        text.putNumber(group, 16);
    }
    text.put(']');
    return text;
}

}  // namespace

int32_t normalizeIpLiteralHost(const char* host, uint32_t length, char* out,
                               uint32_t* inOutCapacity) noexcept {
    if (host == nullptr || length == 0 || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    Ipv6Groups groups;
    if (length < 3 || host[0] != '[' || host[length - 1] != ']' ||
        parseIPv6Address({host + 1, length - 2}, &groups) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    const LiteralText literal = isMapped(groups) ? printDottedQuad(groups) : printGroups(groups);
    if (*inOutCapacity < literal.length) {
        return RULE_ERR_BUFFER_SMALL;
    }
    std::copy_n(literal.bytes, literal.length, out);
    *inOutCapacity = literal.length;
    return RULE_OK;
}

}  // namespace rs
