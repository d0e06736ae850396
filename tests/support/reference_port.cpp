#include "support/reference_port.h"

#include <cstddef>
#include <string>

namespace rs::test {

namespace {

std::optional<uint16_t> readPort(std::string_view text) {
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    const unsigned long port = std::stoul(std::string(text));
    if (port < 1 || port > 65535) {
        return std::nullopt;
    }
    return static_cast<uint16_t>(port);
}

}  // namespace

std::optional<ReferencePorts> readPortRange(std::string_view text) {
    const size_t dash = text.rfind('-');
    const std::optional<uint16_t> low = readPort(text.substr(0, dash));
    const std::optional<uint16_t> high =
        dash == std::string_view::npos ? low : readPort(text.substr(dash + 1));
    if (!low || !high || *low > *high) {
        return std::nullopt;
    }
    return ReferencePorts{*low, *high};
}

std::optional<std::vector<ReferencePorts>> readPortList(std::string_view text) {
    if (text == "*") {
        return std::vector<ReferencePorts>{{1, 65535}};
    }
    std::vector<ReferencePorts> list;
    for (;;) {
        const size_t comma = text.find(',');
        const std::optional<ReferencePorts> item = readPortRange(text.substr(0, comma));
        if (!item) {
            return std::nullopt;
        }
        list.insert(list.begin(), *item);
        if (comma == std::string_view::npos) {
            return list;
        }
        text = text.substr(comma + 1);
    }
}

}  // namespace rs::test
