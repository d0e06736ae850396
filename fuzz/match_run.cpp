#include "match_run.h"

#include <ruleset.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_check.h"
#include "lookup/flat_policy.h"
#include "rule_model.h"
#include "rule_texts.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::fuzz {

namespace {

constexpr uint32_t MOST_RULES = 64;
constexpr int MOST_LOOKUPS = 200;

// Addresses in here are the userData.
using Tokens = std::array<char, MOST_RULES>;

void addRules(RuleSet& set, RuleModel& model, int32_t ruleType, Tokens& tokens, ByteReader& input) {
    const uint32_t count = input.below(MOST_RULES) + 1;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t ruleValue = input.below(4);
        void* userData = input.oneIn(8) ? nullptr : &tokens[i];
        const std::string rule = takeRuleText(ruleType, input);
        if (!model.isAffordable(rule)) {
            continue;
        }
        const test::ExactText text(rule);
        check(rs_addRuleToRuleSetEx(&set, text.data(), text.size(), ruleValue, i + 1, userData) ==
                  model.add(rule, ruleValue, i + 1, userData),
              "adding a rule", i);
    }
}

// A group, and what its deletion has to hand back.
struct BuiltGroup {
    test::ReleaseRecorder recorder;
    test::RuleGroupHandle group;
    std::vector<void*> atDelete;
};

void build(RuleSet& set, RuleModel& model, BuiltGroup& built) {
    built.recorder.registerOn(set);
    built.group = test::buildRuleGroup(set);
    check(built.group != nullptr, "the build");
    GoingBack expected = model.build();
    check(built.recorder.order() == expected.atBuild, "what comes back from a build",
          built.recorder.order().size());
    built.recorder.clear();
    built.atDelete = std::move(expected.fromTrees);
    built.atDelete.insert(built.atDelete.end(), expected.fromRecord.begin(),
                          expected.fromRecord.end());
}

void checkDelete(BuiltGroup& built) {
    check(built.recorder.order().empty(), "what comes back from lookups");
    built.group.reset();
    std::vector<void*> handedBack = built.recorder.order();
    std::sort(handedBack.begin(), handedBack.end());
    std::sort(built.atDelete.begin(), built.atDelete.end());
    check(handedBack == built.atDelete, "what comes back from a deletion", handedBack.size());
    check(std::adjacent_find(handedBack.begin(), handedBack.end()) == handedBack.end(),
          "userData that comes back once");
}

}  // namespace

void runMatches(int32_t ruleType, ByteReader& input) {
    Tokens tokens{};
    test::RuleSetHandle set = test::newRuleSet(ruleType);
    const std::unique_ptr<RuleModel> model = makeRuleModel(ruleType);
    addRules(*set, *model, ruleType, tokens, input);
    std::array<BuiltGroup, 2> groups;
    flatUse = FlatUse::ALWAYS;
    build(*set, *model, groups[0]);
    flatUse = FlatUse::NEVER;
    build(*set, *model, groups[1]);
    set.reset();
    for (int i = 0; i < MOST_LOOKUPS && (i == 0 || !input.isEmpty()); ++i) {
        // Both groups are asked for the same key.
        ByteReader sameInput = input;
        model->checkLookup(*groups[0].group, sameInput);
        model->checkLookup(*groups[1].group, input);
    }
    for (BuiltGroup& each : groups) {
        checkDelete(each);
    }
}

}  // namespace rs::fuzz
