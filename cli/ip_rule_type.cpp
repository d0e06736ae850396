// IP rules. A key is an IPv4 or IPv6 address.
#include <arpa/inet.h>
#include <array>

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

// Nearly all keys are IPv4 addresses without blanks. They are read first, and then looked up together.
void matchIpBatch(const RuleGroup* group, const LookupOptions& options, KeyBatch& batch) {
    std::array<uint32_t, KeyBatch::CAPACITY> addresses;
    std::array<uint16_t, KeyBatch::CAPACITY> places;
    static_assert(KeyBatch::CAPACITY <= UINT16_MAX);
    size_t count = 0;
    for (size_t i = 0; i < batch.count; ++i) {
        if (parseIpv4(batch.keys[i], addresses[count])) {
            places[count++] = static_cast<uint16_t>(i);
        } else {
            batch.statuses[i] = matchIp(group, batch.keys[i], options, &batch.results[i]);
        }
    }
    for (size_t i = 0; i < count; ++i) {
        const size_t place = places[i];
        batch.statuses[place] = rs_matchIPRuleGroup(group, addresses[i], &batch.results[place]);
    }
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
