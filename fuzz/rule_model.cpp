#include "rule_model.h"

#include <ruleset_static.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>

#include "core/rule_group.h"
#include "fuzz_check.h"
#include "ip/ip_match.h"
#include "rule_texts.h"
#include "support/address_words.h"
#include "support/reference_compound.h"
#include "support/reference_domain.h"
#include "support/reference_endpoint.h"
#include "support/reference_ip.h"
#include "support/reference_url.h"
#include "support/text.h"

namespace rs::fuzz {

namespace {

using test::Number128;

// Makes one lookup, match(result), and compares it with the winner, null for none.
template <typename Rule, typename Match>
void checkAnswer(const char* lookup, const Rule* winner, const Match& match) {
    Guarded<MatchResult> result;
    const int32_t status = match(result.record());
    check(status == (winner == nullptr ? 0 : 1), lookup);
    if (winner == nullptr) {
        check(result.isUntouchedFrom(0), lookup);
        return;
    }
    const MatchResult& found = *result.record();
    check(found.ruleIndex == winner->ruleIndex && found.ruleValue == winner->ruleValue &&
              found.ruleId == winner->ruleId && found.userData == winner->userData,
          lookup, found.ruleIndex);
    check(result.isUntouchedFrom(sizeof found), lookup);
}

// An address at an end of the range, or next to it.
Number128 takeEdge(const test::AddressRange& range, ByteReader& input) {
    const Number128 edges[] = {range.low, range.high, range.low - 1, range.high + 1};
    return input.pick(edges);
}

class IpModel : public RuleModel {
public:
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                void* userData) override {
        return rules_.add(text, ruleValue, ruleId, userData) ? RULE_OK : RULE_ERR_BAD_RULE;
    }

    GoingBack build() override {
        test::HandedBack handedBack = rules_.build();
        GoingBack goingBack;
        goingBack.atBuild = std::move(handedBack.atBuild);
        for (void* userData : handedBack.atDelete) {
            auto& list = isInHostTable(userData) ? goingBack.fromRecord : goingBack.fromTrees;
            list.push_back(userData);
        }
        return goingBack;
    }

    std::unique_ptr<RuleModel> copy() const override { return std::make_unique<IpModel>(*this); }

    void checkLookup(const RuleGroup& group, ByteReader& input) const override {
        const auto& rules = rules_.rules();
        Number128 address = 0;
        if (rules.empty() || input.oneIn(4)) {
            address = takeAddress(input);
        } else {
            address = takeEdge(rules[input.byte() % rules.size()].range, input);
        }
        const uint32_t ruleValue = input.below(4);
        checkIpv6(group, address, ruleValue);
        checkIpv4(group, static_cast<uint32_t>(address), ruleValue);
        Guarded<MatchResult> result;
        const test::AddressBytes bytes = test::bytesOf(address);
        const int32_t noFamily = 7 + input.byte();
        check(rs_matchIPRuleGroupEx(&group, noFamily, bytes.data(), result.record()) ==
                      RULE_ERR_INVALID_ARG &&
                  result.isUntouchedFrom(0),
              "the lookup in another family");
    }

private:
    // Single IPv4 addresses stand there, in either spelling.
    bool isInHostTable(const void* userData) const {
        const auto& rules = rules_.rules();
        const auto rule = std::find_if(
            rules.begin(), rules.end(),
            [userData](const test::ReferenceRule& each) { return each.userData == userData; });
        return rule->range.isSingle() && rule->range.isInIpv4View();
    }

    void checkIpv6(const RuleGroup& group, Number128 address, uint32_t ruleValue) const {
        const test::AddressBytes bytes = test::bytesOf(address);
        // A block of exactly 16 bytes that begins at an odd address.
        Output block(bytes.size() + 1);
        std::copy(bytes.begin(), bytes.end(), block.data() + 1);
        checkAnswer("the lookup in family 6", rules_.findIpv6(address), [&](MatchResult* result) {
            return rs_matchIPRuleGroupEx(&group, 6, block.data() + 1, result);
        });
        const AddressWords words = test::addressWords(address);
        checkAnswer("the lookup of 128 bits for one value", rules_.findIpv6(address, ruleValue),
                    [&](MatchResult* result) {
                        return matchIpv6WithValue(*group.ipTable,
                                                  {{words[0], words[1], words[2], words[3]}},
                                                  ruleValue, *result);
                    });
    }

