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
#include "syntax/number.h"
#include "syntax/port.h"

namespace rs {

namespace {

constexpr uint32_t FIELD_COUNT = 5;

// Ten bytes at most in either form, the "0x" included.
constexpr Text HEX_MARK = literalText("0x");
constexpr NumberForm HEX_MASK{.base = 16, .maxLength = 8, .minValue = 1};
constexpr NumberForm DECIMAL_MASK{.maxLength = 10, .minValue = 1};

// What a form takes as an address field.
struct RuleForm {
    bool isWide;
    bool (*mayBeEnd)(char byte) noexcept;  // for the first and the last byte
    int32_t (*checkList)(Text list) noexcept;
};

constexpr RuleForm DEFAULT_FORM{false, isDigitByte, checkIPv4AddressList};
constexpr RuleForm WIDE_FORM{true, isNotBlankByte, checkAddressList};

// One rule on its way through one form.
struct RuleReader {
    const char* text;  // as given
    const RuleForm& form;
    IpPortRuleFields& fields;
};

bool readAddressField(RuleReader& reader, Text field, uint32_t wildcardFlag, uint32_t& offset,
                      uint32_t& length, uint32_t& wide) noexcept {
    if (isStar(field)) {
        reader.fields.wildcardFlags |= wildcardFlag;
    } else if (!hasEnds(field, reader.form.mayBeEnd) || reader.form.checkList(field) != RULE_OK) {
        return false;
    }
    offset = textBetween(reader.text, field.text).length;
    length = field.length;
    if (reader.form.isWide) {
        wide = 1;
    }
    return true;
}

bool readPortField(const RuleReader& reader, Text field, uint32_t& offset,
                   uint32_t& length) noexcept {
    if (checkPortField(field) != RULE_OK) {
        return false;
    }
    offset = textBetween(reader.text, field.text).length;
    length = field.length;
    return true;
}

int32_t readRule(const char* text, uint32_t length, const RuleForm& form,
                 IpPortRuleFields* out) noexcept {
    if (out == nullptr || text == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const Text rule = trimBlanks({text, length});
    Text fields[FIELD_COUNT];
    if (rule.isEmpty() || rule.length > MAX_ITEM_LENGTH ||
        std::any_of(rule.begin(), rule.end(), isBlank) || !splitFields(rule, fields)) {
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
        parseRuleMask(fields[4], &out->ruleMask) == RULE_OK;
    return isGood ? RULE_OK : RULE_ERR_BAD_RULE;
}

int32_t checkIpv4Item(Text item) noexcept {
    AddressSpec range{};
    return parseIPv4Range(item, &range);
}

int32_t checkItem(Text item) noexcept {
    AddressSpec range{};
    return checkIpv4Item(item) == RULE_OK ? RULE_OK : parseIPv6Range(item, &range);
}

int32_t checkList(Text list, int32_t (*check)(Text item) noexcept) noexcept {
    const bool isGood =
        list.text != nullptr && !list.isEmpty() && forEachItem(list, check) == RULE_OK;
    return isGood ? RULE_OK : RULE_ERR_BAD_RULE;
}

}  // namespace

int32_t checkIPv4AddressList(Text list) noexcept {
    return checkList(list, checkIpv4Item);
}

int32_t checkAddressList(Text list) noexcept {
    return checkList(list, checkItem);
}

int32_t parseRuleMask(Text text, uint32_t* out) noexcept {
    if (text.text == nullptr) {
        return RULE_ERR_BAD_RULE;
    }
    const bool isMask = text.startsWith(HEX_MARK)
                            ? readNumber<HEX_MASK>(text.from(HEX_MARK.length), *out)
                            : readNumber<DECIMAL_MASK>(text, *out);
    return isMask ? RULE_OK : RULE_ERR_BAD_RULE;
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
    // The first form may have noted a "*" before it failed. All other fields are written anew.
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
