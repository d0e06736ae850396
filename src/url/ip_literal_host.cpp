#include "url/ip_literal_host.h"

#include <ruleset.h>

#include <algorithm>

#include "syntax/ip_address.h"
#include "syntax/text_writer.h"

namespace rs {

namespace {

bool isMapped(const Ipv6Groups& groups) noexcept {
    return std::all_of(groups.begin(), groups.begin() + 5,
                       [](uint16_t group) noexcept { return group == 0; }) &&
           groups[5] == 0xFFFF;
}

bool putDottedQuad(const Ipv6Groups& groups, TextWriter& writer) noexcept {
    const uint32_t high = groups[6];
    const uint32_t low = groups[7];
    return writer.putNumber(high >> 8U, 10) && writer.put('.') &&
           writer.putNumber(high & 0xFFU, 10) && writer.put('.') &&
           writer.putNumber(low >> 8U, 10) && writer.put('.') && writer.putNumber(low & 0xFFU, 10);
}

bool putGroups(const Ipv6Groups& groups, TextWriter& writer) noexcept {
    for (const uint16_t group : groups) {
        if (!writer.put(writer.length() == 0 ? '[' : ':') || !writer.putNumber(group, 16)) {
            return false;
        }
    }
    return writer.put(']');
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
    TextWriter writer(out, *inOutCapacity);
    if (!(isMapped(groups) ? putDottedQuad(groups, writer) : putGroups(groups, writer))) {
        return RULE_ERR_BUFFER_SMALL;
    }
    *inOutCapacity = writer.length();
    return RULE_OK;
}

}  // namespace rs
