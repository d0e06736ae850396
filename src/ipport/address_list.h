// Lists of address ranges, as IP:Port rules hold them while and after they are compiled.
//
// An address has two encodings. The default form of a rule gives the IPv4 form: the address in word
// 0, the other words 0. The wide form gives 128 bits, with IPv4 addresses in mapped form.
//
//     10.0.0.1     IPv4 form    0a000001 0 0 0          mapped    0 0 ffff 0a000001
//     *            in both      0 0 0 0 to ffffffff ffffffff ffffffff ffffffff
//
// Ownership:  whoever holds the first node owns the list.
// Threads:    one thread builds and converts a list; then any number of threads may test it.
// Cost:       each item is one allocation; a test walks the list.
#pragma once

#include <cstdint>

#include "core/range_node.h"
#include "syntax/address128.h"

namespace rs {

using OwnedAddressList = OwnedRanges<Address128>;

// Reads an address field into a list in reverse text order. False when an item is bad or memory is
// out.
[[nodiscard]] bool parseAddressList(const char* text, uint32_t length, bool isWide,
                                    OwnedAddressList& out) noexcept;

// Copies the nodes of a list of 128-bit addresses that have an IPv4 form, all of them when takeAll
// is set, and converts the copies to it. The order stays. False when memory is out.
[[nodiscard]] bool copyAsIpv4List(const AddressRange* first, bool takeAll,
                                  OwnedAddressList& out) noexcept;

// The IPv4 form of an address.
constexpr Address128 ipv4Form(uint32_t address) noexcept {
    return {{address, 0, 0, 0}};
}

// The mapped form of an address in IPv4 form.
constexpr Address128 mappedFromIpv4Form(const Address128& address) noexcept {
    return mappedAddress(address.words[0]);
}

// Converts all nodes from IPv4 form to mapped form.
void convertToMapped(AddressRange* first) noexcept;

}  // namespace rs
