// Every lookup of a group, by whichever way the library has it, and what each answers to keys that the group is asked.
//
// A lookup that is added has one place here: the function in every_lookup.cpp that asks for its kind of key.
#pragma once

#include <ruleset.h>
#include <ruleset_static.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace rs::test {

// Of the kinds of key that a group has no rules for there are none.
struct LookupKeys {
    std::vector<uint32_t> addresses;  // IPv4; also asked for in IPv4-mapped form
    std::vector<AddressWords> addresses6;
    std::vector<uint32_t> ruleValues;  // each with each address
    std::vector<std::string> names;
    std::vector<std::string> wireNames;
    std::vector<std::string> urls;
    std::vector<uint32_t> ports;  // of both endpoints, with each pair of neighbouring addresses
    std::vector<CompoundFlow> flows;
};

struct Answer {
    std::string_view lookup;
    int32_t status;
    MatchResult result;
    std::array<uint32_t, 3>
        outputs;  // of a flow; of a bulk lookup the first is what it writes as ruleIndex
};

bool operator==(const Answer& left, const Answer& right);
void PrintTo(const Answer& answer, std::ostream* out);

// Asks all lookups of a group of rules of a type. Nothing is allocated but by the operators new and delete.
std::vector<Answer> answersOf(const RuleGroup& group, int32_t ruleType, const LookupKeys& keys);

}  // namespace rs::test
