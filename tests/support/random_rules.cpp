#include "support/random_rules.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace rs::test {

namespace {

constexpr uint32_t GROUP_COUNT = 8;

std::string randomBlanks(RandomSource& random) {
    std::string blanks;
    while (random.oneIn(5)) {
        blanks += random.pick<char>({' ', '\t', '\r', '\n'});
    }
    return blanks;
}

std::string writeHex(uint32_t value, RandomSource& random) {
    constexpr std::string_view LOWER = "0123456789abcdef";
    constexpr std::string_view UPPER = "0123456789ABCDEF";
    std::string text;
    do {
        text.insert(0, 1, (random.oneIn(2) ? UPPER : LOWER)[value % 16]);
        value /= 16;
    } while (value != 0);
    while (text.size() < 4 && random.oneIn(4)) {
        text.insert(0, 1, '0');
    }
    return text;
}

struct Gap {
    size_t start;
    size_t length;  // 0 for no gap
};

// A run of zero groups, or a part of one, among the first `count` groups.
Gap chooseGap(const std::array<uint32_t, GROUP_COUNT>& groups, size_t count, RandomSource& random) {
    const size_t start = random.below(count);
    size_t length = 0;
    while (start + length < count && groups[start + length] == 0) {
        ++length;
    }
    return {start, length == 0 ? 0 : random.between(1, length)};
}

// A piece of the part of a text on one side of a gap.
void appendPiece(std::string& text, const std::string& piece) {
    if (!text.empty() && text.back() != ':') {
        text += ':';
    }
    text += piece;
}

// The number of low bits in which the ends of a prefix differ; nothing when the range is none.
std::optional<uint32_t> freeBitsOf(const AddressRange& range) {
    const Number128 rest = range.low ^ range.high;
    if ((rest & (rest + 1)) != 0 || (range.low & rest) != 0) {
        return std::nullopt;
    }
    uint32_t bits = 0;
    while (bits < 128 && (rest >> bits & 1U) != 0) {
        ++bits;
    }
    return bits;
}

std::string writeAddress(Number128 address, bool asIpv6, RandomSource& random) {
    return asIpv6 ? writeIpv6Address(address, random)
                  : writeIpv4Address(static_cast<uint32_t>(address));
}

Number128 randomBits128(RandomSource& random) {
    const uint64_t upper = random.bits();
    return makeNumber(upper, random.bits());
}

}  // namespace

std::string writeIpv4Address(uint32_t address) {
    return std::to_string(address >> 24U) + '.' + std::to_string(address >> 16U & 0xFFU) + '.' +
           std::to_string(address >> 8U & 0xFFU) + '.' + std::to_string(address & 0xFFU);
}

std::string writeIpv6Address(Number128 address, RandomSource& random) {
    std::array<uint32_t, GROUP_COUNT> groups{};
    for (size_t i = 0; i < GROUP_COUNT; ++i) {
        groups[i] = static_cast<uint32_t>(address >> (112 - 16 * i) & 0xFFFFU);
    }
    const bool endsWithQuad = random.oneIn(4);
    const size_t hexGroups = endsWithQuad ? GROUP_COUNT - 2 : GROUP_COUNT;
    const Gap gap = random.oneIn(4) ? Gap{0, 0} : chooseGap(groups, hexGroups, random);
    std::string text;
    for (size_t i = 0; i < hexGroups; ++i) {
        if (i >= gap.start && i < gap.start + gap.length) {
            if (i == gap.start) {
                text += "::";
            }
            continue;
        }
        appendPiece(text, writeHex(groups[i], random));
    }
    if (endsWithQuad) {
        appendPiece(text, writeIpv4Address(static_cast<uint32_t>(address)));
    }
    return text;
}

std::string writeRange(const AddressRange& range, RandomSource& random) {
    const bool asIpv6 = !range.isInIpv4View() || random.oneIn(4);
    const uint32_t width = asIpv6 ? 128 : 32;
    const std::optional<uint32_t> freeBits = freeBitsOf(range);
    std::string text;
    if (freeBits && *freeBits < width && random.oneIn(2)) {
        // The bits below the prefix are free to be anything.
        const Number128 rest = range.low ^ range.high;
        text = writeAddress(range.low | (randomBits128(random) & rest), asIpv6, random) + '/' +
               std::to_string(width - *freeBits);
    } else if (range.isSingle() && !random.oneIn(4)) {
        text = writeAddress(range.low, asIpv6, random);
    } else {
        text = writeAddress(range.low, asIpv6, random) + '-';
        text += writeAddress(range.high, asIpv6, random);
    }
    const std::string before = randomBlanks(random);
    return before + text + randomBlanks(random);
}

