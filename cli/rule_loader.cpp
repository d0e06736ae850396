// The files are read one after the other, and cut into parts at line ends. Threads take one part after
// the other and make a rule set of each. At last the sets become one, in the order of the parts.
//
//     file   |  lines  |  lines  |  lines  |      file   |  lines  |
//     part     0         1         2                       3
//     set      rules     rules     rules                   rules       -> rules of all parts
#include "rule_loader.h"

#include <ruleset.h>
#include <ruleset_static.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "input_file.h"
#include "lines.h"
#include "progress.h"
#include "rule_line.h"
#include "text_output.h"
#include "workers.h"

namespace cli {

namespace {

// Parts are small enough that threads end at nearly the same time.
constexpr size_t PARTS_PER_THREAD = 4;
constexpr size_t SMALLEST_PART = size_t{1} << 17U;
constexpr size_t LARGEST_PART = size_t{1} << 24U;

constexpr uint64_t RULES_PER_REPORT = 4096;

// Positions and lines are counted from the start of the part.
struct TakenRule {
    uint32_t position;
    uint32_t line;
};
struct BadLine {
    uint32_t position;
    uint32_t line;
    int32_t status;  // of the library; RULE_OK when the fields after the rule are bad
};

struct Part {
    size_t file;
    uint64_t position;  // in the text of the file
    std::string_view text;
    uint64_t linesBefore;     // in the file
    uint64_t allLinesBefore;  // in this and the files before it
    RuleSetHandle set;
    std::vector<TakenRule> rules;
    std::vector<BadLine> badLines;
};

// The limit on lines bounds what a part has beyond the usual size.
static_assert(LARGEST_PART + LONGEST_LINE < UINT32_MAX);

// A load in progress. Borrows the type and the options.
class Loader {
public:
    Loader(const RuleType& type, const LoadOptions& options)
        : type_(type), options_(options), progress_("rules", !options.isQuiet) {
        rules_.set = newRuleSet(type.number);
    }

    LoadedRules load() {
        const std::exception_ptr readFailure = readFiles();
        cutFiles();
        std::atomic<size_t> nextPart = 0;
        const auto threads =
            static_cast<uint32_t>(std::min<size_t>(options_.threads, parts_.size()));
        runWorkers(std::max(threads, 1U), [this, &nextPart] {
            for (size_t i = nextPart++; i < parts_.size(); i = nextPart++) {
                loadPart(parts_[i]);
            }
        });
        joinParts();
        if (readFailure) {
            std::rethrow_exception(readFailure);
        }
        if (options_.maxErrors != 0 && rules_.badLines > options_.maxErrors) {
            std::fprintf(stderr, "... and %s more\n",
                         withCommas(rules_.badLines - options_.maxErrors).c_str());
        }
        rules_.seconds = stopwatch_.seconds();
        return std::move(rules_);
    }

private:
    // Returns what went wrong with the first file that cannot be read. The bad lines of the files before
    // it are still reported.
    std::exception_ptr readFiles() {
        try {
            for (const std::string& path : options_.files) {
                texts_.emplace_back(InputFile(path));
            }
        } catch (...) {
            return std::current_exception();
        }
        return nullptr;
    }

    void cutFiles() {
        size_t size = 0;
        for (const FileText& file : texts_) {
            size += file.text().size();
        }
        const size_t usual = options_.threads == 1
                                 ? LARGEST_PART
                                 : std::clamp(size / (options_.threads * PARTS_PER_THREAD),
                                              SMALLEST_PART, LARGEST_PART);
        uint64_t allLines = 0;
        for (size_t file = 0; file < texts_.size(); ++file) {
            const std::string_view text = texts_[file].text();
            uint64_t lines = 0;
            for (size_t position = 0; position < text.size();) {
                const std::string_view part = firstPart(text.substr(position), usual);
                parts_.push_back({file, position, part, lines, allLines, nullptr, {}, {}});
                // Only the last line of a file may lack its end.
                const uint64_t count = countLineEnds(part) + (part.back() == '\n' ? 0 : 1);
                lines += count;
                allLines += count;
                position += part.size();
            }
        }
    }

