#include "key_answers.h"

#include <array>

#include <nlohmann/json.hpp>

#include "json_output.h"
#include "lines.h"

namespace cli {

void KeyAnswers::restart(uint64_t newLimit) {
    output.clear();
    badKeys.clear();
    keys = 0;
    matched = 0;
    selected = 0;
    limit = newLimit;
}

struct KeyAnswerer::NumberedKeys {
    KeyBatch batch;
    std::array<uint64_t, KeyBatch::CAPACITY> numbers;

    void add(std::string_view key, uint64_t number) {
        batch.keys[batch.count] = key;
        numbers[batch.count++] = number;
    }
    [[nodiscard]] bool isFull() const { return batch.count == KeyBatch::CAPACITY; }
};

void KeyAnswerer::answerLines(std::string_view lines, uint64_t firstNumber,
                              KeyAnswers& answers) const {
    NumberedKeys keys;
    Lines rest(lines);
    std::string_view line;
    for (uint64_t number = firstNumber; rest.next(line); ++number) {
        if (line.empty()) {
            continue;
        }
        keys.add(line, number);
        if (keys.isFull() && !answerBatch(keys, answers)) {
            return;
        }
    }
    answerBatch(keys, answers);
}

void KeyAnswerer::answerTexts(const std::vector<std::string>& keys, KeyAnswers& answers) const {
    NumberedKeys batch;
    uint64_t number = 0;
    for (const std::string& key : keys) {
        batch.add(key, ++number);
        if (batch.isFull() && !answerBatch(batch, answers)) {
            return;
        }
    }
    answerBatch(batch, answers);
}

// Empties the batch. Returns false when enough keys are selected.
bool KeyAnswerer::answerBatch(NumberedKeys& keys, KeyAnswers& answers) const {
    KeyBatch& batch = keys.batch;
    options_.type->matchBatch(&group_, options_.lookup, batch);
    const bool prints = !options_.countOnly && !options_.isQuiet;
    if (prints && !options_.invert) {
        prefetchRules(batch);
    }
    for (size_t i = 0; i < batch.count && answers.selected < answers.limit; ++i) {
        const int32_t status = batch.statuses[i];
        ++answers.keys;
        if (status < 0) {
            answers.badKeys.push_back(
                {batch.keys[i], keys.numbers[i], status, answers.output.text().size()});
            continue;
        }
        answers.matched += status == 1 ? 1 : 0;
        if ((status == 1) == options_.invert) {
            continue;
        }
        ++answers.selected;
        if (prints) {
            print(batch.keys[i], status == 1 ? &batch.results[i] : nullptr, answers.output);
        }
    }
    batch.count = 0;
    return answers.selected < answers.limit;
}

void KeyAnswerer::prefetchRules(const KeyBatch& batch) const {
    for (size_t i = 0; i < batch.count; ++i) {
        if (batch.statuses[i] == 1) {
            book_.prefetch(batch.results[i].ruleIndex);
        }
    }
}

void KeyAnswerer::print(std::string_view key, const MatchResult* hit, OutputBuffer& output) const {
    if (options_.asJson) {
        printJson(key, hit, output);
    } else {
        printText(key, hit, output);
    }
    output.write('\n');
}

void KeyAnswerer::printText(std::string_view key, const MatchResult* hit,
                            OutputBuffer& output) const {
    output.write(key);
    if (hit == nullptr) {
        return;
    }
    const RulePlace place = book_.place(hit->ruleIndex);
    output.write('\t');
    output.write(book_.text(hit->ruleIndex));
    output.write('\t');
    output.write(place.file);
    output.write(':');
    output.writeNumber(place.line);
    output.write('\t');
    output.writeNumber(hit->ruleValue);
    output.write('\t');
    output.writeNumber(hit->ruleId);
}

void KeyAnswerer::printJson(std::string_view key, const MatchResult* hit,
                            OutputBuffer& output) const {
    nlohmann::ordered_json object;
    object["key"] = key;
    if (hit != nullptr) {
        const RulePlace place = book_.place(hit->ruleIndex);
        object["rule"] = book_.text(hit->ruleIndex);
        object["file"] = place.file;
        object["line"] = place.line;
        object["value"] = hit->ruleValue;
        object["id"] = hit->ruleId;
    }
    output.write(jsonText(object));
}

}  // namespace cli
