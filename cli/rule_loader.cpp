#include "rule_loader.h"

#include <ruleset.h>

#include <cstdio>
#include <stdexcept>

#include "line_reader.h"
#include "progress.h"
#include "rule_line.h"
#include "text_output.h"

namespace cli {

namespace {

// A load in progress. Borrows the type and the options.
class Loader {
public:
    Loader(const RuleType& type, const LoadOptions& options)
        : type_(type), options_(options), progress_("rules", !options.isQuiet) {
        rules_.set = newRuleSet(type.number);
    }

    LoadedRules load() {
        for (const std::string& file : options_.files) {
            loadFile(file);
        }
        if (options_.maxErrors != 0 && rules_.badLines > options_.maxErrors) {
            std::fprintf(stderr, "... and %s more\n",
                         withCommas(rules_.badLines - options_.maxErrors).c_str());
        }
        rules_.seconds = stopwatch_.seconds();
        return std::move(rules_);
    }

private:
    void loadFile(const std::string& path) {
        const InputFile file(path);
        LineReader lines(file);
        rules_.book.startFile(path);
        std::string_view line;
        while (lines.next(line)) {
            ++lineCount_;
            if (!isSkippedLine(line)) {
                loadLine(file, lines.lineNumber(), line);
                progress_.update(rules_.book.ruleCount());
            }
        }
    }

    void loadLine(const InputFile& file, uint64_t lineNumber, std::string_view line) {
        RuleLine rule{};
        std::string why;
        if (!parseRuleLine(line, lineCount_, rule, &why)) {
            report(file, lineNumber, why, line);
            return;
        }
        // The library takes lengths of 32 bits; a longer text is no rule of any type.
        const int32_t status =
            rule.rule.size() > UINT32_MAX
                ? RULE_ERR_BAD_RULE
                : rs_addRuleToRuleSet(rules_.set.get(), rule.rule.data(),
                                      static_cast<uint32_t>(rule.rule.size()), rule.value, rule.id);
        if (status == RULE_OK) {
            rules_.book.add(rule.rule, lineNumber);
        } else if (status == RULE_ERR_SET_FULL) {
            throw std::length_error("more rules than a rule set holds");
        } else {
            report(file, lineNumber, type_.whyBadRule(rule.rule, status), rule.rule);
        }
    }

    void report(const InputFile& file, uint64_t lineNumber, const std::string& why,
                std::string_view text) {
        ++rules_.badLines;
        if (options_.maxErrors == 0 || rules_.badLines <= options_.maxErrors) {
            printRefusal(file.path(), lineNumber, why, text);
        }
    }

    const RuleType& type_;
    const LoadOptions& options_;
    LoadedRules rules_;
    Progress progress_;
    Stopwatch stopwatch_;
    uint64_t lineCount_ = 0;  // over all files
};

}  // namespace

LoadedRules loadRules(const RuleType& type, const LoadOptions& options) {
    return Loader(type, options).load();
}

}  // namespace cli
