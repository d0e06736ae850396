// Rule sets of any type with their host, for tests in which one allocation after the other fails.
// What a group answers and what it gives back to the host are lists of rule positions. A set that
// met a failure must have the same lists as one that met none.
//
// A rule's ruleValue, ruleId and userData follow from its position, so that a position says which
// rule answered; every answer is checked for all of them.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_handles.h"

namespace rs::test {

// Of rules, counted from 1; in a list of answers 0 means "none".
using Positions = std::vector<uint32_t>;

struct FaultRule {
    std::string text;
    bool hasUserData = true;
};

struct FaultRules {
    int32_t type = 0;
    std::vector<FaultRule> rules;
    // Names or URLs to look up. Rules of the other types are asked for the same endpoints or flows
    // always.
    std::vector<std::string> keys;
};

// What a group holds, in rising order.
struct StoredRules {
    Positions stored;
    Positions handingBack;  // those whose userData goes back when the group is freed

    friend bool operator==(const StoredRules&, const StoredRules&) = default;
};

// What can be seen of a build and of the deletion of its group.
struct BuildRecord {
    Positions answers;
    Positions atBuild;   // given back, in that order
    Positions atDelete;  // given back, in rising order
    StoredRules inside;
    uint32_t leftOut = 0;  // as the group tells

    friend bool operator==(const BuildRecord&, const BuildRecord&) = default;
};
void PrintTo(const BuildRecord& record, std::ostream* out);

class FaultHost {
public:
    // A set of the first count of the rules, which must be well formed.
    FaultHost(const FaultRules& rules, size_t count);
    explicit FaultHost(const FaultRules& rules) : FaultHost(rules, rules.rules.size()) {}
    FaultHost(const FaultHost&) = delete;
    FaultHost& operator=(const FaultHost&) = delete;

    RuleSet& set() { return *set_; }
    const FaultRules& rules() const { return rules_; }

    // Adds the rule at position, counted from 1.
    int32_t add(size_t position);

    Positions answersOf(const RuleGroup& group) const;

    // What came back since the last call.
    Positions takeHandedBack();

    // Looks a group over and deletes it.
    BuildRecord recordAndDelete(RuleGroup* group);

    // The same for a group that is built for it; a build that fails is a failed check.
    BuildRecord buildAndDelete();

private:
    void* userDataAt(size_t position) const;
    uint32_t positionIn(int32_t status, const MatchResult& result) const;

    const FaultRules& rules_;
    mutable std::vector<char> tokens_;  // the addresses are the userData
    ReleaseRecorder recorder_;
    RuleSetHandle set_;
};

// What a failed call must leave as it was.
struct SetState {
    explicit SetState(const RuleSet& set);

    friend bool operator==(const SetState&, const SetState&) = default;

    uint32_t ruleCount;
    const void* first;
    const void* last;
    uint8_t hasUserData;
    RuleReleaseCallback releaseCallback;
    const void* releaseContext;
};

// Says on standard output, and in the test's report, how many allocations of an operation failed
// one after the other.
void reportFailures(std::string_view operation, uint64_t failures);

}  // namespace rs::test
