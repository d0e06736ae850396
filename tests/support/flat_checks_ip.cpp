#include "support/flat_checks_ip.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "core/slab.h"
#include "ip/ip_match.h"
#include "support/expected_match.h"
#include "support/match_result.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

constexpr uint32_t MOST_ASKED = 5000;

// Asks both ways, which may not touch the result of a miss.
template <typename Flat, typename Ordered>
void expectSame(const Flat& flat, const Ordered& ordered) {
    MatchResult expected = UNTOUCHED;
    MatchResult result = UNTOUCHED;
    const int32_t status = ordered(expected);
    EXPECT_EQ(status, flat(result));
    EXPECT_EQ(expected, result);
}

void checkIpv4(const IpRuleTable& table, uint32_t address, uint32_t ruleValue) {
    SCOPED_TRACE(address);
    expectSame([&](MatchResult& result) { return matchIpv4(table, address, result); },
               [&](MatchResult& result) { return matchIpv4Ordered(table, address, result); });
    expectSame(
        [&](MatchResult& result) { return matchIpv4WithValue(table, address, ruleValue, result); },
        [&](MatchResult& result) {
            return matchIpv4WithValueOrdered(table, address, ruleValue, result);
        });
}

void checkIpv6(const IpRuleTable& table, const Address128& address, uint32_t ruleValue) {
    SCOPED_TRACE(address.words[3]);
    expectSame([&](MatchResult& result) { return matchIpv6(table, address, result); },
               [&](MatchResult& result) { return matchIpv6Ordered(table, address, result); });
    expectSame(
        [&](MatchResult& result) { return matchIpv6WithValue(table, address, ruleValue, result); },
        [&](MatchResult& result) {
            return matchIpv6WithValueOrdered(table, address, ruleValue, result);
        });
    if (isIpv4Mapped(address)) {
        checkIpv4(table, address.words[3], ruleValue);
    }
}

}  // namespace

void checkFlatIpHosts(const IpRuleTable& table) {
    const uint32_t step = table.ipv6HostNodes.count / MOST_ASKED + 1;
    for (uint32_t i = 0; i < table.ipv6HostNodes.count; i += step) {
        const AddressNode& node = recordAt(table.ipv6HostNodes, i);
        for (auto* entry = static_cast<const AddressEntry*>(node.node.entries); entry != nullptr;
             entry = entry->next) {
            checkIpv6(table, node.key, entry->ruleValue);
        }
        const uint32_t ruleValue = static_cast<const AddressEntry*>(node.node.entries)->ruleValue;
        checkIpv6(table, node.key, ruleValue + 1);
        checkIpv6(table, nextAddress(node.key), ruleValue);
        checkIpv6(table, previousAddress(node.key), ruleValue);
    }
}

}  // namespace rs::test
