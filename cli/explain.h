// ruleset match --explain: why a key is answered as it is.
#pragma once

#include <string>
#include <string_view>

#include "match_command.h"

namespace cli {

// Prints the canonical form of a key, every rule that covers it in rule order, and the winner. The
// set is the one that the group was built from.
//
// Costs one build of the rules for each rule that covers the key, and one more.
int explainKey(const MatchOptions& options, const RuleGroup& group, const RuleBook& book,
               std::string_view key, Output& output);

}  // namespace cli
