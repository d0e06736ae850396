// ruleset match: which rule covers each key.
#pragma once

#include "match_options.h"

namespace cli {

// Returns the exit status. Throws std::exception when the options contradict each other, a
// file cannot be read, or memory is out.
int runMatch(const MatchOptions& options);

}  // namespace cli
