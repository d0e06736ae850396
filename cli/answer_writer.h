// Writes the answers to keys, in the order in which they are given to it, and sums their counts up.
#pragma once

#include <cstdint>
#include <string_view>

#include "key_answers.h"
#include "match_options.h"

namespace cli {

// Threads: one at a time.
class AnswerWriter {
public:
    // place is what messages call the source of the keys. The options and the place must live as long.
    AnswerWriter(const MatchOptions& options, const char* place);

    // How many more keys may be selected. Answers with this limit or a higher one are written.
    [[nodiscard]] uint64_t limitLeft() const { return limit_ - selected_; }

    // Whether answers may hold keys after the last one that may be selected. They have to be made again,
    // with limitLeft.
    [[nodiscard]] bool isTooMuch(const KeyAnswers& answers) const {
        return answers.selected >= limitLeft() && answers.limit != limitLeft();
    }

    // Writes answers that are not too much, and messages about bad keys between them. Throws
    // std::system_error when writing fails.
    void write(const KeyAnswers& answers);

    // Prints the count, where it is asked for. Returns the exit status.
    int finish() const;

    // Says on standard error how many keys there were.
    void printSummary(double seconds) const;

private:
    const MatchOptions& options_;
    const char* place_;
    uint64_t limit_;
    uint64_t keys_ = 0;
    uint64_t matched_ = 0;
    uint64_t selected_ = 0;
    uint64_t badKeys_ = 0;
};

}  // namespace cli
