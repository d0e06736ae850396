#include "match_command.h"

#include <algorithm>
#include <stdexcept>
#include <unistd.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "answer_writer.h"
#include "exit_status.h"
#include "explain.h"
#include "input_file.h"
#include "key_answers.h"
#include "match_stream.h"
#include "progress.h"
#include "rule_handles.h"
#include "rule_loader.h"
#include "text_output.h"

namespace cli {

namespace {

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

// The C library keeps the memory of small records that are freed, unless it is told not to.
void giveMemoryBack() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

int answerArguments(const MatchOptions& options, const KeyAnswerer& answerer) {
    AnswerWriter writer(options, "key");
    KeyAnswers answers;
    answers.restart(writer.limitLeft());
    answerer.answerTexts(options.keys, answers);
    writer.write(answers);
    return writer.finish();
}

int answerStandardInput(const MatchOptions& options, const KeyAnswerer& answerer) {
    const bool isLineByLine =
        options.lineBuffered || isatty(STDIN_FILENO) == 1 || isatty(STDOUT_FILENO) == 1;
    const Stopwatch time;
    const InputFile input("-");
    AnswerWriter writer(options, "-");
    answerStream(input, answerer, options, isLineByLine, writer);
    const int status = writer.finish();
    if (!options.isQuiet) {
        writer.printSummary(time.seconds());
    }
    return status;
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
    LoadedRules rules = loadRules(
        *options.type,
        {.files = options.ruleFiles, .isQuiet = options.isQuiet, .threads = options.threads});
    if (rules.badLines != 0 && !options.skipBad) {
        printMessage("error: " + withCommas(rules.badLines) +
                     " bad lines in the rules; --skip-bad goes on without them");
        return EXIT_TROUBLE;
    }
    const Stopwatch buildTime;
    const RuleGroupHandle group = buildRuleGroup(*rules.set);
    // The group does not need the set, and it is large. Keys may come for days.
    rules.set.reset();
    giveMemoryBack();
    if (!options.isQuiet) {
        printLoadSummary(rules, buildTime.seconds());
    }
    if (options.explain) {
        Output output(options.lineBuffered);
        const int status = explainKey(options, *group, rules.book, options.keys.front(), output);
        output.flush();
        return status;
    }
    const KeyAnswerer answerer(options, *group, rules.book);
    return options.keys.empty() ? answerStandardInput(options, answerer)
                                : answerArguments(options, answerer);
}

}  // namespace cli
