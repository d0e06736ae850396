// The exported lookups.
#include <ruleset.h>

#include <cstdint>
#include <cstring>

#include "core/byte_order.h"
#include "core/rule_group.h"
#include "domain/domain_match.h"
#include "ip/ip_match.h"
#include "lookup/flat_hosts.h"
#include "url/url_match.h"

extern "C" int32_t rs_matchIPRuleGroup(const RuleGroup* group, uint32_t address,
                                       MatchResult* result) noexcept {
    if (group == nullptr || result == nullptr || group->ipTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return rs::matchIpv4(*group->ipTable, address, *result);
}

extern "C" int32_t rs_matchIPRuleGroupEx(const RuleGroup* group, int32_t family,
                                         const void* address, MatchResult* result) noexcept {
    if (group == nullptr || address == nullptr || group->ipTable == nullptr || result == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (family == 6) {
        rs::AddressHalves key{};
        std::memcpy(&key, address, sizeof key);
        return rs::matchIpv6(*group->ipTable, key, *result);
    }
    if (family == 4) {
        const uint32_t ipv4 = rs::readBigEndian32(static_cast<const uint8_t*>(address));
        return rs::matchIpv4(*group->ipTable, ipv4, *result);
    }
    return RULE_ERR_INVALID_ARG;
}

extern "C" int32_t rs_matchDomainNameWithRuleGroup(const RuleGroup* group, const char* name,
                                                   uint32_t length, MatchResult* result) noexcept {
    if (group == nullptr || name == nullptr || length == 0 || result == nullptr ||
        group->domainIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return rs::matchDomainName(*group->domainIndex, name, length, *result);
}

extern "C" int32_t rs_matchUrlWithRuleGroup(const RuleGroup* group, const char* url,
                                            uint32_t length, MatchResult* result) noexcept {
    if (group == nullptr || url == nullptr || length == 0 || result == nullptr ||
        group->urlIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return rs::matchUrl(*group->urlIndex, url, length, *result);
}