    void checkIpv4(const RuleGroup& group, uint32_t address, uint32_t ruleValue) const {
        const test::ReferenceRule* winner = rules_.findIpv4(address);
        checkAnswer("the lookup of a number", winner, [&](MatchResult* result) {
            return rs_matchIPRuleGroup(&group, address, result);
        });
        const test::AddressBytes bytes = test::bytesOf(address);
        Output block(5);
        std::copy(bytes.begin() + 12, bytes.end(), block.data() + 1);
        checkAnswer("the lookup in family 4", winner, [&](MatchResult* result) {
            return rs_matchIPRuleGroupEx(&group, 4, block.data() + 1, result);
        });
        checkAnswer("the lookup of 32 bits for one value", rules_.findIpv4(address, ruleValue),
                    [&](MatchResult* result) {
                        return matchIpv4WithValue(*group.ipTable, address, ruleValue, *result);
                    });
    }

    test::ReferenceIpRules rules_;
};

// Lookups of texts say in the index of the result, too, that there is no winner.
template <typename Answer, typename Match>
void checkTextLookup(const char* lookup, const Answer& expected, std::string_view key,
                     const RuleGroup& group, const Match& match) {
    const test::ExactText text(key);
    Guarded<MatchResult> result;
    const int32_t status = match(&group, text.data(), text.size(), result.record());
    check(status == expected.status, lookup);
    const MatchResult& found = *result.record();
    if (status == 1) {
        check(found.ruleIndex == expected.winner->ruleIndex &&
                  found.ruleValue == expected.winner->ruleValue &&
                  found.ruleId == expected.winner->ruleId &&
                  found.userData == expected.winner->userData,
              lookup, found.ruleIndex);
    } else if (status == 0) {
        check(found.ruleIndex == 0, lookup);
    }
    check(result.isUntouchedFrom(sizeof found), lookup);
}

class DomainModel : public RuleModel {
public:
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                void* userData) override {
        return rules_.add(text, ruleValue, ruleId, userData);
    }

    GoingBack build() override {
        return {rules_.handedBackAtBuild(), {}, rules_.handedBackAtDelete()};
    }

    std::unique_ptr<RuleModel> copy() const override {
        return std::make_unique<DomainModel>(*this);
    }

    void checkLookup(const RuleGroup& group, ByteReader& input) const override {
        const std::string name = takeKey(input);
        checkTextLookup("the lookup of a name", rules_.find(name), name, group,
                        rs_matchDomainNameWithRuleGroup);
    }

private:
    std::string takeKey(ByteReader& input) const {
        const auto& rules = rules_.rules();
        switch (input.below(4)) {
            case 0:
                return takeHostName(input);
            case 1:
                return std::string(input.line());
            default: {
                constexpr std::string_view FRONTS[] = {"", "a.", "a.b.", "."};
                std::string name(input.pick(FRONTS));
                return rules.empty() ? name : name + rules[input.byte() % rules.size()].name;
            }
        }
    }

    test::ReferenceDomainRules rules_;
};

class UrlModel : public RuleModel {
public:
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                void* userData) override {
        return rules_.add(text, ruleValue, ruleId, userData);
    }

    GoingBack build() override { return {{}, {}, rules_.handedBackAtDelete()}; }

    std::unique_ptr<RuleModel> copy() const override { return std::make_unique<UrlModel>(*this); }

    void checkLookup(const RuleGroup& group, ByteReader& input) const override {
        const std::string url = takeKey(input);
        checkTextLookup("the lookup of a URL", rules_.find(url), url, group,
                        rs_matchUrlWithRuleGroup);
    }

