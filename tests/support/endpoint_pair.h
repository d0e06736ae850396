// The same endpoint rules in a set of the library and in the reference, and counted comparisons of
// what both answer.
#pragma once

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/address_words.h"
#include "support/random_source.h"
#include "support/reference_endpoint.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"

namespace rs::test {

// How often a lookup agreed with the reference, and how often it found a rule.
class ComparisonCount {
public:
    explicit ComparisonCount(const char* lookup) : lookup_(lookup) {}
    ~ComparisonCount();
    ComparisonCount(const ComparisonCount&) = delete;
    ComparisonCount& operator=(const ComparisonCount&) = delete;

    void add(bool isFound) {
        ++compared_;
        found_ += isFound ? 1 : 0;
    }
    uint64_t compared() const { return compared_; }
    uint64_t found() const { return found_; }

private:
    const char* lookup_;
    uint64_t compared_ = 0;
    uint64_t found_ = 0;
};

class EndpointPair {
public:
    EndpointPair(int32_t ruleType, size_t mostRules);

    // Adds to both, which must agree on the status.
    void add(const std::string& text, RandomSource& random, bool allowIpv6 = true);

    // Builds a group, lets useGroup ask it, deletes it, and compares what went back to the host.
    void checkBuild(const std::function<void(const RuleGroup&)>& useGroup);

    // The same with a group that shares what the first one holds. The one that goes last decides
    // whether anything goes back, since the second one knows no callback.
    void checkSharedBuild(bool deleteFirstOneFirst,
                          const std::function<void(const RuleGroup&)>& useGroup);

    RuleSet& set() { return *set_; }
    const ReferenceEndpointRules& reference() const { return reference_; }
    std::string describe() const;

private:
    void expectHandedBack(const ReleaseRecorder& recorder, std::vector<void*> expected) const;

    RuleSetHandle set_;
    ReferenceEndpointRules reference_;
    std::vector<std::string> texts_;
    std::vector<char> tokens_;
};

// Adds `count` random texts, of which some are refused.
void addRandomRules(EndpointPair& pair, size_t count, const std::function<std::string()>& nextRule,
                    RandomSource& random);

// Compares a pair lookup that began with UNTOUCHED.
void expectPairAnswer(const ReferenceEndpointRule* winner, int32_t status,
                      const MatchResult& result, const EndpointKey& key, const EndpointPair& pair);

// Rule texts, the good and the mutated, in the validator and in the rule set.
void checkTextStatus(int32_t ruleType, const std::string& text, RandomSource& random);

std::string describeKey(const EndpointKey& key);

}  // namespace rs::test
