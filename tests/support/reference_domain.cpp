#include "support/reference_domain.h"

#include <algorithm>
#include <map>
#include <optional>

namespace rs::test {

namespace {

constexpr size_t LONGEST_RULE = 255;
constexpr size_t BUCKETS = 4096;
constexpr size_t CROWDED = 9;
constexpr size_t BLOCK = 72;

// A dotted name and the labels that the tables know it by: a dot that was written as an escape
// separates like any other once the name is stored.
uint32_t hashOfLabels(std::string_view name) {
    uint32_t hash = 0;
    for (const char byte : name) {
        if (byte != '.') {
            hash = hash + static_cast<unsigned char>(byte) * 1999U + (hash >> 16U);
        }
    }
    return hash;
}

// What entries of one block are sorted by. Names differ where their labels do, but lengths count
// before bytes: a label comes after its length.
std::string wireNameOf(std::string_view name) {
    std::string wire;
    const std::optional<std::vector<std::string>> labels = labelsOf(name);
    for (const std::string& label : *labels) {
        wire += static_cast<char>(label.size());
        wire += label;
    }
    return wire;
}

bool comesBefore(const ReferenceDomainRule* left, const ReferenceDomainRule* right) {
    const uint32_t leftHash = hashOfLabels(left->name);
    const uint32_t rightHash = hashOfLabels(right->name);
    if (leftHash != rightHash) {
        return static_cast<int32_t>(leftHash - rightHash) < 0;
    }
    // Characters of a string are compared as unsigned ones, and a prefix comes first.
    return wireNameOf(left->name) < wireNameOf(right->name);
}

// The canonical form of a name that is looked up; nothing with a status otherwise. Its buffer grows
// as that of a rule does.
std::optional<std::string> readName(std::string_view name, int32_t& status) {
    const Outcome outcome = matchHost(name);
    size_t capacity = name.size() + 16;
    while (outcome.statusAt(capacity) == RULE_ERR_BUFFER_SMALL && capacity + 16 < 8192) {
        capacity += 16;
    }
    status = outcome.statusAt(capacity);
    if (status != RULE_OK) {
        return std::nullopt;
    }
    if (!labelsOf(outcome.text)) {
        status = RULE_ERR_INVALID_ARG;
        return std::nullopt;
    }
    return outcome.text;
}

}  // namespace

DomainForm readDomainRule(std::string_view text) {
    const std::string_view rule = trimBlanks(text);
    const Outcome refused{RULE_ERR_BAD_RULE, {}, 0};
    if (rule.empty()) {
        return {refused, false};
    }
    const auto stars = std::count(rule.begin(), rule.end(), '*');
    if (rule == "*") {
        return {{RULE_OK, "*", 1}, true};
    }
    if (stars > 1 || (stars == 1 && (rule.size() < 3 || rule.substr(0, 2) != "*."))) {
        return {refused, false};
    }
    const std::string prefix = stars == 1 ? "*." : "";
    Outcome outcome = ruleHost(rule.substr(prefix.size()));
    outcome.room += prefix.size();
    if (stars == 1) {
        outcome.room = std::max<size_t>(outcome.room, 3);
    }
    if (outcome.status == RULE_OK) {
        outcome.text = prefix + outcome.text;
        if (outcome.text.empty() || outcome.text.size() > LONGEST_RULE) {
            outcome.status = RULE_ERR_BAD_RULE;
        }
    }
    return {outcome, stars == 1};
}

int32_t statusOfAdding(size_t textLength, const std::function<int32_t(size_t)>& statusAt) {
    for (size_t capacity = textLength + 16;; capacity += 16) {
        const int32_t status = statusAt(capacity);
        if (status != RULE_ERR_BUFFER_SMALL) {
            return status;
        }
        if (capacity + 16 >= 8192) {
            return RULE_ERR_NO_MEMORY;
        }
    }
}

int32_t statusOfValidating(int32_t statusAt4095) {
    return statusAt4095 == RULE_ERR_BUFFER_SMALL ? RULE_ERR_NO_MEMORY : statusAt4095;
}

bool ReferenceDomainRule::covers(std::string_view host) const {
    if (isEveryName) {
        return true;
    }
    if (!hasLabels) {
        return false;
    }
    if (!isWildcard) {
        return host == name;
    }
    const std::string ending = "." + name;
    return host.size() > ending.size() && host.substr(host.size() - ending.size()) == ending;
}

int32_t ReferenceDomainRules::add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                                  void* userData) {
    const DomainForm form = readDomainRule(text);
    const int32_t status = statusOfAdding(
        text.size(), [&](size_t capacity) { return form.outcome.statusAt(capacity); });
    if (status != RULE_OK) {
        return status;
    }
    ReferenceDomainRule rule{};
    rule.isWildcard = form.isWildcard;
    rule.isEveryName = form.isWildcard && form.outcome.text == "*";
    rule.name =
        rule.isWildcard && !rule.isEveryName ? form.outcome.text.substr(2) : form.outcome.text;
    rule.hasLabels = labelsOf(rule.name).has_value();
    rule.ruleIndex = static_cast<uint32_t>(rules_.size() + 1);
    rule.ruleValue = ruleValue;
    rule.ruleId = ruleId;
    rule.userData = userData;
    if (rule.isEveryName) {
        everyName_ = everyName_ == 0 ? rule.ruleIndex : everyName_;
    } else if (rule.hasLabels) {
        Names& names = rule.isWildcard ? wildcardNames_ : exactNames_;
        names.emplace(rule.name, rule.ruleIndex);
    }
    rules_.push_back(rule);
    return RULE_OK;
}

