// Builds of groups in which each allocation fails in turn, for every rule type but IP.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/fault_host.h"

namespace rs::test {

struct BuildPlan {
    FaultRules rules;
    // Rules that enter after all others, as the 128-bit structures are filled last.
    Positions later;
    // Rules whose userData no group gives back, and those that an equal earlier one makes
    // superfluous; of domain rules only.
    Positions never;
    Positions duplicates;
    // A large set, of whose allocations some fail only.
    bool isLarge = false;
};

struct FaultTotals {
    uint64_t allocations = 0;
    uint64_t failures = 0;
    uint64_t failedBuilds = 0;
    uint64_t leftOut = 0;   // builds without one rule
    uint64_t complete = 0;  // builds that a failure did not keep from being complete
    size_t entered = 0;     // rules given back by the build that failed last
};

// Builds the set again and again, each time with another allocation failing, and checks what is
// left, what is given back and what the group answers.
FaultTotals failBuild(std::string_view operation, const BuildPlan& plan);

// The same, and every failure fails the build, unless it is one of a flat lookup.
void expectBuildsFail(std::string_view operation, const BuildPlan& plan);

void append(std::vector<FaultRule>& rules, const std::vector<std::string>& texts);
std::vector<FaultRule> rulesOf(const std::vector<std::string>& texts);

}  // namespace rs::test
