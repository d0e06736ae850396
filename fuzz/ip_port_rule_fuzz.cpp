// The reader of IP:Port rules, with and without IPv6: text.
#include "ipport/ip_port_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "endpoint_rule.h"
#include "fuzz_check.h"
#include "support/reference_endpoint_text.h"

namespace {

using rs::fuzz::check;

void checkFields(const rs::IpPortRuleFields& fields, const rs::test::EndpointRuleText& expected) {
    check(fields.ruleMask == expected.ruleMask, "the mask");
    check(((fields.wildcardFlags & rs::WILDCARD_FIRST_ADDRESS) != 0) == expected.first.isAny &&
              ((fields.wildcardFlags & rs::WILDCARD_SECOND_ADDRESS) != 0) == expected.second.isAny,
          "the addresses that are '*'");
    check((fields.firstAddressWide != 0) == expected.isWide &&
              (fields.secondAddressWide != 0) == expected.isWide,
          "the form");
}

constexpr rs::fuzz::EndpointGrammar<rs::IpPortRuleFields> GRAMMAR = {
    RULE_TYPE_IP_PORT, rs_validateRule_IpPort, rs::parseIpPortRule, rs::test::readIpPortRule,
    checkFields};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    rs::fuzz::checkEndpointRule(GRAMMAR, rs::fuzz::viewOf(data, size));
    return 0;
}