private:
    std::string takeKey(ByteReader& input) const {
        const auto& rules = rules_.rules();
        switch (input.below(4)) {
            case 0:
                return takeUrl(input);
            case 1:
                return std::string(input.line());
            default: {
                constexpr std::string_view SCHEMES[] = {"", "http://", "https://", "https://b."};
                constexpr std::string_view ENDS[] = {"", "", "/", "b", "?x", "#"};
                std::string url(input.pick(SCHEMES));
                if (!rules.empty()) {
                    const test::ReferenceUrlRule& rule = rules[input.byte() % rules.size()];
                    const bool withPort = input.oneIn(4);
                    url += rule.host + (withPort ? ':' + std::to_string(rule.portLow) : "") +
                           rule.prefix + rule.behindWildcard.value_or("");
                }
                return url.append(input.pick(ENDS));
            }
        }
    }

    test::ReferenceUrlRules rules_;
};

// IP:Port and packet filter rules.
class EndpointModel : public RuleModel {
public:
    explicit EndpointModel(int32_t ruleType) : ruleType_(ruleType), rules_(ruleType) {}

    bool isAffordable(std::string_view text) const override {
        constexpr uint64_t MOST_RECORDS = 1U << 12U;
        return records_ + recordsOf(text) <= MOST_RECORDS;
    }

    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                void* userData) override {
        records_ += recordsOf(text);
        return rules_.add(text, ruleValue, ruleId, userData);
    }

    GoingBack build() override { return {{}, {}, rules_.handedBackAtDelete()}; }

    std::unique_ptr<RuleModel> copy() const override {
        return std::make_unique<EndpointModel>(*this);
    }

    void checkLookup(const RuleGroup& group, ByteReader& input) const override {
        const test::EndpointKey key = takeKey(input);
        checkPair6(group, key);
        test::EndpointKey key4 = key;
        key4.firstAddress = test::mappedNumber(static_cast<uint32_t>(key.firstAddress));
        key4.secondAddress = test::mappedNumber(static_cast<uint32_t>(key.secondAddress));
        checkPair4(group, key4);
        // IPv4 addresses are looked up as 128-bit ones, too.
        checkPair6(group, key4);
        if (isIpPort()) {
            checkSecond(group, key, key4);
        }
    }

