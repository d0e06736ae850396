// Creating, filling and deleting rule sets through the shared library.
#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

TEST(Statuses, HaveTheirNumbers) {
    EXPECT_EQ(0, RULE_OK);
    EXPECT_EQ(-1, RULE_ERR_FAILED);
    EXPECT_EQ(-85, RULE_ERR_BUFFER_SMALL);
    EXPECT_EQ(-86, RULE_ERR_BAD_TYPE);
    EXPECT_EQ(-89, RULE_ERR_EXISTS);
    EXPECT_EQ(-91, RULE_ERR_BAD_SCHEME);
    EXPECT_EQ(-98, RULE_ERR_NO_MEMORY);
    EXPECT_EQ(-99, RULE_ERR_INVALID_ARG);
    EXPECT_EQ(-4083, RULE_ERR_DUPLICATE);
    EXPECT_EQ(-4085, RULE_ERR_BAD_RANGE);
    EXPECT_EQ(-4089, RULE_ERR_BAD_RULE);
    EXPECT_EQ(-4090, RULE_ERR_SET_FULL);
}

TEST(RuleTypes, HaveTheirNumbers) {
    EXPECT_EQ(1, RULE_TYPE_IP);
    EXPECT_EQ(2, RULE_TYPE_FQDN);
    EXPECT_EQ(3, RULE_TYPE_URL);
    EXPECT_EQ(4, RULE_TYPE_IP_ALT);
    EXPECT_EQ(5, RULE_TYPE_PACKET_FILTER);
    EXPECT_EQ(6, RULE_TYPE_IP_PORT);
    EXPECT_EQ(7, RULE_TYPE_COMPOUND);
    EXPECT_EQ(1, RULE_CALLBACK_RELEASE);
}

TEST(NewRuleSet, TakesTypesFromOneToSeven) {
    for (int32_t type = 1; type <= 7; ++type) {
        RuleSet* set = nullptr;
        EXPECT_EQ(RULE_OK, rs_newRuleSet(type, &set)) << type;
        EXPECT_NE(nullptr, set) << type;
        EXPECT_EQ(RULE_OK, rs_delRuleSet(&set)) << type;
    }
}

TEST(NewRuleSet, RefusesOtherTypesAndWritesNothing) {
    const RuleSetHandle other = newRuleSet(RULE_TYPE_IP);
    for (const int32_t type : {0, 8, 9, -1, 255, 257, INT32_MAX, INT32_MIN}) {
        RuleSet* set = other.get();
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_newRuleSet(type, &set)) << type;
        EXPECT_EQ(other.get(), set) << type;
    }
}

TEST(NewRuleSet, RefusesANullOutput) {
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_newRuleSet(RULE_TYPE_IP, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_newRuleSet(0, nullptr));
}

class IpRuleSet : public ::testing::TestWithParam<int32_t> {
protected:
    RuleSetHandle set = newRuleSet(GetParam());
};

// Both types of IP rules are the same.
INSTANTIATE_TEST_SUITE_P(Types, IpRuleSet, ::testing::Values(RULE_TYPE_IP, RULE_TYPE_IP_ALT));

TEST_P(IpRuleSet, TakesRulesInEveryForm) {
    for (const std::string_view row :
         {"10.0.0.1", " 10.0.0.1 ", "10.0.0.1-10.0.0.9", "10.0.0.0/8", "10.0.0.0/1:", "::", "::1",
          "2001:db8::/32", "::1-::2", "\t::ffff:10.0.0.1\r\n"}) {
        const ExactText text(row);
        EXPECT_EQ(RULE_OK, rs_addRuleToRuleSet(set.get(), text.data(), text.size(), 1, 1)) << row;
        EXPECT_EQ(RULE_OK,
                  rs_addRuleToRuleSetEx(set.get(), text.data(), text.size(), 1, 1, nullptr))
            << row;
    }
}

TEST_P(IpRuleSet, RefusesBadRules) {
    for (const std::string_view row :
         {"", " ", "10.0.0", "10.0.0.1/0", "10.0.0.1/33", "10.0.0.9-10.0.0.1", "10.0.0.1:80",
          "::/0", "::/129", "1::2::3", "example.com", "*"}) {
        const ExactText text(row);
        EXPECT_EQ(RULE_ERR_BAD_RULE, rs_addRuleToRuleSet(set.get(), text.data(), text.size(), 1, 1))
            << row;
    }
}

TEST_P(IpRuleSet, RefusesMissingArguments) {
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(nullptr, "::1", 3, 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), "::1", 3, 1, 0));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), nullptr, 3, 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), nullptr, 0, 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSetEx(nullptr, "::1", 3, 1, 1, this));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSetEx(set.get(), "::1", 3, 1, 0, this));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSetEx(set.get(), nullptr, 3, 1, 1, this));
    // An empty text is a bad rule, not a missing one; a missing ruleId comes before it.
    EXPECT_EQ(RULE_ERR_BAD_RULE, rs_addRuleToRuleSet(set.get(), "::1", 0, 1, 1));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSet(set.get(), "bad", 3, 1, 0));
}

