// Rules of the types whose lookups are not exported, through the shared library: what a host that
// adds, builds and deletes them sees.
#include <ruleset.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/match_result.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/text.h"

namespace rs::test {

namespace {

struct OpaqueType {
    const char* name;
    int32_t type;
    // Rules that enter one structure, or several under several addresses.
    std::array<std::string_view, 6> rules;
    std::string_view badRule;
};

constexpr OpaqueType TYPES[] = {
    {"PacketFilter",
     RULE_TYPE_PACKET_FILTER,
     {"tcp;*;*;*;*", "tcp;10.0.0.1;80;*;*", "tcp;10.0.0.0/8;80;192.168.0.0/16;1-9,20",
      "tcp;2001:db8::1;*;::1;*", "tcp;2001:db8::/32;*;*;443", "tcp;*;*;*;*"},
     "udp;*;*;*;*"},
    {"IpPort",
     RULE_TYPE_IP_PORT,
     {"*;*;*;*;1", "10.0.0.1;80;*;*;1", "10.0.0.0/8,172.16.0.0/12,10.0.0.1;80;1.1.1.1,::1;1-9;0x10",
      "2001:db8::1,2001:db8::/32,10.0.0.0/8;*;::1;*;1", "2001:db8::/32;*;*;443;2", "*;*;*;*;1"},
     "*;*;*;*;0"},
    {"Compound",
     RULE_TYPE_COMPOUND,
     {"*;*;*;*;0;0", "1-10,20;*;10.0.0.0/8;80;0;7", "5*;7;::1,10.0.0.1;*;2;8", "1;1;1.1.1.1;1;1;1",
      "63;2;2001:db8::/32;443,80-90;6;0x10", "*;*;*;*;0;0"},
     "*;*;*;*;0"},
};

void PrintTo(const OpaqueType& type, std::ostream* out) {
    *out << type.name;
}

std::string nameOf(const ::testing::TestParamInfo<OpaqueType>& info) {
    return info.param.name;
}

class OpaqueGroup : public ::testing::TestWithParam<OpaqueType> {
protected:
    // A set of all rules of the type, each with a userData of its own.
    RuleSetHandle makeFullSet() {
        RuleSetHandle set = newRuleSet(GetParam().type);
        uint32_t position = 0;
        for (const std::string_view rule : GetParam().rules) {
            const ExactText text(rule);
            void* own = &userData.at(position++);
            EXPECT_EQ(RULE_OK, rs_addRuleToRuleSetEx(set.get(), text.data(), text.size(), position,
                                                     ruleIdAt(position), own))
                << rule;
        }
        return set;
    }

    // The userData of every rule, in rule order.
    std::vector<void*> everyUserData() {
        std::vector<void*> all;
        for (int& own : userData) {
            all.push_back(&own);
        }
        return all;
    }