private:
    bool isIpPort() const { return ruleType_ == RULE_TYPE_IP_PORT; }

    std::optional<test::EndpointRuleText> read(std::string_view text) const {
        return isIpPort() ? test::readIpPortRule(text) : test::readPacketFilterRule(text);
    }

    // About how many records a build makes of a rule.
    uint64_t recordsOf(std::string_view text) const {
        const std::optional<test::EndpointRuleText> rule = read(text);
        if (!rule) {
            return 0;
        }
        uint64_t entries = 1;
        for (const test::AddressRange& item : rule->first.items) {
            const Number128 last = item.high >> 16U;
            entries +=
                item.isInIpv4View() ? static_cast<uint64_t>(last - (item.low >> 16U)) + 1 : 1;
        }
        return entries *
               (1 + rule->firstPorts.size() + rule->second.items.size() + rule->secondPorts.size());
    }

    // Addresses and ports at the edges of a rule, or others.
    test::EndpointKey takeKey(ByteReader& input) const {
        test::EndpointKey key{};
        const auto& rules = rules_.rules();
        const test::EndpointRuleText* rule =
            rules.empty() ? nullptr : &rules[input.byte() % rules.size()].text;
        key.firstAddress = takeKeyAddress(rule == nullptr ? nullptr : &rule->first, input);
        key.firstPort = takeKeyPort(rule == nullptr ? nullptr : &rule->firstPorts, input);
        key.secondAddress = takeKeyAddress(rule == nullptr ? nullptr : &rule->second, input);
        key.secondPort = takeKeyPort(rule == nullptr ? nullptr : &rule->secondPorts, input);
        key.mask = input.oneIn(4) ? input.word() : UINT32_MAX;
        return key;
    }

    static Number128 takeKeyAddress(const test::EndpointAddresses* addresses, ByteReader& input) {
        if (addresses == nullptr || addresses->items.empty() || input.oneIn(4)) {
            return takeAddress(input);
        }
        return takeEdge(addresses->items[input.byte() % addresses->items.size()], input);
    }

    static uint32_t takeKeyPort(const std::vector<test::ReferencePorts>* ports, ByteReader& input) {
        if (ports == nullptr || input.oneIn(4)) {
            return input.oneIn(4) ? input.word() : input.below(16);
        }
        const test::ReferencePorts& range = (*ports)[input.byte() % ports->size()];
        const uint32_t edges[] = {range.low, range.high, range.low - 1U, range.high + 1U,
                                  range.low + 0x10000U};
        return input.pick(edges);
    }

    static const MatchResult* resultOf(const test::ReferenceEndpointRule* winner) {
        return winner == nullptr ? nullptr : &winner->result;
    }

    void checkPair4(const RuleGroup& group, const test::EndpointKey& key) const {
        const auto first = static_cast<uint32_t>(key.firstAddress);
        const auto second = static_cast<uint32_t>(key.secondAddress);
        checkAnswer("the lookup of two IPv4 endpoints", resultOf(rules_.findPair4(key)),
                    [&](MatchResult* result) {
                        return isIpPort() ? matchIpPortPair4(&group, first, key.firstPort, second,
                                                             key.secondPort, key.mask, result)
                                          : matchPacketFilter4(&group, first, key.firstPort, second,
                                                               key.secondPort, result);
                    });
    }

    void checkPair6(const RuleGroup& group, const test::EndpointKey& key) const {
        const AddressWords first = test::addressWords(key.firstAddress);
        const AddressWords second = test::addressWords(key.secondAddress);
        checkAnswer("the lookup of two endpoints of 128 bits", resultOf(rules_.findPair6(key)),
                    [&](MatchResult* result) {
                        return isIpPort() ? matchIpPortPair6(&group, first, key.firstPort, second,
                                                             key.secondPort, key.mask, result)
                                          : matchPacketFilter6(&group, first, key.firstPort, second,
                                                               key.secondPort, result);
                    });
    }

    void checkSecond(const RuleGroup& group, const test::EndpointKey& key,
                     const test::EndpointKey& key4) const {
        const int32_t status4 = matchSecondEndpoint4(
            &group, static_cast<uint32_t>(key4.secondAddress), key4.secondPort);
        check(status4 == (rules_.coversSecond4(key4.secondAddress, key4.secondPort) ? 1 : 0),
              "the lookup of a second IPv4 endpoint");
        const int32_t status6 =
            matchSecondEndpoint6(&group, test::addressWords(key.secondAddress), key.secondPort);
        check(status6 == (rules_.coversSecond6(key.secondAddress, key.secondPort) ? 1 : 0),
              "the lookup of a second endpoint of 128 bits");
    }

    int32_t ruleType_;
    uint64_t records_ = 0;
    test::ReferenceEndpointRules rules_;
};

// The words of an address in network byte order, as a host finds them in a packet.
AddressWords networkWords(const test::AddressBytes& bytes) {
    AddressWords words{};
    std::memcpy(words.data(), bytes.data(), bytes.size());
    return words;
}

