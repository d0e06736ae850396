// The reader of IP rules by way of every function that takes one, and the one of port ranges: text.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "fuzz_check.h"
#include "rule_status.h"
#include "support/ipv6_option.h"
#include "support/reference_ip.h"
#include "support/reference_port.h"
#include "support/text.h"

namespace {

using rs::test::AddressRange;
using rs::test::ExactText;

int32_t statusOf(bool isGood, int32_t statusOfBad) {
    return isGood ? RULE_OK : statusOfBad;
}

bool isSameAddress(const uint8_t* bytes, rs::test::Number128 address, uint32_t family) {
    const rs::test::AddressBytes expected = rs::test::bytesOf(address);
    return std::equal(expected.begin() + (family == 4 ? 12 : 0), expected.end(), bytes);
}

void checkConversion(const ExactText& text, const std::optional<AddressRange>& range) {
    rs::fuzz::Guarded<ConvertedRange> out;
    const int32_t status = rs_convertRule_IP(text.data(), text.size(), out.record());
    rs::fuzz::check(status == statusOf(range.has_value(), RULE_ERR_FAILED), "the conversion");
    if (!range) {
        rs::fuzz::check(out.isUntouchedFrom(0), "the output of a failed conversion");
        return;
    }
    const ConvertedRange& pair = *out.record();
    rs::fuzz::check(pair.family == (range->writtenAsIpv6 ? 6 : 4), "the family");
    rs::fuzz::check(isSameAddress(pair.startAddress, range->low, pair.family) &&
                        isSameAddress(pair.endAddress, range->high, pair.family),
                    "the addresses");
    rs::fuzz::check(out.isUntouchedFrom(sizeof pair), "what lies around the pair");
    if (pair.family == 4) {
        // Twelve bytes of each address are not used.
        rs::fuzz::Guarded<ConvertedRange> untouched;
        const ConvertedRange& guard = *untouched.record();
        rs::fuzz::check(
            std::equal(pair.startAddress + 4, pair.startAddress + 16, guard.startAddress + 4) &&
                std::equal(pair.endAddress + 4, pair.endAddress + 16, guard.endAddress + 4),
            "the unused bytes of an IPv4 address");
    }
}

// The option counts here, and not in the validators of ranges.
void checkRule(const ExactText& text, bool isRule, bool allowIpv6) {
    const rs::test::Ipv6Option option(allowIpv6);
    for (const int32_t type : {RULE_TYPE_IP, RULE_TYPE_IP_ALT}) {
        rs::fuzz::checkRuleStatus(type, text, isRule, rs_validateRule_IP);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view rule = rs::fuzz::viewOf(data, size);
    const ExactText text(rule);
    const std::optional<AddressRange> ipv4 = rs::test::readIpv4Range(rule);
    const std::optional<AddressRange> ipv6 = rs::test::readIpv6Range(rule);
    rs::fuzz::check(rs_validate_IPv4Range(text.data(), text.size()) ==
                        statusOf(ipv4.has_value(), RULE_ERR_BAD_RANGE),
                    "the validator of IPv4 ranges");
    rs::fuzz::check(rs_validate_IPv6Range(text.data(), text.size()) ==
                        statusOf(ipv6.has_value(), RULE_ERR_BAD_RANGE),
                    "the validator of IPv6 ranges");
    rs::fuzz::check(rs_validate_PortRange(text.data(), text.size()) ==
                        statusOf(rs::test::readPortRange(rule).has_value(), RULE_ERR_BAD_RANGE),
                    "the validator of port ranges");
    checkConversion(text, ipv4 ? ipv4 : ipv6);
    checkRule(text, ipv4 || ipv6, true);
    checkRule(text, ipv4.has_value(), false);
    return 0;
}
