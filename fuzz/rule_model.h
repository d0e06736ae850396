// The twin of a rule set: the same rules done the slow way, whatever their type, with what has to
// come back to the host.
//
//     RuleSet    --build-->  RuleGroup       --lookup-->  MatchResult
//     RuleModel  --copy--->  a RuleModel     --find---->  the rule that must have won
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "byte_reader.h"

namespace rs::fuzz {

// The userData that one build and the group that it makes hand back.
struct GoingBack {
    std::vector<void*> atBuild;  // in this order
    // When the last of the records that share the group is deleted, in no order: through the
    // callback of the set at the time of the build,
    std::vector<void*> fromTrees;
    // and through the callback of that last record, which a retained one does not have.
    std::vector<void*> fromRecord;
};

class RuleModel {
public:
    virtual ~RuleModel() = default;

    // Whether an input may add the text: what its rules take to build is bounded, because a rule for
    // many IPv4 addresses is entered once for each block of 65536 of them.
    virtual bool isAffordable(std::string_view /*text*/) const { return true; }

    // The status of adding the rule to a set.
    virtual int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                        void* userData) = 0;

    // Takes note of a build with a callback.
    virtual GoingBack build() = 0;

    // The rules as a group has them that is built now.
    virtual std::unique_ptr<RuleModel> copy() const = 0;

    // Looks a key up that the input decides on, in all ways there are, and compares the answers.
    virtual void checkLookup(const RuleGroup& group, ByteReader& input) const = 0;
};

// For a rule type from 1 to 7.
std::unique_ptr<RuleModel> makeRuleModel(int32_t ruleType);

}  // namespace rs::fuzz
