// The lookups for hosts that link statically. Each function checks its arguments and calls the
// matcher of the same name, which takes the compiled structure by reference.
#include <ruleset_static.h>

#include "compound/compound_match.h"
#include "core/rule_group.h"
#include "ipport/ip_port_match.h"
#include "packetfilter/packet_filter_match.h"

namespace rs {

int32_t matchIpPortPair4(const RuleGroup* group, uint32_t firstAddress, uint32_t firstPort,
                         uint32_t secondAddress, uint32_t secondPort, uint32_t mask,
                         MatchResult* result) noexcept {
    if (group == nullptr || result == nullptr || group->ipPortIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchIpPortPair4(*group->ipPortIndex, firstAddress, firstPort, secondAddress, secondPort,
                            mask, *result);
}

int32_t matchIpPortPair6(const RuleGroup* group, const AddressWords& firstAddress,
                         uint32_t firstPort, const AddressWords& secondAddress, uint32_t secondPort,
                         uint32_t mask, MatchResult* result) noexcept {
    if (group == nullptr || result == nullptr || group->ipPortIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchIpPortPair6(*group->ipPortIndex, firstAddress, firstPort, secondAddress, secondPort,
                            mask, *result);
}

int32_t matchSecondEndpoint4(const RuleGroup* group, uint32_t address, uint32_t port) noexcept {
    if (group == nullptr || group->ipPortIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchSecondEndpoint4(*group->ipPortIndex, address, port);
}

int32_t matchSecondEndpoint6(const RuleGroup* group, const AddressWords& address,
                             uint32_t port) noexcept {
    if (group == nullptr || group->ipPortIndex == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchSecondEndpoint6(*group->ipPortIndex, Address128{address}, port);
}

int32_t matchPacketFilter4(const RuleGroup* group, uint32_t firstAddress, uint32_t firstPort,
                           uint32_t secondAddress, uint32_t secondPort,
                           MatchResult* result) noexcept {
    if (group == nullptr || result == nullptr || group->packetFilterTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchPacketFilter4(*group->packetFilterTable, firstAddress, firstPort, secondAddress,
                              secondPort, *result);
}

int32_t matchPacketFilter6(const RuleGroup* group, const AddressWords& firstAddress,
                           uint32_t firstPort, const AddressWords& secondAddress,
                           uint32_t secondPort, MatchResult* result) noexcept {
    if (group == nullptr || result == nullptr || group->packetFilterTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchPacketFilter6(*group->packetFilterTable, firstAddress, firstPort, secondAddress,
                              secondPort, *result);
}

int32_t matchCompound(const RuleGroup* group, CompoundFlow* flow, bool wantsListValue,
                      MatchResult* result) noexcept {
    if (group == nullptr || flow == nullptr || result == nullptr ||
        group->compoundTable == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return matchCompound(*group->compoundTable, *flow, wantsListValue, *result);
}

}  // namespace rs
