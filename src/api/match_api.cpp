// The exported lookups.
#include <ruleset.h>

#include <bit>
#include <cstdint>

#include "core/byte_order.h"
#include "core/rule_group.h"
#include "domain/domain_match.h"
#include "ip/ip_match.h"
#include "lookup/flat_hosts.h"
#include "url/url_match.h"

namespace {

// The address of 16 bytes, whose words are in host order.
rs::AddressHalves readAddress128(const uint8_t* bytes) noexcept {
    constexpr int WORD_BITS = std::endian::native == std::endian::little ? 32 : 0;
    return {std::rotl(rs::readBigEndian64(bytes), WORD_BITS),
            std::rotl(rs::readBigEndian64(bytes + 8), WORD_BITS)};
}

}  // namespace

extern "C" int32_t rs_matchIPRuleGroup(const RuleGroup* group, uint32_t address,
                                       MatchResult* result) noexcept {
    if (group == nullptr || result == nullptr || group->ipTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return rs::matchIpv4(*group->ipTable, address, *result);
}

extern "C" int32_t rs_matchIPRuleGroupEx(const RuleGroup* group, int32_t family,
                                         const void* address, MatchResult* result) noexcept {
    if (group == nullptr || address == nullptr || result == nullptr || group->ipTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const auto* bytes = static_cast<const uint8_t*>(address);
    if (family == 4) {
        return rs::matchIpv4(*group->ipTable, rs::readBigEndian32(bytes), *result);
    }
    if (family == 6) {
        return rs::matchIpv6(*group->ipTable, readAddress128(bytes), *result);
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
