// ruleset check: the bad lines of rule files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rule_type.h"

namespace cli {

struct CheckOptions {
    const RuleType* type = nullptr;  // one of the constants of rule_type.h
    std::vector<std::string> ruleFiles;
    uint64_t maxErrors = 20;  // bad lines that are shown; 0 for all
    bool isQuiet = false;     // no summary and no progress
    uint32_t threads = 1;
};

// Returns EXIT_YES when no line is bad, otherwise EXIT_NO. Throws std::exception when a file cannot
// be read or memory is out.
int runCheck(const CheckOptions& options);

}  // namespace cli
