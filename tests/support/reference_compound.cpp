#include "support/reference_compound.h"

#include <algorithm>
#include <cstddef>

namespace rs::test {

namespace {

constexpr size_t LONGEST_RULE = 4095;
constexpr size_t FIELD_COUNT = 6;
constexpr uint32_t LARGEST_NUMBER = UINT32_MAX;
constexpr uint32_t LARGEST_NUMBER_16 = UINT16_MAX;
constexpr uint16_t LARGEST_VALUE_12 = 4095;
constexpr uint16_t NO_VALUE_12 = 4096;
constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::string_view DECIMAL_DIGITS = "0123456789";
constexpr std::string_view HEXADECIMAL_DIGITS = "0123456789abcdefABCDEF";

std::string_view trim(std::string_view text) {
    const size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

// The pieces between separators, the last of at most `most` pieces with all that follows.
std::vector<std::string_view> split(std::string_view text, char separator, size_t most = SIZE_MAX) {
    std::vector<std::string_view> pieces;
    while (pieces.size() + 1 < most) {
        const size_t end = text.find(separator);
        if (end == std::string_view::npos) {
            break;
        }
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.push_back(text);
    return pieces;
}

// What a digit adds to a number: after "0x" a letter counts from 0 on, not from 10.
uint32_t worthOf(char digit) {
    const std::string_view alphabet = digit >= 'a'   ? "abcdef"
                                      : digit >= 'A' ? "ABCDEF"
                                                     : DECIMAL_DIGITS;
    return static_cast<uint32_t>(alphabet.find(digit));
}

// Numbers live modulo 2^16 or 2^32; digits that make one smaller are refused, others that run over
// are not.
std::optional<uint32_t> readDigits(std::string_view digits, uint32_t base, uint32_t largest) {
    uint64_t value = 0;
    for (const char digit : digits) {
        const uint64_t next = (value * base + worthOf(digit)) % (uint64_t{largest} + 1);
        if (next < value) {
            return std::nullopt;
        }
        value = next;
    }
    return static_cast<uint32_t>(value);
}

// Takes the characters of the alphabet off the front of text.
std::string_view takeFront(std::string_view& text, std::string_view alphabet) {
    const size_t end = std::min(text.find_first_not_of(alphabet), text.size());
    const std::string_view front = text.substr(0, end);
    text.remove_prefix(end);
    return front;
}

bool takeCharacter(std::string_view& text, std::string_view choices) {
    if (text.empty() || choices.find(text[0]) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// A decimal number at the front of text.
std::optional<uint32_t> takeNumber(std::string_view& text, uint32_t largest) {
    const std::string_view digits = takeFront(text, DECIMAL_DIGITS);
    return digits.empty() ? std::nullopt : readDigits(digits, 10, largest);
}

// low, low-high, low*, where low may be a '*' for 0 with high at the largest unless one is given.
std::optional<NumberRange> readRange(std::string_view item, uint32_t largest) {
    std::string_view rest = trim(item);
    NumberRange range{0, largest};
    if (!takeCharacter(rest, "*")) {
        const std::optional<uint32_t> low = takeNumber(rest, largest);
        if (!low) {
            return std::nullopt;
        }
        range = {*low, *low};
    }
    if (takeCharacter(rest, "*")) {
        range.high = largest;
    } else if (takeCharacter(rest, "-")) {
        const std::optional<uint32_t> high = takeNumber(rest, largest);
        if (!high) {
            return std::nullopt;
        }
        range.high = *high;
    }
    if (!rest.empty() || range.low > range.high) {
        return std::nullopt;
    }
    return range;
}

std::optional<AddressRange> readAddresses(std::string_view item, bool allowIpv6) {
    const std::optional<AddressRange> range = allowIpv6 ? readIpRule(item) : readIpv4Range(item);
    if (!range && trim(item) == "*") {
        return AddressRange{0, LAST_ADDRESS, true};
    }
    return range;
}

// The items between commas, each read by readItem; false when one is not well formed.
template <typename Item, typename ReadItem>
bool readList(std::string_view field, std::vector<Item>& list, const ReadItem& readItem) {
    for (const std::string_view text : split(field, ',')) {
        const std::optional<Item> item = readItem(text);
        if (!item) {
            return false;
        }
        list.push_back(*item);
    }
    return true;
}

bool readRanges(std::string_view field, uint32_t largest, std::vector<NumberRange>& list) {
    return readList(field, list, [&](std::string_view item) { return readRange(item, largest); });
}

bool isOnly(const std::vector<NumberRange>& list, const NumberRange& range) {
    return list.size() == 1 && list[0] == range;
}

bool holds(const std::vector<NumberRange>& list, uint32_t number) {
    return std::any_of(list.begin(), list.end(),
                       [&](const NumberRange& range) { return range.covers(number); });
}

bool holds(const std::vector<AddressRange>& list, Number128 address) {
    return std::any_of(list.begin(), list.end(),
                       [&](const AddressRange& range) { return range.covers(address); });
}

Number128 numberOf(const AddressBytes& bytes, int32_t family) {
    Number128 number = 0;
    for (size_t i = 0; i < (family == 4 ? 4 : bytes.size()); ++i) {
        number = number << 8U | bytes[i];
    }
    return family == 4 ? mappedNumber(static_cast<uint32_t>(number)) : number;
}

void writeOutputs(const CompoundRuleText& rule, const CompoundConditions& conditions,
                  bool wantsListValue, ReferenceFlow& flow) {
    flow.outNumber = rule.numberB;
    if ((rule.numberA & 1U) != 0 && wantsListValue) {
        if (flow.listValue12 == NO_VALUE_12) {
            flow.outListValue = LARGEST_VALUE_12;
        } else if (conditions.isListValue16Covered && flow.outListValue == flow.listValue16) {
            flow.outListValue = flow.listValue12;
        }
    }
    if ((rule.numberA & 4U) != 0) {
        flow.outMark = 1;
    }
}

}  // namespace

bool CompoundRuleText::matchesAll() const {
    const NumberRange everyNumber{0, LARGEST_NUMBER};
    return isOnly(rangeListA, everyNumber) && isOnly(rangeListB, everyNumber) &&
           addressList.size() == 1 && addressList[0].low == 0 &&
           addressList[0].high == LAST_ADDRESS && numberA == 0 && numberB == 0;
}

std::optional<uint32_t> readCompoundNumber(std::string_view text) {
    std::string_view rest = trim(text);
    const std::string_view digits = takeFront(rest, DECIMAL_DIGITS);
    if (digits == "0" && takeCharacter(rest, "xX")) {
        const std::string_view hexadecimal = takeFront(rest, HEXADECIMAL_DIGITS);
        return hexadecimal.empty() || !rest.empty() ? std::nullopt
                                                    : readDigits(hexadecimal, 16, LARGEST_NUMBER);
    }
    return digits.empty() || !rest.empty() ? std::nullopt : readDigits(digits, 10, LARGEST_NUMBER);
}

std::optional<CompoundRuleText> readCompoundRule(std::string_view text, bool allowIpv6) {
    const std::string_view trimmed = trim(text);
    const std::vector<std::string_view> fields = split(trimmed, ';', FIELD_COUNT);
    if (trimmed.size() > LONGEST_RULE || fields.size() != FIELD_COUNT) {
        return std::nullopt;
    }
    const std::optional<uint32_t> numberA = readCompoundNumber(fields[4]);
    const std::optional<uint32_t> numberB = readCompoundNumber(fields[5]);
    if (!numberA || !numberB) {
        return std::nullopt;
    }
    CompoundRuleText rule{{}, {}, {}, {}, *numberA, *numberB};
    const auto readAddressItem = [&](std::string_view item) {
        return readAddresses(item, allowIpv6);
    };
    if (!readRanges(fields[0], LARGEST_NUMBER, rule.rangeListA) ||
        !readRanges(fields[1], LARGEST_NUMBER, rule.rangeListB) ||
        !readList(fields[2], rule.addressList, readAddressItem) ||
        !readRanges(fields[3], LARGEST_NUMBER_16, rule.rangeList16)) {
        return std::nullopt;
    }
    return rule;
}

CompoundConditions conditionsOf(const CompoundRuleText& rule, const ReferenceFlow& flow) {
    CompoundConditions conditions{};
    conditions.isValue16Covered =
        std::any_of(flow.values16.begin(), flow.values16.end(),
                    [&](uint16_t value) { return holds(rule.rangeList16, value); });
    conditions.isValue32Covered = holds(rule.rangeListA, flow.value32);
    conditions.isAddressCovered =
        (flow.family == 4 || flow.family == 6) &&
        std::any_of(flow.addresses.begin(), flow.addresses.end(), [&](const AddressBytes& bytes) {
            return holds(rule.addressList, numberOf(bytes, flow.family));
        });
    conditions.isListAsked = (rule.numberA & 2U) != 0;
    if (conditions.isListAsked) {
        conditions.isListValue16Covered = holds(rule.rangeListB, flow.listValue16);
        conditions.isListValue12Covered =
            flow.listValue12 <= LARGEST_VALUE_12 && holds(rule.rangeListB, flow.listValue12);
    }
    return conditions;
}

int32_t ReferenceCompoundRules::add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                                    void* userData, bool allowIpv6) {
    const std::optional<CompoundRuleText> rule = readCompoundRule(text, allowIpv6);
    if (!rule) {
        return RULE_ERR_BAD_RULE;
    }
    const auto ruleIndex = static_cast<uint32_t>(rules_.size() + 1);
    rules_.push_back({*rule, {ruleIndex, ruleValue, ruleId, userData}});
    return RULE_OK;
}

const ReferenceCompoundRule* ReferenceCompoundRules::find(ReferenceFlow& flow,
                                                          bool wantsListValue) const {
    for (const ReferenceCompoundRule& rule : rules_) {
        const CompoundConditions conditions = conditionsOf(rule.text, flow);
        if (conditions.areMet()) {
            writeOutputs(rule.text, conditions, wantsListValue, flow);
            return &rule;
        }
    }
    return nullptr;
}

uint64_t ReferenceCompoundRules::valueMask() const {
    uint64_t mask = 0;
    for (const ReferenceCompoundRule& rule : rules_) {
        const std::vector<NumberRange>& list = rule.text.rangeListA;
        if (rule.text.matchesAll()) {
            continue;
        }
        if (list.size() != 1 || list[0].low != list[0].high) {
            return UINT64_MAX;
        }
        mask |= uint64_t{1} << std::min(list[0].low, 63U);
    }
    return mask;
}

std::vector<void*> ReferenceCompoundRules::handedBackAtDelete() const {
    std::vector<void*> userData;
    for (const ReferenceCompoundRule& rule : rules_) {
        if (rule.result.userData != nullptr) {
            userData.push_back(rule.result.userData);
        }
    }
    return userData;
}

}  // namespace rs::test
