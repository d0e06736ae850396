#include "domain/unicode_lower.h"

#include <algorithm>
#include <iterator>

namespace rs {

namespace {

// Code points first, first + step, ... up to last, each of which moves by distance.
struct LowerRange {
    uint16_t first;
    uint16_t last;
    uint16_t step;
    int16_t distance;
};

constexpr LowerRange toLower(uint16_t upper, uint16_t lower) noexcept {
    return {upper, upper, 1, static_cast<int16_t>(lower - upper)};
}

// Alternating capital and small letters: each capital is followed by its small form.
constexpr LowerRange pairs(uint16_t first, uint16_t last) noexcept {
    return {first, last, 2, 1};
}

constexpr LowerRange block(uint16_t first, uint16_t last, int16_t distance) noexcept {
    return {first, last, 1, distance};
}

// In ascending order, without overlaps.
constexpr LowerRange LOWER_RANGES[] = {
    block(0x0041, 0x005A, 0x20),
    block(0x00C0, 0x00D6, 0x20),
    block(0x00D8, 0x00DE, 0x20),
    pairs(0x0100, 0x012E),
    // Deliberate: the dotted capital I becomes a plain ASCII i.
    toLower(0x0130, 0x0069),
    pairs(0x0132, 0x0136),
    pairs(0x0139, 0x0147),
    pairs(0x014A, 0x0176),
    toLower(0x0178, 0x00FF),
    pairs(0x0179, 0x017D),
    toLower(0x0181, 0x0253),
    pairs(0x0182, 0x0184),
    toLower(0x0186, 0x0254),
    pairs(0x0187, 0x0187),
    toLower(0x018A, 0x0257),
    pairs(0x018B, 0x018B),
    toLower(0x018E, 0x0258),
    toLower(0x018F, 0x0259),
    toLower(0x0190, 0x025B),
    pairs(0x0191, 0x0191),
    toLower(0x0193, 0x0260),
    toLower(0x0194, 0x0263),
    toLower(0x0196, 0x0269),
    toLower(0x0197, 0x0268),
    pairs(0x0198, 0x0198),
    toLower(0x019C, 0x026F),
    toLower(0x019D, 0x0272),
    toLower(0x019F, 0x0275),
    pairs(0x01A0, 0x01A4),
    pairs(0x01A7, 0x01A7),
    toLower(0x01A9, 0x0283),
    pairs(0x01AC, 0x01AC),
    toLower(0x01AE, 0x0288),
    pairs(0x01AF, 0x01AF),
    block(0x01B1, 0x01B2, 0xD9),
    pairs(0x01B3, 0x01B5),
    toLower(0x01B7, 0x0292),
    pairs(0x01B8, 0x01B8),
    pairs(0x01BC, 0x01BC),
    // Digraphs: the capital and the title form become the small form.
    toLower(0x01C4, 0x01C6),
    toLower(0x01C5, 0x01C6),
    toLower(0x01C7, 0x01C9),
    toLower(0x01C8, 0x01C9),
    toLower(0x01CA, 0x01CC),
    toLower(0x01CB, 0x01CC),
    pairs(0x01CD, 0x01DB),
    pairs(0x01DE, 0x01EE),
    toLower(0x01F1, 0x01F3),
    pairs(0x01F4, 0x01F4),
    pairs(0x01FA, 0x0216),
    toLower(0x0386, 0x03AC),
    block(0x0388, 0x038A, 0x25),
    toLower(0x038C, 0x03CC),
    block(0x038E, 0x038F, 0x3F),
    block(0x0391, 0x03A1, 0x20),
    block(0x03A3, 0x03AB, 0x20),
    pairs(0x03E2, 0x03EE),
    block(0x0401, 0x040C, 0x50),
    block(0x040E, 0x040F, 0x50),
    block(0x0410, 0x042F, 0x20),
    pairs(0x0460, 0x0480),
    pairs(0x0490, 0x04BE),
    pairs(0x04C1, 0x04C3),
    pairs(0x04C7, 0x04C7),
    pairs(0x04CB, 0x04CB),
    pairs(0x04D0, 0x04EA),
    pairs(0x04EE, 0x04F4),
    pairs(0x04F8, 0x04F8),
    block(0x0531, 0x0556, 0x30),
    block(0x10A0, 0x10C5, 0x30),
    pairs(0x1E00, 0x1E94),
    pairs(0x1EA0, 0x1EF8),
    block(0x1F08, 0x1F0F, -8),
    block(0x1F18, 0x1F1D, -8),
    block(0x1F28, 0x1F2F, -8),
    block(0x1F38, 0x1F3F, -8),
    block(0x1F48, 0x1F4D, -8),
    {0x1F59, 0x1F5F, 2, -8},
    block(0x1F68, 0x1F6F, -8),
    block(0x1F88, 0x1F8F, -8),
    block(0x1F98, 0x1F9F, -8),
    block(0x1FA8, 0x1FAF, -8),
    block(0x1FB8, 0x1FB9, -8),
    block(0x1FD8, 0x1FD9, -8),
    block(0x1FE8, 0x1FE9, -8),
    block(0x24B6, 0x24CF, 0x1A),
    block(0xFF21, 0xFF3A, 0x20),
};

constexpr bool isAscendingTable() noexcept {
    for (size_t i = 1; i < std::size(LOWER_RANGES); ++i) {
        if (LOWER_RANGES[i - 1].last >= LOWER_RANGES[i].first) {
            return false;
        }
    }
    return true;
}
static_assert(isAscendingTable());

}  // namespace

uint32_t lowerCodePoint(uint32_t codePoint) noexcept {
    const LowerRange* after = std::upper_bound(
        std::begin(LOWER_RANGES), std::end(LOWER_RANGES), codePoint,
        [](uint32_t value, const LowerRange& range) noexcept { return value < range.first; });
    if (after == std::begin(LOWER_RANGES)) {
        return codePoint;
    }
    const LowerRange& range = after[-1];
    if (codePoint > range.last || (codePoint - range.first) % range.step != 0) {
        return codePoint;
    }
    return codePoint + static_cast<uint32_t>(int32_t{range.distance});
}

}  // namespace rs
