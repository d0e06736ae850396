// IP rules; a key is an IPv4 or IPv6 address.
#include "address_text.h"
#include "ip/ip_match.h"
#include "rule_kind.h"

namespace cli {

namespace {

int32_t matchIp(const RuleGroup* group, std::string_view key, const LookupOptions& /*options*/,
                MatchResult* result) {
    ParsedAddress address{};
    if (!parseAddress(key, address)) {
        return RULE_ERR_BAD_RULE;
    }
    return address.isIpv4 ? rs_matchIPRuleGroup(group, address.ipv4, result)
                          : rs::matchIpv6(group, address.address, result);
}

std::string whyBadIpRule(std::string_view rule, int32_t /*status*/) {
    return whyBadAddressItem(rule);
}

std::string whyBadIpKey(std::string_view key, int32_t /*status*/) {
    return whyBadAddress(key);
}

}  // namespace

const RuleKind IP_KIND{"ip", RULE_TYPE_IP, matchIp, whyBadIpRule, whyBadIpKey};

}  // namespace cli