RandomIpRules::RandomIpRules(RandomSource& random) : random_(random) {
    const uint64_t count = random.between(1, 4);
    for (uint64_t i = 0; i < count; ++i) {
        const std::vector<Number128> centres = {
            mappedNumber(random.bits32()),
            mappedNumber(random.bits32()),
            randomBits128(random),
            FIRST_MAPPED,
            LAST_MAPPED,
            Number128{0},
            LAST_ADDRESS,
            // A carry runs through all words here.
            makeNumber(random.bits(), 0),
        };
        clusters_.push_back({random.pick(centres), static_cast<uint32_t>(random.between(1, 20))});
    }
}

Number128 RandomIpRules::nextAddress() {
    const Cluster& cluster = random_.pick(clusters_);
    const uint64_t spread = uint64_t{1} << cluster.spreadBits;
    return cluster.centre + random_.below(spread) - spread / 2;
}

AddressRange RandomIpRules::nextRange() {
    const Number128 address = nextAddress();
    switch (random_.below(6)) {
        case 0:
        case 1:
            return {address, address, false};
        case 2: {
            const uint32_t freeBits = random_.below32(random_.oneIn(20) ? 128 : 20);
            const Number128 rest = freeBits == 0 ? 0 : LAST_ADDRESS >> (128 - freeBits);
            return {address & ~rest, address | rest, false};
        }
        case 3: {
            const Number128 other = nextAddress();
            return {std::min(address, other), std::max(address, other), false};
        }
        default: {
            const Number128 length = random_.below(uint64_t{1} << random_.below(12));
            return {address, address + std::min(length, LAST_ADDRESS - address), false};
        }
    }
}

std::string RandomIpRules::nextText() {
    if (!earlier_.empty() && random_.oneIn(4)) {
        return writeRange(random_.pick(earlier_), random_);
    }
    earlier_.push_back(nextRange());
    return writeRange(earlier_.back(), random_);
}

std::vector<Number128> edgesOf(const AddressRange& range) {
    return {range.low - 1, range.low, range.low + 1, range.high - 1, range.high, range.high + 1};
}

std::string randomPortText(RandomSource& random) {
    if (random.oneIn(20)) {
        return "*";
    }
    std::string text;
    const uint64_t items = random.oneIn(2) ? 1 : random.between(1, 6);
    for (uint64_t i = 0; i < items; ++i) {
        const uint64_t low = random.below(random.oneIn(2) ? 100 : 65537);
        text += i == 0 ? "" : ",";
        text += std::string(random.oneIn(6) ? random.below(4) : 0, '0') + std::to_string(low);
        if (random.oneIn(2)) {
            text += '-' + std::to_string(random.below(random.oneIn(2) ? 100 : 65537));
        }
    }
    return text;
}

std::string mutate(std::string_view text, RandomSource& random) {
    constexpr std::string_view BYTES =
        "0123456789abcdefABCDEF::::....--//,,** \t\r\ngxz[]%\x80\xFF";
    constexpr std::array<std::string_view, 8> PIECES = {"::", "0", "1:", "1.2.3.4",
                                                        "-",  "/", "/1", ","};
    std::string mutated(text);
    const uint64_t count = random.between(1, 3);
    for (uint64_t i = 0; i < count; ++i) {
        const size_t at = random.below(mutated.size() + 1);
        const char byte = random.oneIn(50) ? '\0' : BYTES[random.below(BYTES.size())];
        switch (random.below(5)) {
            case 0:
                mutated.insert(at, 1, byte);
                break;
            case 1:
                mutated.replace(at, 1, 1, byte);
                break;
            case 2:
                mutated.insert(at, PIECES[random.below(PIECES.size())]);
                break;
            case 3:
                mutated.insert(at, mutated.substr(random.below(mutated.size() + 1), 4));
                break;
            default:
                mutated.erase(at, random.between(1, 3));
                break;
        }
    }
    return mutated;
}

}  // namespace rs::test
