// Standard output in large writes, messages on standard error, and texts and numbers for people.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "output_buffer.h"

namespace cli {

// Writes a text to standard output, all of it. Throws std::system_error when writing fails.
void writeToOutput(std::string_view text);

// Standard output with a buffer. The buffer is written at the end of a line when it is full, and at
// the end of each line on a terminal or with flushEachLine. Its owner calls flush at the end: a
// destructor could not report that writing failed.
class Output {
public:
    explicit Output(bool flushEachLine);

    void write(std::string_view text) { buffer_.write(text); }
    void write(char byte) { buffer_.write(byte); }
    void writeNumber(uint64_t number) { buffer_.writeNumber(number); }

    // Ends a line. This and flush throw std::system_error when writing fails.
    void endLine();
    void flush();

private:
    OutputBuffer buffer_;
    bool flushEachLine_;
};

// Prints "ruleset: message" on standard error.
void printMessage(std::string_view message);

// Prints "place:line: error: why: text" on standard error, for a rule, key or URL that is refused.
void printRefusal(std::string_view place, uint64_t line, std::string_view why,
                  std::string_view text);

// A number with commas between groups of three digits: 1,234,567.
std::string withCommas(uint64_t number);

// "0.81 s"
std::string secondsText(double seconds);

// "1,234,567 per second" for people: rounded to three digits.
std::string rateText(uint64_t count, double seconds);

// A text of unknown bytes for a message: control bytes escaped, a long one shortened.
std::string shownText(std::string_view text);

}  // namespace cli
