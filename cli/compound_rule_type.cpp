// Compound rules. A key is pairs "name=value" with blanks between them; each pair may be left out:
//
//     a=80 b=0 value=7 first=10.0.0.1 second=10.0.0.2 list16=1 list12=4096
//
//     pair              is tested against    when left out
//     a, b              field 4 of a rule    0
//     value             field 1              0
//     first, second     field 3              the address of zeros
//     list16            field 2              0
//     list12            field 2              NO_LIST12
#include <ruleset_static.h>

#include <algorithm>
#include <arpa/inet.h>

#include "address_text.h"
#include "rule_type.h"
#include "text_input.h"

namespace cli {

namespace {

// The value of list12 that means none. No rule covers it.
constexpr uint16_t NO_LIST12 = 4096;

struct FlowText {
    rs::CompoundFlow flow{};
    ParsedAddress first{};
    ParsedAddress second{};
    bool hasFirst = false;
    bool hasSecond = false;
};

bool setField(std::string_view name, std::string_view value, FlowText& out) {
    rs::CompoundFlow& flow = out.flow;
    if (name == "a") {
        return parseNumber(value, flow.firstValue16);
    }
    if (name == "b") {
        return parseNumber(value, flow.secondValue16);
    }
    if (name == "value") {
        return parseNumber(value, flow.value32);
    }
    if (name == "list16") {
        return parseNumber(value, flow.listValue16);
    }
    if (name == "list12") {
        return parseNumber(value, flow.listValue12) && flow.listValue12 <= NO_LIST12;
    }
    if (name == "first") {
        return out.hasFirst = parseAddress(value, out.first);
    }
    if (name == "second") {
        return out.hasSecond = parseAddress(value, out.second);
    }
    return false;
}

// A flow has one family for both addresses. It is IPv6 when one of them is, and the other one is
// then in mapped form.
void setAddresses(FlowText& text) {
    const bool isIpv4 =
        (!text.hasFirst || text.first.isIpv4) && (!text.hasSecond || text.second.isIpv4);
    text.flow.family = isIpv4 ? 4 : 6;
    for (size_t i = 0; i < text.flow.firstAddress.size(); ++i) {
        text.flow.firstAddress[i] = htonl(text.first.address.words[i]);
        text.flow.secondAddress[i] = htonl(text.second.address.words[i]);
    }
    if (isIpv4) {
        text.flow.firstAddress[0] = htonl(text.first.ipv4);
        text.flow.secondAddress[0] = htonl(text.second.ipv4);
    }
}

bool parseFlow(std::string_view key, FlowText& out) {
    out.flow.listValue12 = NO_LIST12;
    for (key = trimmed(key); !key.empty(); key = trimmed(key)) {
        const size_t end = std::min(key.find_first_of(" \t"), key.size());
        const std::string_view pair = key.substr(0, end);
        const size_t equals = pair.find('=');
        if (equals == std::string_view::npos ||
            !setField(pair.substr(0, equals), pair.substr(equals + 1), out)) {
            return false;
        }
        key.remove_prefix(end);
    }
    setAddresses(out);
    return true;
}

int32_t matchCompoundKey(const RuleGroup* group, std::string_view key,
                         const LookupOptions& /*options*/, MatchResult* result) {
    FlowText text;
    return parseFlow(key, text) ? rs::matchCompound(group, &text.flow, false, result)
                                : RULE_ERR_BAD_RULE;
}

std::string whyBadCompoundRule(std::string_view /*rule*/, int32_t /*status*/) {
    return "not six fields ranges;ranges;addresses;ranges;number;number";
}

std::string whyBadFlow(std::string_view /*key*/, int32_t /*status*/) {
    return "not name=value pairs of a, b, value, first, second, list16 and list12";
}

}  // namespace

const RuleType COMPOUND_TYPE{
    "compound",         RULE_TYPE_COMPOUND, matchCompoundKey, matchEach<matchCompoundKey>,
    whyBadCompoundRule, whyBadFlow,         asWritten};

}  // namespace cli
