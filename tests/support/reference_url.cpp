#include "support/reference_url.h"

#include <algorithm>

#include "support/reference_domain.h"

namespace rs::test {

namespace {

constexpr size_t LONG_PREFIX = 5;
constexpr size_t CROWDED_PATHS = 16;

bool isHttpsKey(const UrlKey& key) {
    return key.scheme == "https://";
}

// Deliberate: a scheme of as many letters as https is covered by no rule but those for "*".
bool admitsScheme(const ReferenceUrlRule& rule, const UrlKey& key) {
    return rule.isHttps ? isHttpsKey(key) : key.scheme.size() != std::string("https://").size();
}

bool admitsHost(const ReferenceUrlRule& rule, const UrlKey& key) {
    switch (rule.kind) {
        case ReferenceUrlRule::Kind::EXACT:
            return admitsScheme(rule, key) && rule.host == key.host;
        case ReferenceUrlRule::Kind::WILDCARD: {
            const std::string ending = "." + rule.host;
            return admitsScheme(rule, key) && key.host.size() >= ending.size() &&
                   key.host.substr(key.host.size() - ending.size()) == ending;
        }
        case ReferenceUrlRule::Kind::ANY:
            return true;
        case ReferenceUrlRule::Kind::NONE:
            break;
    }
    return false;
}

}  // namespace

int32_t ReferenceUrlRules::add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                               void* userData) {
    UrlRuleForm form{};
    const int32_t status = statusOfAdding(text.size(), [&](size_t capacity) {
        form = readUrlRule(text, capacity);
        return form.status;
    });
    if (status != RULE_OK) {
        return status;
    }
    ReferenceUrlRule rule{};
    rule.isHttps = !form.scheme.empty();
    rule.host = form.host;
    rule.kind = ReferenceUrlRule::Kind::EXACT;
    if (form.isWildcardHost && form.host == "*") {
        rule.kind = ReferenceUrlRule::Kind::ANY;
    } else if (form.isWildcardHost) {
        rule.host = form.host.substr(2);
        rule.kind =
            rule.host.empty() ? ReferenceUrlRule::Kind::NONE : ReferenceUrlRule::Kind::WILDCARD;
    }
    rule.prefix = form.path;
    if (form.path.empty() || form.path == "/") {
        rule.prefix = "/";
        rule.behindWildcard = "";
    } else if (form.wildcardOffset != 0) {
        rule.prefix = form.path.substr(0, form.wildcardOffset);
        rule.behindWildcard = form.path.substr(form.wildcardOffset + 1);
    }
    rule.isPlain = !rule.behindWildcard && rule.prefix.back() != '/' &&
                   rule.prefix.find_first_of("*?#") == std::string::npos;
    rule.portLow = form.portLow;
    rule.portHigh = form.portHigh;
    rule.ruleIndex = static_cast<uint32_t>(rules_.size() + 1);
    rule.ruleValue = ruleValue;
    rule.ruleId = ruleId;
    rule.userData = userData;
    Node& node = nodes_[nodeNameOf(rule)];
    node.positions.push_back(rules_.size());
    node.longPaths += rule.prefix.size() >= LONG_PREFIX ? 1 : 0;
    rules_.push_back(rule);
    return RULE_OK;
}

UrlAnswer ReferenceUrlRules::find(std::string_view url) const {
    const UrlKey key = readUrlKey(url);
    if (key.status != RULE_OK) {
        return {key.status, nullptr};
    }
    for (const ReferenceUrlRule& rule : rules_) {
        if (covers(rule, key)) {
            return {1, &rule};
        }
    }
    return {0, nullptr};
}

UrlAnswer ReferenceUrlRules::findByIndex(std::string_view url) const {
    const UrlKey key = readUrlKey(url);
    if (key.status != RULE_OK) {
        return {key.status, nullptr};
    }
    std::vector<std::string> names{"any", "exact http " + key.host, "exact https " + key.host};
    for (size_t dot = key.host.find('.'); dot != std::string::npos;
         dot = key.host.find('.', dot + 1)) {
        names.push_back("wildcard http " + key.host.substr(dot + 1));
        names.push_back("wildcard https " + key.host.substr(dot + 1));
    }
    const ReferenceUrlRule* winner = nullptr;
    for (const std::string& name : names) {
        const auto node = nodes_.find(name);
        if (node == nodes_.end()) {
            continue;
        }
        for (const size_t position : node->second.positions) {
            const ReferenceUrlRule& rule = rules_[position];
            if (covers(rule, key) && (winner == nullptr || rule.ruleIndex < winner->ruleIndex)) {
                winner = &rule;
            }
        }
    }
    return {winner == nullptr ? 0 : 1, winner};
}

std::vector<void*> ReferenceUrlRules::handedBackAtDelete() const {
    std::vector<void*> handedBack;
    for (const ReferenceUrlRule& rule : rules_) {
        if (rule.kind != ReferenceUrlRule::Kind::NONE && rule.userData != nullptr) {
            handedBack.push_back(rule.userData);
        }
    }
    return handedBack;
}

size_t ReferenceUrlRules::countOfRulesInBlocks() const {
    return static_cast<size_t>(
        std::count_if(rules_.begin(), rules_.end(),
                      [this](const ReferenceUrlRule& rule) { return isInBlock(rule); }));
}

std::string ReferenceUrlRules::nodeNameOf(const ReferenceUrlRule& rule) {
    const std::string scheme = rule.isHttps ? "https " : "http ";
    switch (rule.kind) {
        case ReferenceUrlRule::Kind::EXACT:
            return "exact " + scheme + rule.host;
        case ReferenceUrlRule::Kind::WILDCARD:
            return "wildcard " + scheme + rule.host;
        case ReferenceUrlRule::Kind::ANY:
            return "any";
        case ReferenceUrlRule::Kind::NONE:
            break;
    }
    return "none";
}

// The long paths of a host are in blocks when there are many of them.
bool ReferenceUrlRules::isInBlock(const ReferenceUrlRule& rule) const {
    return rule.prefix.size() >= LONG_PREFIX &&
           nodes_.at(nodeNameOf(rule)).longPaths >= CROWDED_PATHS;
}

bool ReferenceUrlRules::covers(const ReferenceUrlRule& rule, const UrlKey& key) const {
    return admitsHost(rule, key) && coversPath(rule, key);
}

// Deliberate: in a block a plain path covers whatever begins with it, and the default port is 80
// for https, too.
bool ReferenceUrlRules::coversPath(const ReferenceUrlRule& rule, const UrlKey& key) const {
    const std::string path = key.path.empty() ? "/" : key.path;
    if (path.substr(0, rule.prefix.size()) != rule.prefix) {
        return false;
    }
    const std::string behind = path.substr(rule.prefix.size());
    const bool inBlock = isInBlock(rule);
    if (rule.isPlain && !inBlock && !behind.empty() && !beginsRest(behind[0])) {
        return false;
    }
    uint32_t port = isHttpsKey(key) && !inBlock ? HTTPS_PORT : HTTP_PORT;
    if (!key.portText.empty()) {
        port = readUrlPort(std::string_view(key.portText).substr(1));
    }
    return port >= rule.portLow && port <= rule.portHigh &&
           behind.find(rule.behindWildcard.value_or("")) != std::string::npos;
}

}  // namespace rs::test
