// The options of `ruleset match`, for the lookup of many keys and for --explain. The names follow
// those of grep: invert is -v, countOnly -c, isQuiet -q, maxCount -m.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rule_type.h"

namespace cli {

struct MatchOptions {
    const RuleType* type = nullptr;  // one of the constants of rule_type.h
    std::vector<std::string> ruleFiles;
    std::vector<std::string> keys;  // empty: lines of standard input
    LookupOptions lookup;
    bool invert = false;
    bool countOnly = false;
    bool isQuiet = false;
    bool asJson = false;
    bool skipBad = false;
    bool lineBuffered = false;
    bool explain = false;    // the only key
    bool unordered = false;  // lines of output in any order
    uint32_t threads = 1;
    uint64_t maxCount = UINT64_MAX;
};

}  // namespace cli
