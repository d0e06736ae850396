// Rule files -> a rule set, and a book that tells where each rule comes from.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "rule_book.h"
#include "rule_type.h"

namespace cli {

struct RuleSetDeleting {
    void operator()(RuleSet* set) const { rs_delRuleSet(&set); }
};
using OwnedRuleSet = std::unique_ptr<RuleSet, RuleSetDeleting>;

struct RuleGroupDeleting {
    void operator()(RuleGroup* group) const { rs_delRuleGroup(&group); }
};
using OwnedRuleGroup = std::unique_ptr<RuleGroup, RuleGroupDeleting>;

struct LoadOptions {
    std::vector<std::string> files;
    uint64_t maxErrors = 20;  // bad lines that are shown; 0 for all
    bool isQuiet = false;     // no progress
};

struct LoadedRules {
    OwnedRuleSet set;
    RuleBook book;
    uint64_t badLines = 0;
    double seconds = 0;
};

// Loads all files in their order. Bad lines are reported on standard error, as "file:line: error:
// why: text", and left out. Throws std::system_error when a file cannot be read and std::bad_alloc.
LoadedRules loadRules(const RuleType& type, const LoadOptions& options);

// Throws std::bad_alloc when memory is out.
OwnedRuleSet newRuleSet(const RuleType& type);
OwnedRuleGroup buildRuleGroup(RuleSet& set);

}  // namespace cli
