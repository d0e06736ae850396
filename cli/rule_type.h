// What the command knows of each rule type: its name, how a key is looked up, and what to say of
// texts that the library refuses. To add a type, write a <type>_rule_type.cpp, declare its constant
// here and list it in rule_type.cpp.
#pragma once

#include <ruleset.h>

#include <string>
#include <string_view>
#include <vector>

namespace cli {

struct LookupOptions {
    uint32_t mask = 0xFFFFFFFF;  // of IP:Port lookups
};

struct RuleType {
    const char* name;  // on the command line, after -t
    int32_t number;    // in the library: RULE_TYPE_...

    // Looks a key up: 1 with the result, 0 when no rule covers the key, a negative status for a bad
    // key.
    int32_t (*match)(const RuleGroup* group, std::string_view key, const LookupOptions& options,
                     MatchResult* result);

    // Why a rule or a key is bad, by the status of the library. They are called only after the
    // library has refused it, so that the command never disagrees with the library about what is
    // valid.
    std::string (*whyBadRule)(std::string_view rule, int32_t status);
    std::string (*whyBadKey)(std::string_view key, int32_t status);

    // The form in which the library looks a good key up.
    std::string (*canonicalKey)(std::string_view key);
};

// Null for an unknown name.
const RuleType* findRuleType(std::string_view name);

std::vector<std::string> ruleTypeNames();

extern const RuleType IP_TYPE;
extern const RuleType DOMAIN_TYPE;
extern const RuleType URL_TYPE;
extern const RuleType IP_PORT_TYPE;
extern const RuleType PACKET_FILTER_TYPE;
extern const RuleType COMPOUND_TYPE;

// The canonicalKey of types whose keys have no canonical form: the key without blanks around it.
std::string asWritten(std::string_view key);

}  // namespace cli
