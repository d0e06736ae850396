// Texts of compound rules, what is stored of them, and lookups of flows against the walk over the
// rules one by one.
//
//     RULESET_PROPERTY_CASES=10     makes more than a million lookups, and writes how many
#include <ruleset.h>
#include <ruleset_static.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "compound/compound_index.h"
#include "compound/compound_rule.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "support/comparison_count.h"
#include "support/endpoint_pair.h"
#include "support/expected_match.h"
#include "support/ipv6_option.h"
#include "support/match_result.h"
#include "support/random_compound.h"
#include "support/random_source.h"
#include "support/reference_compound.h"
#include "support/rule_handles.h"
#include "support/rule_pair.h"
#include "support/text.h"

namespace rs::test {

namespace {

using CompoundPair = RulePair<ReferenceCompoundRules, RULE_TYPE_COMPOUND>;

template <typename Range>
std::vector<NumberRange> numbersOf(const Range* list) {
    std::vector<NumberRange> ranges;
    for (; list != nullptr; list = list->next) {
        ranges.push_back({list->low, list->high});
    }
    return ranges;
}

bool isSameList(const std::vector<AddressRange>& expected, const rs::AddressRange* list) {
    for (const AddressRange& range : expected) {
        if (list == nullptr || list->low != wordsOf(range.low) ||
            list->high != wordsOf(range.high)) {
            return false;
        }
        list = list->next;
    }
    return list == nullptr;
}

// For records of the set and for entries of the group, which hold the same in fields of one name.
template <typename Stored>
void expectSameRule(const ReferenceCompoundRule& expected, const Stored& stored) {
    EXPECT_TRUE(expected.text.rangeListA == numbersOf(stored.rangeListA));
    EXPECT_TRUE(expected.text.rangeListB == numbersOf(stored.rangeListB));
    EXPECT_TRUE(isSameList(expected.text.addressList, stored.addressList));
    EXPECT_TRUE(expected.text.rangeList16 == numbersOf(stored.rangeList16));
    EXPECT_EQ(expected.text.numberA, stored.numberA);
    EXPECT_EQ(expected.text.numberB, stored.numberB);
    EXPECT_EQ(expected.text.matchesAll() ? 1U : 0U, stored.matchesAll);
    EXPECT_EQ(expected.result.ruleValue, stored.ruleValue);
    EXPECT_EQ(expected.result.ruleId, stored.ruleId);
    EXPECT_EQ(expected.result.userData, stored.userData);
}

// Rule texts, good ones and bad, in a set and in the reference.
class TextComparison {
public:
    void add(const std::string& text, bool allowIpv6) {
        const auto number = static_cast<uint32_t>(texts_.size() + 1);
        void* userData = number % 3 == 0 ? nullptr : this;
        const Ipv6Option option(allowIpv6);
        const ExactText exact(text);
        const int32_t expected = reference_.add(text, number * 7, number, userData, allowIpv6);
        ASSERT_EQ(expected, rs_addRuleToRuleSetEx(set_.get(), exact.data(), exact.size(),
                                                  number * 7, number, userData))
            << ::testing::PrintToString(text) << " with option " << allowIpv6;
        if (expected == RULE_OK) {
            texts_.push_back(text);
        }
        countComparisons("rs_addRuleToRuleSetEx of compound rules");
    }

    // Compares the records of the set and, built from them, the entries of a group.
    void checkStored() {
        const RuleGroupHandle group = buildRuleGroup(*set_);
        ASSERT_NE(nullptr, group);
        ASSERT_NE(nullptr, group->compoundTable);
        EXPECT_EQ(texts_.size(), set_->compoundRules.ruleCount);
        EXPECT_EQ(reference_.valueMask(), group->compoundTable->valueMask);
        const ListLink* link = set_->compoundRules.head.next;
        const CompoundEntry* entry = group->compoundTable->entries;
        for (size_t i = 0; i < texts_.size() && !::testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(::testing::PrintToString(texts_[i]));
            ASSERT_NE(&set_->compoundRules.head, link);
            ASSERT_NE(nullptr, entry);
            const auto* record = reinterpret_cast<const CompoundRuleRecord*>(link);
            EXPECT_EQ(0, std::memcmp(texts_[i].c_str(), record->text, texts_[i].size() + 1));
            expectSameRule(reference_.rules()[i], record->rule);
            expectSameRule(reference_.rules()[i], *entry);
            EXPECT_EQ(i + 1, entry->ruleIndex);
            link = link->next;
            entry = entry->next;
        }
        EXPECT_EQ(&set_->compoundRules.head, link);
        EXPECT_EQ(nullptr, entry);
    }

