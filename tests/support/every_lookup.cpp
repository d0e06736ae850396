#include "support/every_lookup.h"

#include <cstddef>

#include "api/domain_wire_api.h"
#include "core/rule_group.h"
#include "domain/domain_match.h"
#include "ip/ip_match.h"
#include "support/address_words.h"
#include "support/match_result.h"
#include "support/reference_ip.h"
#include "support/text.h"
#include "syntax/address128.h"

namespace rs::test {

namespace {

using Answers = std::vector<Answer>;

// Adds what a lookup answers, which is called with a result.
template <typename Lookup>
void ask(Answers& answers, std::string_view name, const Lookup& lookup) {
    MatchResult result = UNTOUCHED;
    const int32_t status = lookup(result);
    answers.push_back({name, status, result, {}});
}

// Where a bulk lookup of count keys writes to.
struct BulkArrays {
    explicit BulkArrays(size_t count)
        : ruleIndexes(count), statuses(count, UNTOUCHED_STATUS), results(count, UNTOUCHED) {}

    // A lookup without statuses tells misses by their ruleIndex.
    [[nodiscard]] int32_t statusOf(size_t i) const {
        return statuses[i] == UNTOUCHED_STATUS ? ruleIndexes[i] != 0 : statuses[i];
    }

    static constexpr int32_t UNTOUCHED_STATUS = INT32_MIN;

