// Packet filter rules (type 5): rule text -> record.
//
//     rule      protocol ';' address ';' ports ';' address ';' ports, with blanks around it
//     protocol  "tcp" in any letter case
//     address   '*' | item                  one item of syntax/ip_range.h
//     ports     a port field of syntax/port.h
//
//     tcp;10.0.0.1;80;192.168.0.0/16;1024-65535
//         first endpoint  second endpoint
//
// There are two forms. In the default form addresses are IPv4; in the wide form, which is tried after
// it while IPv6 is enabled, they are IPv6. No rule mixes the two.
//
// Ownership:  a record owns its text and borrows userData.
// Threads:    none of its own; a record is the set's, and a build changes it.
// Cost:       a text is read once for each form that is tried; its ports again by every build.
#pragma once

#include <cstdint>

#include "core/list.h"
#include "core/rule_set.h"
#include "syntax/address128.h"
#include "syntax/text.h"

namespace rs {

// Bits of PacketFilterRuleFields::wildcardFlags.
inline constexpr uint32_t FILTER_ANY_FIRST_ADDRESS = 1;
inline constexpr uint32_t FILTER_ANY_SECOND_ADDRESS = 2;

inline constexpr uint32_t PROTOCOL_TCP = 6;

// A "*" address has all zeros and all ones as its ends. Offsets of port fields count bytes from the
// first byte of the text as it was given, blanks in front included.
struct PacketFilterRuleFields {
    uint32_t secondAddressFlags;  // ADDRESS_FLAG_ values; not written for "*"
    uint32_t firstAddressFlags;
    Address128 secondAddressStart;
    Address128 secondAddressEnd;
    uint32_t secondPortsOffset;
    uint32_t secondPortsLength;
    Address128 firstAddressStart;
    Address128 firstAddressEnd;
    uint32_t firstPortsOffset;
    uint32_t firstPortsLength;
    uint32_t protocol;
    uint32_t wildcardFlags;  // which addresses are "*"
};

struct PacketFilterRule {
    ListLink links;
    char* text;  // owned; the bytes as given, not NUL-terminated
    PacketFilterRuleFields fields;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed from the host
};

// Checks a rule and fills *fields, which the caller has zero-filled. RULE_ERR_INVALID_ARG for a null
// argument, RULE_ERR_BAD_RULE for a bad text, both with *fields possibly written in part.
[[nodiscard]] int32_t parsePacketFilterRule(const char* text, uint32_t length,
                                            PacketFilterRuleFields* fields) noexcept;

// The two forms; the same but for what they take as addresses.
[[nodiscard]] int32_t parsePacketFilterRuleDefault(const char* text, uint32_t length,
                                                   PacketFilterRuleFields* fields) noexcept;
[[nodiscard]] int32_t parsePacketFilterRuleWide(const char* text, uint32_t length,
                                                PacketFilterRuleFields* fields) noexcept;

// The number of a protocol. RULE_ERR_BAD_RULE for any name but that of TCP.
[[nodiscard]] int32_t parseProtocolName(Text name, uint32_t* out) noexcept;

// Parses a rule into a new record with a copy of its text, which the caller frees with
// freePacketFilterRule; null with RULE_ERR_BAD_RULE or RULE_ERR_NO_MEMORY otherwise.
[[nodiscard]] PacketFilterRule* makePacketFilterRule(const char* text, uint32_t length,
                                                     const RuleValues& values,
                                                     int32_t* status) noexcept;

void freePacketFilterRule(PacketFilterRule* rule) noexcept;

}  // namespace rs
