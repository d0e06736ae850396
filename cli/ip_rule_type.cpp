// IP rules. A key is an IPv4 or IPv6 address.
#include <ruleset_static.h>

#include <arpa/inet.h>
#include <array>
#include <bit>

#include "address_text.h"
#include "rule_type.h"
#include "text_input.h"

namespace cli {

namespace {

// The address in network byte order, IPv4 in mapped form.
std::array<uint32_t, 4> networkWords(const ParsedAddress& address) {
    std::array<uint32_t, 4> words = address.address.words;
    for (uint32_t& word : words) {
        word = htonl(word);
    }
    return words;
}

int32_t matchIp(const RuleGroup* group, std::string_view key, const LookupOptions& /*options*/,
                MatchResult* result) {
    ParsedAddress address{};
    if (!parseAddress(key, address)) {
        return RULE_ERR_BAD_RULE;
    }
    return address.isIpv4 ? rs_matchIPRuleGroup(group, address.ipv4, result)
                          : rs_matchIPRuleGroupEx(group, 6, networkWords(address).data(), result);
}

// The addresses of one family in a batch, each with the place of its key there.
template <typename Address>
struct FamilyKeys {
    void add(const Address& address, size_t place) {
        addresses[count] = address;
        places[count++] = static_cast<uint16_t>(place);
    }

    static_assert(KeyBatch::CAPACITY <= UINT16_MAX);

    size_t count = 0;
    std::array<Address, KeyBatch::CAPACITY> addresses;
    std::array<uint16_t, KeyBatch::CAPACITY> places;
};

template <auto matchBulk, typename Address>
void matchFamily(const RuleGroup* group, const FamilyKeys<Address>& keys, KeyBatch& batch) {
    std::array<uint32_t, KeyBatch::CAPACITY> ruleIndexes;
    std::array<MatchResult, KeyBatch::CAPACITY> results;
    matchBulk(group, keys.addresses.data(), keys.count, ruleIndexes.data(), results.data());
    for (size_t i = 0; i < keys.count; ++i) {
        const size_t place = keys.places[i];
        batch.statuses[place] = ruleIndexes[i] != 0 ? 1 : 0;
        batch.results[place] = results[i];
    }
}

// Nearly all keys are IPv4 addresses without blanks, which are tried first.
void matchIpBatch(const RuleGroup* group, const LookupOptions& /*options*/, KeyBatch& batch) {
    FamilyKeys<uint32_t> ipv4Keys;
    FamilyKeys<rs::AddressBytes> ipv6Keys;
    for (size_t i = 0; i < batch.count; ++i) {
        uint32_t ipv4 = 0;
        ParsedAddress address{};
        if (parseIpv4(batch.keys[i], ipv4)) {
            ipv4Keys.add(ipv4, i);
        } else if (!parseAddress(batch.keys[i], address)) {
            batch.statuses[i] = RULE_ERR_BAD_RULE;
        } else if (address.isIpv4) {
            ipv4Keys.add(address.ipv4, i);
        } else {
            ipv6Keys.add(std::bit_cast<rs::AddressBytes>(networkWords(address)), i);
        }
    }
    matchFamily<rs::matchIpv4Bulk>(group, ipv4Keys, batch);
    matchFamily<rs::matchIpv6Bulk>(group, ipv6Keys, batch);
}

std::string whyBadIpRule(std::string_view rule, int32_t /*status*/) {
    return whyBadAddressItem(rule);
}

std::string whyBadIpKey(std::string_view key, int32_t /*status*/) {
    return whyBadAddress(key);
}

// An IPv4 address as a dotted quad, an IPv6 address in the form of RFC 5952.
std::string canonicalAddress(std::string_view key) {
    ParsedAddress address{};
    if (!parseAddress(key, address)) {
        return std::string(trimmed(key));
    }
    const std::array<uint32_t, 4> words = networkWords(address);
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* bytes = address.isIpv4 ? words.data() + 3 : words.data();
    inet_ntop(address.isIpv4 ? AF_INET : AF_INET6, bytes, text.data(), text.size());
    return text.data();
}

}  // namespace

const RuleType IP_TYPE{"ip",         RULE_TYPE_IP, matchIp,         matchIpBatch,
                       whyBadIpRule, whyBadIpKey,  canonicalAddress};

}  // namespace cli
