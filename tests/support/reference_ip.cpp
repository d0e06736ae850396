#include "support/reference_ip.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace rs::test {

namespace {

constexpr size_t LONGEST_IPV6_ITEM = 4095;
constexpr std::string_view BLANKS = " \t\r\n";

std::string_view trim(std::string_view text) {
    const size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) {
        return {};
    }
    const size_t last = text.find_last_not_of(BLANKS);
    return text.substr(first, last - first + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    size_t start = 0;
    for (;;) {
        const size_t end = text.find(separator, start);
        pieces.push_back(text.substr(start, end - start));
        if (end == std::string_view::npos) {
            return pieces;
        }
        start = end + 1;
    }
}

bool isMadeOf(std::string_view text, std::string_view characters) {
    return text.find_first_not_of(characters) == std::string_view::npos;
}

bool isDecimal(std::string_view text) {
    return !text.empty() && isMadeOf(text, "0123456789");
}

// Whether text is a group of an IPv6 address.
bool isGroup(std::string_view text) {
    return !text.empty() && text.size() <= 4 && isMadeOf(text, "0123456789abcdefABCDEF");
}

// The pieces between colons, as groups; nothing when a piece is none. A dotted quad in the last
// piece is two groups.
std::optional<std::vector<Number128>> readGroups(std::string_view text, bool mayEndWithQuad) {
    std::vector<Number128> groups;
    if (text.empty()) {
        return groups;
    }
    const std::vector<std::string_view> pieces = split(text, ':');
    for (size_t i = 0; i < pieces.size(); ++i) {
        const bool isLast = i + 1 == pieces.size();
        if (isGroup(pieces[i])) {
            groups.push_back(std::stoul(std::string(pieces[i]), nullptr, 16));
            continue;
        }
        const std::optional<uint32_t> quad = readIpv4Address(pieces[i]);
        if (!isLast || !mayEndWithQuad || !quad) {
            return std::nullopt;
        }
        groups.push_back(*quad >> 16U);
        groups.push_back(*quad & 0xFFFFU);
    }
    return groups;
}

// The length of an IPv4 prefix. Its characters are not checked for digits: each counts as its code
// minus 48, which makes 20 of "1:" and 7 of "1-".
std::optional<uint32_t> readIpv4PrefixLength(std::string_view text) {
    if (text.empty() || text.size() > 3 || (text.size() > 1 && text[0] == '0')) {
        return std::nullopt;
    }
    int64_t length = 0;
    for (const char character : text) {
        length = length * 10 + static_cast<unsigned char>(character) - '0';
    }
    if (length < 1 || length > 32) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(length);
}

std::optional<uint32_t> readIpv6PrefixLength(std::string_view text) {
    if (!isDecimal(text) || text.size() > 3) {
        return std::nullopt;
    }
    const unsigned long length = std::stoul(std::string(text));
    if (length < 1 || length > 128) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(length);
}

// The addresses whose first `width - freeBits` bits are those of address.
AddressRange prefixOf(Number128 address, uint32_t freeBits, bool writtenAsIpv6) {
    const Number128 rest = freeBits == 0 ? 0 : LAST_ADDRESS >> (128 - freeBits);
    return {address & ~rest, address | rest, writtenAsIpv6};
}

// An item of either family: readAddress reads an address, and readLength the length of a prefix of
// an address of `width` bits.
template <typename ReadAddress, typename ReadLength>
std::optional<AddressRange> readItem(std::string_view text, bool isIpv6,
                                     const ReadAddress& readAddress, const ReadLength& readLength) {
    const size_t separator = text.find_first_of("/-");
    const std::optional<Number128> low = readAddress(text.substr(0, separator));
    if (!low) {
        return std::nullopt;
    }
    if (separator == std::string_view::npos) {
        return AddressRange{*low, *low, isIpv6};
    }
    const std::string_view second = text.substr(separator + 1);
    if (text[separator] == '/') {
        const std::optional<uint32_t> length = readLength(second);
        const uint32_t width = isIpv6 ? 128 : 32;
        return length ? std::optional(prefixOf(*low, width - *length, isIpv6)) : std::nullopt;
    }
    const std::optional<Number128> high = readAddress(second);
    if (!high || *low > *high) {
        return std::nullopt;
    }
    return AddressRange{*low, *high, isIpv6};
}

// A place of a compiled structure: a part of the address space that an earlier rule opened, with
// what each rule covers of it.
struct Entry {
    Number128 low;
    Number128 high;
    uint32_t ruleValue;
};

struct Node {
    Number128 low;
    Number128 high;
    std::vector<Entry> entries;
};

bool coversAlready(const Node& node, const Entry& part) {
    return std::any_of(node.entries.begin(), node.entries.end(), [&](const Entry& entry) {
        return entry.low <= part.low && entry.high >= part.high &&
               entry.ruleValue == part.ruleValue;
    });
}

// Nodes that never overlap, in the order of their addresses.
class Nodes {
public:
    // Enters a rule in every node that it meets, and in new nodes for what lies between them. False
    // when all of it was covered by rules with the same ruleValue.
    bool enter(const AddressRange& range, uint32_t ruleValue) {
        bool entered = false;
        Number128 low = range.low;
        size_t at = firstNodeEndingAtOrAfter(low);
        for (;;) {
            if (at == nodes_.size() || nodes_[at].low > range.high) {
                addNode(at, {low, range.high, ruleValue});
                return true;
            }
            if (low < nodes_[at].low) {
                addNode(at, {low, nodes_[at].low - 1, ruleValue});
                entered = true;
                ++at;
            }
            Node& node = nodes_[at];
            const Entry part{std::max(range.low, node.low), std::min(range.high, node.high),
                             ruleValue};
            if (!coversAlready(node, part)) {
                node.entries.push_back(part);
                entered = true;
            }
            if (node.high >= range.high) {
                return entered;
            }
            low = node.high + 1;
            ++at;
        }
    }

private:
    size_t firstNodeEndingAtOrAfter(Number128 address) const {
        const auto found = std::find_if(nodes_.begin(), nodes_.end(),
                                        [&](const Node& node) { return node.high >= address; });
        return static_cast<size_t>(found - nodes_.begin());
    }

