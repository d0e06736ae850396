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
    uint32_t threads = 1;
};

struct LoadedRules {
    RuleSetHandle set;
    RuleBook book;  // of the rules in the set
    uint64_t badLines = 0;
    double seconds = 0;  // that loading took
};

// Loads all files. The rules are in the order of the files and their lines, whatever the number of
// threads. Bad lines are left out and reported on standard error, in the same order. Throws
// std::system_error when a file cannot be read, std::length_error for a line that is too long and for
// more rules than a set holds, and std::bad_alloc.
LoadedRules loadRules(const RuleType& type, const LoadOptions& options);

}  // namespace cli
