// Host names done the slow way: what the normalizers must answer, written for clarity and sharing no
// code with them.
//
//     WEB.Example.COM.  --strict-->  web.example.com
//     my_host           --strict-->  refused     --for rules, for names-->  my_host
//
// Every operation answers with an Outcome, from which the answer at each capacity can be read.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rs::test {

// How an operation ends, and the bytes that it has asked room for when it does. With less room it
// ends with RULE_ERR_BUFFER_SMALL instead.
struct Outcome {
    int32_t status;
    std::string text;  // with RULE_OK only
    size_t room;

    int32_t statusAt(size_t capacity) const {
        return capacity < room ? RULE_ERR_BUFFER_SMALL : status;
    }
};

bool isBlankByte(char byte);
std::string_view trimBlanks(std::string_view text);

char lowerByte(char byte);
std::string lowerBytes(std::string_view text);

// Whether an escape, '%' with two hexadecimal digits, is at a place of the text.
bool hasEscapeAt(std::string_view text, size_t at);
char escapedByteAt(std::string_view text, size_t at);

// The lower-case form of a code point, from a list of ranges.
uint32_t lowerCodePointByTable(uint32_t codePoint);

// Nothing for bytes that are not of the form of UTF-8. Overlong forms and surrogates are read as
// they come.
std::optional<std::vector<uint32_t>> readCodePoints(std::string_view bytes, bool lowerCase);

// The label "xn--..." of code points, or the code points themselves when all are ASCII.
std::string encodePunycode(const std::vector<uint32_t>& codePoints);
// The code points of an "xn--..." label; nothing when it is none.
std::optional<std::vector<uint32_t>> decodePunycode(std::string_view label);

Outcome strictHost(std::string_view name);
Outcome ruleHost(std::string_view name);
Outcome matchHost(std::string_view name);

// The labels of a dotted name; nothing when there are none, or one of them is empty or has more
// than 255 bytes.
std::optional<std::vector<std::string>> labelsOf(std::string_view name);

}  // namespace rs::test
