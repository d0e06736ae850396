// Rule sets of every type and of the shapes that are compiled differently, with keys that hit and miss.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/every_lookup.h"
#include "support/rule_handles.h"

namespace rs::test {

struct GroupShape {
    std::string name;
    int32_t type = 0;
    std::vector<std::string> rules;
    LookupKeys keys;
};

void PrintTo(const GroupShape& shape, std::ostream* out);

// Each lookup of each shape has keys that hit and keys that miss.
const std::vector<GroupShape>& groupShapes();

// The rule at position i, counted from 0, has i % RULE_VALUE_COUNT for its ruleValue.
inline constexpr uint32_t RULE_VALUE_COUNT = 3;

// A set of all the rules, which must be well formed.
RuleSetHandle makeSetOf(const GroupShape& shape);

// A name in wire form, without the final zero byte.
std::string wireNameOf(std::string_view name);

}  // namespace rs::test
