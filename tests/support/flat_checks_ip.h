// What must hold of the flat lookups of a table of IP rules.
#pragma once

#include "ip/ip_index.h"

namespace rs::test {

// Single addresses, and those next to them, have the answers of the ordered structures: in both widths, with and
// without a ruleValue. Of many addresses some are asked.
void checkFlatIpHosts(const IpRuleTable& table);

}  // namespace rs::test
