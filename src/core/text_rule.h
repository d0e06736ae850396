// Making the record of a rule from its text: what all rule types do alike.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstdint>

#include "core/entry.h"
#include "core/memory.h"
#include "core/rule_set.h"
#include "core/scratch.h"
#include "core/text_buffer.h"

namespace rs {

// A copy of length bytes and padding zero bytes; null when memory is out.
inline char* copyRuleText(const char* text, uint32_t length, uint32_t padding) noexcept {
    char* copy = allocateBytes(size_t{length} + padding);
    if (copy != nullptr) {
        std::copy_n(text, length, copy);
        std::fill_n(copy + length, padding, '\0');
    }
    return copy;
}

// A new Rule, zero-filled and then filled by fill(record), which answers with a status. Null, with
// that status or RULE_ERR_NO_MEMORY, when it fails: freeRule copes with the record as it is then.
template <typename Rule, auto freeRule, typename Fill>
[[nodiscard]] Rule* makeRuleRecord(int32_t* status, const Fill& fill) noexcept {
    Owned<Rule, freeRule> rule(allocateRecord<Rule>());
    *status = rule ? fill(*rule) : RULE_ERR_NO_MEMORY;
    return *status == RULE_OK ? rule.release() : nullptr;
}

// A new Rule that keeps its text as it was given, with padding zero bytes after it. parse(record)
// fills the parsed form; whatever it fails with is RULE_ERR_BAD_RULE.
template <typename Rule, auto freeRule, typename Parse>
[[nodiscard]] Rule* makeTextRule(const char* text, uint32_t length, uint32_t padding,
                                 int32_t* status, const Parse& parse) noexcept {
    return makeRuleRecord<Rule, freeRule>(status, [&](Rule& rule) noexcept {
        if (parse(rule) != RULE_OK) {
            return RULE_ERR_BAD_RULE;
        }
        rule.text = copyRuleText(text, length, padding);
        return rule.text == nullptr ? RULE_ERR_NO_MEMORY : RULE_OK;
    });
}

// A new Rule that keeps its text in canonical form, in a block of that length. The parser runs once,
// in the largest buffer for an input of length bytes; RULE_ERR_NO_MEMORY when the text does not fit.
//
//     parse(record, buffer, inOutCapacity)   fills the parsed form, which points into the buffer
//     moveTexts(record, buffer)              lets it point into record.text, which has the same bytes
template <typename Rule, auto freeRule, typename Parse, typename MoveTexts>
[[nodiscard]] Rule* makeCanonicalRule(uint32_t length, const RuleValues& values, int32_t* status,
                                      const Parse& parse, const MoveTexts& moveTexts) noexcept {
    return makeRuleRecord<Rule, freeRule>(status, [&](Rule& rule) noexcept -> int32_t {
        const uint64_t capacity = largestTextBuffer(length);
        if (capacity > UINT32_MAX) {
            return RULE_ERR_NO_MEMORY;
        }
        Scratch<MAX_TEXT_BUFFER> scratch;
        char* buffer = scratch.reserve(capacity);
        if (buffer == nullptr) {
            return RULE_ERR_NO_MEMORY;
        }
        auto textLength = static_cast<uint32_t>(capacity);
        const int32_t parsed = parse(rule, buffer, &textLength);
        if (parsed != RULE_OK) {
            return parsed == RULE_ERR_BUFFER_SMALL ? RULE_ERR_NO_MEMORY : parsed;
        }
        rule.text = copyRuleText(buffer, textLength, 0);
        if (rule.text == nullptr) {
            return RULE_ERR_NO_MEMORY;
        }
        moveTexts(rule, buffer);
        copyRuleValues(values, rule);
        return RULE_OK;
    });
}

}  // namespace rs
