// Rules with two endpoints, from text to record, with and without IPv6.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "fuzz_check.h"
#include "rule_status.h"
#include "support/ipv6_option.h"
#include "support/reference_endpoint_text.h"
#include "support/reference_port.h"
#include "support/text.h"

namespace rs::fuzz {

// One of the two types, in the library and in its twin.
template <typename Fields>
struct EndpointGrammar {
    int32_t ruleType;
    Validate validate;
    int32_t (*parse)(const char* text, uint32_t length, Fields* fields) noexcept;
    std::optional<test::EndpointRuleText> (*read)(std::string_view text, bool allowIpv6);
    // Compares what the types differ in; ports are compared for both.
    void (*checkFields)(const Fields& fields, const test::EndpointRuleText& expected);
};

// The fields are given as places in the text, which a build reads once more.
inline bool isPortField(std::string_view rule, uint32_t offset, uint32_t length,
                        const std::vector<test::ReferencePorts>& ports) {
    return offset <= rule.size() && test::readPortList(rule.substr(offset, length)) == ports;
}

template <typename Fields>
void checkEndpointRule(const EndpointGrammar<Fields>& grammar, std::string_view rule) {
    const test::ExactText text(rule);
    for (const bool allowIpv6 : {true, false}) {
        const test::Ipv6Option option(allowIpv6);
        const std::optional<test::EndpointRuleText> expected = grammar.read(rule, allowIpv6);
        checkRuleStatus(grammar.ruleType, text, expected.has_value(), grammar.validate);
        if (!expected) {
            continue;
        }
        Fields fields{};
        check(grammar.parse(text.data(), text.size(), &fields) == RULE_OK, "the parser");
        grammar.checkFields(fields, *expected);
        check(isPortField(rule, fields.firstPortsOffset, fields.firstPortsLength,
                          expected->firstPorts) &&
                  isPortField(rule, fields.secondPortsOffset, fields.secondPortsLength,
                              expected->secondPorts),
              "the port fields");
    }
}

}  // namespace rs::fuzz
