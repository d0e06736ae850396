// ruleset match --explain: why a key is answered as it is.
#pragma once

#include <string>
#include <string_view>

#include "match_command.h"

namespace cli {

// Prints the canonical form of a key, every rule that covers it in rule order, and the winner. The
// set is the one that the group was built from.
//
// A rule is asked together with those behind it only, so that each one that covers the key shows. Of
// hosts with many URL rules fewer may be left then than make the group search their paths in blocks,
// which cover a little more; the winner is always the group's own answer.
int explainKey(const MatchOptions& options, const RuleGroup& group, const RuleBook& book,
               std::string_view key, Output& output);

}  // namespace cli
