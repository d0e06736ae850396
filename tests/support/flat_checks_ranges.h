// What must hold of the flat lookups of an IP table's ranges. Each failure is one of the running test.
#pragma once

#include "ip/ip_index.h"

namespace rs::test {

// They find the entries that the trees find, at the ends of every interval and beside them.
void checkFlatIpRanges(const IpRuleTable& table);

}  // namespace rs::test
