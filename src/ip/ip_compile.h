// List of IP rules -> IpRuleTable.
//
// The list is walked twice: first all rules enter the 32-bit structures, then all enter the 128-bit
// ones. So a structure gets its rules in their order. Where all ranges are IPv4 ones, the first walk makes both trees of
// ranges, because they are alike.
#pragma once

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "ip/ip_index.h"

namespace rs {

// Compiles the IP rules of a set, stores the table in the group's slot and returns it. Null, with
// null in the slot, for a null argument or when the build fails; what had entered the unfinished
// table then gives its userData back through the set's callback.
//
// A rule that an equal earlier rule makes superfluous gives its userData back at once, and its
// record is marked, so that a later build does not do it again.
[[nodiscard]] IpRuleTable* buildIpRuleTable(RuleSet* set, RuleGroup* group) noexcept;

}  // namespace rs