    // Whole lines: those that begin in the first size bytes.
    static std::string_view firstPart(std::string_view text, size_t size) {
        if (text.size() <= size) {
            return text;
        }
        const size_t lineEnd = text.find('\n', size - 1);
        return text.substr(0, lineEnd == std::string_view::npos ? lineEnd : lineEnd + 1);
    }

    void loadPart(Part& part) {
        part.set = newRuleSet(type_.number);
        Lines lines(part.text);
        std::string_view line;
        uint32_t lineCount = 0;
        uint64_t reported = 0;
        while (lines.next(line)) {
            ++lineCount;
            if (isSkippedLine(line)) {
                continue;
            }
            loadLine(part, lineCount, line);
            if (part.rules.size() - reported >= RULES_PER_REPORT) {
                progress_.add(part.rules.size() - reported);
                reported = part.rules.size();
            }
        }
    }

    void loadLine(Part& part, uint32_t lineNumber, std::string_view line) {
        RuleLine rule{};
        std::string why;
        int32_t status = RULE_OK;
        if (parseRuleLine(line, part.allLinesBefore + lineNumber, rule, &why)) {
            status =
                rs_addRuleToRuleSet(part.set.get(), rule.rule.data(),
                                    static_cast<uint32_t>(rule.rule.size()), rule.value, rule.id);
            if (status == RULE_OK) {
                part.rules.push_back({positionIn(part, rule.rule), lineNumber});
                return;
            }
            if (status == RULE_ERR_SET_FULL) {
                throwTooManyRules();
            }
        }
        part.badLines.push_back({positionIn(part, line), lineNumber, status});
    }

    static uint32_t positionIn(const Part& part, std::string_view text) {
        return static_cast<uint32_t>(text.data() - part.text.data());
    }

    [[noreturn]] static void throwTooManyRules() {
        throw std::length_error("more rules than a rule set holds");
    }

    void joinParts() {
        for (auto part = parts_.begin(); part != parts_.end();) {
            const size_t file = part->file;
            const auto end = std::find_if(part, parts_.end(),
                                          [file](const Part& other) { return other.file != file; });
            joinFile(part, end);
            part = end;
        }
    }

    void joinFile(std::vector<Part>::iterator first, std::vector<Part>::iterator end) {
        size_t ruleCount = 0;
        for (auto part = first; part != end; ++part) {
            ruleCount += part->rules.size();
            if (rs::moveRules(part->set.get(), rules_.set.get()) != RULE_OK) {
                throwTooManyRules();
            }
            reportBadLines(*part);
        }
        rules_.book.startFile(options_.files[first->file], std::move(texts_[first->file]),
                              static_cast<uint32_t>(ruleCount));
        for (auto part = first; part != end; ++part) {
            for (const TakenRule& rule : part->rules) {
                rules_.book.add(part->position + rule.position, part->linesBefore + rule.line);
            }
            *part = {};
        }
    }

    void reportBadLines(const Part& part) {
        for (const BadLine& bad : part.badLines) {
            ++rules_.badLines;
            if (options_.maxErrors == 0 || rules_.badLines <= options_.maxErrors) {
                report(part, bad);
            }
        }
    }

    // Reads the line again: messages for millions of bad lines take more memory than their positions.
    void report(const Part& part, const BadLine& bad) {
        std::string_view line;
        Lines(part.text.substr(bad.position)).next(line);
        RuleLine rule{};
        std::string why;
        const bool hasGoodFields = parseRuleLine(line, part.allLinesBefore + bad.line, rule, &why);
        printRefusal(options_.files[part.file], part.linesBefore + bad.line,
                     hasGoodFields ? type_.whyBadRule(rule.rule, bad.status) : why,
                     hasGoodFields ? rule.rule : line);
    }

    const RuleType& type_;
    const LoadOptions& options_;
    LoadedRules rules_;
    std::vector<FileText> texts_;  // of the files in their order; the book takes them
    std::vector<Part> parts_;
    Progress progress_;
    Stopwatch stopwatch_;
};

}  // namespace

LoadedRules loadRules(const RuleType& type, const LoadOptions& options) {
    return Loader(type, options).load();
}

}  // namespace cli
