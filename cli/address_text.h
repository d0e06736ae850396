// Addresses on the command line and in rules: what they are, and what is wrong with a bad one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "syntax/address128.h"

namespace cli {

struct ParsedAddress {
    bool isIpv4;
    uint32_t ipv4;           // host byte order; only with isIpv4
    rs::Address128 address;  // in mapped form with isIpv4
};

// False for a text that is no address; blanks around it are ignored.
bool parseAddress(std::string_view text, ParsedAddress& out);

// What is wrong with a text that is no address.
std::string whyBadAddress(std::string_view text);

// What is wrong with a text that is neither an address nor a range or prefix.
std::string whyBadAddressItem(std::string_view text);

}  // namespace cli
