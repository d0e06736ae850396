// Domain rules done the slow way: what the library must answer, written for clarity and sharing no
// code with it.
//
//     rule texts --add--> a vector of names --find--> the first rule of the vector that covers
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "support/reference_host.h"

namespace rs::test {

// A canonical rule. isWildcard tells a '*' that was written as such from an escaped one.
struct DomainForm {
    Outcome outcome;
    bool isWildcard;
};

DomainForm readDomainRule(std::string_view text);

// The status of adding a text whose parse has this status at a capacity: the buffer begins with 16
// bytes more than the text and grows in steps of 16 while it stays below 8192.
int32_t statusOfAdding(size_t textLength, const std::function<int32_t(size_t)>& statusAt);

// The status of the validators, whose buffer has 4095 bytes.
int32_t statusOfValidating(int32_t statusAt4095);

struct ReferenceDomainRule {
    std::string name;  // without the "*." of a wildcard; "*" for every name
    bool isWildcard;
    bool isEveryName;
    bool hasLabels;  // a name without proper labels covers nothing and enters no table
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;

    bool covers(std::string_view host) const;
};

struct DomainAnswer {
    int32_t status;                     // 1, 0 or an error
    const ReferenceDomainRule* winner;  // with status 1
};

class ReferenceDomainRules {
public:
    // The status of adding the text; without RULE_OK nothing is added.
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId, void* userData);

    // Walks the rules one by one.
    DomainAnswer find(std::string_view name) const;
    // The same answer by way of an index of the names, for large sets.
    DomainAnswer findByIndex(std::string_view name) const;

    // The userData that a build gives back, in this order: of rules whose name is there already.
    // Later rules for every name do not give theirs back.
    std::vector<void*> handedBackAtBuild() const;
    // The userData that the deletion of the group gives back, in no order: of the first rule of
    // each block.
    std::vector<void*> handedBackAtDelete() const;

    const std::vector<ReferenceDomainRule>& rules() const { return rules_; }

private:
    using Names = std::unordered_map<std::string, uint32_t>;

    // Whether an earlier rule of the same kind has the name.
    bool isSuperfluous(const ReferenceDomainRule& rule) const;
    const Names& namesLike(const ReferenceDomainRule& rule) const {
        return rule.isWildcard ? wildcardNames_ : exactNames_;
    }

    std::vector<ReferenceDomainRule> rules_;
    // Names to the position of their first rule.
    Names exactNames_;
    Names wildcardNames_;
    uint32_t everyName_ = 0;
};

}  // namespace rs::test
