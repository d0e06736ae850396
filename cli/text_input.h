// Reading texts, whatever they are: the blanks around them, and the numbers in them.
#pragma once

#include <charconv>
#include <string_view>

namespace cli {

// The part of the text without the blanks around it. Blanks are those that the library ignores.
std::string_view trimmed(std::string_view text);

// Reads a decimal number. False when the text is anything else or the number does not fit its type.
template <typename Number>
bool parseNumber(std::string_view text, Number& out) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, out);
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace cli
