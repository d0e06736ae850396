#include "compound/compound_rule.h"

#include <ruleset.h>

#include <algorithm>
#include <limits>

#include "core/entry.h"
#include "core/memory.h"
#include "core/text_rule.h"
#include "ip/ip_rule.h"
#include "syntax/ascii.h"
#include "syntax/fields.h"
#include "syntax/ip_range.h"
#include "syntax/items.h"
#include "syntax/number.h"

namespace rs {

namespace {

constexpr NumberForm DECIMAL{.overflow = Overflow::SEEN_WHEN_SMALLER};
// Deliberate: letters count from 0, not from 10.
constexpr NumberForm HEX{.base = 16, .overflow = Overflow::SEEN_WHEN_SMALLER, .letterValue = 0};
constexpr Text HEX_MARK = literalText("0x");

// Takes a byte off the front of a text. False when it does not begin with that byte.
bool takeByte(Text& rest, char byte) noexcept {
    if (rest.isEmpty() || *rest.text != byte) {
        return false;
    }
    rest = rest.from(1);
    return true;
}

// Takes the digits off the front of a text, of which there is one at least.
template <typename Number>
bool takeDecimal(Text& rest, Number& out) noexcept {
    const Text digits =
        textBetween(rest.begin(), std::find_if_not(rest.begin(), rest.end(), isDecimalDigit));
    rest = rest.from(digits.length);
    return readNumber<DECIMAL>(digits, out);
}

template <typename Number>
struct NumberRange {
    Number low;
    Number high;
};

// "*", "5", "5-9" or "5*", with blanks around it.
template <typename Number>
bool readRange(Text item, NumberRange<Number>& out) noexcept {
    constexpr Number LARGEST = std::numeric_limits<Number>::max();
    Text rest = trimBlanks(item);
    if (takeByte(rest, '*')) {
        out = {0, LARGEST};
    } else {
        if (!takeDecimal(rest, out.low)) {
            return false;
        }
        out.high = out.low;
    }
    if (takeByte(rest, '-')) {
        if (!takeDecimal(rest, out.high)) {
            return false;
        }
    } else if (takeByte(rest, '*')) {
        out.high = LARGEST;
    }
    return rest.isEmpty() && out.low <= out.high;
}

// Appends a range to a chain.
template <typename Bound>
int32_t appendRange(Chain<RangeNode<Bound>>& chain, const Bound& low, const Bound& high) noexcept {
    RangeNode<Bound>* node = makeRange(low, high);
    if (node == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    chain.append(node);
    return RULE_OK;
}

// Whatever was read is in *head, also after a failure.
template <typename Number>
int32_t parseRanges(Text field, RangeNode<Number>** head) noexcept {
    Chain<RangeNode<Number>> chain{};
    const int32_t status = forEachItem(field, [&chain](Text item) noexcept {
        NumberRange<Number> range{};
        if (!readRange(item, range)) {
            return RULE_ERR_FAILED;
        }
        return appendRange(chain, range.low, range.high);
    });
    *head = chain.first;
    return status;
}

int32_t parseAddresses(Text field, AddressRange** head) noexcept {
    Chain<AddressRange> chain{};
    const int32_t listStatus = forEachItem(field, [&chain](Text item) noexcept {
        if (item.isEmpty()) {
            return RULE_ERR_FAILED;  // an item of blanks gets the status of the IP rule below
        }
        AddressSpec address{};
        const int32_t status = parseIpRule(item, &address);
        if (status == RULE_OK) {
            return appendRange(chain, address.startAddress, address.endAddress);
        }
        return isStar(trimBlanks(item)) ? appendRange(chain, FIRST_ADDRESS, LAST_ADDRESS) : status;
    });
    *head = chain.first;
    return listStatus;
}

constexpr uint32_t FIELD_COUNT = 6;

// Cuts a text into its six fields. None of them is empty. The last one runs to the end, so a
// further ';' makes a bad number of it.
bool cutFields(Text rest, Text (&fields)[FIELD_COUNT]) noexcept {
    for (uint32_t i = 0; i + 1 < FIELD_COUNT; ++i) {
        fields[i] = rest.first(rest.find(';'));
        if (fields[i].isEmpty() || fields[i].length == rest.length) {
            return false;
        }
        rest = rest.from(fields[i].length + 1);
    }
    fields[FIELD_COUNT - 1] = rest;
    return !rest.isEmpty();
}

template <typename Range, typename Bound>
bool isOneRange(const Range* list, const Bound& low, const Bound& high) noexcept {
    return list != nullptr && list->next == nullptr && list->low == low && list->high == high;
}

bool letsEverythingThrough(const CompoundRule& rule) noexcept {
    constexpr uint32_t LARGEST = UINT32_MAX;
    return isOneRange(rule.rangeListA, 0U, LARGEST) && isOneRange(rule.rangeListB, 0U, LARGEST) &&
           isOneRange(rule.addressList, FIRST_ADDRESS, LAST_ADDRESS) && rule.numberA == 0 &&
           rule.numberB == 0;
}

}  // namespace

int32_t parseCompoundNumber(Text text, uint32_t* out) noexcept {
    if (text.text == nullptr) {
        return RULE_ERR_FAILED;
    }
    const Text number = trimBlanks(text);
    uint32_t value = 0;
    const bool isNumber = startsLowered(number, HEX_MARK)
                              ? readNumber<HEX>(number.from(HEX_MARK.length), value)
                              : readNumber<DECIMAL>(number, value);
    if (!isNumber) {
        return RULE_ERR_FAILED;
    }
    if (out != nullptr) {
        *out = value;
    }
    return RULE_OK;
}

int32_t parseCompoundRule(const char* text, uint32_t length, CompoundRule* record) noexcept {
    if (record == nullptr || text == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const Text rule = trimBlanks({text, length});
    Text fields[FIELD_COUNT];
    if (rule.length > MAX_ITEM_LENGTH || !cutFields(rule, fields)) {
        return RULE_ERR_BAD_RULE;
    }
    int32_t status = parseRanges<uint32_t>(fields[0], &record->rangeListA);
    if (status == RULE_OK) {
        status = parseRanges<uint32_t>(fields[1], &record->rangeListB);
    }
    if (status == RULE_OK) {
        status = parseAddresses(fields[2], &record->addressList);
    }
    if (status == RULE_OK) {
        status = parseRanges<uint16_t>(fields[3], &record->rangeList16);
    }
    if (status == RULE_OK) {
        status = parseCompoundNumber(fields[4], &record->numberA);
    }
    if (status == RULE_OK) {
        status = parseCompoundNumber(fields[5], &record->numberB);
    }
    if (status == RULE_OK) {
        record->matchesAll = letsEverythingThrough(*record) ? 1 : 0;
    }
    return status;
}

CompoundRuleRecord* makeCompoundRule(const char* text, uint32_t length, const RuleValues& values,
                                     int32_t* status) noexcept {
    return makeTextRule<CompoundRuleRecord, freeCompoundRecord>(
        text, length, 1, status, [&](CompoundRuleRecord& record) noexcept {
            resetList(record.links);
            copyRuleValues(values, record.rule);
            return parseCompoundRule(text, length, &record.rule);
        });
}

void freeCompoundRecord(CompoundRuleRecord* record) noexcept {
    if (record == nullptr) {
        return;
    }
    freeRangeList(&record->rule.rangeListA);
    freeRangeList(&record->rule.rangeList16);
    freeRangeList(&record->rule.addressList);
    freeRangeList(&record->rule.rangeListB);
    freeMemory(record->text);
    freeMemory(record);
}

}  // namespace rs
