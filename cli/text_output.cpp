#include "text_output.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <system_error>
#include <unistd.h>

namespace cli {

namespace {

constexpr size_t FLUSH_SIZE = size_t{1} << 16U;
constexpr size_t SHOWN_LENGTH = 120;

}  // namespace

// A pipe or a terminal may take a part of the text only, and a signal may interrupt the call.
void writeToOutput(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<size_t>(count));
        } else if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "standard output");
        }
    }
}

Output::Output(bool flushEachLine) : flushEachLine_(flushEachLine || isatty(STDOUT_FILENO) == 1) {}

void Output::endLine() {
    buffer_.write('\n');
    if (flushEachLine_ || buffer_.text().size() >= FLUSH_SIZE) {
        flush();
    }
}

void Output::flush() {
    writeToOutput(buffer_.text());
    buffer_.clear();
}

void printMessage(std::string_view message) {
    std::fprintf(stderr, "ruleset: %.*s\n", static_cast<int>(message.size()), message.data());
}

void printRefusal(std::string_view place, uint64_t line, std::string_view why,
                  std::string_view text) {
    std::fprintf(stderr, "%.*s:%llu: error: %.*s: %s\n", static_cast<int>(place.size()),
                 place.data(), static_cast<unsigned long long>(line), static_cast<int>(why.size()),
                 why.data(), shownText(text).c_str());
}

std::string withCommas(uint64_t number) {
    std::string text = std::to_string(number);
    for (size_t i = text.size(); i > 3; i -= 3) {
        text.insert(i - 3, 1, ',');
    }
    return text;
}

std::string secondsText(double seconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f s", seconds);
    return text.data();
}

std::string rateText(uint64_t count, double seconds) {
    const double rate = seconds > 0 ? static_cast<double>(count) / seconds : 0;
    double unit = 1;  // the value of the last of the three digits that are kept
    while (rate / unit >= 1000) {
        unit *= 10;
    }
    return withCommas(static_cast<uint64_t>(std::round(rate / unit) * unit));
}

std::string shownText(std::string_view text) {
    std::string shown;
    for (const char byte : text.substr(0, SHOWN_LENGTH)) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= 0x20 && code != 0x7F) {
            shown += byte;
        } else if (byte == '\t') {
            shown += "\\t";
        } else {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02X", code);
            shown += escape.data();
        }
    }
    if (text.size() > SHOWN_LENGTH) {
        shown += "...";
    }
    return shown;
}

}  // namespace cli
