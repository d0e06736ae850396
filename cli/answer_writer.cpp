#include "answer_writer.h"

#include <algorithm>
#include <string>

#include "exit_status.h"
#include "text_output.h"

namespace cli {

AnswerWriter::AnswerWriter(const MatchOptions& options, const char* place)
    : options_(options),
      place_(place),
      limit_(options.isQuiet ? std::min<uint64_t>(options.maxCount, 1) : options.maxCount) {}

void AnswerWriter::write(const KeyAnswers& answers) {
    const std::string_view output = answers.output.text();
    size_t written = 0;
    for (const BadKey& bad : answers.badKeys) {
        writeToOutput(output.substr(written, bad.outputBefore - written));
        written = bad.outputBefore;
        printRefusal(place_, bad.number, options_.type->whyBadKey(bad.key, bad.status), bad.key);
    }
    writeToOutput(output.substr(written));
    keys_ += answers.keys;
    matched_ += answers.matched;
    selected_ += answers.selected;
    badKeys_ += answers.badKeys.size();
}

int AnswerWriter::finish() const {
    if (options_.countOnly && !options_.isQuiet) {
        writeToOutput(std::to_string(selected_) + '\n');
    }
    // As with grep -q, a selected key is an answer, even when other keys are bad.
    if (badKeys_ != 0 && !(options_.isQuiet && selected_ != 0)) {
        return EXIT_TROUBLE;
    }
    return selected_ != 0 ? EXIT_YES : EXIT_NO;
}

void AnswerWriter::printSummary(double seconds) const {
    printMessage(withCommas(keys_) + " keys in " + secondsText(seconds) + " (" +
                 rateText(keys_, seconds) + " keys/s), " + withCommas(matched_) + " matched");
}

}  // namespace cli