    const ReferenceCompoundRules& reference() const { return reference_; }

private:
    RuleSetHandle set_ = newRuleSet(RULE_TYPE_COMPOUND);
    ReferenceCompoundRules reference_;
    std::vector<std::string> texts_;
};

struct FlowLookup {
    int32_t status;
    MatchResult result;
    ReferenceFlow flow;
};

CompoundFlow libraryFlow(const ReferenceFlow& flow) {
    CompoundFlow made{};
    made.firstValue16 = flow.values16[0];
    made.secondValue16 = flow.values16[1];
    made.value32 = flow.value32;
    made.family = flow.family;
    std::memcpy(made.firstAddress.data(), flow.addresses[0].data(), flow.addresses[0].size());
    std::memcpy(made.secondAddress.data(), flow.addresses[1].data(), flow.addresses[1].size());
    made.listValue16 = flow.listValue16;
    made.listValue12 = flow.listValue12;
    made.outNumber = flow.outNumber;
    made.outListValue = flow.outListValue;
    made.outMark = flow.outMark;
    return made;
}

ReferenceFlow referenceFlow(const CompoundFlow& flow) {
    ReferenceFlow made{};
    made.values16 = {flow.firstValue16, flow.secondValue16};
    made.value32 = flow.value32;
    made.family = flow.family;
    std::memcpy(made.addresses[0].data(), flow.firstAddress.data(), made.addresses[0].size());
    std::memcpy(made.addresses[1].data(), flow.secondAddress.data(), made.addresses[1].size());
    made.listValue16 = flow.listValue16;
    made.listValue12 = flow.listValue12;
    made.outNumber = flow.outNumber;
    made.outListValue = flow.outListValue;
    made.outMark = flow.outMark;
    return made;
}

FlowLookup lookUp(const RuleGroup& group, const ReferenceFlow& flow, bool wantsListValue) {
    CompoundFlow asked = libraryFlow(flow);
    FlowLookup lookup{0, UNTOUCHED, {}};
    lookup.status = matchCompound(&group, &asked, wantsListValue, &lookup.result);
    lookup.flow = referenceFlow(asked);
    return lookup;
}

FlowLookup expectedLookup(const ReferenceCompoundRules& rules, const ReferenceFlow& flow,
                          bool wantsListValue) {
    FlowLookup lookup{0, UNTOUCHED, flow};
    const ReferenceCompoundRule* winner = rules.find(lookup.flow, wantsListValue);
    if (winner != nullptr) {
        lookup.status = 1;
        lookup.result = winner->result;
    }
    return lookup;
}

bool isSameLookup(const FlowLookup& left, const FlowLookup& right) {
    return left.status == right.status && left.result == right.result && left.flow == right.flow;
}

std::string describe(const FlowLookup& lookup) {
    const ReferenceFlow& flow = lookup.flow;
    std::ostringstream out;
    out << "status " << lookup.status << ", rule " << lookup.result.ruleIndex << "; values "
        << flow.values16[0] << ' ' << flow.values16[1] << ' ' << flow.value32 << " family "
        << flow.family << std::hex << std::setfill('0');
    for (const AddressBytes& bytes : flow.addresses) {
        out << ' ';
        for (const uint8_t byte : bytes) {
            out << std::setw(2) << static_cast<uint32_t>(byte);
        }
    }
    out << std::dec << " list " << flow.listValue16 << ' ' << flow.listValue12 << " outputs "
        << flow.outNumber << ' ' << flow.outListValue << ' ' << flow.outMark;
    return out.str();
}

// Lookups, each compared and counted; and how often what is asked decides something.
class FlowComparisons {
public:
    void checkFlows(const RuleGroup& group, const CompoundPair& pair, RandomCompound& compound,
                    size_t count, RandomSource& random) {
        const std::vector<ReferenceCompoundRule>& rules = pair.reference().rules();
        for (size_t i = 0; i < count && !rules.empty() && !::testing::Test::HasFailure(); ++i) {
            const CompoundRuleText& rule = random.pick(rules).text;
            const ReferenceFlow flow = compound.nextFlow(rule);
            checkFlow(group, pair, flow, !random.oneIn(4));
            noteConditions(rule, flow);
        }
    }

    // Every condition alone keeps flows from being covered; every output is written, and is not.
    void expectEverySortOfFlow() const {
        EXPECT_LT(compared_ / 10, found_);
        EXPECT_LT(found_, compared_);
        for (size_t i = 0; i < decisive_.size(); ++i) {
            EXPECT_LT(compared_ / 200, decisive_[i]) << "condition " << i;
        }
        for (size_t i = 0; i < written_.size(); ++i) {
            EXPECT_LT(compared_ / 200, written_[i]) << "output " << i;
        }
        EXPECT_LT(0U, otherFamilies_);
    }

private:
    void checkFlow(const RuleGroup& group, const CompoundPair& pair, const ReferenceFlow& flow,
                   bool wantsListValue) {
        const FlowLookup expected = expectedLookup(pair.reference(), flow, wantsListValue);
        const FlowLookup lookup = lookUp(group, flow, wantsListValue);
        ++compared_;
        found_ += expected.status == 1 ? 1 : 0;
        written_[0] += expected.flow.outListValue == 4095 && flow.listValue12 == 4096 ? 1 : 0;
        written_[1] += expected.flow.outListValue != flow.outListValue &&
                               expected.flow.outListValue == flow.listValue12
                           ? 1
                           : 0;
        written_[2] += expected.flow.outMark != flow.outMark ? 1 : 0;
        countComparisons("matchCompound");
        if (isSameLookup(expected, lookup)) {
            return;
        }
        const auto differs = [&](const RuleGroup& fewer, const ReferenceCompoundRules& reference) {
            return !isSameLookup(expectedLookup(reference, flow, wantsListValue),
                                 lookUp(fewer, flow, wantsListValue));
        };
        FAIL() << describe(lookup) << "\nand not " << describe(expected) << "\nwith "
               << wantsListValue << "; " << pair.describeFewest(differs);
    }

