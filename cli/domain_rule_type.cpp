// Domain rules. A key is a host name.
#include <ruleset_static.h>

#include "core/text_buffer.h"
#include "domain/host_name.h"
#include "host_text.h"
#include "rule_type.h"
#include "text_batch.h"
#include "text_input.h"

namespace cli {

namespace {

int32_t matchDomain(const RuleGroup* group, std::string_view key, const LookupOptions& /*options*/,
                    MatchResult* result) {
    key = trimmed(key);
    return rs_matchDomainNameWithRuleGroup(group, key.data(), static_cast<uint32_t>(key.size()),
                                           result);
}

std::string whyBadDomainRule(std::string_view rule, int32_t status) {
    rule = trimmed(rule);
    if (status == RULE_ERR_NO_MEMORY) {
        return whyCanonicalFormTooLong();
    }
    if (rule.empty()) {
        return "empty rule";
    }
    return whyBadHostPattern(rule);
}

std::string whyBadDomainKey(std::string_view key, int32_t status) {
    key = trimmed(key);
    if (status == RULE_ERR_BUFFER_SMALL || status == RULE_ERR_NO_MEMORY) {
        return "name too long";
    }
    return key.empty() ? "empty name" : whyBadHostName(key);
}

std::string canonicalDomain(std::string_view key) {
    key = trimmed(key);
    const auto keyLength = static_cast<uint32_t>(key.size());
    std::string canonical(rs::largestTextBuffer(keyLength), '\0');
    auto length = static_cast<uint32_t>(canonical.size());
    if (rs::normalizeMatchHost(key.data(), keyLength, canonical.data(), &length) != RULE_OK) {
        return std::string(key);
    }
    canonical.resize(length);
    return canonical;
}

}  // namespace

const RuleType DOMAIN_TYPE{
    "domain",         RULE_TYPE_FQDN,  matchDomain,    matchTexts<rs::matchDomainNamesBulk>,
    whyBadDomainRule, whyBadDomainKey, canonicalDomain};

}  // namespace cli
