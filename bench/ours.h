// The library as a contender of each question: its ways to look up are all here.
//
// A group is built from the texts of the rules, as the library takes no other form: reading them is part of the time. A
// lookup gives back the whole rule (its number, value, id and userData), of which the contest compares the number.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "contest.h"
#include "doors.h"
#include "handles.h"
#include "lists.h"

namespace bench {

inline constexpr const char* OURS = "ruleset";

template <typename Keys>
std::shared_ptr<RuleGroup> buildOurs(Contest<Keys>& contest, const RuleList& list) {
    return contest.build(OURS,
                         [&] { return std::shared_ptr<RuleGroup>(buildGroup(fillSet(list))); });
}

template <typename Keys, typename LookUp>
Answer<Keys> askOneByOne(const std::shared_ptr<RuleGroup>& group, LookUp lookUpKey) {
    return oneByOne<Keys>([group, lookUpKey](const Keys& keys, size_t i) {
        MatchResult result;
        return lookUpKey(group.get(), keys[i], result) == 1 ? result.ruleIndex : 0;
    });
}

// Key is what a lookup takes: a number, or the bytes of an address.
template <typename Key>
void addOurAddresses(Contest<std::vector<Key>>& contest, const RuleList& list) {
    const auto group = buildOurs(contest, list);
    contest.add(OURS, askOneByOne<std::vector<Key>>(
                          group, [](const auto& each, const Key& key, MatchResult& result) {
                              return lookUp(each, key, result);
                          }));
}

inline void addOurNames(Contest<TextList>& contest, const RuleList& list) {
    contest.add(OURS, askOneByOne<TextList>(buildOurs(contest, list), lookUpName));
}

// makeAnswer(keys, i, rule) makes the answer of the rule's number. The keys end with a zero byte, which is not looked up.
template <typename MakeAnswer>
void addOurSuffixes(Contest<TextList>& contest, const RuleList& list, MakeAnswer makeAnswer) {
    const auto group = buildOurs(contest, list);
    contest.add(OURS, oneByOne<TextList>([group, makeAnswer](const TextList& keys, size_t i) {
                    std::string_view key = keys[i];
                    key.remove_suffix(1);
                    MatchResult result{};
                    const bool isFound = lookUpName(group.get(), key, result) == 1;
                    return makeAnswer(keys, i, isFound ? result.ruleIndex : 0);
                }));
}

inline void addOurUrls(Contest<TextList>& contest, const RuleList& list) {
    contest.add(OURS, askOneByOne<TextList>(buildOurs(contest, list), lookUpUrl));
}

}  // namespace bench
