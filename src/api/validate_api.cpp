// The exported syntax checks, and the converter beside them.
#include <ruleset.h>

#include <cstddef>

#include "core/byte_order.h"
#include "domain/domain_rule.h"
#include "ip/ip_rule.h"
#include "ipport/ip_port_rule.h"
#include "packetfilter/packet_filter_rule.h"
#include "syntax/ip_range.h"
#include "syntax/port.h"
#include "url/url_rule.h"

namespace {

// Deliberate: a canonical text that does not fit here is RULE_ERR_NO_MEMORY, as one is that does not
// fit where rules are added. There is more room there.
template <typename Record, auto parse>
int32_t validateText(const char* text, uint32_t length) noexcept {
    char canonical[rs::MAX_ITEM_LENGTH];
    uint32_t capacity = sizeof canonical;
    Record record{};
    const int32_t status = parse(text, length, canonical, &capacity, &record);
    return status == RULE_ERR_BUFFER_SMALL ? RULE_ERR_NO_MEMORY : status;
}

}  // namespace

extern "C" int32_t rs_validate_IPv4Range(const char* text, uint32_t length) noexcept {
    rs::AddressSpec range{};
    return rs::parseIPv4Range({text, length}, &range) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RANGE;
}

extern "C" int32_t rs_validate_IPv6Range(const char* text, uint32_t length) noexcept {
    rs::AddressSpec range{};
    return rs::parseIPv6Range({text, length}, &range) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RANGE;
}

extern "C" int32_t rs_validate_PortRange(const char* text, uint32_t length) noexcept {
    rs::PortPair ports{};
    return rs::parsePortPair({text, length}, &ports) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RANGE;
}

extern "C" int32_t rs_validateRule_IP(const char* text, uint32_t length) noexcept {
    rs::AddressSpec range{};
    return rs::parseIpRule({text, length}, &range) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RULE;
}

extern "C" int32_t rs_validateRule_FQDN(const char* text, uint32_t length) noexcept {
    return validateText<rs::DomainRuleText, rs::parseDomainRule>(text, length);
}

extern "C" int32_t rs_validateRule_URL(const char* text, uint32_t length) noexcept {
    return validateText<rs::UrlRuleText, rs::parseUrlRule>(text, length);
}

extern "C" int32_t rs_validateRule_IpPort(const char* text, uint32_t length) noexcept {
    rs::IpPortRuleFields fields{};
    return rs::parseIpPortRule(text, length, &fields) == RULE_OK ? RULE_OK : RULE_ERR_BAD_RULE;
}

extern "C" int32_t rs_validateRule_PacketFilter(const char* text, uint32_t length) noexcept {
    rs::PacketFilterRuleFields fields{};
    return rs::parsePacketFilterRule(text, length, &fields) == RULE_OK ? RULE_OK
                                                                       : RULE_ERR_BAD_RULE;
}

extern "C" int32_t rs_convertRule_IP(const char* text, uint32_t length,
                                     ConvertedRange* out) noexcept {
    rs::AddressSpec range{};
    if (out == nullptr) {
        return RULE_ERR_FAILED;
    }
    if (rs::parseIPv4Range({text, length}, &range) == RULE_OK) {
        out->family = 4;
        rs::writeBigEndian32(out->startAddress, range.startAddress.words[3]);
        rs::writeBigEndian32(out->endAddress, range.endAddress.words[3]);
        return RULE_OK;
    }
    // IPv6 is read even while rules may not name it.
    if (rs::parseIPv6Range({text, length}, &range) != RULE_OK) {
        return RULE_ERR_FAILED;
    }
    out->family = 6;
    for (size_t i = 0; i < range.startAddress.words.size(); ++i) {
        rs::writeBigEndian32(out->startAddress + 4 * i, range.startAddress.words[i]);
        rs::writeBigEndian32(out->endAddress + 4 * i, range.endAddress.words[i]);
    }
    return RULE_OK;
}
