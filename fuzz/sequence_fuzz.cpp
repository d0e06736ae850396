// A host that calls the library in an order which the input decides on: sets of several types, good
// and bad rules, callbacks registered and taken away, several groups of one set, groups that share
// their structures, lookups in any of them, deletions in any order. After each call the answer and
// the userData that came back are compared with the twins of the sets.
#include <ruleset.h>
#include <ruleset_static.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "byte_reader.h"
#include "fuzz_check.h"
#include "lookup/flat_policy.h"
#include "rule_model.h"
#include "rule_texts.h"
#include "support/release_recorder.h"
#include "support/text.h"

namespace {

using rs::fuzz::ByteReader;
using rs::fuzz::check;
using rs::fuzz::RuleModel;
using rs::test::ExactText;
using rs::test::ReleaseRecorder;

constexpr size_t MOST_SETS = 4;
constexpr size_t MOST_GROUPS = 8;
constexpr size_t MOST_RULES = 128;
constexpr size_t MOST_BUILDS = 16;
constexpr int MOST_STEPS = 300;

struct HostedSet {
    RuleSet* set;
    int32_t ruleType;
    std::unique_ptr<RuleModel> model;
    ReleaseRecorder* callback;  // null while none is registered
};

// What a build made: shared by the group that came of it and those retained from it.
struct Build {
    int32_t ruleType;
    std::unique_ptr<RuleModel> model;  // of the rules that the set held
    ReleaseRecorder* callback;
    rs::fuzz::GoingBack goingBack;
    std::set<void*> handedBack;
};

struct HostedGroup {
    RuleGroup* group;
    std::shared_ptr<Build> build;
    bool isRetained;
};

// Each lookup on any arguments; those of a type ask for one key.
int32_t lookUpAs(int32_t ruleType, const RuleGroup* group, MatchResult* result) {
    rs::CompoundFlow flow{};
    switch (ruleType) {
        case RULE_TYPE_IP:
            return rs_matchIPRuleGroup(group, 0x0A000001, result);
        case RULE_TYPE_FQDN:
            return rs_matchDomainNameWithRuleGroup(group, "a.com", 5, result);
        case RULE_TYPE_URL:
            return rs_matchUrlWithRuleGroup(group, "a.com", 5, result);
        case RULE_TYPE_IP_ALT:
            return rs_matchIPRuleGroupEx(group, 6, "0123456789abcdef", result);
        case RULE_TYPE_PACKET_FILTER:
            return rs::matchPacketFilter4(group, 0x0A000001, 80, 0x0A000002, 80, result);
        case RULE_TYPE_IP_PORT:
            return rs::matchIpPortPair6(group, {0, 0, 0xFFFF, 1}, 80, {0, 0, 0, 1}, 80, 1, result);
        default:
            return rs::matchCompound(group, &flow, true, result);
    }
}

bool isSameKind(int32_t left, int32_t right) {
    const auto kindOf = [](int32_t type) { return type == RULE_TYPE_IP_ALT ? RULE_TYPE_IP : type; };
    return kindOf(left) == kindOf(right);
}

// For texts whose canonical form has room in every buffer.
void checkValidator(int32_t ruleType, const ExactText& text, int32_t expected) {
    using Validate = int32_t (*)(const char*, uint32_t);
    constexpr Validate VALIDATORS[] = {rs_validateRule_IP,           rs_validateRule_FQDN,
                                       rs_validateRule_URL,          rs_validateRule_IP,
                                       rs_validateRule_PacketFilter, rs_validateRule_IpPort};
    constexpr uint32_t SHORT = 255;
    if (ruleType != RULE_TYPE_COMPOUND && text.size() <= SHORT) {
        check(VALIDATORS[ruleType - 1](text.data(), text.size()) == expected, "the validator",
              static_cast<size_t>(ruleType));
    }
}

class Host {
public:
    void step(ByteReader& input) {
        using Step = void (Host::*)(ByteReader&);
        constexpr Step STEPS[] = {&Host::makeSet,     &Host::registerCallback, &Host::addRule,
                                  &Host::addRule,     &Host::addRule,          &Host::addRule,
                                  &Host::buildGroup,  &Host::lookUp,           &Host::lookUp,
                                  &Host::retainGroup, &Host::deleteGroup,      &Host::deleteSet,
                                  &Host::misuse,      &Host::misuseGroup};
        (this->*input.pick(STEPS))(input);
        checkNothingCameBack();
    }

    void deleteEverything(ByteReader& input) {
        while (!groups_.empty() || !sets_.empty()) {
            if (groups_.empty() || (!sets_.empty() && input.oneIn(2))) {
                deleteSet(input);
            } else {
                deleteGroup(input);
            }
            checkNothingCameBack();
        }
    }

private:
    template <typename T>
    static T& pickOf(std::vector<T>& list, ByteReader& input) {
        return list[input.byte() % list.size()];
    }

