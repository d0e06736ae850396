// URL rules. A key is a URL.
#include <ruleset_static.h>

#include "host_text.h"
#include "rule_type.h"
#include "text_batch.h"
#include "text_input.h"
#include "url/url_match_key.h"
#include "url/url_split.h"

namespace cli {

namespace {

int32_t matchUrl(const RuleGroup* group, std::string_view key, const LookupOptions& /*options*/,
                 MatchResult* result) {
    key = trimmed(key);
    return rs_matchUrlWithRuleGroup(group, key.data(), static_cast<uint32_t>(key.size()), result);
}

std::string_view viewOf(rs::Text piece) {
    return {piece.text, piece.length};
}

std::string whyBadUrlRule(std::string_view rule, int32_t status) {
    rule = trimmed(rule);
    if (status == RULE_ERR_BAD_SCHEME) {
        return "a scheme other than http and https";
    }
    if (status == RULE_ERR_NO_MEMORY) {
        return whyCanonicalFormTooLong();
    }
    if (rule.empty()) {
        return "empty rule";
    }
    const rs::UrlParts parts = rs::splitUrl({rule.data(), static_cast<uint32_t>(rule.size())});
    std::string_view host = viewOf(parts.host);
    if (host.empty()) {
        return "no host";
    }
    // Without a valid port the colon and what follows it are a part of the host.
    if (parts.port == 0 && parts.portColon != nullptr) {
        if (!host.ends_with(":*")) {
            return "no port from 1 to 65535, and no '*', behind ':'";
        }
        host.remove_suffix(2);
    }
    const std::string_view path = viewOf(parts.rest);
    if (path.find('*') != path.rfind('*')) {
        return "more than one '*' in the path";
    }
    return host.starts_with('[') ? "not an IPv6 address in brackets" : whyBadHostPattern(host);
}

std::string whyBadUrlKey(std::string_view key, int32_t status) {
    if (trimmed(key).empty()) {
        return "empty URL";
    }
    return status == RULE_ERR_BUFFER_SMALL ? "URL too long" : "no host, or neither host nor path";
}

std::string canonicalUrl(std::string_view key) {
    key = trimmed(key);
    const auto length = static_cast<uint32_t>(key.size());
    std::string scratch(rs::urlScratchSize(length), '\0');
    auto capacity = static_cast<uint32_t>(scratch.size());
    rs::UrlMatchKey url{};
    if (rs::parseUrlForMatch(key.data(), length, scratch.data(), &capacity, &url) != RULE_OK) {
        return std::string(key);
    }
    std::string canonical(viewOf(url.scheme));
    canonical += viewOf(url.host);
    if (url.port != 0) {
        canonical += ':' + std::to_string(url.port);
    }
    canonical += url.path.length == 0 ? "/" : viewOf(url.path);
    return canonical;
}

}  // namespace

const RuleType URL_TYPE{"url",         RULE_TYPE_URL, matchUrl,    matchTexts<rs::matchUrlsBulk>,
                        whyBadUrlRule, whyBadUrlKey,  canonicalUrl};

}  // namespace cli