    // Which condition is the only one that a flow misses in the rule that it was made for.
    void noteConditions(const CompoundRuleText& rule, const ReferenceFlow& flow) {
        const CompoundConditions conditions = conditionsOf(rule, flow);
        const bool isListMet = !conditions.isListAsked || conditions.isListValue16Covered ||
                               conditions.isListValue12Covered;
        const std::array<bool, 4> met{conditions.isValue16Covered, conditions.isValue32Covered,
                                      conditions.isAddressCovered, isListMet};
        size_t unmet = 0;
        size_t last = 0;
        for (size_t i = 0; i < met.size(); ++i) {
            unmet += met[i] ? 0 : 1;
            last = met[i] ? last : i;
        }
        if (unmet == 1) {
            ++decisive_[last];
        }
        otherFamilies_ += flow.family != 4 && flow.family != 6 ? 1 : 0;
    }

    uint64_t compared_ = 0;
    uint64_t found_ = 0;
    uint64_t otherFamilies_ = 0;
    std::array<uint64_t, 4> decisive_{};
    std::array<uint64_t, 3> written_{};
};

}  // namespace

TEST(CompoundTextProperty, NumbersReadAlike) {
    uint64_t accepted = 0;
    forEachCase(50000, [&accepted](RandomSource& random) {
        const std::string text = randomCompoundNumber(random);
        const ExactText exact(text);
        const std::optional<uint32_t> expected = readCompoundNumber(text);
        uint32_t value = 77;
        EXPECT_EQ(expected ? RULE_OK : RULE_ERR_FAILED,
                  parseCompoundNumber({exact.data(), exact.size()}, &value))
            << ::testing::PrintToString(text);
        EXPECT_EQ(expected.value_or(77), value) << ::testing::PrintToString(text);
        accepted += expected ? 1 : 0;
        countComparisons("parseCompoundNumber");
    });
    EXPECT_LT(propertyCases(50000) / 4, accepted);
}

TEST(CompoundTextProperty, RulesAndMutatedOnesAreStoredAlike) {
    uint64_t accepted = 0;
    forEachCase(4000, [&accepted](RandomSource& random) {
        RandomCompound compound(random.oneIn(4) ? 10 : 60, random);
        TextComparison comparison;
        for (int i = 0; i < 6; ++i) {
            const std::string text = compound.nextRule();
            comparison.add(text, !random.oneIn(8));
            comparison.add(mutateCompoundText(text, random), !random.oneIn(8));
        }
        comparison.checkStored();
        accepted += comparison.reference().rules().size();
    });
    EXPECT_LT(propertyCases(4000) * 3, accepted);
}

TEST(CompoundTextProperty, LongRulesAreStoredAlike) {
    uint64_t accepted = 0;
    forEachCase(200, [&accepted](RandomSource& random) {
        RandomCompound compound(100000, random);
        TextComparison comparison;
        const std::string text = compound.nextLongRule(random.between(4090, 4100));
        comparison.add(text, true);
        comparison.add(mutateCompoundText(text, random), true);
        comparison.checkStored();
        accepted += comparison.reference().rules().size();
    });
    EXPECT_LT(propertyCases(200) / 4, accepted);
    EXPECT_LT(accepted, propertyCases(200) * 2);
}

TEST(CompoundMatchProperty, OfSmallSetsAgreesWithReference) {
    FlowComparisons comparisons;
    forEachCase(2600, [&comparisons](RandomSource& random) {
        RandomCompound compound(100, random);
        const auto count = static_cast<size_t>(random.between(1, random.oneIn(8) ? 40 : 6));
        CompoundPair pair(count);
        for (size_t i = 0; i < count; ++i) {
            pair.add(compound.nextRule(), random);
        }
        pair.checkBuild([&](const RuleGroup& group) {
            comparisons.checkFlows(group, pair, compound, 40, random);
        });
    });
    comparisons.expectEverySortOfFlow();
}

TEST(CompoundMatchProperty, OfLargeSetsAgreesWithReference) {
    FlowComparisons comparisons;
    forEachCase(6, [&comparisons](RandomSource& random) {
        RandomCompound compound(100, random);
        const auto count = static_cast<size_t>(random.between(500, 3000));
        CompoundPair pair(count);
        for (size_t i = 0; i < count; ++i) {
            pair.add(compound.nextRule(), random);
        }
        pair.checkBuild([&](const RuleGroup& group) {
            comparisons.checkFlows(group, pair, compound, 200, random);
        });
    });
}

}  // namespace rs::test
