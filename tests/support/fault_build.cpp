#include "support/fault_build.h"

#include <ruleset.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "lookup/flat_policy.h"
#include "support/failing_allocator.h"

namespace rs::test {

namespace {

bool contains(const Positions& positions, uint32_t position) {
    return std::find(positions.begin(), positions.end(), position) != positions.end();
}

Positions difference(const Positions& left, const Positions& right) {
    Positions positions;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                        std::back_inserter(positions));
    return positions;
}

// A domain or URL rule that memory runs out for is left out; in the other types the build fails.
bool leavesRulesOut(const FaultRules& rules) {
    return rules.type == RULE_TYPE_FQDN || rules.type == RULE_TYPE_URL;
}

// Packet filter rules need no memory but records, which come in slabs: several rules may enter between
// two allocations.
bool entersOneByOne(const BuildPlan& plan) {
    return !leavesRulesOut(plan.rules) && !plan.isLarge &&
           plan.rules.type != RULE_TYPE_PACKET_FILTER;
}

// The rules whose userData goes back when a build fails, in the order in which they enter.
Positions enteringOrder(const BuildPlan& plan) {
    Positions order;
    for (uint32_t position = 1; position <= plan.rules.rules.size(); ++position) {
        if (plan.rules.rules[position - 1].hasUserData && !contains(plan.later, position) &&
            !contains(plan.never, position)) {
            order.push_back(position);
        }
    }
    order.insert(order.end(), plan.later.begin(), plan.later.end());
    return order;
}

uint64_t countAllocations(const FaultRules& rules) {
    FaultHost host(rules);
    const AllocationWatch watch;
    host.buildAndDelete();
    EXPECT_EQ(0U, watch.liveBlockCount());
    return watch.allocationCount();
}

std::vector<uint64_t> numbersToFail(uint64_t count, bool isLarge) {
    constexpr uint64_t AT_THE_START = 12;
    constexpr uint64_t AT_THE_END = 40;  // where blocks are made
    constexpr uint64_t BETWEEN = 16;
    std::vector<uint64_t> numbers;
    for (uint64_t number = 1; number <= count; ++number) {
        if (!isLarge || number <= AT_THE_START || number + AT_THE_END > count ||
            number % (count / BETWEEN) == 0) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

// A group without failures gives userData back as documented.
void expectCleanBuild(const BuildPlan& plan, const BuildRecord& record) {
    EXPECT_EQ(0U, record.leftOut);
    EXPECT_EQ(plan.duplicates, record.atBuild);
    EXPECT_EQ(record.inside.handingBack, record.atDelete);
    if (plan.rules.type != RULE_TYPE_FQDN) {
        Positions all = enteringOrder(plan);
        std::sort(all.begin(), all.end());
        EXPECT_EQ(all, record.atDelete);
    }
}

// The position of the rule that a build left out, as it shows inside the group or by userData that
// did not go back; 0 for none.
uint32_t findLeftOut(const BuildRecord& clean, const BuildRecord& record) {
    Positions missing = difference(clean.inside.stored, record.inside.stored);
    if (missing.empty()) {
        missing = difference(clean.atBuild, record.atBuild);
    }
    EXPECT_GE(1U, missing.size()) << "one failure may cost one rule";
    return missing.empty() ? 0 : missing[0];
}

// What a build shows when another rule is in the place of the rule at position.
BuildRecord buildWithout(const BuildPlan& plan, uint32_t position) {
    FaultRules rules = plan.rules;
    rules.rules[position - 1] = {"left.out.invalid", false};
    BuildRecord record = FaultHost(rules).buildAndDelete();
    std::erase(record.inside.stored, position);
    return record;
}

// A finished build that met a failure: complete, or the same as without one of the rules. How names
// lie in blocks may differ, and with that which userData goes back at the deletion. In types that
// leave no rule out, a build may do without a flat lookup.
void expectFinishedBuild(const BuildPlan& plan, const BuildRecord& clean, const BuildRecord& record,
                         FaultTotals& totals) {
    EXPECT_EQ(record.inside.handingBack, record.atDelete);
    const uint32_t leftOut = findLeftOut(clean, record);
    EXPECT_TRUE(leftOut == 0 || leavesRulesOut(plan.rules));
    ++(leftOut == 0 ? totals.complete : totals.leftOut);
    EXPECT_EQ(leftOut == 0 ? 0U : 1U, record.leftOut) << "the group tells of its holes";
    const BuildRecord expected = leftOut == 0 ? clean : buildWithout(plan, leftOut);
    EXPECT_EQ(expected.answers, record.answers);
    EXPECT_EQ(expected.atBuild, record.atBuild);
    EXPECT_EQ(expected.inside.stored, record.inside.stored);
}

class BuildFaults {
public:
    explicit BuildFaults(const BuildPlan& plan)
        : plan_(plan), clean_(FaultHost(plan.rules).buildAndDelete()), order_(enteringOrder(plan)) {
        expectCleanBuild(plan, clean_);
        totals_.allocations = countAllocations(plan.rules);
    }

    FaultTotals failAllocations() {
        for (const uint64_t number : numbersToFail(totals_.allocations, plan_.isLarge)) {
            SCOPED_TRACE(::testing::Message() << "allocation " << number << " fails");
            failAllocation(number);
            if (::testing::Test::HasFailure()) {
                break;
            }
            ++totals_.failures;
        }
        return totals_;
    }

private:
    void failAllocation(uint64_t number) {
        FaultHost host(plan_.rules);
        const SetState state(host.set());
        RuleGroup untouched{};
        RuleGroup* group = &untouched;
        int32_t status = RULE_OK;
        BuildRecord record;
        {
            const AllocationWatch watch(number);
            status = rs_buildRuleGroup(&host.set(), &group);
            EXPECT_TRUE(watch.hasFailed());
            if (status == RULE_OK) {
                record = host.recordAndDelete(group);
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
        }
        EXPECT_TRUE(state == SetState(host.set()));
        if (status == RULE_OK) {
            expectFinishedBuild(plan_, clean_, record, totals_);
        } else {
            EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
            EXPECT_EQ(&untouched, group);
            expectFailedBuild(host.takeHandedBack());
        }
        EXPECT_EQ(clean_, host.buildAndDelete());
    }

    // What had entered goes back once: the later the failure, the more.
    void expectFailedBuild(Positions handedBack) {
        ++totals_.failedBuilds;
        ASSERT_GE(order_.size(), handedBack.size());
        Positions entered(order_.begin(),
                          order_.begin() + static_cast<ptrdiff_t>(handedBack.size()));
        std::sort(entered.begin(), entered.end());
        std::sort(handedBack.begin(), handedBack.end());
        EXPECT_EQ(entered, handedBack);
        EXPECT_LE(totals_.entered, entered.size());
        if (entersOneByOne(plan_)) {
            EXPECT_GE(totals_.entered + 1, entered.size()) << "rules enter one after the other";
        }
        totals_.entered = entered.size();
    }

    const BuildPlan& plan_;
    BuildRecord clean_;
    Positions order_;
    FaultTotals totals_;
};
}  // namespace

FaultTotals failBuild(std::string_view operation, const BuildPlan& plan) {
    SCOPED_TRACE(operation);
    const FaultTotals totals = BuildFaults(plan).failAllocations();
    EXPECT_EQ(totals.failures, totals.failedBuilds + totals.leftOut + totals.complete);
    EXPECT_LE(2U, totals.failedBuilds) << "the group and its structure";
    if (entersOneByOne(plan)) {
        EXPECT_LE(enteringOrder(plan).size(), totals.entered + 1) << "all but the last rule";
    }
    reportFailures("building " + std::string(operation), totals.failures);
    return totals;
}

void expectBuildsFail(std::string_view operation, const BuildPlan& plan) {
    const FaultTotals totals = failBuild(operation, plan);
    EXPECT_EQ(totals.failures, totals.failedBuilds + totals.complete);
    if (flatUse == FlatUse::NEVER) {
        EXPECT_EQ(0U, totals.complete) << "all memory is for the ordered structures";
    }
    EXPECT_EQ(totals.allocations, totals.failures);
}

void append(std::vector<FaultRule>& rules, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        rules.push_back({text});
    }
}

std::vector<FaultRule> rulesOf(const std::vector<std::string>& texts) {
    std::vector<FaultRule> rules;
    append(rules, texts);
    return rules;
}

}  // namespace rs::test
