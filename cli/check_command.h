// ruleset check: the bad lines of rule files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rule_type.h"

namespace cli {

struct CheckOptions {
    const RuleType* type = nullptr;
    std::vector<std::string> ruleFiles;
    uint64_t maxErrors = 20;  // shown; 0 for all
    bool isQuiet = false;
};

// Returns the exit status: 0 without a bad line, 1 with some. Throws as runMatch.
int runCheck(const CheckOptions& options);

}  // namespace cli
