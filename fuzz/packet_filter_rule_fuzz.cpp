// The reader of packet filter rules, with and without IPv6: text.
#include "packetfilter/packet_filter_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "endpoint_rule.h"
#include "fuzz_check.h"
#include "support/reference_endpoint_text.h"

namespace {

using rs::fuzz::check;

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

void checkFields(const rs::PacketFilterRuleFields& fields,
                 const rs::test::EndpointRuleText& expected) {
    check(fields.protocol == rs::PROTOCOL_TCP, "the protocol");
    check(
        ((fields.wildcardFlags & rs::FILTER_ANY_FIRST_ADDRESS) != 0) == expected.first.isAny &&
            ((fields.wildcardFlags & rs::FILTER_ANY_SECOND_ADDRESS) != 0) == expected.second.isAny,
        "the addresses that are '*'");
    check(isAddressField(fields.firstAddressStart, fields.firstAddressEnd, expected.first) &&
              isAddressField(fields.secondAddressStart, fields.secondAddressEnd, expected.second),
          "the addresses");
}

constexpr rs::fuzz::EndpointGrammar<rs::PacketFilterRuleFields> GRAMMAR = {
    RULE_TYPE_PACKET_FILTER, rs_validateRule_PacketFilter, rs::parsePacketFilterRule,
    rs::test::readPacketFilterRule, checkFields};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    rs::fuzz::checkEndpointRule(GRAMMAR, rs::fuzz::viewOf(data, size));
    return 0;
}
