// The library's lookups as the measuring programs call them: the exported functions, the doors of ruleset_static.h, and
// the lookups below the text of names and URLs. For each there is the form that keys have.
#pragma once

#include <ruleset.h>
#include <ruleset_static.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "addresses.h"
#include "core/rule_group.h"
#include "domain/domain_match.h"
#include "lists.h"
#include "url/url_match.h"

namespace bench {

// ------------------------------------------------------------------------------------------------ addresses

// What a lookup takes: a number, or the bytes of an address.
inline std::vector<Ipv4> lookupForm(std::vector<Ipv4> keys) {
    return keys;
}
inline std::vector<Ipv6Bytes> lookupForm(const std::vector<Ipv6>& keys) {
    std::vector<Ipv6Bytes> forms;
    forms.reserve(keys.size());
    for (const Ipv6& key : keys) {
        forms.push_back(bytesOf(key));
    }
    return forms;
}

inline int32_t lookUp(const RuleGroup* group, Ipv4 key, MatchResult& result) {
    return rs_matchIPRuleGroup(group, key, &result);
}
inline int32_t lookUp(const RuleGroup* group, const Ipv6Bytes& key, MatchResult& result) {
    return rs_matchIPRuleGroupEx(group, 6, key.data(), &result);
}

inline void lookUpBulk(const RuleGroup* group, const Ipv4* keys, size_t count,
                       uint32_t* ruleIndexes, MatchResult* results) {
    rs::matchIpv4Bulk(group, keys, count, ruleIndexes, results);
}
inline void lookUpBulk(const RuleGroup* group, const Ipv6Bytes* keys, size_t count,
                       uint32_t* ruleIndexes, MatchResult* results) {
    rs::matchIpv6Bulk(group, keys, count, ruleIndexes, results);
}

inline Ipv4 numberOfKey(Ipv4 key) {
    return key;
}
inline Ipv6 numberOfKey(const Ipv6Bytes& key) {
    return addressOf(key);
}

// Whether a list has hosts, as all or none of its rules are.
inline bool isOneAddress(const RuleList& list) {
    const auto isHost = [](const auto& rules) {
        return rules.empty() || rules[0].first == rules[0].last;
    };
    return isHost(list.ipv4) && isHost(list.ipv6);
}

// ------------------------------------------------------------------------------------------------ endpoints

inline constexpr uint32_t PORT = 443;
inline constexpr uint32_t MASK = 1;
inline constexpr uint32_t SECOND = 0xC0000201;  // any address

inline std::vector<Ipv4> endpointForm(std::vector<Ipv4> keys) {
    return keys;
}
inline std::vector<rs::AddressWords> endpointForm(const std::vector<Ipv6>& keys) {
    std::vector<rs::AddressWords> forms;
    forms.reserve(keys.size());
    for (const Ipv6& key : keys) {
        forms.push_back({static_cast<uint32_t>(key.high >> 32U), static_cast<uint32_t>(key.high),
                         static_cast<uint32_t>(key.low >> 32U), static_cast<uint32_t>(key.low)});
    }
    return forms;
}

inline Ipv6 numberOfKey(const rs::AddressWords& key) {
    return {uint64_t{key[0]} << 32U | key[1], uint64_t{key[2]} << 32U | key[3]};
}

inline int32_t lookUpPair(int32_t type, const RuleGroup* group, Ipv4 key, MatchResult& result) {
    return type == RULE_TYPE_IP_PORT
               ? rs::matchIpPortPair4(group, key, PORT, SECOND, 7, MASK, &result)
               : rs::matchPacketFilter4(group, key, PORT, SECOND, 7, &result);
}
inline int32_t lookUpPair(int32_t type, const RuleGroup* group, const rs::AddressWords& key,
                          MatchResult& result) {
    constexpr rs::AddressWords SECOND_WORDS = {0, 0, 0xFFFF, SECOND};
    return type == RULE_TYPE_IP_PORT
               ? rs::matchIpPortPair6(group, key, PORT, SECOND_WORDS, 7, MASK, &result)
               : rs::matchPacketFilter6(group, key, PORT, SECOND_WORDS, 7, &result);
}

// ------------------------------------------------------------------------------------------------ names and URLs

inline int32_t lookUpName(const RuleGroup* group, std::string_view key, MatchResult& result) {
    return rs_matchDomainNameWithRuleGroup(group, key.data(), static_cast<uint32_t>(key.size()),
                                           &result);
}

// Of a name in wire form, with the zero byte at its end.
inline int32_t lookUpWireName(const RuleGroup* group, std::string_view key, MatchResult& result) {
    return rs::lookupDomainWire(*group->domainIndex, key.data(),
                                static_cast<uint32_t>(key.size()) - 1, result);
}

inline constexpr size_t SCHEME_LENGTH = 7;  // of "http://", which all keys have

// Host and path of a URL in canonical form.
inline std::pair<std::string_view, std::string_view> splitUrl(std::string_view url) {
    url.remove_prefix(SCHEME_LENGTH);
    const size_t slash = url.find('/');
    return {url.substr(0, slash), url.substr(slash)};
}

inline rs::Text textOf(std::string_view text) {
    return {text.data(), static_cast<uint32_t>(text.size())};
}

inline int32_t lookUpUrl(const RuleGroup* group, std::string_view key, MatchResult& result) {
    return rs_matchUrlWithRuleGroup(group, key.data(), static_cast<uint32_t>(key.size()), &result);
}

inline int32_t lookUpSplitUrl(const RuleGroup* group, std::string_view key, MatchResult& result) {
    const auto [host, path] = splitUrl(key);
    const rs::UrlMatchKey pieces{
        textOf(key.substr(0, SCHEME_LENGTH)), {}, textOf(host), textOf(path), 0};
    return rs::lookupUrl(*group->urlIndex, pieces, result);
}

}  // namespace bench