class CompoundModel : public RuleModel {
public:
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                void* userData) override {
        return rules_.add(text, ruleValue, ruleId, userData);
    }

    GoingBack build() override { return {{}, {}, rules_.handedBackAtDelete()}; }

    std::unique_ptr<RuleModel> copy() const override {
        return std::make_unique<CompoundModel>(*this);
    }

    void checkLookup(const RuleGroup& group, ByteReader& input) const override {
        test::ReferenceFlow expected = takeFlow(input);
        const bool wantsListValue = input.oneIn(2);
        CompoundFlow flow{};
        flow.firstValue16 = expected.values16[0];
        flow.secondValue16 = expected.values16[1];
        flow.value32 = expected.value32;
        flow.family = expected.family;
        flow.firstAddress = networkWords(expected.addresses[0]);
        flow.secondAddress = networkWords(expected.addresses[1]);
        flow.listValue16 = expected.listValue16;
        flow.listValue12 = expected.listValue12;
        flow.outNumber = expected.outNumber;
        flow.outListValue = expected.outListValue;
        flow.outMark = expected.outMark;
        const test::ReferenceCompoundRule* winner = rules_.find(expected, wantsListValue);
        checkAnswer("the lookup of a flow", winner == nullptr ? nullptr : &winner->result,
                    [&](MatchResult* result) {
                        return matchCompound(&group, &flow, wantsListValue, result);
                    });
        check(flow.outNumber == expected.outNumber && flow.outListValue == expected.outListValue &&
                  flow.outMark == expected.outMark,
              "the outputs of a flow");
    }

private:
    test::ReferenceFlow takeFlow(ByteReader& input) const {
        const auto& rules = rules_.rules();
        const test::CompoundRuleText* rule =
            rules.empty() ? nullptr : &rules[input.byte() % rules.size()].text;
        test::ReferenceFlow flow{};
        for (uint16_t& value : flow.values16) {
            value = static_cast<uint16_t>(
                takeNumber(rule == nullptr ? nullptr : &rule->rangeList16, input));
        }
        flow.value32 = takeNumber(rule == nullptr ? nullptr : &rule->rangeListA, input);
        constexpr int32_t FAMILIES[] = {4, 4, 4, 6, 6, 6, 0, 5};
        flow.family = input.pick(FAMILIES);
        for (test::AddressBytes& bytes : flow.addresses) {
            bytes = test::bytesOf(takeFlowAddress(rule, input));
            if (flow.family == 4) {
                std::rotate(bytes.begin(), bytes.begin() + 12, bytes.end());
            }
        }
        flow.listValue16 =
            static_cast<uint16_t>(takeNumber(rule == nullptr ? nullptr : &rule->rangeListB, input));
        constexpr uint16_t NO_VALUE_12 = 4096;
        const uint32_t listValue =
            takeNumber(rule == nullptr ? nullptr : &rule->rangeListB, input) % NO_VALUE_12;
        flow.listValue12 = input.oneIn(4) ? NO_VALUE_12 : static_cast<uint16_t>(listValue);
        flow.outNumber = 7;
        flow.outListValue = input.oneIn(2) ? flow.listValue16 : input.byte();
        flow.outMark = 9;
        return flow;
    }

    static uint32_t takeNumber(const std::vector<test::NumberRange>* ranges, ByteReader& input) {
        if (ranges == nullptr || input.oneIn(4)) {
            return input.oneIn(4) ? input.word() : input.below(16);
        }
        const test::NumberRange& range = (*ranges)[input.byte() % ranges->size()];
        const uint32_t edges[] = {range.low, range.high, range.low - 1, range.high + 1};
        return input.pick(edges);
    }

    static Number128 takeFlowAddress(const test::CompoundRuleText* rule, ByteReader& input) {
        if (rule == nullptr || input.oneIn(4)) {
            return takeAddress(input);
        }
        return takeEdge(rule->addressList[input.byte() % rule->addressList.size()], input);
    }

    test::ReferenceCompoundRules rules_;
};

}  // namespace

std::unique_ptr<RuleModel> makeRuleModel(int32_t ruleType) {
    switch (ruleType) {
        case RULE_TYPE_FQDN:
            return std::make_unique<DomainModel>();
        case RULE_TYPE_URL:
            return std::make_unique<UrlModel>();
        case RULE_TYPE_PACKET_FILTER:
        case RULE_TYPE_IP_PORT:
            return std::make_unique<EndpointModel>(ruleType);
        case RULE_TYPE_COMPOUND:
            return std::make_unique<CompoundModel>();
        default:
            return std::make_unique<IpModel>();
    }
}

}  // namespace rs::fuzz
