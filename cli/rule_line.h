// One line of a rule file.
//
//     line      rule [ TAB value [ TAB id ] ]
//
// Blank lines, and lines whose first byte but blanks is '#', hold no rule.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace cli {

struct RuleLine {
    std::string_view rule;
    uint32_t value;
    uint32_t id;
};

bool isSkippedLine(std::string_view line);

// Reads a line that is not skipped. defaultId is the id of a rule that names none. False, with the
// reason in *why, for fields that are wrong; the rule itself is not looked at.
bool parseRuleLine(std::string_view line, uint64_t defaultId, RuleLine& out, std::string* why);

}  // namespace cli
