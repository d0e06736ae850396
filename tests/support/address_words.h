// Addresses as the words of <ruleset_static.h>.
#pragma once

#include <ruleset_static.h>

#include <cstdint>

#include "support/reference_ip.h"

namespace rs::test {

constexpr AddressWords addressWords(Number128 address) {
    return {static_cast<uint32_t>(address >> 96U), static_cast<uint32_t>(address >> 64U),
            static_cast<uint32_t>(address >> 32U), static_cast<uint32_t>(address)};
}

// An IPv4 address in its IPv4-mapped form.
constexpr AddressWords mapped(uint32_t address) {
    return {0, 0, 0xFFFF, address};
}

}  // namespace rs::test