    template <typename T>
    static T takeOut(std::vector<T>& list, ByteReader& input) {
        std::swap(pickOf(list, input), list.back());
        T taken = std::move(list.back());
        list.pop_back();
        return taken;
    }

    void checkNothingCameBack() {
        for (const auto& callback : callbacks_) {
            check(callback->order().empty(), "userData that comes back unasked");
        }
    }

    // Compares what came back through the callback of a build, and nothing twice.
    void checkCameBack(Build& build, const std::vector<void*>& expected, const char* what) {
        if (build.callback == nullptr) {
            return;
        }
        const std::vector<void*> handedBack = build.callback->order();
        check(handedBack == expected || std::is_permutation(handedBack.begin(), handedBack.end(),
                                                            expected.begin(), expected.end()),
              what, handedBack.size());
        for (void* userData : handedBack) {
            check(userData != nullptr && build.handedBack.insert(userData).second,
                  "userData that comes back once");
        }
        build.callback->clear();
    }

    void makeSet(ByteReader& input) {
        const int32_t ruleType = static_cast<int32_t>(input.below(9));
        RuleSet* set = nullptr;
        if (ruleType < RULE_TYPE_IP || ruleType > RULE_TYPE_COMPOUND) {
            check(rs_newRuleSet(ruleType, &set) == RULE_ERR_INVALID_ARG && set == nullptr,
                  "a set of a type that there is not");
        } else if (sets_.size() < MOST_SETS) {
            check(rs_newRuleSet(ruleType, &set) == RULE_OK, "a new set");
            sets_.push_back({set, ruleType, rs::fuzz::makeRuleModel(ruleType), nullptr});
        }
    }

    void registerCallback(ByteReader& input) {
        if (sets_.empty()) {
            return;
        }
        HostedSet& hosted = pickOf(sets_, input);
        const uint32_t choice = input.below(4);
        if (choice == 0) {
            check(rs_registerRuleCallback(hosted.set, RULE_CALLBACK_RELEASE, nullptr, this) ==
                      RULE_OK,
                  "taking a callback away");
            hosted.callback = nullptr;
        } else if (choice == 1) {
            check(rs_registerRuleCallback(hosted.set, 0, ReleaseRecorder::record, nullptr) ==
                      RULE_ERR_FAILED,
                  "a callback of a kind that there is not");
        } else {
            callbacks_.push_back(std::make_unique<ReleaseRecorder>());
            hosted.callback = callbacks_.back().get();
            check(hosted.callback->registerOn(*hosted.set) == RULE_OK, "registering a callback");
        }
    }

    void addRule(ByteReader& input) {
        if (sets_.empty() || ruleCount_ == MOST_RULES) {
            return;
        }
        HostedSet& hosted = pickOf(sets_, input);
        const uint32_t ruleValue = input.below(3);
        void* userData = input.oneIn(8) ? nullptr : &tokens_[ruleCount_];
        const std::string rule = rs::fuzz::takeRuleText(hosted.ruleType, input);
        if (!hosted.model->isAffordable(rule)) {
            return;
        }
        const auto ruleId = static_cast<uint32_t>(++ruleCount_);
        const ExactText text(rule);
        const int32_t expected = hosted.model->add(rule, ruleValue, ruleId, userData);
        const int32_t status =
            userData == nullptr
                ? rs_addRuleToRuleSet(hosted.set, text.data(), text.size(), ruleValue, ruleId)
                : rs_addRuleToRuleSetEx(hosted.set, text.data(), text.size(), ruleValue, ruleId,
                                        userData);
        check(status == expected, "adding a rule", ruleId);
        checkValidator(hosted.ruleType, text, expected);
    }

    void buildGroup(ByteReader& input) {
        if (sets_.empty() || groups_.size() == MOST_GROUPS || buildCount_ == MOST_BUILDS) {
            return;
        }
        ++buildCount_;
        HostedSet& hosted = pickOf(sets_, input);
        auto build = std::make_shared<Build>();
        build->ruleType = hosted.ruleType;
        build->callback = hosted.callback;
        if (build->callback != nullptr) {
            build->goingBack = hosted.model->build();
        }
        build->model = hosted.model->copy();
        rs::flatUse = buildCount_ % 2 == 0 ? rs::FlatUse::ALWAYS : rs::FlatUse::NEVER;
        RuleGroup* group = nullptr;
        check(rs_buildRuleGroup(hosted.set, &group) == RULE_OK && group != nullptr, "the build");
        checkCameBack(*build, build->goingBack.atBuild, "what comes back from a build");
        groups_.push_back({group, std::move(build), false});
    }

    void lookUp(ByteReader& input) {
        if (!groups_.empty()) {
            const HostedGroup& hosted = pickOf(groups_, input);
            hosted.build->model->checkLookup(*hosted.group, input);
        }
    }

