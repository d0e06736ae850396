// ruleset match --explain: why a key is answered as it is.
#pragma once

#include <ruleset.h>

#include <string_view>

#include "match_options.h"
#include "rule_book.h"
#include "text_output.h"

namespace cli {

// Prints the canonical form of a key, every rule that covers it in rule order, and the winner.
// Returns the exit status. The group holds the rules of the book.
//
// Cost: one build of the rules for each rule that covers the key, and one more.
int explainKey(const MatchOptions& options, const RuleGroup& group, const RuleBook& book,
               std::string_view key, Output& output);

}  // namespace cli
