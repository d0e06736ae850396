// What the command knows of each type of rules: its name, how a key is looked up, and what to say of
// texts that the library refuses. To add a type, give it a file and a line in rule_kind.cpp.
#pragma once

#include <ruleset.h>

#include <string>
#include <string_view>
#include <vector>

namespace cli {

struct LookupOptions {
    uint32_t mask = 0xFFFFFFFF;  // for rules that have one
};

struct RuleKind {
    const char* name;  // as in -t
    int32_t type;      // RULE_TYPE_...

    // Looks a key up: 1 with the result, 0 for none, or a negative status for a key that is none.
    int32_t (*match)(const RuleGroup* group, std::string_view key, const LookupOptions& options,
                     MatchResult* result);

    // Why the library refused a rule or a key. Asked only once it has, so that the two never
    // disagree about what is valid.
    std::string (*whyBadRule)(std::string_view rule, int32_t status);
    std::string (*whyBadKey)(std::string_view key, int32_t status);

    // The form in which a key is looked up.
    std::string (*canonicalKey)(std::string_view key);
};

// Null for an unknown name.
const RuleKind* findRuleKind(std::string_view name);

std::vector<std::string> ruleKindNames();

extern const RuleKind IP_KIND;
extern const RuleKind DOMAIN_KIND;
extern const RuleKind URL_KIND;
extern const RuleKind IP_PORT_KIND;
extern const RuleKind PACKET_FILTER_KIND;
extern const RuleKind COMPOUND_KIND;

// What is wrong with the host of a domain or URL rule.
std::string whyBadHostPattern(std::string_view host);

}  // namespace cli
