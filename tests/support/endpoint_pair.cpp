#include "support/endpoint_pair.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "support/comparison_count.h"
#include "support/ipv6_option.h"
#include "support/match_result.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr size_t MOST_RULES_SHOWN = 40;

}  // namespace

ComparisonCount::~ComparisonCount() {
    countComparisons(lookup_, compared_);
}

EndpointPair::EndpointPair(int32_t ruleType, size_t mostRules)
    : set_(newRuleSet(ruleType)), reference_(ruleType), tokens_(mostRules) {}

void EndpointPair::add(const std::string& text, RandomSource& random, bool allowIpv6) {
    const auto position = static_cast<uint32_t>(texts_.size() + 1);
    void* userData = random.oneIn(8) ? nullptr : &tokens_[position - 1];
    const uint32_t ruleValue = random.bits32();
    const ExactText exact(text);
    const int32_t expected = reference_.add(text, ruleValue, 1000 + position, userData, allowIpv6);
    ASSERT_EQ(expected, rs_addRuleToRuleSetEx(set_.get(), exact.data(), exact.size(), ruleValue,
                                              1000 + position, userData))
        << ::testing::PrintToString(text);
    if (expected == RULE_OK) {
        texts_.push_back(text);
    }
}

void EndpointPair::expectHandedBack(const ReleaseRecorder& recorder,
                                    std::vector<void*> expected) const {
    std::vector<void*> actual = recorder.order();
    std::sort(expected.begin(), expected.end());
    std::sort(actual.begin(), actual.end());
    EXPECT_TRUE(expected == actual)
        << actual.size() << " went back and not " << expected.size() << "; " << describe();
}

void EndpointPair::checkBuild(const std::function<void(const RuleGroup&)>& useGroup) {
    ReleaseRecorder recorder;
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set_));
    RuleGroupHandle group = buildRuleGroup(*set_);
    ASSERT_NE(nullptr, group);
    useGroup(*group);
    EXPECT_TRUE(recorder.order().empty());
    group.reset();
    expectHandedBack(recorder, reference_.handedBackAtDelete());
}

void EndpointPair::checkSharedBuild(bool deleteFirstOneFirst,
                                    const std::function<void(const RuleGroup&)>& useGroup) {
    ReleaseRecorder recorder;
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set_));
    RuleGroupHandle group = buildRuleGroup(*set_);
    ASSERT_NE(nullptr, group);
    RuleGroupHandle shared(retainRuleGroup(group.get()));
    ASSERT_NE(nullptr, shared);
    useGroup(*shared);
    (deleteFirstOneFirst ? group : shared).reset();
    EXPECT_TRUE(recorder.order().empty());
    useGroup(deleteFirstOneFirst ? *shared : *group);
    (deleteFirstOneFirst ? shared : group).reset();
    expectHandedBack(recorder,
                     deleteFirstOneFirst ? std::vector<void*>{} : reference_.handedBackAtDelete());
}

std::string EndpointPair::describe() const {
    std::ostringstream text;
    text << texts_.size() << " rules";
    for (size_t i = 0; i < texts_.size() && i < MOST_RULES_SHOWN; ++i) {
        text << '\n' << i + 1 << ' ' << ::testing::PrintToString(texts_[i]);
    }
    return text.str();
}

void addRandomRules(EndpointPair& pair, size_t count, const std::function<std::string()>& nextRule,
                    RandomSource& random) {
    for (size_t i = 0; i < count && !::testing::Test::HasFatalFailure(); ++i) {
        pair.add(nextRule(), random);
    }
}

void expectPairAnswer(const ReferenceEndpointRule* winner, int32_t status,
                      const MatchResult& result, const EndpointKey& key, const EndpointPair& pair) {
    const MatchResult expected = winner == nullptr ? UNTOUCHED : winner->result;
    const bool isSame = status == (winner == nullptr ? 0 : 1) && result == expected;
    ASSERT_TRUE(isSame) << describeKey(key) << ": status " << status << ", rule "
                        << result.ruleIndex << " and not " << expected.ruleIndex << "; "
                        << pair.describe();
}

void checkTextStatus(int32_t ruleType, const std::string& text, RandomSource& random) {
    const bool allowIpv6 = !random.oneIn(3);
    const Ipv6Option option(allowIpv6);
    const ExactText exact(text);
    const bool isIpPort = ruleType == RULE_TYPE_IP_PORT;
    const bool isRule = isIpPort ? readIpPortRule(text, allowIpv6).has_value()
                                 : readPacketFilterRule(text, allowIpv6).has_value();
    const int32_t expected = isRule ? RULE_OK : RULE_ERR_BAD_RULE;
    const int32_t status = isIpPort ? rs_validateRule_IpPort(exact.data(), exact.size())
                                    : rs_validateRule_PacketFilter(exact.data(), exact.size());
    ASSERT_EQ(expected, status) << ::testing::PrintToString(text) << " with option " << allowIpv6;
    EndpointPair pair(ruleType, 1);
    pair.add(text, random, allowIpv6);
}

std::string describeKey(const EndpointKey& key) {
    std::ostringstream text;
    text << std::hex;
    const auto put = [&text](Number128 address) {
        for (const uint32_t word : addressWords(address)) {
            text << word << ' ';
        }
    };
    put(key.firstAddress);
    text << "port " << (key.firstPort & 0xFFFFU) << ", ";
    put(key.secondAddress);
    text << "port " << (key.secondPort & 0xFFFFU) << ", mask " << key.mask;
    return text.str();
}

}  // namespace rs::test
