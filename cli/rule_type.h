// What the command knows of each rule type: its name, how a key is looked up, and what to say of
// texts that the library refuses. To add a type, write a <type>_rule_type.cpp, declare its constant
// here and list it in rule_type.cpp.
#pragma once

#include <ruleset.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

struct LookupOptions {
    uint32_t mask = 0xFFFFFFFF;  // of IP:Port lookups
};

// Keys that are looked up together, and the answers to them.
struct KeyBatch {
    static constexpr size_t CAPACITY = 256;

    size_t count = 0;
    std::array<std::string_view, CAPACITY> keys;
    std::array<int32_t, CAPACITY> statuses;     // as RuleType::match returns them
    std::array<MatchResult, CAPACITY> results;  // where the status is 1; unspecified elsewhere
};

struct RuleType {
    const char* name;  // on the command line, after -t
    int32_t number;    // in the library: RULE_TYPE_...

    // Looks a key up: 1 with the result, 0 when no rule covers the key, a negative status for a bad
    // key.
    int32_t (*match)(const RuleGroup* group, std::string_view key, const LookupOptions& options,
                     MatchResult* result);

    // Looks all keys of a batch up, and fills their statuses and results.
    void (*matchBatch)(const RuleGroup* group, const LookupOptions& options, KeyBatch& batch);

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

// The matchBatch of types that look keys up one after the other, by their match.
template <auto match>
void matchEach(const RuleGroup* group, const LookupOptions& options, KeyBatch& batch) {
    for (size_t i = 0; i < batch.count; ++i) {
        batch.statuses[i] = match(group, batch.keys[i], options, &batch.results[i]);
    }
}

// The canonicalKey of types whose keys have no canonical form: the key without blanks around it.
std::string asWritten(std::string_view key);

}  // namespace cli
