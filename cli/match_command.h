// ruleset match: which rule covers each key.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rule_loader.h"
#include "rule_type.h"
#include "text_output.h"

namespace cli {

// Exit statuses, as grep's.
inline constexpr int EXIT_SELECTED = 0;
inline constexpr int EXIT_NONE_SELECTED = 1;
inline constexpr int EXIT_TROUBLE = 2;

struct MatchOptions {
    const RuleType* type = nullptr;
    std::vector<std::string> ruleFiles;
    std::vector<std::string> keys;  // empty: lines of standard input
    LookupOptions lookup;
    bool invert = false;
    bool countOnly = false;
    bool isQuiet = false;
    bool asJson = false;
    bool skipBad = false;
    bool lineBuffered = false;
    bool explain = false;  // of the one key
    uint64_t maxCount = UINT64_MAX;
};

// Returns the exit status. Throws std::exception when a file cannot be read or memory is out.
int runMatch(const MatchOptions& options);

}  // namespace cli
