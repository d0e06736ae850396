// The library as a contender of each question: its ways to look up are all here.
//
// It is asked key by key, and by its bulk calls for the keys of a block.
//
// A group is built from the texts of the rules, as the library takes no other form: reading them is part of the time. A
// lookup gives back the whole rule (its number, value, id and userData), of which the contest compares the number.
#pragma once

#include <ruleset.h>
#include <ruleset_static.h>

#include <array>
#include <cstddef>
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
inline constexpr const char* OURS_IN_BULK = "ruleset, bulk";

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

// The whole rules that a bulk call gives back.
using BlockResults = std::array<MatchResult, BLOCK_KEYS>;

using BulkTextLookup = decltype(&rs::matchDomainNamesBulk);

// Making the keys of the call from the texts is part of the time.
inline Answer<TextList> askTextsInBulk(const std::shared_ptr<RuleGroup>& group,
                                       BulkTextLookup lookUpAll) {
    return [group, lookUpAll](const TextList& keys, size_t first, size_t count, uint32_t* answers) {
        std::array<rs::TextKey, BLOCK_KEYS> texts;
        BlockResults results;
        for (size_t i = 0; i < count; ++i) {
            const std::string_view key = keys[first + i];
            texts[i] = {key.data(), static_cast<uint32_t>(key.size())};
        }
        lookUpAll(group.get(), texts.data(), count, answers, nullptr, results.data());
    };
}

// Key is what a lookup takes: a number, or the bytes of an address.
template <typename Key>
void addOurAddresses(Contest<std::vector<Key>>& contest, const RuleList& list) {
    const auto group = buildOurs(contest, list);
    contest.add(OURS, askOneByOne<std::vector<Key>>(
                          group, [](const auto& each, const Key& key, MatchResult& result) {
                              return lookUp(each, key, result);
                          }));
    contest.add(OURS_IN_BULK, [group](const std::vector<Key>& keys, size_t first, size_t count,
                                      uint32_t* answers) {
        BlockResults results;
        lookUpBulk(group.get(), keys.data() + first, count, answers, results.data());
    });
}

inline void addOurNames(Contest<TextList>& contest, const RuleList& list) {
    const auto group = buildOurs(contest, list);
    contest.add(OURS, askOneByOne<TextList>(group, lookUpName));
    contest.add(OURS_IN_BULK, askTextsInBulk(group, rs::matchDomainNamesBulk));
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
    const auto group = buildOurs(contest, list);
    contest.add(OURS, askOneByOne<TextList>(group, lookUpUrl));
    contest.add(OURS_IN_BULK, askTextsInBulk(group, rs::matchUrlsBulk));
}

}  // namespace bench
