// The bulk lookups for hosts that link statically.
#include <ruleset_static.h>

#include <algorithm>
#include <array>

#include "core/bulk.h"
#include "core/rule_group.h"
#include "domain/domain_match_bulk.h"
#include "ip/ip_match_bulk.h"
#include "syntax/text.h"
#include "url/url_match_bulk.h"

namespace rs {

namespace {

bool hasArrays(const void* keys, size_t count, const uint32_t* ruleIndexes) noexcept {
    return count == 0 || (keys != nullptr && ruleIndexes != nullptr);
}

using TextBlock = std::array<Text, BULK_BLOCK>;

// Calls match(texts, length, answers) for the keys of each block.
template <typename Match>
void matchTexts(const TextKey* keys, size_t count, const BulkAnswers& answers,
                const Match& match) noexcept {
    TextBlock texts;
    for (size_t first = 0; first < count; first += BULK_BLOCK) {
        const size_t length = std::min(count - first, BULK_BLOCK);
        std::transform(keys + first, keys + first + length, texts.begin(),
                       [](const TextKey& key) noexcept {
                           return Text{key.text, key.text == nullptr ? 0 : key.length};
                       });
        match(texts.data(), length, answers.from(first));
    }
}

}  // namespace

int32_t matchIpv4Bulk(const RuleGroup* group, const uint32_t* addresses, size_t count,
                      uint32_t* ruleIndexes, MatchResult* results) noexcept {
    if (group == nullptr || group->ipTable == nullptr ||
        !hasArrays(addresses, count, ruleIndexes)) {
        return RULE_ERR_INVALID_ARG;
    }
    matchIpv4Many(*group->ipTable, addresses, count, {ruleIndexes, nullptr, results});
    return RULE_OK;
}

int32_t matchIpv6Bulk(const RuleGroup* group, const AddressBytes* addresses, size_t count,
                      uint32_t* ruleIndexes, MatchResult* results) noexcept {
    if (group == nullptr || group->ipTable == nullptr ||
        !hasArrays(addresses, count, ruleIndexes)) {
        return RULE_ERR_INVALID_ARG;
    }
    matchIpv6Many(*group->ipTable, addresses, count, {ruleIndexes, nullptr, results});
    return RULE_OK;
}

int32_t matchDomainNamesBulk(const RuleGroup* group, const TextKey* names, size_t count,
                             uint32_t* ruleIndexes, int32_t* statuses,
                             MatchResult* results) noexcept {
    if (group == nullptr || group->domainIndex == nullptr ||
        !hasArrays(names, count, ruleIndexes)) {
        return RULE_ERR_INVALID_ARG;
    }
    matchTexts(names, count, {ruleIndexes, statuses, results},
               [group](const Text* texts, size_t length, const BulkAnswers& answers) noexcept {
                   matchDomainNames(*group->domainIndex, texts, length, answers);
               });
    return RULE_OK;
}

int32_t matchUrlsBulk(const RuleGroup* group, const TextKey* urls, size_t count,
                      uint32_t* ruleIndexes, int32_t* statuses, MatchResult* results) noexcept {
    if (group == nullptr || group->urlIndex == nullptr || !hasArrays(urls, count, ruleIndexes)) {
        return RULE_ERR_INVALID_ARG;
    }
    matchTexts(urls, count, {ruleIndexes, statuses, results},
               [group](const Text* texts, size_t length, const BulkAnswers& answers) noexcept {
                   matchUrls(*group->urlIndex, texts, length, answers);
               });
    return RULE_OK;
}

}  // namespace rs
