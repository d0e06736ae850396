// Rule files -> a rule set, and a book that tells where each rule comes from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rule_book.h"
#include "rule_handles.h"
#include "rule_type.h"

namespace cli {

struct LoadOptions {
    std::vector<std::string> files;
    uint64_t maxErrors = 20;  // bad lines that are shown; 0 for all
    bool isQuiet = false;     // no progress
};

struct LoadedRules {
    RuleSetHandle set;
    RuleBook book;
    uint64_t badLines = 0;
    double seconds = 0;
};

// Loads all files in their order. Bad lines are reported on standard error, as "file:line: error:
// why: text", and left out. Throws std::system_error when a file cannot be read and std::bad_alloc.
LoadedRules loadRules(const RuleType& type, const LoadOptions& options);

}  // namespace cli
