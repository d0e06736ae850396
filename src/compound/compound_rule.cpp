#include "compound/compound_rule.h"

#include <ruleset.h>

#include <algorithm>
#include <limits>

#include "core/entry.h"
#include "core/memory.h"
#include "core/text_rule.h"
#include "ip/ip_rule.h"
#include "syntax/ascii.h"
#include "syntax/ip_range.h"
#include "syntax/text_scan.h"

namespace rs {

namespace {

// A walk over the bytes of an item or number.
struct Cursor {
    const char* at;
    const char* end;

    [[nodiscard]] bool isAtEnd() const noexcept { return at == end; }
    [[nodiscard]] bool isAt(char byte) const noexcept { return at != end && *at == byte; }
    [[nodiscard]] bool isAtDigit() const noexcept { return at != end && isDecimalDigit(*at); }

    void skipBlanks() noexcept {
        while (at != end && isBlank(*at)) {
            ++at;
        }
    }
};

// Adds a digit. False when that makes the value smaller, which is all that is asked.
template <typename Number>
bool addDigit(Number& value, uint32_t base, uint32_t digit) noexcept {
    const auto next = static_cast<Number>(value * base + digit);
    if (next < value) {
        return false;
    }
    value = next;
    return true;
}

// Reads the digits at the cursor, of which there is one at least.
template <typename Number>
bool readDecimal(Cursor& cursor, Number& out) noexcept {
    if (!cursor.isAtDigit()) {
        return false;
    }
    out = 0;
    for (; cursor.isAtDigit(); ++cursor.at) {
        if (!addDigit(out, 10, static_cast<uint32_t>(*cursor.at - '0'))) {
            return false;
        }
    }
    return true;
}

template <typename Number>
struct NumberRange {
    Number low;
    Number high;
};

// "*", "5", "5-9" or "5*", with blanks around it.
template <typename Number>
bool readRange(Cursor cursor, NumberRange<Number>& out) noexcept {
    constexpr Number LARGEST = std::numeric_limits<Number>::max();
    cursor.skipBlanks();
    if (cursor.isAt('*')) {
        ++cursor.at;
        out = {0, LARGEST};
    } else {
        if (!readDecimal(cursor, out.low)) {
            return false;
        }
        out.high = out.low;
    }
    if (cursor.isAt('-')) {
        ++cursor.at;
        if (!readDecimal(cursor, out.high)) {
            return false;
        }
    } else if (cursor.isAt('*')) {
        ++cursor.at;
        out.high = LARGEST;
    }
    cursor.skipBlanks();
    return cursor.isAtEnd() && out.low <= out.high;
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

// Takes the items of a field one after the other, each with its separator; an empty one fails, and
// so does the nothing behind a separator at the end.
template <typename Take>
int32_t forEachListItem(const char* text, int32_t length, const Take& take) noexcept {
    for (;;) {
        const int32_t itemLength = fieldLength(text, length, ',');
        if (itemLength == 0) {
            return RULE_ERR_FAILED;
        }
        const int32_t status = take(text, static_cast<uint32_t>(itemLength));
        if (status != RULE_OK || itemLength == length) {
            return status;
        }
        text += itemLength + 1;
        length -= itemLength + 1;
    }
}

// Whatever was read is in *head, also after a failure.
template <typename Number>
int32_t parseRanges(const char* text, int32_t length, RangeNode<Number>** head) noexcept {
    Chain<RangeNode<Number>> chain{};
    const int32_t status =
        forEachListItem(text, length, [&chain](const char* item, uint32_t itemLength) noexcept {
            NumberRange<Number> range{};
            if (!readRange<Number>({item, item + itemLength}, range)) {
                return RULE_ERR_FAILED;
            }
            return appendRange(chain, range.low, range.high);
        });
    *head = chain.first;
    return status;
}

bool isStar(const char* text, uint32_t length) noexcept {
    const char* item = nullptr;
    uint32_t itemLength = 0;
    trimWhitespace(text, length, &item, &itemLength);
    return itemLength == 1 && *item == '*';
}

int32_t parseAddresses(const char* text, int32_t length, AddressRange** head) noexcept {
    Chain<AddressRange> chain{};
    const int32_t listStatus =
        forEachListItem(text, length, [&chain](const char* item, uint32_t itemLength) noexcept {
            AddressSpec address{};
            const int32_t status = parseIpRule({item, itemLength}, &address);
            if (status == RULE_OK) {
                return appendRange(chain, address.startAddress, address.endAddress);
            }
            return isStar(item, itemLength) ? appendRange(chain, FIRST_ADDRESS, LAST_ADDRESS)
                                            : status;
        });
    *head = chain.first;
    return listStatus;
}

constexpr uint32_t FIELD_COUNT = 6;

struct TextField {
    const char* text;
    int32_t length;
};

// Cuts a text into its six fields, none of them empty; the last one runs to the end.
bool cutFields(const char* text, int32_t length, TextField (&fields)[FIELD_COUNT]) noexcept {
    for (uint32_t i = 0; i + 1 < FIELD_COUNT; ++i) {
        const int32_t own = fieldLength(text, length, ';');
        if (own == 0 || own == length) {
            return false;
        }
        fields[i] = {text, own};
        text += own + 1;
        length -= own + 1;
    }
    fields[FIELD_COUNT - 1] = {text, length};
    return length != 0;
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

// Deliberate: letters count from 0, not from 10.
bool readHexDigit(char byte, uint32_t& out) noexcept {
    const uint32_t value = hexDigitValue(byte);
    if (value == NOT_A_HEX_DIGIT) {
        return false;
    }
    out = value >= 10 ? value - 10 : value;
    return true;
}

bool readHex(Cursor& cursor, uint32_t& out) noexcept {
    uint32_t digit = 0;
    if (cursor.isAtEnd() || !readHexDigit(*cursor.at, digit)) {
        return false;
    }
    for (; !cursor.isAtEnd() && readHexDigit(*cursor.at, digit); ++cursor.at) {
        if (!addDigit(out, 16, digit)) {
            return false;
        }
    }
    return true;
}

bool readNumber(Cursor& cursor, uint32_t& out) noexcept {
    const char* const start = cursor.at;
    if (!readDecimal(cursor, out)) {
        return false;
    }
    const bool isHex =
        cursor.at - start == 1 && *start == '0' && (cursor.isAt('x') || cursor.isAt('X'));
    if (!isHex) {
        return true;
    }
    ++cursor.at;
    return readHex(cursor, out);
}

}  // namespace

int32_t fieldLength(const char* text, int32_t length, char separator) noexcept {
    return length < 1 ? 0 : static_cast<int32_t>(std::find(text, text + length, separator) - text);
}

bool isAllBlank(const char* text, int32_t length) noexcept {
    return length < 1 || std::all_of(text, text + length, isBlank);
}

int32_t parseCompoundNumber(const char* text, uint32_t length, uint32_t* out) noexcept {
    if (text == nullptr || std::all_of(text, text + length, isBlank)) {
        return RULE_ERR_FAILED;
    }
    Cursor cursor{text, text + length};
    uint32_t value = 0;
    cursor.skipBlanks();
    if (!readNumber(cursor, value)) {
        return RULE_ERR_FAILED;
    }
    cursor.skipBlanks();
    if (!cursor.isAtEnd()) {
        return RULE_ERR_FAILED;
    }
    if (out != nullptr) {
        *out = value;
    }
    return RULE_OK;
}

int32_t parseCompoundRule(const char* text, uint32_t length, CompoundRule* record) noexcept {
    const char* rule = nullptr;
    uint32_t ruleLength = 0;
    if (record == nullptr || trimWhitespace(text, length, &rule, &ruleLength) != RULE_OK) {
        return RULE_ERR_INVALID_ARG;
    }
    TextField fields[FIELD_COUNT];
    if (ruleLength > MAX_ITEM_LENGTH ||
        !cutFields(rule, static_cast<int32_t>(ruleLength), fields)) {
        return RULE_ERR_BAD_RULE;
    }
    int32_t status = parseRanges<uint32_t>(fields[0].text, fields[0].length, &record->rangeListA);
    if (status == RULE_OK) {
        status = parseRanges<uint32_t>(fields[1].text, fields[1].length, &record->rangeListB);
    }
    if (status == RULE_OK) {
        status = parseAddresses(fields[2].text, fields[2].length, &record->addressList);
    }
    if (status == RULE_OK) {
        status = parseRanges<uint16_t>(fields[3].text, fields[3].length, &record->rangeList16);
    }
    if (status == RULE_OK) {
        status = parseCompoundNumber(fields[4].text, static_cast<uint32_t>(fields[4].length),
                                     &record->numberA);
    }
    if (status == RULE_OK) {
        status = parseCompoundNumber(fields[5].text, static_cast<uint32_t>(fields[5].length),
                                     &record->numberB);
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
