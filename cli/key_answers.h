// Answers to many keys at once: what to print of them, which keys are bad, and counts.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "match_options.h"
#include "output_buffer.h"
#include "rule_book.h"

namespace cli {

struct BadKey {
    std::string_view key;  // borrowed from where the keys are
    uint64_t number;
    int32_t status;
    size_t outputBefore;  // bytes of the output that belong to the keys before it
};

struct KeyAnswers {
    OutputBuffer output;
    std::vector<BadKey> badKeys;
    uint64_t keys = 0;
    uint64_t matched = 0;
    uint64_t selected = 0;
    uint64_t limit = 0;  // of selected; the keys after it are not answered

    // Begins anew, with another limit.
    void restart(uint64_t newLimit);
};

// Answers keys as the options say. It owns nothing.
//
// Threads: any number may ask, each with answers of its own.
class KeyAnswerer {
public:
    KeyAnswerer(const MatchOptions& options, const RuleGroup& group, const RuleBook& book)
        : options_(options), group_(group), book_(book) {}

    // Answers the lines of a text, of which empty ones are no keys. Their numbers count from
    // firstNumber.
    void answerLines(std::string_view lines, uint64_t firstNumber, KeyAnswers& answers) const;

    // Answers each text. Their numbers count from 1.
    void answerTexts(const std::vector<std::string>& keys, KeyAnswers& answers) const;

private:
    struct NumberedKeys;

    bool answerBatch(NumberedKeys& batch, KeyAnswers& answers) const;
    void prefetchRules(const KeyBatch& batch) const;
    void print(std::string_view key, const MatchResult* hit, OutputBuffer& output) const;
    void printText(std::string_view key, const MatchResult* hit, OutputBuffer& output) const;
    void printJson(std::string_view key, const MatchResult* hit, OutputBuffer& output) const;

    const MatchOptions& options_;
    const RuleGroup& group_;
    const RuleBook& book_;
};

}  // namespace cli
