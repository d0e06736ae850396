#include "support/reference_endpoint.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace rs::test {

namespace {

constexpr AddressRange EVERY_ADDRESS{0, LAST_ADDRESS, true};
constexpr AddressRange EVERY_MAPPED{FIRST_MAPPED, LAST_MAPPED, false};

bool isSameRange(const AddressRange& left, const AddressRange& right) {
    return left.low == right.low && left.high == right.high;
}

bool coverAddress(const std::vector<AddressRange>& ranges, Number128 address) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const AddressRange& range) { return range.covers(address); });
}

bool coverPort(const std::vector<ReferencePorts>& ranges, uint32_t port) {
    const auto low16 = static_cast<uint16_t>(port);
    return std::any_of(ranges.begin(), ranges.end(), [&](const ReferencePorts& range) {
        return range.low <= low16 && low16 <= range.high;
    });
}

// What takes part in lookups of IPv4 addresses: '*', and ranges from a mapped address to another.
std::vector<AddressRange> ipv4ViewOf(const EndpointAddresses& addresses) {
    if (addresses.isAny) {
        return {EVERY_MAPPED};
    }
    std::vector<AddressRange> ranges;
    std::copy_if(addresses.items.begin(), addresses.items.end(), std::back_inserter(ranges),
                 [](const AddressRange& range) { return range.isInIpv4View(); });
    return ranges;
}

// What '*' means depends on where the rule is entered.
std::vector<AddressRange> rangesOf(const EndpointAddresses& addresses, const AddressRange& any) {
    return addresses.isAny ? std::vector<AddressRange>{any} : addresses.items;
}

}  // namespace

int32_t ReferenceEndpointRules::add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                                    void* userData, bool allowIpv6) {
    const bool isIpPort = ruleType_ == RULE_TYPE_IP_PORT;
    const std::optional<EndpointRuleText> rule =
        isIpPort ? readIpPortRule(text, allowIpv6) : readPacketFilterRule(text, allowIpv6);
    if (!rule) {
        return RULE_ERR_BAD_RULE;
    }
    const size_t position = rules_.size();
    rules_.push_back(
        {*rule, MatchResult{static_cast<uint32_t>(position + 1), ruleValue, ruleId, userData}});
    ipv4_.push_back({ipv4ViewOf(rule->first), {position, ipv4ViewOf(rule->second)}});
    if (isIpPort) {
        enterIpPort(*rule, position);
    } else {
        enterPacketFilter(*rule, position);
    }
    return RULE_OK;
}

// Deliberate: a wide rule whose first address alone is '*' is in anywhere_ only; one without
// IPv6 covers mapped first addresses only; with two '*' it is in both places.
void ReferenceEndpointRules::enterIpPort(const EndpointRuleText& rule, size_t position) {
    if (!rule.first.isAny) {
        for (const AddressRange& item : rule.first.items) {
            enterItem(item, {position, rangesOf(rule.second, EVERY_ADDRESS)});
        }
        return;
    }
    if (rule.isWide || rule.second.isAny) {
        anywhere_.push_back({position, rangesOf(rule.second, EVERY_ADDRESS)});
    }
    if (!rule.isWide || rule.second.isAny) {
        enterRange(EVERY_MAPPED, {position, rangesOf(rule.second, EVERY_MAPPED)});
    }
}

// Deliberate: a second address of '*' covers mapped addresses only where the first address is a
// range of IPv4 addresses that is neither a single one nor all of them.
void ReferenceEndpointRules::enterPacketFilter(const EndpointRuleText& rule, size_t position) {
    const Entry entry{position, rangesOf(rule.second, EVERY_ADDRESS)};
    if (!rule.first.isAny) {
        const AddressRange& item = rule.first.items.front();
        if (item.writtenAsIpv6 || item.isSingle() || isSameRange(item, EVERY_MAPPED)) {
            enterItem(item, entry);
        } else {
            enterRange(item, {position, rangesOf(rule.second, EVERY_MAPPED)});
        }
        return;
    }
    const bool isSecondIpv6 = !rule.second.isAny && rule.second.items.front().writtenAsIpv6;
    if (isSecondIpv6 || rule.second.isAny) {
        anywhere_.push_back(entry);
    }
    if (!isSecondIpv6) {
        enterRange(EVERY_MAPPED, entry);
    }
}

void ReferenceEndpointRules::enterItem(const AddressRange& item, const Entry& entry) {
    if (isSameRange(item, EVERY_ADDRESS)) {
        anywhere_.push_back(entry);
    } else if (item.isSingle()) {
        exact_.push_back({item.low, entry});
    } else {
        enterRange(item, entry);
    }
}

