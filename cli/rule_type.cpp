#include "rule_type.h"

#include <algorithm>
#include <array>

#include "text_input.h"

namespace cli {

namespace {

const std::array TYPES = {&IP_TYPE,      &DOMAIN_TYPE,        &URL_TYPE,
                          &IP_PORT_TYPE, &PACKET_FILTER_TYPE, &COMPOUND_TYPE};

}  // namespace

const RuleType* findRuleType(std::string_view name) {
    const auto* found = std::find_if(TYPES.begin(), TYPES.end(),
                                     [name](const RuleType* type) { return type->name == name; });
    return found == TYPES.end() ? nullptr : *found;
}

std::vector<std::string> ruleTypeNames() {
    std::vector<std::string> names(TYPES.size());
    std::transform(TYPES.begin(), TYPES.end(), names.begin(),
                   [](const RuleType* type) { return type->name; });
    return names;
}

std::string asWritten(std::string_view key) {
    return std::string(trimmed(key));
}

}  // namespace cli
