// What must hold of every group that is built: its flat lookups find all that its ordered structures hold, and nothing
// else. Each failure is one of the running test.
#pragma once

#include <ruleset.h>

namespace rs::test {

void checkFlatLookups(const RuleGroup& group);

}  // namespace rs::test
