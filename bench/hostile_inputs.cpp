#include "hostile_inputs.h"

#include <array>
#include <utility>

#include "hostile_families.h"

namespace bench {

bool HostileInput::add(std::string text, uint32_t value) {
    if (bytes_ + text.size() + 1 > limit_) {
        return false;
    }
    bytes_ += text.size() + 1;
    rules_.push_back({std::move(text), value});
    return true;
}

void HostileInput::repeat(const std::string& text) {
    while (add(text)) {
    }
}

void HostileInput::addTextKey(std::string text) {
    keys_.push_back({std::move(text), 4, {}, {}});
}

void HostileInput::addIpv4Key(uint32_t first, uint32_t firstPort, uint32_t second,
                              uint32_t secondPort) {
    keys_.push_back({"", 4, {{first}, firstPort}, {{second}, secondPort}});
}

void HostileInput::addIpv6Key(const rs::AddressWords& first, uint32_t firstPort,
                              const rs::AddressWords& second, uint32_t secondPort) {
    keys_.push_back({"", 6, {first, firstPort}, {second, secondPort}});
}

std::span<const HostileGroup> hostileGroups() {
    static const std::array GROUPS = {
        HostileGroup{"IP rules", RULE_TYPE_IP, ipFamilies()},
        HostileGroup{"Host names", RULE_TYPE_FQDN, nameFamilies()},
        HostileGroup{"URLs", RULE_TYPE_URL, urlFamilies()},
        HostileGroup{"Packet filter rules", RULE_TYPE_PACKET_FILTER, packetFilterFamilies()},
        HostileGroup{"IP:Port rules", RULE_TYPE_IP_PORT, ipPortFamilies()},
        HostileGroup{"Compound rules", RULE_TYPE_COMPOUND, compoundFamilies()},
        HostileGroup{"One host name to look up", RULE_TYPE_FQDN, nameKeyFamilies()},
        HostileGroup{"One URL to look up", RULE_TYPE_URL, urlKeyFamilies()},
        HostileGroup{"One host name rule", RULE_TYPE_FQDN, nameRuleFamilies()},
        HostileGroup{"One URL rule", RULE_TYPE_URL, urlRuleFamilies()},
    };
    return GROUPS;
}

}  // namespace bench
