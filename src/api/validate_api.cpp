// The exported syntax checks, and the converter beside them.
#include <ruleset.h>

#include <cstddef>

#include "core/byte_order.h"
#include "ip/ip_rule.h"
#include "syntax/ip_range.h"
#include "syntax/port.h"

extern "C" int32_t rs_validate_IPv4Range(const char* text, uint32_t length) noexcept {
    rs::AddressSpec range{};
    return rs::parseIPv4Range(text, length, &range) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RANGE;
}

extern "C" int32_t rs_validate_IPv6Range(const char* text, uint32_t length) noexcept {
    rs::AddressSpec range{};
    return rs::parseIPv6Range(text, length, &range) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RANGE;
}

extern "C" int32_t rs_validate_PortRange(const char* text, uint32_t length) noexcept {
    rs::PortPair ports{};
    return rs::parsePortPair(text, length, &ports) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RANGE;
}

extern "C" int32_t rs_validateRule_IP(const char* text, uint32_t length) noexcept {
    rs::AddressSpec range{};
    return rs::parseIpRule(text, length, &range) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RULE;
}

extern "C" int32_t rs_convertRule_IP(const char* text, uint32_t length,
                                     ConvertedRange* out) noexcept {
    rs::AddressSpec range{};
    if (out == nullptr) {
        return RULE_ERR_FAILED;
    }
    if (rs::parseIPv4Range(text, length, &range) == RULE_OK) {
        out->family = 4;
        rs::writeBigEndian32(out->startAddress, range.startAddress.words[3]);
        rs::writeBigEndian32(out->endAddress, range.endAddress.words[3]);
        return RULE_OK;
    }
    // Whether rules may name IPv6 addresses does not matter here.
    if (rs::parseIPv6Range(text, length, &range) != RULE_OK) {
        return RULE_ERR_FAILED;
    }
    out->family = 6;
    for (size_t i = 0; i < range.startAddress.words.size(); ++i) {
        rs::writeBigEndian32(out->startAddress + 4 * i, range.startAddress.words[i]);
        rs::writeBigEndian32(out->endAddress + 4 * i, range.endAddress.words[i]);
    }
    return RULE_OK;
}