    void addNode(size_t at, const Entry& entry) {
        nodes_.insert(nodes_.begin() + static_cast<std::ptrdiff_t>(at),
                      Node{entry.low, entry.high, {entry}});
    }

    std::vector<Node> nodes_;
};

// One of the two views of the rules: the structure for single addresses and the one for intervals.
struct View {
    Nodes hosts;
    Nodes intervals;

    bool enter(const ReferenceRule& rule) {
        Nodes& nodes = rule.range.isSingle() ? hosts : intervals;
        return nodes.enter(rule.range, rule.ruleValue);
    }
};

const ReferenceRule* findFirst(const std::vector<ReferenceRule>& rules, Number128 address,
                               bool isIpv4View, std::optional<uint32_t> ruleValue) {
    for (const ReferenceRule& rule : rules) {
        if (rule.range.covers(address) && (!isIpv4View || rule.range.isInIpv4View()) &&
            (!ruleValue || rule.ruleValue == *ruleValue)) {
            return &rule;
        }
    }
    return nullptr;
}

}  // namespace

AddressBytes bytesOf(Number128 address) {
    AddressBytes bytes{};
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(address >> (120 - 8 * i));
    }
    return bytes;
}

std::optional<uint32_t> readIpv4Address(std::string_view text) {
    const std::vector<std::string_view> fields = split(text, '.');
    if (fields.size() != 4) {
        return std::nullopt;
    }
    uint32_t address = 0;
    for (const std::string_view field : fields) {
        if (!isDecimal(field) || field.size() > 3 || (field.size() > 1 && field[0] == '0')) {
            return std::nullopt;
        }
        const unsigned long value = std::stoul(std::string(field));
        if (value > 255) {
            return std::nullopt;
        }
        address = address << 8U | static_cast<uint32_t>(value);
    }
    return address;
}

std::optional<Number128> readIpv6Address(std::string_view text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const size_t gap = text.find("::");
    const bool hasGap = gap != std::string_view::npos;
    const auto left = readGroups(text.substr(0, gap), !hasGap);
    const auto right = readGroups(hasGap ? text.substr(gap + 2) : std::string_view(), true);
    if (!left || !right) {
        return std::nullopt;
    }
    const size_t written = left->size() + right->size();
    if (hasGap ? written > 7 : written != 8) {
        return std::nullopt;
    }
    Number128 address = 0;
    for (size_t i = 0; i < left->size(); ++i) {
        address |= (*left)[i] << (112 - 16 * i);
    }
    for (size_t i = 0; i < right->size(); ++i) {
        address |= (*right)[i] << (16 * (right->size() - 1 - i));
    }
    return address;
}

std::optional<AddressRange> readIpv4Range(std::string_view text) {
    const auto readMapped = [](std::string_view address) -> std::optional<Number128> {
        const std::optional<uint32_t> ipv4 = readIpv4Address(address);
        return ipv4 ? std::optional(mappedNumber(*ipv4)) : std::nullopt;
    };
    return readItem(trim(text), false, readMapped, readIpv4PrefixLength);
}

std::optional<AddressRange> readIpv6Range(std::string_view text) {
    const std::string_view item = trim(text);
    if (item.size() > LONGEST_IPV6_ITEM) {
        return std::nullopt;
    }
    return readItem(item, true, readIpv6Address, readIpv6PrefixLength);
}

std::optional<AddressRange> readIpRule(std::string_view text) {
    const std::optional<AddressRange> range = readIpv4Range(text);
    return range ? range : readIpv6Range(text);
}

bool ReferenceIpRules::add(std::string_view text, uint32_t ruleValue, uint32_t ruleId,
                           void* userData) {
    const std::optional<AddressRange> range = readIpRule(text);
    if (!range) {
        return false;
    }
    rules_.push_back(
        {*range, static_cast<uint32_t>(rules_.size() + 1), ruleValue, ruleId, userData, false});
    return true;
}

const ReferenceRule* ReferenceIpRules::findIpv4(uint32_t address,
                                                std::optional<uint32_t> ruleValue) const {
    return findFirst(rules_, mappedNumber(address), true, ruleValue);
}

const ReferenceRule* ReferenceIpRules::findIpv6(Number128 address,
                                                std::optional<uint32_t> ruleValue) const {
    return findFirst(rules_, address, false, ruleValue);
}

HandedBack ReferenceIpRules::build() {
    HandedBack result;
    // Whether this build has accounted for the userData of a rule: an entry of the group holds it,
    // or it went back to the host. Either happens once.
    std::vector<bool> isAccountedFor(rules_.size(), false);
    for (const bool isIpv4View : {true, false}) {
        View view;
        for (ReferenceRule& rule : rules_) {
            if (isIpv4View && !rule.range.isInIpv4View()) {
                continue;
            }
            const bool entered = view.enter(rule);
            const size_t position = rule.ruleIndex - 1;
            if (rule.userData == nullptr || isAccountedFor[position]) {
                continue;
            }
            isAccountedFor[position] = true;
            if (entered) {
                result.atDelete.push_back(rule.userData);
            } else if (!rule.handedBack) {
                rule.handedBack = true;
                result.atBuild.push_back(rule.userData);
            }
        }
    }
    return result;
}

}  // namespace rs::test
