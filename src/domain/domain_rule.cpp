#include "domain/domain_rule.h"

#include <ruleset.h>

#include <algorithm>

#include "core/text_rule.h"
#include "domain/host_name.h"
#include "syntax/text_writer.h"

namespace rs {

namespace {

constexpr Text WILDCARD = literalText("*.");

// Recognises the wildcard in front of a host. *outLength is its length in the rule and in the
// canonical text alike: 0 for none, 1 for "*" alone, 2 for "*.".
int32_t readWildcard(Text rule, uint32_t* outLength) noexcept {
    const auto stars = std::count(rule.begin(), rule.end(), '*');
    if (stars == 0) {
        *outLength = 0;
        return RULE_OK;
    }
    const bool isAlone = rule.length == 1;
    const bool isBeforeHost = rule.length > WILDCARD.length && rule.startsWith(WILDCARD);
    if (stars > 1 || *rule.text != '*' || !(isAlone || isBeforeHost)) {
        return RULE_ERR_BAD_RULE;
    }
    *outLength = isAlone ? 1 : WILDCARD.length;
    return RULE_OK;
}

}  // namespace

int32_t parseDomainRule(const char* text, uint32_t length, char* out, uint32_t* inOutCapacity,
                        DomainRuleText* record) noexcept {
    if (text == nullptr || out == nullptr || inOutCapacity == nullptr || record == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    *record = {};
    const Text rule = trimBlanks({text, length});
    uint32_t wildcardLength = 0;
    if (rule.isEmpty() || readWildcard(rule, &wildcardLength) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    TextWriter writer(out, *inOutCapacity);
    if (!writer.put(rule.first(wildcardLength))) {
        return RULE_ERR_BUFFER_SMALL;
    }
    const Text host = rule.from(wildcardLength);
    if (!host.isEmpty()) {
        // Asked here, because a normalizer without any room says what else is wrong with a host.
        if (wildcardLength != 0 && writer.room() == 0) {
            return RULE_ERR_BUFFER_SMALL;
        }
        const int32_t status = writer.append([host](char* end, uint32_t* inOutRoom) noexcept {
            return normalizeRuleHost(host.text, host.length, end, inOutRoom);
        });
        if (status != RULE_OK) {
            return status;
        }
    }
    const uint32_t total = writer.length();
    if (total == 0 || total > MAX_HOST_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    *record = {out, total, wildcardLength != 0 ? DOMAIN_RULE_WILDCARD : 0};
    *inOutCapacity = total;
    return RULE_OK;
}

DomainRule* makeDomainRule(const char* text, uint32_t length, const RuleValues& values,
                           int32_t* status) noexcept {
    return makeCanonicalRule<DomainRule, freeDomainRule>(
        length, values, status,
        [text, length](DomainRule& rule, char* out, uint32_t* inOutCapacity) noexcept {
            return parseDomainRule(text, length, out, inOutCapacity, &rule.rule);
        },
        [](DomainRule& rule, const char* /*buffer*/) noexcept { rule.rule.text = rule.text; });
}

void freeDomainRule(DomainRule* rule) noexcept {
    if (rule != nullptr) {
        freeMemory(rule->text);
        freeMemory(rule);
    }
}

}  // namespace rs
