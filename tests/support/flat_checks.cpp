#include "support/flat_checks.h"

#include "core/rule_group.h"
#include "support/flat_checks_domain.h"
#include "support/flat_checks_endpoint.h"
#include "support/flat_checks_ip.h"
#include "support/flat_checks_ranges.h"
#include "support/flat_checks_url.h"

namespace rs::test {

void checkFlatLookups(const RuleGroup& group) {
    if (group.ipTable != nullptr) {
        checkFlatIpHosts(*group.ipTable);
        checkFlatIpRanges(*group.ipTable);
    }
    if (group.domainIndex != nullptr) {
        checkFlatDomainNames(*group.domainIndex);
    }
    if (group.urlIndex != nullptr) {
        checkFlatUrls(*group.urlIndex);
    }
    if (group.ipPortIndex != nullptr) {
        checkIpPortLookups(*group.ipPortIndex);
    }
    if (group.packetFilterTable != nullptr) {
        checkPacketFilterLookups(*group.packetFilterTable);
    }
}

}  // namespace rs::test
