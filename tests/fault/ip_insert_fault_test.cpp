// Long and crowded lists of IP rules when memory runs out: what short lists keep on the stack is allocated here.
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "ip/ip_insert.h"
#include "support/failing_allocator.h"
#include "support/plain_ip_table.h"
#include "support/random_rules.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

struct Line {
    std::string text;
    uint32_t ruleValue;
};
using Lines = std::vector<Line>;

struct FaultCounts {
    uint64_t failed = 0;    // builds
    uint64_t leftOut = 0;   // builds that went on without a rule
    uint64_t complete = 0;  // builds that lacked nothing but time
};

RuleSetHandle makeSet(const Lines& lines, std::vector<char>& tokens, ReleaseRecorder& recorder) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    recorder.registerOn(*set);
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(RULE_OK, addRule(*set, lines[i].text, lines[i].ruleValue,
                                   static_cast<uint32_t>(i + 1), &tokens[i]));
    }
    return set;
}

// Builds a fresh set once for each allocation that can fail.
FaultCounts failEachAllocationOfBuild(const Lines& lines) {
    std::vector<char> tokens(lines.size());
    ReleaseRecorder unused;
    const IpTableContent plain = plainContentOf(*makeSet(lines, tokens, unused));
    FaultCounts counts;
    failEachAllocation([&](uint64_t number) {
        ReleaseRecorder recorder;
        const RuleSetHandle set = makeSet(lines, tokens, recorder);
        const AllocationWatch watch(number);
        RuleGroup* group = nullptr;
        const int32_t status = rs_buildRuleGroup(set.get(), &group);
        const bool hasFailed = watch.hasFailed();
        if (status != RULE_OK) {
            EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
            ++counts.failed;
        } else if (rulesLeftOut(group) != 0) {
            ++counts.leftOut;
        } else {
            EXPECT_TRUE(plain == contentOf(*group->ipTable, recorder.order()));
            counts.complete += hasFailed ? 1 : 0;
        }
        rs_delRuleGroup(&group);
        EXPECT_EQ(0U, watch.liveBlockCount());
        for (const char& token : tokens) {
            const size_t givenBack = recorder.countOf(&token);
            EXPECT_TRUE(givenBack == 1 || (givenBack == 0 && status != RULE_OK));
        }
        return hasFailed;
    });
    return counts;
}

std::string address(uint32_t number) {
    return writeIpv4Address(number * 2654435761U);
}

TEST(IpInsertFault, LongListsOfHostsFailOrLackNothing) {
    Lines lines;
    for (uint32_t i = 0; i < 300; ++i) {
        lines.push_back({(i % 3 == 0 ? "2001:db8::" : "") + address(i % 270), i % 2});
    }
    const FaultCounts counts = failEachAllocationOfBuild(lines);
    EXPECT_LT(10U, counts.failed);
    EXPECT_EQ(0U, counts.leftOut);
}

TEST(IpInsertFault, LongListsOfRangesMayLeaveARuleOut) {
    for (const char* prefix : {"", "2001:db8::"}) {
        Lines lines;
        for (uint32_t i = 0; i < 150; ++i) {
            const uint32_t low = i * 2654435761U & 0xFFFFU;
            lines.push_back(
                {prefix + writeIpv4Address(low) + '-' + prefix + writeIpv4Address(low + 1 + i * 5),
                 i % 4});
        }
        const FaultCounts counts = failEachAllocationOfBuild(lines);
        EXPECT_LT(5U, counts.failed);
        EXPECT_LT(0U, counts.leftOut);
    }
}

// Without memory for the index of covered intervals a build walks on, and makes the same.
TEST(IpInsertFault, CrowdedRangesDoWithoutTheirIndex) {
    Lines lines;
    for (uint32_t i = 0; i < 100; ++i) {
        lines.push_back({"10.0.0.0-10.0.1." + std::to_string(i), i});
    }
    const FaultCounts counts = failEachAllocationOfBuild(lines);
    EXPECT_LT(2U, counts.complete);
    EXPECT_LT(5U, counts.failed);
}

}  // namespace

}  // namespace rs::test
