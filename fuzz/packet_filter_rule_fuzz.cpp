// The reader of packet filter rules, with and without IPv6: text.
#include "packetfilter/packet_filter_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
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

bool isAddress(const rs::Address128& words, rs::test::Number128 expected) {
    rs::test::Number128 address = 0;
    for (const uint32_t word : words.words) {
        address = address << 32U | word;
    }
    return address == expected;
}

// '*' has all zeros and all ones as its ends.
bool isAddressField(const rs::Address128& start, const rs::Address128& end,
                    const rs::test::EndpointAddresses& expected) {
    return expected.isAny ? isAddress(start, 0) && isAddress(end, rs::test::LAST_ADDRESS)
                          : isAddress(start, expected.items.front().low) &&
                                isAddress(end, expected.items.front().high);
}

void checkFields(std::string_view rule, const rs::PacketFilterRuleFields& fields,
                 const EndpointRuleText& expected) {
    check(fields.protocol == rs::PROTOCOL_TCP, "the protocol");
    check(
        ((fields.wildcardFlags & rs::FILTER_ANY_FIRST_ADDRESS) != 0) == expected.first.isAny &&
            ((fields.wildcardFlags & rs::FILTER_ANY_SECOND_ADDRESS) != 0) == expected.second.isAny,
        "the addresses that are '*'");
    check(isAddressField(fields.firstAddressStart, fields.firstAddressEnd, expected.first) &&
              isAddressField(fields.secondAddressStart, fields.secondAddressEnd, expected.second),
          "the addresses");
    check(
        isPortField(rule, fields.firstPortsOffset, fields.firstPortsLength, expected.firstPorts) &&
            isPortField(rule, fields.secondPortsOffset, fields.secondPortsLength,
                        expected.secondPorts),
        "the port fields");
}

void checkRule(const rs::test::ExactText& text, std::string_view rule, bool allowIpv6) {
    const rs::fuzz::Ipv6Option option(allowIpv6);
    const std::optional<EndpointRuleText> expected =
        rs::test::readPacketFilterRule(rule, allowIpv6);
    rs::fuzz::checkRuleStatus(RULE_TYPE_PACKET_FILTER, text, expected.has_value(),
                              rs_validateRule_PacketFilter);
    if (expected) {
        rs::PacketFilterRuleFields fields{};
        check(rs::parsePacketFilterRule(text.data(), text.size(), &fields) == RULE_OK,
              "the parser");
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
