// What `ruleset match` is asked for, by the command line; for all that answers it, --explain included.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rule_type.h"

namespace cli {

struct MatchOptions {
    const RuleType* type = nullptr;  // borrowed; one of the constants of rule_type.h
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

}  // namespace cli
