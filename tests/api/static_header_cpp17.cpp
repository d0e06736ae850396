// The header for static hosts is C++17: it compiles by itself, and a program can use the library with it.
// Exits with 0 when it can.
#include <ruleset_static.h>

static_assert(__cplusplus < 202002L, "this file is to be compiled as C++17");

int main() {
    MatchResult result{};
    const bool refusesNull =
        rs::matchIpPortPair6(nullptr, rs::AddressWords{}, 1, rs::AddressWords{}, 1, 1, &result) ==
        RULE_ERR_INVALID_ARG;
    const bool setsOption = rs::setLibraryOption(rs::RULE_OPTION_IPV6, 1) == RULE_OK;
    return refusesNull && setsOption && rs::getLibraryVersion() != nullptr ? 0 : 1;
}
