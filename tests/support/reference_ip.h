// IP rules done the slow way: what the library must answer, written for clarity and sharing no code
// with it.
//
//     rule texts --add--> a vector of ranges --find--> the first rule of the vector that covers
//
// Addresses are numbers of 128 bits; an IPv4 address is in IPv4-mapped form, ::ffff:a.b.c.d.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace rs::test {

__extension__ using Number128 = unsigned __int128;

using AddressBytes = std::array<uint8_t, 16>;

// The 16 bytes of an address in network order.
AddressBytes bytesOf(Number128 address);

constexpr Number128 makeNumber(uint64_t upper, uint64_t lower) {
    return (static_cast<Number128>(upper) << 64U) | lower;
}

// ::ffff:0.0.0.0, the first of the IPv4-mapped addresses.
inline constexpr Number128 FIRST_MAPPED = makeNumber(0, 0xFFFF00000000);
inline constexpr Number128 LAST_MAPPED = makeNumber(0, 0xFFFFFFFFFFFF);
inline constexpr Number128 LAST_ADDRESS = makeNumber(UINT64_MAX, UINT64_MAX);

constexpr Number128 mappedNumber(uint32_t ipv4) {
    return FIRST_MAPPED + ipv4;
}

constexpr bool isMappedNumber(Number128 address) {
    return address >= FIRST_MAPPED && address <= LAST_MAPPED;
}

struct AddressRange {
    Number128 low;
    Number128 high;  // inclusive, never below low
    bool writtenAsIpv6;

    bool isSingle() const { return low == high; }
    bool covers(Number128 address) const { return low <= address && address <= high; }
    // Whether the rule takes part in lookups of IPv4 addresses: its ends are mapped ones.
    bool isInIpv4View() const { return isMappedNumber(low) && isMappedNumber(high); }
};

// Each reads a whole text; nothing when it is not well formed.
std::optional<uint32_t> readIpv4Address(std::string_view text);
std::optional<Number128> readIpv6Address(std::string_view text);
std::optional<AddressRange> readIpv4Range(std::string_view text);
std::optional<AddressRange> readIpv6Range(std::string_view text);
// IPv4 where the text is that, otherwise IPv6.
std::optional<AddressRange> readIpRule(std::string_view text);

struct ReferenceRule {
    AddressRange range;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
    // A build has given userData back; later builds do not do it again.
    bool handedBack;
};

// The userData that goes back to the host.
struct HandedBack {
    std::vector<void*> atBuild;   // in the order of the calls
    std::vector<void*> atDelete;  // of the group; the order of those calls is the library's affair
};

class ReferenceIpRules {
public:
    // False, with nothing added, for a text that is not well formed.
    bool add(std::string_view text, uint32_t ruleValue, uint32_t ruleId, void* userData);

    // The first rule that covers the address, among the rules with that ruleValue if one is given;
    // null when none does.
    const ReferenceRule* findIpv4(uint32_t address, std::optional<uint32_t> ruleValue = {}) const;
    const ReferenceRule* findIpv6(Number128 address, std::optional<uint32_t> ruleValue = {}) const;

    // What a build with a release callback gives back, and what the deletion of that group will.
    HandedBack build();

    const std::vector<ReferenceRule>& rules() const { return rules_; }

private:
    std::vector<ReferenceRule> rules_;
};

}  // namespace rs::test
