// The reader of IP:Port rules, with and without IPv6: text.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "ipport/ipport_rule.h"
#include "rule_status.h"
#include "support/reference_endpoint_text.h"
#include "support/reference_port.h"
#include "support/text.h"

namespace {

using rs::fuzz::check;
using rs::test::EndpointRuleText;

bool isPortField(std::string_view rule, uint32_t offset, uint32_t length,
                 const std::vector<rs::test::ReferencePorts>& ports) {
    return offset <= rule.size() && rs::test::readPortList(rule.substr(offset, length)) == ports;
}

// The fields are given as places in the text, which a build reads once more.
void checkFields(std::string_view rule, const rs::IpPortRuleFields& fields,
                 const EndpointRuleText& expected) {
    check(fields.ruleMask == expected.ruleMask, "the mask");
    check(((fields.wildcardFlags & rs::WILDCARD_FIRST_ADDRESS) != 0) == expected.first.isAny &&
              ((fields.wildcardFlags & rs::WILDCARD_SECOND_ADDRESS) != 0) == expected.second.isAny,
          "the addresses that are '*'");
    check((fields.firstAddressWide != 0) == expected.isWide &&
              (fields.secondAddressWide != 0) == expected.isWide,
          "the form");
    check(
        isPortField(rule, fields.firstPortsOffset, fields.firstPortsLength, expected.firstPorts) &&
            isPortField(rule, fields.secondPortsOffset, fields.secondPortsLength,
                        expected.secondPorts),
        "the port fields");
}

void checkRule(const rs::test::ExactText& text, std::string_view rule, bool allowIpv6) {
    const rs::fuzz::Ipv6Option option(allowIpv6);
    const std::optional<EndpointRuleText> expected = rs::test::readIpPortRule(rule, allowIpv6);
    rs::fuzz::checkRuleStatus(RULE_TYPE_IP_PORT, text, expected.has_value(),
                              rs_validateRule_IpPort);
    if (expected) {
        rs::IpPortRuleFields fields{};
        check(rs::parseIpPortRule(text.data(), text.size(), &fields) == RULE_OK, "the parser");
        checkFields(rule, fields, *expected);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view rule = rs::fuzz::viewOf(data, size);
    const rs::test::ExactText text(rule);
    checkRule(text, rule, true);
    checkRule(text, rule, false);
    return 0;
}