    std::array<int, 6> userData{};
};

INSTANTIATE_TEST_SUITE_P(Types, OpaqueGroup, ::testing::ValuesIn(TYPES), nameOf);

TEST_P(OpaqueGroup, HandsEveryUserDataBackOnceWhenItIsDeleted) {
    ReleaseRecorder recorder;
    RuleSetHandle set = makeFullSet();
    recorder.registerOn(*set);
    RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    set.reset();
    // Equal rules enter the group each, and a set only borrows.
    EXPECT_THAT(recorder.order(), ::testing::IsEmpty());
    group.reset();
    EXPECT_THAT(recorder.order(), ::testing::UnorderedElementsAreArray(everyUserData()));
}

TEST_P(OpaqueGroup, HandsUserDataBackForEachBuild) {
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeFullSet();
    recorder.registerOn(*set);
    RuleGroupHandle first = buildRuleGroup(*set);
    RuleGroupHandle second = buildRuleGroup(*set);
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, second);
    first.reset();
    EXPECT_THAT(recorder.order(), ::testing::UnorderedElementsAreArray(everyUserData()));
    recorder.clear();
    second.reset();
    EXPECT_THAT(recorder.order(), ::testing::UnorderedElementsAreArray(everyUserData()));
}

TEST_P(OpaqueGroup, KeepsUserDataToItselfWithoutACallback) {
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeFullSet();
    RuleGroupHandle before = buildRuleGroup(*set);
    recorder.registerOn(*set);
    EXPECT_EQ(RULE_OK,
              rs_registerRuleCallback(set.get(), RULE_CALLBACK_RELEASE, nullptr, &recorder));
    RuleGroupHandle after = buildRuleGroup(*set);
    before.reset();
    after.reset();
    EXPECT_THAT(recorder.order(), ::testing::IsEmpty());
}

TEST_P(OpaqueGroup, NeverHandsNullBack) {
    ReleaseRecorder recorder;
    const RuleSetHandle set = newRuleSet(GetParam().type);
    recorder.registerOn(*set);
    int own = 0;
    for (const std::string_view rule : GetParam().rules) {
        EXPECT_EQ(RULE_OK, addRule(*set, rule, 1, 1)) << rule;
    }
    EXPECT_EQ(RULE_OK, addRule(*set, GetParam().rules[2], 1, 1, &own));
    buildRuleGroup(*set);
    EXPECT_THAT(recorder.order(), ::testing::ElementsAre(&own));
}

TEST_P(OpaqueGroup, NeverHoldsWhatASetRefused) {
    ReleaseRecorder recorder;
    const OpaqueType& type = GetParam();
    const RuleSetHandle set = newRuleSet(type.type);
    recorder.registerOn(*set);
    int own = 0;
    const std::string tooLong = std::string(type.rules[0]) + std::string(4096, '1');
    for (const std::string_view rule : {type.badRule, std::string_view(tooLong),
                                        std::string_view(""), std::string_view(" \t\r\n")}) {
        const ExactText text(rule);
        EXPECT_EQ(RULE_ERR_BAD_RULE,
                  rs_addRuleToRuleSetEx(set.get(), text.data(), text.size(), 1, 1, &own))
            << rule;
    }
    const ExactText good(type.rules[0]);
    EXPECT_EQ(RULE_ERR_INVALID_ARG,
              rs_addRuleToRuleSetEx(set.get(), good.data(), good.size(), 1, 0, &own));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_addRuleToRuleSetEx(set.get(), nullptr, 9, 1, 1, &own));
    const RuleGroupHandle group = buildRuleGroup(*set);
    EXPECT_NE(nullptr, group);
    EXPECT_THAT(recorder.order(), ::testing::IsEmpty());
}

TEST_P(OpaqueGroup, IsRefusedByEveryExportedMatcher) {
    const RuleSetHandle set = makeFullSet();
    const RuleGroupHandle full = buildRuleGroup(*set);
    const RuleGroupHandle empty = buildRuleGroup(*newRuleSet(GetParam().type));
    constexpr std::array<uint8_t, 16> ADDRESS = {10, 0, 0, 1};
    for (const RuleGroup* group : {full.get(), empty.get()}) {
        ASSERT_NE(nullptr, group);
        MatchResult result = UNTOUCHED;
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroup(group, 0x0A000001, &result));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroupEx(group, 4, ADDRESS.data(), &result));
        EXPECT_EQ(RULE_ERR_INVALID_ARG, rs_matchIPRuleGroupEx(group, 6, ADDRESS.data(), &result));
        EXPECT_EQ(RULE_ERR_INVALID_ARG,
                  rs_matchDomainNameWithRuleGroup(group, "example.com", 11, &result));
        EXPECT_EQ(RULE_ERR_INVALID_ARG,
                  rs_matchUrlWithRuleGroup(group, "http://example.com/", 19, &result));
        EXPECT_EQ(UNTOUCHED, result);
    }
}

TEST_P(OpaqueGroup, TakesRulesOfItsTypeOnly) {
    for (const OpaqueType& other : TYPES) {
        const RuleSetHandle set = newRuleSet(other.type);
        for (const std::string_view rule : GetParam().rules) {
            EXPECT_EQ(other.type == GetParam().type ? RULE_OK : RULE_ERR_BAD_RULE,
                      addRule(*set, rule, 1, 1))
                << rule << " in " << other.name;
        }
    }
}

TEST_P(OpaqueGroup, OutlivesTheTextsOfItsRules) {
    ReleaseRecorder recorder;
    const RuleSetHandle set = newRuleSet(GetParam().type);
    recorder.registerOn(*set);
    int own = 0;
    for (const std::string_view rule : GetParam().rules) {
        std::string text(rule);
        ASSERT_EQ(RULE_OK, addRule(*set, text, 1, 1, &own)) << rule;
        // Ports and addresses are read again when the set is compiled, from a text of its own.
        text.assign(text.size(), 'x');
    }
    EXPECT_NE(nullptr, buildRuleGroup(*set));
    EXPECT_EQ(GetParam().rules.size(), recorder.countOf(&own));
}

}  // namespace

}  // namespace rs::test
