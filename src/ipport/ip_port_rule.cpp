#include "ipport/ip_port_rule.h"

#include <ruleset.h>

#include <algorithm>

#include "core/entry.h"
#include "core/library_option.h"
#include "core/memory.h"
#include "core/text_rule.h"
#include "syntax/ascii.h"
#include "syntax/fields.h"
#include "syntax/ip_range.h"
#include "syntax/items.h"
#include "syntax/port.h"
#include "syntax/text_scan.h"

namespace rs {

namespace {

constexpr uint32_t FIELD_COUNT = 5;
constexpr uint32_t MAX_MASK_LENGTH = 10;

// What a form takes as an address field.
struct RuleForm {
    bool isWide;
    bool (*mayBeEnd)(char byte) noexcept;  // for the first and the last byte
    int32_t (*checkList)(const char* text, uint32_t length) noexcept;
};

constexpr RuleForm DEFAULT_FORM{false, isDigitByte, checkIPv4AddressList};
constexpr RuleForm WIDE_FORM{true, isNotBlankByte, checkAddressList};

// One rule on its way through one form.
struct RuleReader {
    const char* text;  // as given
    const RuleForm& form;
    IpPortRuleFields& fields;
};

bool readAddressField(RuleReader& reader, const Field& field, uint32_t wildcardFlag,
                      uint32_t& offset, uint32_t& length, uint32_t& wide) noexcept {
    if (field.isStar()) {
        reader.fields.wildcardFlags |= wildcardFlag;
    } else if (!field.hasEnds(reader.form.mayBeEnd) ||
               reader.form.checkList(field.text, field.length) != RULE_OK) {
        return false;
    }
    offset = field.offsetFrom(reader.text);
    length = field.length;
    if (reader.form.isWide) {
        wide = 1;
    }
    return true;
}

bool readPortField(const RuleReader& reader, const Field& field, uint32_t& offset,
                   uint32_t& length) noexcept {
    if (checkPortField(field.text, field.length) != RULE_OK) {
        return false;
    }
    offset = field.offsetFrom(reader.text);
    length = field.length;
    return true;
}

int32_t readRule(const char* text, uint32_t length, const RuleForm& form,
                 IpPortRuleFields* out) noexcept {
    const char* rule = nullptr;
    uint32_t ruleLength = 0;
    if (out == nullptr || trimWhitespace(text, length, &rule, &ruleLength) != RULE_OK) {
        return RULE_ERR_INVALID_ARG;
    }
    Field fields[FIELD_COUNT];
    if (ruleLength == 0 || ruleLength > MAX_ITEM_LENGTH ||
        std::any_of(rule, rule + ruleLength, isBlank) || !splitFields(rule, ruleLength, fields)) {
        return RULE_ERR_BAD_RULE;
    }
    RuleReader reader{text, form, *out};
    const bool isGood =
        readAddressField(reader, fields[0], WILDCARD_FIRST_ADDRESS, out->firstAddressOffset,
                         out->firstAddressLength, out->firstAddressWide) &&
        readPortField(reader, fields[1], out->firstPortsOffset, out->firstPortsLength) &&
        readAddressField(reader, fields[2], WILDCARD_SECOND_ADDRESS, out->secondAddressOffset,
                         out->secondAddressLength, out->secondAddressWide) &&
        readPortField(reader, fields[3], out->secondPortsOffset, out->secondPortsLength) &&
        parseRuleMask(fields[4].text, fields[4].length, &out->ruleMask) == RULE_OK;
    return isGood ? RULE_OK : RULE_ERR_BAD_RULE;
}

int32_t checkIpv4Item(const char* text, uint32_t length) noexcept {
    AddressSpec item{};
    return parseIPv4Range(text, length, &item);
}

int32_t checkItem(const char* text, uint32_t length) noexcept {
    AddressSpec item{};
    return checkIpv4Item(text, length) == RULE_OK ? RULE_OK : parseIPv6Range(text, length, &item);
}

int32_t checkList(const char* text, uint32_t length,
                  int32_t (*check)(const char* text, uint32_t length) noexcept) noexcept {
    const bool isGood =
        text != nullptr && length != 0 && forEachItem(text, length, check) == RULE_OK;
    return isGood ? RULE_OK : RULE_ERR_BAD_RULE;
}

// The value of a digit in a base; base or above for a byte that is none.
uint32_t digitValue(char byte, uint32_t base) noexcept {
    const uint32_t value = hexDigitValue(byte);
    return value < base ? value : base;
}

}  // namespace

int32_t checkIPv4AddressList(const char* text, uint32_t length) noexcept {
    return checkList(text, length, checkIpv4Item);
}

int32_t checkAddressList(const char* text, uint32_t length) noexcept {
    return checkList(text, length, checkItem);
}

int32_t parseRuleMask(const char* text, uint32_t length, uint32_t* out) noexcept {
    if (text == nullptr || length == 0 || length > MAX_MASK_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    const bool isHex = length >= 3 && text[0] == '0' && text[1] == 'x';
    const uint32_t base = isHex ? 16 : 10;
    uint64_t value = 0;
    for (uint32_t i = isHex ? 2 : 0; i < length; ++i) {
        const uint32_t digit = digitValue(text[i], base);
        if (digit == base) {
            return RULE_ERR_BAD_RULE;
        }
        value = value * base + digit;
    }
    if (value == 0 || value > UINT32_MAX) {
        return RULE_ERR_BAD_RULE;
    }
    *out = static_cast<uint32_t>(value);
    return RULE_OK;
}

int32_t parseIpPortRuleDefault(const char* text, uint32_t length,
                               IpPortRuleFields* fields) noexcept {
    return readRule(text, length, DEFAULT_FORM, fields);
}

int32_t parseIpPortRuleWide(const char* text, uint32_t length, IpPortRuleFields* fields) noexcept {
    return readRule(text, length, WIDE_FORM, fields);
}

int32_t parseIpPortRule(const char* text, uint32_t length, IpPortRuleFields* fields) noexcept {
    if (fields == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    fields->wildcardFlags = 0;
    const int32_t status = parseIpPortRuleDefault(text, length, fields);
    if (status == RULE_OK || ipv6Enabled == 0) {
        return status;
    }
    fields->wildcardFlags = 0;
    return parseIpPortRuleWide(text, length, fields);
}

IpPortRule* makeIpPortRule(const char* text, uint32_t length, const RuleValues& values,
                           int32_t* status) noexcept {
    return makeTextRule<IpPortRule, freeIpPortRule>(
        text, length, 0, status, [&](IpPortRule& rule) noexcept {
            copyRuleValues(values, rule);
            return parseIpPortRule(text, length, &rule.fields);
        });
}

void freeIpPortRule(IpPortRule* rule) noexcept {
    if (rule != nullptr) {
        freeMemory(rule->text);
        freeMemory(rule);
    }
}

}  // namespace rs
