// What threads may do at the same time.
#include "support/threads.h"

#include <ruleset.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr uint32_t THREAD_COUNT = 8;
constexpr uint32_t ROUNDS = 2000;

uint32_t winnerOf(const RuleGroup& group, uint32_t address) {
    MatchResult result{};
    return rs_matchIPRuleGroup(&group, address, &result) == 1 ? result.ruleIndex : 0;
}

uint32_t mappedWinnerOf(const RuleGroup& group, uint32_t address) {
    std::array<uint8_t, 16> bytes{};
    bytes[10] = 0xFF;
    bytes[11] = 0xFF;
    for (uint32_t i = 0; i < 4; ++i) {
        bytes[12 + i] = static_cast<uint8_t>((address >> (24 - 8 * i)) & 0xFFU);
    }
    MatchResult result{};
    return rs_matchIPRuleGroupEx(&group, 6, bytes.data(), &result) == 1 ? result.ruleIndex : 0;
}

// Rule n, counted from 1, is 10.0.n.0/24; rule 101 is 10.0.0.0/8.
RuleSetHandle makeSetOfNets() {
    RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (uint32_t n = 1; n <= 100; ++n) {
        EXPECT_EQ(RULE_OK, addRule(*set, "10.0." + std::to_string(n) + ".0/24", n, n));
    }
    EXPECT_EQ(RULE_OK, addRule(*set, "10.0.0.0/8", 101, 101));
    return set;
}

TEST(Threads, MatchInOneGroupAtOnce) {
    const RuleGroupHandle group = buildRuleGroup(*makeSetOfNets());
    ASSERT_NE(nullptr, group);
    std::atomic<uint32_t> wrongAnswers{0};
    runInThreads(THREAD_COUNT, [&](uint32_t thread) {
        for (uint32_t round = 0; round < ROUNDS; ++round) {
            const uint32_t net = (round * 7 + thread) % 200;
            const uint32_t address = 0x0A000000 + net * 256 + round % 256;
            const uint32_t winner = net >= 1 && net <= 100 ? net : 101;
            if (winnerOf(*group, address) != winner || mappedWinnerOf(*group, address) != winner ||
                winnerOf(*group, address + 0x01000000) != 0) {
                ++wrongAnswers;
            }
        }
    });
    EXPECT_EQ(0, wrongAnswers);
}

TEST(Threads, WorkOnSetsAndGroupsOfTheirOwn) {
    std::array<int, THREAD_COUNT> userData{};
    std::array<ReleaseRecorder, THREAD_COUNT> recorders;
    std::atomic<uint32_t> wrongAnswers{0};
    runInThreads(THREAD_COUNT, [&](uint32_t thread) {
        const std::string text = "10.0.0." + std::to_string(thread);
        for (uint32_t round = 0; round < 100; ++round) {
            const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
            recorders[thread].registerOn(*set);
            addRule(*set, text, 1, 1, &userData[thread]);
            addRule(*set, text + "-10.0.0.100", 1, 1, &userData[thread]);
            addRule(*set, text, 1, 1, &userData[thread]);
            const RuleGroupHandle group = buildRuleGroup(*set);
            if (winnerOf(*group, 0x0A000000 + thread) != 1 || winnerOf(*group, 0x0A000064) != 2) {
                ++wrongAnswers;
            }
        }
    });
    EXPECT_EQ(0, wrongAnswers);
    for (uint32_t thread = 0; thread < THREAD_COUNT; ++thread) {
        EXPECT_EQ(300, recorders[thread].countOf(&userData[thread]));
        EXPECT_EQ(300, recorders[thread].order().size());
    }
}

TEST(Threads, DeleteGroupsOfOneSetWhileOthersMatch) {
    const RuleSetHandle set = makeSetOfNets();
    std::array<RuleGroupHandle, THREAD_COUNT> groups;
    for (RuleGroupHandle& group : groups) {
        group = buildRuleGroup(*set);
        ASSERT_NE(nullptr, group);
    }
    std::atomic<uint32_t> wrongAnswers{0};
    runInThreads(THREAD_COUNT, [&](uint32_t thread) {
        for (uint32_t round = 0; round < (thread + 1) * 100; ++round) {
            wrongAnswers += winnerOf(*groups[thread], 0x0A000100 + round % 256) == 1 ? 0 : 1;
        }
        groups[thread].reset();
    });
    EXPECT_EQ(0, wrongAnswers);
}

TEST(Threads, ValidateAndConvertAtOnce) {
    std::atomic<uint32_t> wrongAnswers{0};
    runInThreads(THREAD_COUNT, [&](uint32_t thread) {
        const std::string text = "10.0.0." + std::to_string(thread) + "/32";
        for (uint32_t round = 0; round < ROUNDS; ++round) {
            ConvertedRange range{};
            if (rs_validateRule_IP(text.data(), size32(text)) != RULE_OK ||
                rs_validate_IPv4Range(text.data(), size32(text)) != RULE_OK ||
                rs_validate_IPv6Range(text.data(), size32(text)) != RULE_ERR_BAD_RANGE ||
                rs_validate_PortRange("80-90", 5) != RULE_OK ||
                rs_convertRule_IP(text.data(), size32(text), &range) != RULE_OK ||
                range.startAddress[3] != thread) {
                ++wrongAnswers;
            }
        }
    });
    EXPECT_EQ(0, wrongAnswers);
}

}  // namespace

}  // namespace rs::test
