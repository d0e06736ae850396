#include "rule_kind.h"

#include <algorithm>
#include <array>

namespace cli {

namespace {

const std::array KINDS = {&IP_KIND,      &DOMAIN_KIND,        &URL_KIND,
                          &IP_PORT_KIND, &PACKET_FILTER_KIND, &COMPOUND_KIND};

}  // namespace

const RuleKind* findRuleKind(std::string_view name) {
    const auto* found = std::find_if(KINDS.begin(), KINDS.end(),
                                     [name](const RuleKind* kind) { return kind->name == name; });
    return found == KINDS.end() ? nullptr : *found;
}

std::vector<std::string> ruleKindNames() {
    std::vector<std::string> names(KINDS.size());
    std::transform(KINDS.begin(), KINDS.end(), names.begin(),
                   [](const RuleKind* kind) { return kind->name; });
    return names;
}

}  // namespace cli
