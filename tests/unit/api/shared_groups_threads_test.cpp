// Threads that match in groups of every type, while others retain groups that share their structures and drop them; and
// threads that ask one group by every lookup of its type.
#include <ruleset.h>
#include <ruleset_static.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/every_lookup.h"
#include "support/group_shapes.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/text.h"
#include "support/threads.h"

namespace rs::test {

namespace {

constexpr uint32_t MATCHING_THREADS = 8;
constexpr uint32_t RETAINING_THREADS = 4;
constexpr uint32_t ROUNDS = 300;

using Lookup = std::function<int32_t(const RuleGroup&, MatchResult&)>;

// A rule set of one type, and lookups that its second rule wins.
struct TypeCase {
    std::string_view name;
    int32_t type;
    std::vector<std::string_view> rules;
    std::vector<Lookup> lookups;
};

void PrintTo(const TypeCase& row, std::ostream* out) {
    *out << row.name;
}

int32_t matchAddress6(const RuleGroup& group, MatchResult& result) {
    const std::array<uint8_t, 16> address{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 10, 0, 0, 9};
    return rs_matchIPRuleGroupEx(&group, 6, address.data(), &result);
}

int32_t matchName(const RuleGroup& group, MatchResult& result) {
    constexpr std::string_view NAME = "Mail.Example.COM";
    return rs_matchDomainNameWithRuleGroup(&group, NAME.data(), size32(NAME), &result);
}

int32_t matchUrl(const RuleGroup& group, MatchResult& result) {
    constexpr std::string_view URL = "http://Mail.Example.COM/a/b";
    return rs_matchUrlWithRuleGroup(&group, URL.data(), size32(URL), &result);
}

int32_t matchFlow(const RuleGroup& group, MatchResult& result) {
    CompoundFlow flow{};
    flow.secondValue16 = 80;
    flow.value32 = 7;
    flow.family = 4;
    return matchCompound(&group, &flow, true, &result);
}

constexpr AddressWords FIRST6 = {0x20010DB8, 0, 0, 1};
constexpr AddressWords SECOND6 = {0x20010DB8, 0, 0, 2};

const std::vector<TypeCase>& typeCases() {
    static const std::vector<TypeCase> CASES = {
        {"IP",
         RULE_TYPE_IP,
         {"10.0.0.1", "10.0.0.0/8", "2001:db8::/32"},
         {[](const RuleGroup& group, MatchResult& result) {
              return rs_matchIPRuleGroup(&group, 0x0A000009, &result);
          },
          matchAddress6}},
        {"FQDN", RULE_TYPE_FQDN, {"example.com", "*.example.com", "*"}, {matchName}},
        {"URL",
         RULE_TYPE_URL,
         {"https://*.example.com/a", "*.example.com/a*", "example.com"},
         {matchUrl}},
        {"PacketFilter",
         RULE_TYPE_PACKET_FILTER,
         {"tcp;10.0.0.1;80;10.0.0.2;81", "tcp;2001:db8::/32;*;*;443", "tcp;10.0.0.0/8;1;*;2"},
         {[](const RuleGroup& group, MatchResult& result) {
             return matchPacketFilter6(&group, FIRST6, 5, SECOND6, 443, &result);
         }}},
        {"IpPort",
         RULE_TYPE_IP_PORT,
         {"10.0.0.1;80;10.0.0.2;81;1", "10.0.0.0/8;*;*;443;2", "2001:db8::/32;*;*;443;2"},
         {[](const RuleGroup& group, MatchResult& result) {
             return matchIpPortPair4(&group, 0x0A000009, 5, 0x0B000001, 443, 2, &result);
         }}},
        {"Compound",
         RULE_TYPE_COMPOUND,
         {"1;*;*;*;0;1", "7-9;*;*;80;0;2", "*;*;*;*;0;3"},
         {matchFlow}},
    };
    return CASES;
}

class SharedGroups : public ::testing::TestWithParam<TypeCase> {
protected:
    void SetUp() override {
        const RuleSetHandle set = newRuleSet(GetParam().type);
        ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
        uint32_t ruleId = 0;
        for (const std::string_view rule : GetParam().rules) {
            ++ruleId;
            ASSERT_EQ(RULE_OK, addRule(*set, rule, 1, ruleId, &userData[ruleId]));
        }
        original = buildRuleGroup(*set);
        ASSERT_NE(nullptr, original);
    }