DomainAnswer ReferenceDomainRules::find(std::string_view name) const {
    int32_t status = RULE_OK;
    const std::optional<std::string> host = readName(name, status);
    if (!host) {
        return {status, nullptr};
    }
    for (const ReferenceDomainRule& rule : rules_) {
        if (rule.covers(*host)) {
            return {1, &rule};
        }
    }
    return {0, nullptr};
}

DomainAnswer ReferenceDomainRules::findByIndex(std::string_view name) const {
    int32_t status = RULE_OK;
    const std::optional<std::string> host = readName(name, status);
    if (!host) {
        return {status, nullptr};
    }
    uint32_t winner = everyName_;
    const auto offer = [&winner](const Names& names, const std::string& key) {
        const auto found = names.find(key);
        if (found != names.end() && (winner == 0 || found->second < winner)) {
            winner = found->second;
        }
    };
    offer(exactNames_, *host);
    for (size_t dot = host->find('.'); dot != std::string::npos; dot = host->find('.', dot + 1)) {
        offer(wildcardNames_, host->substr(dot + 1));
    }
    return winner == 0 ? DomainAnswer{0, nullptr} : DomainAnswer{1, &rules_[winner - 1]};
}

bool ReferenceDomainRules::isSuperfluous(const ReferenceDomainRule& rule) const {
    return namesLike(rule).at(rule.name) != rule.ruleIndex;
}

std::vector<void*> ReferenceDomainRules::handedBackAtBuild() const {
    std::vector<void*> handedBack;
    for (const ReferenceDomainRule& rule : rules_) {
        if (!rule.isEveryName && rule.hasLabels && rule.userData != nullptr &&
            isSuperfluous(rule)) {
            handedBack.push_back(rule.userData);
        }
    }
    return handedBack;
}

std::vector<void*> ReferenceDomainRules::handedBackAtDelete() const {
    // The buckets of both tables, newest rule first.
    std::map<std::pair<bool, uint32_t>, std::vector<const ReferenceDomainRule*>> buckets;
    for (const ReferenceDomainRule& rule : rules_) {
        if (!rule.isEveryName && rule.hasLabels && !isSuperfluous(rule)) {
            auto& bucket = buckets[{rule.isWildcard, hashOfLabels(rule.name) % BUCKETS}];
            bucket.insert(bucket.begin(), &rule);
        }
    }
    std::vector<void*> handedBack;
    const auto handBack = [&handedBack](const ReferenceDomainRule* rule) {
        if (rule->userData != nullptr) {
            handedBack.push_back(rule->userData);
        }
    };
    for (const auto& [key, bucket] : buckets) {
        if (bucket.size() < CROWDED) {
            std::for_each(bucket.begin(), bucket.end(), handBack);
            continue;
        }
        handBack(bucket.front());
        for (size_t first = 1; first < bucket.size(); first += BLOCK) {
            const size_t end = std::min(first + BLOCK, bucket.size());
            handBack(*std::min_element(bucket.begin() + static_cast<std::ptrdiff_t>(first),
                                       bucket.begin() + static_cast<std::ptrdiff_t>(end),
                                       comesBefore));
        }
    }
    return handedBack;
}

}  // namespace rs::test
