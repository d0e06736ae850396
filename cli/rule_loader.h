// Rule files -> a rule set, and a book with the text and place of each rule.
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
    RuleBook book;  // of the rules in the set
    uint64_t badLines = 0;
    double seconds = 0;  // that loading took
};

// Loads all files in their order. Bad lines are left out and reported on standard error. Throws
// std::system_error when a file cannot be read, std::length_error for more rules than a set holds,
// and std::bad_alloc.
LoadedRules loadRules(const RuleType& type, const LoadOptions& options);

}  // namespace cli