    void matchManyTimes(const RuleGroup& group, uint32_t rounds) {
        for (uint32_t round = 0; round < rounds; ++round) {
            for (const Lookup& lookup : GetParam().lookups) {
                MatchResult result{};
                const int32_t status = lookup(group, result);
                if (status != 1 || result.ruleIndex != 2 || result.userData != &userData[2]) {
                    ++wrongAnswers;
                }
            }
        }
    }

    void retainAndDrop() {
        for (uint32_t round = 0; round < ROUNDS; ++round) {
            const RuleGroupHandle copy(retainRuleGroup(original.get()));
            if (copy == nullptr) {
                ++wrongAnswers;
                continue;
            }
            matchManyTimes(*copy, 1);
        }
    }

    std::array<char, 8> userData{};
    ReleaseRecorder recorder;
    RuleGroupHandle original;
    std::atomic<uint32_t> wrongAnswers{0};
};

TEST_P(SharedGroups, MatchWhileOthersRetainAndDrop) {
    runInThreads(MATCHING_THREADS + RETAINING_THREADS, [this](uint32_t thread) {
        if (thread < MATCHING_THREADS) {
            matchManyTimes(*original, ROUNDS);
        } else {
            retainAndDrop();
        }
    });
    EXPECT_EQ(0U, wrongAnswers);
    EXPECT_TRUE(recorder.order().empty());
    original.reset();
    for (const void* handedBack : recorder.order()) {
        EXPECT_EQ(1U, recorder.countOf(handedBack));
    }
    // The domain rule "*" alone keeps its userData.
    const size_t kept = GetParam().type == RULE_TYPE_FQDN ? 1 : 0;
    EXPECT_EQ(GetParam().rules.size() - kept, recorder.order().size());
}

// Every thread has a record of its own; whichever is dropped last frees the structures, while the thread sanitizer
// watches that no other thread still reads them.
TEST_P(SharedGroups, AreFreedOnceByWhicheverThreadDropsLast) {
    std::vector<RuleGroupHandle> copies;
    for (uint32_t i = 0; i < MATCHING_THREADS; ++i) {
        copies.emplace_back(retainRuleGroup(original.get()));
        ASSERT_NE(nullptr, copies.back());
    }
    original.reset();
    EXPECT_TRUE(recorder.order().empty());
    runInThreads(MATCHING_THREADS, [this, &copies](uint32_t thread) {
        matchManyTimes(*copies[thread], 10 * thread);
        copies[thread].reset();
    });
    EXPECT_EQ(0U, wrongAnswers);
    for (const void* handedBack : recorder.order()) {
        EXPECT_EQ(1U, recorder.countOf(handedBack));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryType, SharedGroups, ::testing::ValuesIn(typeCases()),
                         [](const auto& row) { return std::string(row.param.name); });

class LookupThreads : public ::testing::TestWithParam<GroupShape> {};

TEST_P(LookupThreads, AnswerAsOneThread) {
    const GroupShape& shape = GetParam();
    const RuleGroupHandle group = buildRuleGroup(*makeSetOf(shape));
    ASSERT_NE(nullptr, group);
    const std::vector<Answer> expected = answersOf(*group, shape.type, shape.keys);
    for (const uint32_t threadCount : {2U, 4U}) {
        std::atomic<uint32_t> different{0};
        runInThreads(threadCount, [&](uint32_t /*thread*/) {
            for (uint32_t round = 0; round < 3; ++round) {
                different += answersOf(*group, shape.type, shape.keys) == expected ? 0 : 1;
            }
        });
        EXPECT_EQ(0U, different) << threadCount << " threads";
    }
}

INSTANTIATE_TEST_SUITE_P(EveryShape, LookupThreads, ::testing::ValuesIn(groupShapes()),
                         [](const auto& row) { return row.param.name; });

}  // namespace

}  // namespace rs::test