void ReferenceEndpointRules::enterRange(const AddressRange& range, const Entry& entry) {
    const auto place = std::find_if(ranges_.begin(), ranges_.end(), [&](const RangePlace& earlier) {
        return isSameRange(earlier.range, range);
    });
    if (place == ranges_.end()) {
        ranges_.push_back({range, {entry}});
    } else {
        place->entries.push_back(entry);
    }
}

bool ReferenceEndpointRules::passes(const Entry& entry, const EndpointKey& key) const {
    const EndpointRuleText& rule = rules_[entry.rule].text;
    return coverPort(rule.firstPorts, key.firstPort) &&
           coverAddress(entry.seconds, key.secondAddress) &&
           coverPort(rule.secondPorts, key.secondPort) &&
           (ruleType_ == RULE_TYPE_PACKET_FILTER || (rule.ruleMask & key.mask) != 0);
}

const ReferenceEndpointRule* ReferenceEndpointRules::findPair4(const EndpointKey& key) const {
    for (const Ipv4Entry& rule : ipv4_) {
        if (coverAddress(rule.firsts, key.firstAddress) && passes(rule.entry, key)) {
            return &rules_[rule.entry.rule];
        }
    }
    return nullptr;
}

const ReferenceEndpointRule* ReferenceEndpointRules::earlier(const ReferenceEndpointRule* held,
                                                             const Entry& entry) const {
    const ReferenceEndpointRule* rule = &rules_[entry.rule];
    return held == nullptr || rule->result.ruleIndex < held->result.ruleIndex ? rule : held;
}

const ReferenceEndpointRule* ReferenceEndpointRules::findOutsideRanges(
    const EndpointKey& key) const {
    const ReferenceEndpointRule* winner = nullptr;
    for (const Entry& entry : anywhere_) {
        if (passes(entry, key)) {
            winner = earlier(winner, entry);
        }
    }
    for (const ExactPlace& place : exact_) {
        if (place.address == key.firstAddress && passes(place.entry, key)) {
            winner = earlier(winner, place.entry);
        }
    }
    return winner;
}

const ReferenceEndpointRule* ReferenceEndpointRules::findPair6(const EndpointKey& key) const {
    const ReferenceEndpointRule* winner = findOutsideRanges(key);
    for (const RangePlace& place : ranges_) {
        if (!place.range.covers(key.firstAddress)) {
            continue;
        }
        for (const Entry& entry : place.entries) {
            if (passes(entry, key)) {
                return earlier(winner, entry);
            }
        }
    }
    return winner;
}

bool ReferenceEndpointRules::isWinnerHidden(const EndpointKey& key) const {
    const ReferenceEndpointRule* earliest = findOutsideRanges(key);
    for (const RangePlace& place : ranges_) {
        for (const Entry& entry : place.entries) {
            if (place.range.covers(key.firstAddress) && passes(entry, key)) {
                earliest = earlier(earliest, entry);
            }
        }
    }
    return earliest != findPair6(key);
}

bool ReferenceEndpointRules::coversSecond4(Number128 address, uint32_t port) const {
    return std::any_of(ipv4_.begin(), ipv4_.end(), [&](const Ipv4Entry& rule) {
        return !rule.firsts.empty() && coverAddress(rule.entry.seconds, address) &&
               coverPort(rules_[rule.entry.rule].text.secondPorts, port);
    });
}

bool ReferenceEndpointRules::coversSecond6(Number128 address, uint32_t port) const {
    const auto covers = [&](const Entry& entry) {
        return coverAddress(entry.seconds, address) &&
               coverPort(rules_[entry.rule].text.secondPorts, port);
    };
    return std::any_of(anywhere_.begin(), anywhere_.end(), covers) ||
           std::any_of(exact_.begin(), exact_.end(),
                       [&](const ExactPlace& place) { return covers(place.entry); }) ||
           std::any_of(ranges_.begin(), ranges_.end(), [&](const RangePlace& place) {
               return std::any_of(place.entries.begin(), place.entries.end(), covers);
           });
}

// Every rule is in some place of the 128-bit lookups, so none is left out.
std::vector<void*> ReferenceEndpointRules::handedBackAtDelete() const {
    std::vector<void*> handedBack;
    for (const ReferenceEndpointRule& rule : rules_) {
        if (rule.result.userData != nullptr) {
            handedBack.push_back(rule.result.userData);
        }
    }
    return handedBack;
}

}  // namespace rs::test
