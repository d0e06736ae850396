#include "url/ip_literal_host.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdio>

#include "syntax/ip_address.h"

namespace rs {

namespace {

// "[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]" and the NUL that snprintf writes.
constexpr uint32_t MAX_LITERAL_SIZE = 42;

bool isMapped(const Ipv6Groups& groups) noexcept {
    return std::all_of(groups.begin(), groups.begin() + 5,
                       [](uint16_t group) noexcept { return group == 0; }) &&
           groups[5] == 0xFFFF;
}

uint32_t printLiteral(const Ipv6Groups& groups, char (&out)[MAX_LITERAL_SIZE]) noexcept {
    int length = 0;
    if (isMapped(groups)) {
        length = std::snprintf(out, sizeof out, "%d.%d.%d.%d", groups[6] >> 8, groups[6] & 0xFF,
                               groups[7] >> 8, groups[7] & 0xFF);
    } else {
        length = std::snprintf(out, sizeof out, "[%x:%x:%x:%x:%x:%x:%x:%x]", groups[0], groups[1],
                               groups[2], groups[3], groups[4], groups[5], groups[6], groups[7]);
    }
    return static_cast<uint32_t>(length);
}

}  // namespace

int32_t normalizeIpLiteralHost(const char* host, uint32_t length, char* out,
                               uint32_t* inOutCapacity) noexcept {
    if (host == nullptr || length == 0 || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    Ipv6Groups groups;
    if (length < 3 || host[0] != '[' || host[length - 1] != ']' ||
        parseIPv6Address(host + 1, length - 2, &groups) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    char literal[MAX_LITERAL_SIZE];
    const uint32_t literalLength = printLiteral(groups, literal);
    if (*inOutCapacity < literalLength) {
        return RULE_ERR_BUFFER_SMALL;
    }
    std::copy_n(literal, literalLength, out);
    *inOutCapacity = literalLength;
    return RULE_OK;
}

}  // namespace rs
