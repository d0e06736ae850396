#include "match_command.h"

#include <algorithm>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "exit_status.h"
#include "explain.h"
#include "json_output.h"
#include "line_reader.h"
#include "progress.h"
#include "rule_book.h"
#include "rule_handles.h"
#include "rule_loader.h"
#include "text_output.h"

namespace cli {

namespace {

// Looks keys up one after the other, counts, and prints the selected ones. It owns its output only.
class Matcher {
public:
    Matcher(const MatchOptions& options, const RuleGroup& group, const RuleBook& book)
        : options_(options), group_(group), book_(book), output_(options.lineBuffered) {}

    // Answers one key. Returns false when enough keys are selected. Messages name the key by place
    // and number.
    bool answer(std::string_view key, const char* place, uint64_t number) {
        MatchResult hit{};
        ++keys_;
        const int32_t status = options_.type->match(&group_, key, options_.lookup, &hit);
        if (status < 0) {
            reportBadKey(key, status, place, number);
            return true;
        }
        matched_ += status == 1 ? 1 : 0;
        if ((status == 1) == options_.invert) {
            return true;
        }
        ++selected_;
        if (!options_.countOnly && !options_.isQuiet) {
            print(key, status == 1 ? &hit : nullptr);
        }
        return !options_.isQuiet && selected_ < options_.maxCount;
    }

    int finish() {
        if (options_.countOnly && !options_.isQuiet) {
            output_.writeNumber(selected_);
            output_.endLine();
        }
        output_.flush();
        // As with grep -q, a selected key is an answer, even when other keys are bad.
        if (badKeys_ != 0 && !(options_.isQuiet && selected_ != 0)) {
            return EXIT_TROUBLE;
        }
        return selected_ != 0 ? EXIT_YES : EXIT_NO;
    }

    void printSummary(double seconds) const {
        printMessage(withCommas(keys_) + " keys in " + secondsText(seconds) + " (" +
                     rateText(keys_, seconds) + " keys/s), " + withCommas(matched_) + " matched");
    }

private:
    void reportBadKey(std::string_view key, int32_t status, const char* place, uint64_t number) {
        ++badKeys_;
        output_.flush();
        printRefusal(place, number, options_.type->whyBadKey(key, status), key);
    }

    void print(std::string_view key, const MatchResult* hit) {
        if (options_.asJson) {
            printJson(key, hit);
        } else {
            printText(key, hit);
        }
        output_.endLine();
    }

    void printText(std::string_view key, const MatchResult* hit) {
        output_.write(key);
        if (hit == nullptr) {
            return;
        }
        const RulePlace place = book_.place(hit->ruleIndex);
        output_.write('\t');
        output_.write(book_.text(hit->ruleIndex));
        output_.write('\t');
        output_.write(place.file);
        output_.write(':');
        output_.writeNumber(place.line);
        output_.write('\t');
        output_.writeNumber(hit->ruleValue);
        output_.write('\t');
        output_.writeNumber(hit->ruleId);
    }

    void printJson(std::string_view key, const MatchResult* hit) {
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
        output_.write(jsonText(object));
    }

    const MatchOptions& options_;
    const RuleGroup& group_;
    const RuleBook& book_;
    Output output_;
    uint64_t keys_ = 0;
    uint64_t matched_ = 0;
    uint64_t selected_ = 0;
    uint64_t badKeys_ = 0;
};

void answerArguments(const MatchOptions& options, Matcher& matcher) {
    uint64_t number = 0;
    for (const std::string& key : options.keys) {
        if (!matcher.answer(key, "key", ++number)) {
            return;
        }
    }
}

void answerStandardInput(Matcher& matcher) {
    const InputFile input("-");
    LineReader lines(input);
    std::string_view key;
    while (lines.next(key)) {
        // An empty line is no key.
        if (!key.empty() && !matcher.answer(key, "-", lines.lineNumber())) {
            return;
        }
    }
}

void printLoadSummary(const LoadedRules& rules, double buildSeconds) {
    const uint64_t count = rules.book.ruleCount();
    std::string summary = withCommas(count) + " rules loaded in " + secondsText(rules.seconds) +
                          " (" + rateText(count, rules.seconds) + " rules/s), compiled in " +
                          secondsText(buildSeconds);
    if (rules.badLines != 0) {
        summary += "; " + withCommas(rules.badLines) + " bad lines skipped";
    }
    printMessage(summary);
}

}  // namespace

int runMatch(const MatchOptions& options) {
    const auto& files = options.ruleFiles;
    if (options.keys.empty() && std::find(files.begin(), files.end(), "-") != files.end()) {
        throw std::invalid_argument("standard input cannot hold both the rules and the keys");
    }
    if (options.explain && options.keys.size() != 1) {
        throw std::invalid_argument("--explain takes one key");
    }
    LoadedRules rules = loadRules(*options.type, {.files = options.ruleFiles,
                                                  .isQuiet = options.isQuiet,
                                                  .threads = options.threads});
    if (rules.badLines != 0 && !options.skipBad) {
        printMessage("error: " + withCommas(rules.badLines) +
                     " bad lines in the rules; --skip-bad goes on without them");
        return EXIT_TROUBLE;
    }
    const Stopwatch buildTime;
    const RuleGroupHandle group = buildRuleGroup(*rules.set);
    rules.set.reset();  // the group does not need it, and it is large
    if (!options.isQuiet) {
        printLoadSummary(rules, buildTime.seconds());
    }
    if (options.explain) {
        Output output(options.lineBuffered);
        const int status = explainKey(options, *group, rules.book, options.keys.front(), output);
        output.flush();
        return status;
    }
    Matcher matcher(options, *group, rules.book);
    if (!options.keys.empty()) {
        answerArguments(options, matcher);
        return matcher.finish();
    }
    const Stopwatch lookupTime;
    if (options.maxCount != 0) {
        answerStandardInput(matcher);
    }
    const int status = matcher.finish();
    if (!options.isQuiet) {
        matcher.printSummary(lookupTime.seconds());
    }
    return status;
}

}  // namespace cli