    std::vector<uint32_t> ruleIndexes;
    std::vector<int32_t> statuses;
    std::vector<MatchResult> results;
};

// Adds what a bulk lookup answers for each key, and then for all keys in one call. It is called as
// bulk(keys, count, ruleIndexes, statuses, results). A refusal is the answer for each of its keys.
template <typename Key, typename Bulk>
void askBulk(Answers& answers, std::string_view one, std::string_view all,
             const std::vector<Key>& keys, const Bulk& bulk) {
    const auto askFor = [&](std::string_view name, size_t first, size_t count) {
        BulkArrays arrays(count);
        const int32_t called = bulk(keys.data() + first, count, arrays.ruleIndexes.data(),
                                    arrays.statuses.data(), arrays.results.data());
        for (size_t i = 0; i < count; ++i) {
            answers.push_back({name,
                               called == RULE_OK ? arrays.statusOf(i) : called,
                               arrays.results[i],
                               {arrays.ruleIndexes[i]}});
        }
    };
    for (size_t i = 0; i < keys.size(); ++i) {
        askFor(one, i, 1);
    }
    askFor(all, 0, keys.size());
}

std::array<uint8_t, 4> networkBytes(uint32_t address) {
    return {static_cast<uint8_t>(address >> 24U), static_cast<uint8_t>(address >> 16U),
            static_cast<uint8_t>(address >> 8U), static_cast<uint8_t>(address)};
}

Number128 numberOf(const AddressWords& words) {
    return makeNumber(uint64_t{words[0]} << 32U | words[1], uint64_t{words[2]} << 32U | words[3]);
}

// The IPv4-mapped forms after the keys of family 6.
std::vector<AddressWords> allAddresses6(const LookupKeys& keys) {
    std::vector<AddressWords> addresses = keys.addresses6;
    for (const uint32_t address : keys.addresses) {
        addresses.push_back(mapped(address));
    }
    return addresses;
}

void askIpv4(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    const IpRuleTable& table = *group.ipTable;
    for (const uint32_t address : keys.addresses) {
        ask(answers, "rs_matchIPRuleGroup",
            [&](MatchResult& result) { return rs_matchIPRuleGroup(&group, address, &result); });
        ask(answers, "rs_matchIPRuleGroupEx, 4", [&](MatchResult& result) {
            return rs_matchIPRuleGroupEx(&group, 4, networkBytes(address).data(), &result);
        });
        ask(answers, "matchIpv4Ordered",
            [&](MatchResult& result) { return matchIpv4Ordered(table, address, result); });
        for (const uint32_t value : keys.ruleValues) {
            ask(answers, "matchIpv4WithValue", [&](MatchResult& result) {
                return matchIpv4WithValue(table, address, value, result);
            });
            ask(answers, "matchIpv4WithValueOrdered", [&](MatchResult& result) {
                return matchIpv4WithValueOrdered(table, address, value, result);
            });
        }
    }
    askBulk(answers, "matchIpv4Bulk, one", "matchIpv4Bulk, all", keys.addresses,
            [&](const uint32_t* addresses, size_t count, uint32_t* ruleIndexes,
                int32_t* /*statuses*/, MatchResult* results) {
                return matchIpv4Bulk(&group, addresses, count, ruleIndexes, results);
            });
}

void askIpv6(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    const IpRuleTable& table = *group.ipTable;
    for (const AddressWords& words : allAddresses6(keys)) {
        const Address128 address{words};
        ask(answers, "rs_matchIPRuleGroupEx, 6", [&](MatchResult& result) {
            return rs_matchIPRuleGroupEx(&group, 6, bytesOf(numberOf(words)).data(), &result);
        });
        ask(answers, "matchIpv6Ordered",
            [&](MatchResult& result) { return matchIpv6Ordered(table, address, result); });
        for (const uint32_t value : keys.ruleValues) {
            ask(answers, "matchIpv6WithValue", [&](MatchResult& result) {
                return matchIpv6WithValue(table, address, value, result);
            });
            ask(answers, "matchIpv6WithValueOrdered", [&](MatchResult& result) {
                return matchIpv6WithValueOrdered(table, address, value, result);
            });
        }
    }
    std::vector<AddressBytes> bytes;
    for (const AddressWords& words : allAddresses6(keys)) {
        bytes.push_back(bytesOf(numberOf(words)));
    }
    askBulk(answers, "matchIpv6Bulk, one", "matchIpv6Bulk, all", bytes,
            [&](const AddressBytes* addresses, size_t count, uint32_t* ruleIndexes,
                int32_t* /*statuses*/, MatchResult* results) {
                return matchIpv6Bulk(&group, addresses, count, ruleIndexes, results);
            });
}

std::vector<TextKey> textKeys(const std::vector<std::string>& texts) {
    std::vector<TextKey> keys;
    for (const std::string& text : texts) {
        keys.push_back({text.data(), size32(text)});
    }
    return keys;
}

void askNames(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    for (const std::string& name : keys.names) {
        ask(answers, "rs_matchDomainNameWithRuleGroup", [&](MatchResult& result) {
            return rs_matchDomainNameWithRuleGroup(&group, name.data(), size32(name), &result);
        });
    }
    for (const std::string& name : keys.wireNames) {
        ask(answers, "matchDomainWireWithRuleGroup", [&](MatchResult& result) {
            return matchDomainWireWithRuleGroup(&group, name.data(), size32(name), &result);
        });
    }
    askBulk(answers, "matchDomainNamesBulk, one", "matchDomainNamesBulk, all", textKeys(keys.names),
            [&](const TextKey* names, size_t count, uint32_t* ruleIndexes, int32_t* statuses,
                MatchResult* results) {
                return matchDomainNamesBulk(&group, names, count, ruleIndexes, statuses, results);
            });
}

void askUrls(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    for (const std::string& url : keys.urls) {
        ask(answers, "rs_matchUrlWithRuleGroup", [&](MatchResult& result) {
            return rs_matchUrlWithRuleGroup(&group, url.data(), size32(url), &result);
        });
    }
    askBulk(answers, "matchUrlsBulk, one", "matchUrlsBulk, all", textKeys(keys.urls),
            [&](const TextKey* urls, size_t count, uint32_t* ruleIndexes, int32_t* statuses,
                MatchResult* results) {
                return matchUrlsBulk(&group, urls, count, ruleIndexes, statuses, results);
            });
}

// Calls use(address, the next one, port, other port) for all addresses and ports.
template <typename Address, typename Use>
void forEachPair(const std::vector<Address>& addresses, const std::vector<uint32_t>& ports,
                 const Use& use) {
    for (size_t i = 0; i < addresses.size(); ++i) {
        for (const uint32_t firstPort : ports) {
            for (const uint32_t secondPort : ports) {
                use(addresses[i], firstPort, addresses[(i + 1) % addresses.size()], secondPort);
            }
        }
    }
}

void askPacketFilter(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    forEachPair(keys.addresses, keys.ports,
                [&](uint32_t first, uint32_t firstPort, uint32_t second, uint32_t secondPort) {
                    ask(answers, "matchPacketFilter4", [&](MatchResult& result) {
                        return matchPacketFilter4(&group, first, firstPort, second, secondPort,
                                                  &result);
                    });
                });
    forEachPair(allAddresses6(keys), keys.ports,
                [&](const AddressWords& first, uint32_t firstPort, const AddressWords& second,
                    uint32_t secondPort) {
                    ask(answers, "matchPacketFilter6", [&](MatchResult& result) {
                        return matchPacketFilter6(&group, first, firstPort, second, secondPort,
                                                  &result);
                    });
                });
}

constexpr uint32_t MASK = 1;

void askIpPort(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    forEachPair(keys.addresses, keys.ports,
                [&](uint32_t first, uint32_t firstPort, uint32_t second, uint32_t secondPort) {
                    ask(answers, "matchIpPortPair4", [&](MatchResult& result) {
                        return matchIpPortPair4(&group, first, firstPort, second, secondPort, MASK,
                                                &result);
                    });
                });
    forEachPair(allAddresses6(keys), keys.ports,
                [&](const AddressWords& first, uint32_t firstPort, const AddressWords& second,
                    uint32_t secondPort) {
                    ask(answers, "matchIpPortPair6", [&](MatchResult& result) {
                        return matchIpPortPair6(&group, first, firstPort, second, secondPort, MASK,
                                                &result);
                    });
                });
    for (const uint32_t port : keys.ports) {
        for (const uint32_t address : keys.addresses) {
            ask(answers, "matchSecondEndpoint4",
                [&](MatchResult&) { return matchSecondEndpoint4(&group, address, port); });
        }
        for (const AddressWords& address : allAddresses6(keys)) {
            ask(answers, "matchSecondEndpoint6",
                [&](MatchResult&) { return matchSecondEndpoint6(&group, address, port); });
        }
    }
}

void askCompound(Answers& answers, const RuleGroup& group, const LookupKeys& keys) {
    for (const CompoundFlow& flow : keys.flows) {
        for (const bool wantsListValue : {false, true}) {
            CompoundFlow asked = flow;
            ask(answers, "matchCompound", [&](MatchResult& result) {
                return matchCompound(&group, &asked, wantsListValue, &result);
            });
            answers.back().outputs = {asked.outNumber, asked.outListValue, asked.outMark};
        }
    }
}

}  // namespace

bool operator==(const Answer& left, const Answer& right) {
    return left.lookup == right.lookup && left.status == right.status &&
           left.result == right.result && left.outputs == right.outputs;
}

void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.lookup << " returns " << answer.status << " with ";
    PrintTo(answer.result, out);
}

std::vector<Answer> answersOf(const RuleGroup& group, int32_t ruleType, const LookupKeys& keys) {
    Answers answers;
    switch (ruleType) {
        case RULE_TYPE_FQDN:
            askNames(answers, group, keys);
            break;
        case RULE_TYPE_URL:
            askUrls(answers, group, keys);
            break;
        case RULE_TYPE_PACKET_FILTER:
            askPacketFilter(answers, group, keys);
            break;
        case RULE_TYPE_IP_PORT:
            askIpPort(answers, group, keys);
            break;
        case RULE_TYPE_COMPOUND:
            askCompound(answers, group, keys);
            break;
        default:
            askIpv4(answers, group, keys);
            askIpv6(answers, group, keys);
            break;
    }
    return answers;
}

}  // namespace rs::test