TEST_P(IpRuleSet, ReadsNoFurtherThanTheLength) {
    ASSERT_EQ(RULE_OK, rs_addRuleToRuleSet(set.get(), "10.0.0.12", 8, 1, 1));
    const RuleGroupHandle group = buildRuleGroup(*set);
    MatchResult result{};
    EXPECT_EQ(1, rs_matchIPRuleGroup(group.get(), 0x0A000001, &result));
    EXPECT_EQ(0, rs_matchIPRuleGroup(group.get(), 0x0A00000C, &result));
}

TEST_P(IpRuleSet, KeepsNoPointerToTheText) {
    std::string text = "10.0.0.1";
    ASSERT_EQ(RULE_OK, addRule(*set, text, 1, 1));
    text.assign(text.size(), 'x');
    const RuleGroupHandle group = buildRuleGroup(*set);
    MatchResult result{};
    EXPECT_EQ(1, rs_matchIPRuleGroup(group.get(), 0x0A000001, &result));
}

TEST_P(IpRuleSet, CountsOnlyRulesThatWereAdded) {
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 1, 1));
    EXPECT_NE(RULE_OK, addRule(*set, "bad", 1, 1));
    EXPECT_NE(RULE_OK, addRule(*set, "10.0.0.5", 1, 0));
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.2", 1, 1));
    const RuleGroupHandle group = buildRuleGroup(*set);
    MatchResult result{};
    ASSERT_EQ(1, rs_matchIPRuleGroup(group.get(), 0x0A000002, &result));
    EXPECT_EQ(2, result.ruleIndex);
    EXPECT_EQ(0, rs_matchIPRuleGroup(group.get(), 0x0A000005, &result));
}

TEST_P(IpRuleSet, ReportsNumbersAndPointersAsGiven) {
    const struct {
        uint32_t address;
        const char* text;
        uint32_t ruleValue;
        uint32_t ruleId;
        void* userData;
    } rows[] = {
        {1, "0.0.0.1", 0, 1, nullptr},
        {2, "0.0.0.2", 0xFFFFFFFF, 0xFFFFFFFF, this},
        {3, "0.0.0.3", 0x80000000, 0x80000000, &set},
        {4, "0.0.0.4", 1, 0x12345678, reinterpret_cast<void*>(UINTPTR_MAX)},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(RULE_OK, addRule(*set, row.text, row.ruleValue, row.ruleId, row.userData));
    }
    const RuleGroupHandle group = buildRuleGroup(*set);
    for (const auto& row : rows) {
        MatchResult result{};
        ASSERT_EQ(1, rs_matchIPRuleGroup(group.get(), row.address, &result));
        EXPECT_EQ(row.address, result.ruleIndex);
        EXPECT_EQ(row.ruleValue, result.ruleValue);
        EXPECT_EQ(row.ruleId, result.ruleId);
        EXPECT_EQ(row.userData, result.userData);
    }
}

TEST(RuleCallback, IsOfOneKind) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    ReleaseRecorder recorder;
    EXPECT_EQ(RULE_OK, rs_registerRuleCallback(set.get(), RULE_CALLBACK_RELEASE,
                                               ReleaseRecorder::record, &recorder));
    EXPECT_EQ(RULE_OK, rs_registerRuleCallback(set.get(), RULE_CALLBACK_RELEASE, nullptr, nullptr));
    for (const int32_t kind : {0, 2, -1}) {
        EXPECT_EQ(RULE_ERR_FAILED,
                  rs_registerRuleCallback(set.get(), kind, ReleaseRecorder::record, &recorder));
    }
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_registerRuleCallback(nullptr, RULE_CALLBACK_RELEASE,
                                                            ReleaseRecorder::record, &recorder));
    // Without a set the kind does not matter.
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              rs_registerRuleCallback(nullptr, 2, ReleaseRecorder::record, &recorder));
}

TEST(DeletedRuleSet, LeavesANullPointer) {
    RuleSet* set = nullptr;
    ASSERT_EQ(RULE_OK, rs_newRuleSet(RULE_TYPE_IP, &set));
    ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0.1", 1, 1));
    EXPECT_EQ(RULE_OK, rs_delRuleSet(&set));
    EXPECT_EQ(nullptr, set);
    EXPECT_EQ(RULE_OK, rs_delRuleSet(&set));
    EXPECT_EQ(nullptr, set);
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_delRuleSet(nullptr));
}

}  // namespace

}  // namespace rs::test