    void retainGroup(ByteReader& input) {
        if (!groups_.empty() && groups_.size() < MOST_GROUPS) {
            const HostedGroup& hosted = pickOf(groups_, input);
            RuleGroup* group = rs::retainRuleGroup(hosted.group);
            check(group != nullptr, "a retained group");
            groups_.push_back({group, hosted.build, true});
        }
    }

    void deleteGroup(ByteReader& input) {
        if (groups_.empty()) {
            return;
        }
        HostedGroup hosted = takeOut(groups_, input);
        check(rs_delRuleGroup(&hosted.group) == RULE_OK && hosted.group == nullptr,
              "deleting a group");
        std::vector<void*> expected;
        if (hosted.build.use_count() == 1) {
            const rs::fuzz::GoingBack& goingBack = hosted.build->goingBack;
            expected = goingBack.fromTrees;
            if (!hosted.isRetained) {
                expected.insert(expected.end(), goingBack.fromRecord.begin(),
                                goingBack.fromRecord.end());
            }
        }
        checkCameBack(*hosted.build, expected, "what comes back from a deletion");
    }

    void deleteSet(ByteReader& input) {
        if (sets_.empty()) {
            return;
        }
        RuleSet* set = takeOut(sets_, input).set;
        check(rs_delRuleSet(&set) == RULE_OK && set == nullptr, "deleting a set");
    }

    // Calls that are refused and change nothing.
    void misuse(ByteReader& input) {
        RuleSet* noSet = nullptr;
        RuleGroup* noGroup = nullptr;
        check(rs_newRuleSet(RULE_TYPE_IP, nullptr) == RULE_ERR_INVALID_ARG &&
                  rs_delRuleSet(nullptr) == RULE_ERR_INVALID_ARG &&
                  rs_delRuleSet(&noSet) == RULE_OK &&
                  rs_delRuleGroup(nullptr) == RULE_ERR_INVALID_ARG &&
                  rs_delRuleGroup(&noGroup) == RULE_OK &&
                  rs_buildRuleGroup(nullptr, &noGroup) == RULE_ERR_INVALID_ARG &&
                  rs_registerRuleCallback(nullptr, RULE_CALLBACK_RELEASE, ReleaseRecorder::record,
                                          nullptr) == RULE_ERR_INVALID_ARG &&
                  rs::retainRuleGroup(nullptr) == nullptr,
              "a call without its object");
        if (sets_.empty()) {
            return;
        }
        RuleSet* set = pickOf(sets_, input).set;
        check(rs_addRuleToRuleSetEx(nullptr, "1.2.3.4", 7, 1, 1, this) == RULE_ERR_INVALID_ARG &&
                  rs_addRuleToRuleSetEx(set, "1.2.3.4", 7, 1, 0, this) == RULE_ERR_INVALID_ARG &&
                  rs_addRuleToRuleSetEx(set, nullptr, 7, 1, 1, this) == RULE_ERR_INVALID_ARG &&
                  rs_addRuleToRuleSetEx(set, "1.2.3.4", 0, 1, 1, this) == RULE_ERR_BAD_RULE &&
                  rs_buildRuleGroup(set, nullptr) == RULE_ERR_INVALID_ARG,
              "a bad argument");
    }

    // Lookups that do not suit the group, or lack an argument.
    void misuseGroup(ByteReader& input) {
        if (groups_.empty()) {
            return;
        }
        const HostedGroup& hosted = pickOf(groups_, input);
        const auto ruleType = static_cast<int32_t>(1 + input.below(RULE_TYPE_COMPOUND));
        MatchResult result{};
        const bool isSuitable = isSameKind(ruleType, hosted.build->ruleType);
        const int32_t status = lookUpAs(ruleType, hosted.group, &result);
        check(isSuitable ? status == 0 || status == 1 : status == RULE_ERR_INVALID_ARG,
              "a lookup of another type", static_cast<size_t>(ruleType));
        check(lookUpAs(ruleType, nullptr, &result) == RULE_ERR_INVALID_ARG &&
                  lookUpAs(ruleType, hosted.group, nullptr) == RULE_ERR_INVALID_ARG &&
                  rs_matchIPRuleGroupEx(hosted.group, 4, nullptr, &result) == RULE_ERR_INVALID_ARG,
              "a lookup without an argument");
        const int32_t second = rs::matchSecondEndpoint4(hosted.group, 0x0A000001, 80);
        check((second == RULE_ERR_INVALID_ARG) == (hosted.build->ruleType != RULE_TYPE_IP_PORT),
              "the lookup of a second endpoint");
    }

    std::vector<HostedSet> sets_;
    std::vector<HostedGroup> groups_;
    std::vector<std::unique_ptr<ReleaseRecorder>> callbacks_;
    std::array<char, MOST_RULES> tokens_{};  // addresses in here are the userData
    size_t ruleCount_ = 0;
    size_t buildCount_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader input(data, size);
    Host host;
    for (int i = 0; i < MOST_STEPS && !input.isEmpty(); ++i) {
        host.step(input);
    }
    host.deleteEverything(input);
    return 0;
}
