#include "packetfilter/packet_filter_rule.h"

#include <ruleset.h>

#include "core/entry.h"
#include "core/library_option.h"
#include "core/memory.h"
#include "core/text_rule.h"
#include "syntax/fields.h"
#include "syntax/ip_range.h"
#include "syntax/port.h"

namespace rs {

namespace {

constexpr uint32_t FIELD_COUNT = 5;
constexpr Text TCP = literalText("tcp");

// What a form takes as an address.
struct RuleForm {
    bool (*mayBeEnd)(char byte) noexcept;  // for the first and the last byte
    int32_t (*parseItem)(Text text, AddressSpec* out) noexcept;
};

constexpr RuleForm DEFAULT_FORM{isDigitByte, parseIPv4Range};
constexpr RuleForm WIDE_FORM{isNotBlankByte, parseIPv6Range};

// Where the parts of an endpoint go.
struct EndpointFields {
    Address128& start;
    Address128& end;
    uint32_t& addressFlags;
    uint32_t& portsOffset;
    uint32_t& portsLength;
    uint32_t wildcardFlag;
};

bool readAddress(const RuleForm& form, Text field, const EndpointFields& endpoint,
                 uint32_t& wildcardFlags) noexcept {
    if (isStar(field)) {
        wildcardFlags |= endpoint.wildcardFlag;
        endpoint.start = FIRST_ADDRESS;
        endpoint.end = LAST_ADDRESS;
        return true;
    }
    AddressSpec item{};
    if (!hasEnds(field, form.mayBeEnd) || form.parseItem(field, &item) != RULE_OK) {
        return false;
    }
    endpoint.start = item.startAddress;
    endpoint.end = item.endAddress;
    endpoint.addressFlags = item.addressFlags;
    return true;
}

bool readPorts(const char* text, Text field, const EndpointFields& endpoint) noexcept {
    if (checkPortField(field) != RULE_OK) {
        return false;
    }
    endpoint.portsOffset = textBetween(text, field.text).length;
    endpoint.portsLength = field.length;
    return true;
}

int32_t readRule(const char* text, uint32_t length, const RuleForm& form,
                 PacketFilterRuleFields* out) noexcept {
    if (out == nullptr || text == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const Text rule = trimBlanks({text, length});
    Text fields[FIELD_COUNT];
    if (rule.isEmpty() || rule.length > MAX_ITEM_LENGTH || !splitFields(rule, fields)) {
        return RULE_ERR_BAD_RULE;
    }
    const EndpointFields first{out->firstAddressStart, out->firstAddressEnd,
                               out->firstAddressFlags, out->firstPortsOffset,
                               out->firstPortsLength,  FILTER_ANY_FIRST_ADDRESS};
    const EndpointFields second{out->secondAddressStart, out->secondAddressEnd,
                                out->secondAddressFlags, out->secondPortsOffset,
                                out->secondPortsLength,  FILTER_ANY_SECOND_ADDRESS};
    const bool isGood = parseProtocolName(fields[0], &out->protocol) == RULE_OK &&
                        readAddress(form, fields[1], first, out->wildcardFlags) &&
                        readPorts(text, fields[2], first) &&
                        readAddress(form, fields[3], second, out->wildcardFlags) &&
                        readPorts(text, fields[4], second);
    return isGood ? RULE_OK : RULE_ERR_BAD_RULE;
}

}  // namespace

int32_t parseProtocolName(Text text, uint32_t* out) noexcept {
    if (!equalsLowered(text, TCP)) {
        return RULE_ERR_BAD_RULE;
    }
    *out = PROTOCOL_TCP;
    return RULE_OK;
}

int32_t parsePacketFilterRuleDefault(const char* text, uint32_t length,
                                     PacketFilterRuleFields* fields) noexcept {
    return readRule(text, length, DEFAULT_FORM, fields);
}

int32_t parsePacketFilterRuleWide(const char* text, uint32_t length,
                                  PacketFilterRuleFields* fields) noexcept {
    return readRule(text, length, WIDE_FORM, fields);
}

int32_t parsePacketFilterRule(const char* text, uint32_t length,
                              PacketFilterRuleFields* fields) noexcept {
    if (fields == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    fields->wildcardFlags = 0;
    const int32_t status = parsePacketFilterRuleDefault(text, length, fields);
    if (status == RULE_OK || ipv6Enabled == 0) {
        return status;
    }
    // The first form may have noted a "*" before it failed.
    fields->wildcardFlags = 0;
    return parsePacketFilterRuleWide(text, length, fields);
}

PacketFilterRule* makePacketFilterRule(const char* text, uint32_t length, const RuleValues& values,
                                       int32_t* status) noexcept {
    return makeTextRule<PacketFilterRule, freePacketFilterRule>(
        text, length, 0, status, [&](PacketFilterRule& rule) noexcept {
            copyRuleValues(values, rule);
            return parsePacketFilterRule(text, length, &rule.fields);
        });
}

void freePacketFilterRule(PacketFilterRule* rule) noexcept {
    if (rule != nullptr) {
        freeMemory(rule->text);
        freeMemory(rule);
    }
}

}  // namespace rs
