// Port fields done the slow way, sharing no code with the library.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace rs::test {

struct ReferencePorts {
    uint16_t low;
    uint16_t high;

    friend bool operator==(const ReferencePorts&, const ReferencePorts&) = default;
};

// A port, or two joined by '-'.
std::optional<ReferencePorts> readPortRange(std::string_view text);

// A whole field, '*' and lists included, in the order in which the library links its items: the last
// one first.
std::optional<std::vector<ReferencePorts>> readPortList(std::string_view text);

}  // namespace rs::test
