// Domain rules; a key is a host name.
#include <array>

#include "domain/host_name.h"
#include "rule_type.h"
#include "text_input.h"
#include "text_output.h"

namespace cli {

namespace {

constexpr size_t MAX_LABEL = 63;
constexpr size_t LARGEST_CANONICAL = 8191;

int32_t matchDomain(const RuleGroup* group, std::string_view key, const LookupOptions& /*options*/,
                    MatchResult* result) {
    key = trimmed(key);
    return rs_matchDomainNameWithRuleGroup(group, key.data(), static_cast<uint32_t>(key.size()),
                                           result);
}

std::string whyBadLabels(std::string_view host) {
    if (host.ends_with('.')) {
        host.remove_suffix(1);
    }
    for (;;) {
        const size_t dot = host.find('.');
        const std::string_view label = host.substr(0, dot);
        if (label.empty()) {
            return "empty label";
        }
        if (label.size() > MAX_LABEL) {
            return "label over 63 bytes: " + shownText(label);
        }
        if (dot == std::string_view::npos) {
            return "not a host name";
        }
        host.remove_prefix(dot + 1);
    }
}

std::string whyBadDomainRule(std::string_view rule, int32_t status) {
    rule = trimmed(rule);
    if (status == RULE_ERR_NO_MEMORY) {
        return "canonical form over 8191 bytes";
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
    return key.empty() ? "empty name" : whyBadLabels(key);
}

std::string canonicalDomain(std::string_view key) {
    key = trimmed(key);
    std::string canonical(LARGEST_CANONICAL + key.size(), '\0');
    auto length = static_cast<uint32_t>(canonical.size());
    if (rs::normalizeMatchHost(key.data(), static_cast<uint32_t>(key.size()), canonical.data(),
                               &length) != RULE_OK) {
        return std::string(key);
    }
    canonical.resize(length);
    return canonical;
}

}  // namespace

std::string whyBadHostPattern(std::string_view host) {
    const size_t star = host.find('*');
    if (star != std::string_view::npos) {
        if (star != 0 || host.find('*', 1) != std::string_view::npos) {
            return "'*' only stands in front: \"*.\" and a host name, or alone";
        }
        if (host.size() > 1 && host[1] != '.') {
            return "'*' must be followed by '.'";
        }
        host.remove_prefix(host.size() > 1 ? 2 : 1);
    }
    const size_t forbidden = host.find_first_of("#/:?");
    if (forbidden != std::string_view::npos) {
        return std::string("'") + host[forbidden] + "' in a host name";
    }
    if (host.size() > rs::MAX_HOST_LENGTH) {
        return "host name over 255 bytes";
    }
    return whyBadLabels(host);
}

const RuleType DOMAIN_TYPE{"domain",         RULE_TYPE_FQDN,  matchDomain,
                           whyBadDomainRule, whyBadDomainKey, canonicalDomain};

}  // namespace cli
