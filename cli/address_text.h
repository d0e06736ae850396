// Addresses in keys and rules: reading them, and saying what is wrong with a bad one. The
// operations that say it are called only for texts that the library has refused.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "syntax/address128.h"

namespace cli {

struct ParsedAddress {
    bool isIpv4;
    uint32_t ipv4;           // in host byte order; set for IPv4 addresses only
    rs::Address128 address;  // an IPv4 address in mapped form
};

// False for a text that is no address; out is then unspecified. Blanks around it are ignored.
bool parseAddress(std::string_view text, ParsedAddress& out);

// Reads an IPv4 address without blanks around it into a number in host byte order. False for anything
// else, with out left alone.
bool parseIpv4(std::string_view text, uint32_t& out);

// What is wrong with a text that is no address.
std::string whyBadAddress(std::string_view text);

// What is wrong with a text that is no address, range or prefix.
std::string whyBadAddressItem(std::string_view text);

}  // namespace cli
