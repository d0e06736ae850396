// One line of a rule file.
//
//     line      rule [ TAB value [ TAB id ] ]
//
//     10.0.0.0/8 TAB 7 TAB 70      ->  rule "10.0.0.0/8", value 7, id 70
//
// Blanks around a field are ignored. A blank line, and a line whose first byte after blanks is '#',
// holds no rule and is skipped.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace cli {

struct RuleLine {
    std::string_view rule;  // borrowed from the line
    uint32_t value;
    uint32_t id;
};

bool isSkippedLine(std::string_view line);

// The field that a text begins with, whose first byte is no blank: up to the next tab or line end,
// without the blanks before it.
std::string_view firstField(std::string_view text);

// Reads a line that is not skipped. A rule without a value has the value 0, a rule without an id
// has defaultId. False, with the reason in *why, for a bad value or id and for extra fields; the
// rule itself is not checked.
bool parseRuleLine(std::string_view line, uint64_t defaultId, RuleLine& out, std::string* why);

}  // namespace cli
