#include "support/reference_host.h"

#include <algorithm>

namespace rs::test {

namespace {

constexpr size_t LONGEST_HOST = 255;
constexpr size_t LONGEST_LABEL = 63;
constexpr size_t LONGEST_RAW_LABEL = 255;

bool isRaw(char byte) {
    return static_cast<unsigned char>(byte) >= 0x80;
}

bool isStrictLabelByte(char byte) {
    const std::string_view known =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-%";
    return isRaw(byte) || known.find(byte) != std::string_view::npos;
}

int hexValue(char byte) {
    const size_t found = std::string_view("0123456789abcdef").find(lowerByte(byte));
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

Outcome refused(size_t room) {
    return {RULE_ERR_BAD_RULE, {}, room};
}

// The bytes of a label with its escapes decoded; nothing when one is not well formed.
std::optional<std::string> decodeLabel(std::string_view label) {
    std::string decoded;
    for (size_t i = 0; i < label.size(); ++i) {
        if (label[i] != '%') {
            decoded += lowerByte(label[i]);
            continue;
        }
        if (!hasEscapeAt(label, i)) {
            return std::nullopt;
        }
        decoded += lowerByte(escapedByteAt(label, i));
        i += 2;
    }
    return decoded;
}

Outcome strictLabel(std::string_view label) {
    const std::optional<std::string> decoded = decodeLabel(label);
    if (!decoded || decoded->empty() || decoded->size() > LONGEST_RAW_LABEL) {
        return refused(0);
    }
    if (std::none_of(decoded->begin(), decoded->end(), isRaw)) {
        return decoded->size() > LONGEST_LABEL ? refused(0)
                                               : Outcome{RULE_OK, *decoded, decoded->size()};
    }
    const auto codePoints = readCodePoints(*decoded, true);
    if (!codePoints || codePoints->size() > LONGEST_LABEL) {
        return refused(0);
    }
    // A label that is too long is only found out once it is written.
    const std::string encoded = encodePunycode(*codePoints);
    return encoded.size() > LONGEST_LABEL ? refused(encoded.size())
                                          : Outcome{RULE_OK, encoded, encoded.size()};
}

// What the copy for rules looks at on its way; the copy for names looks at nothing.
class LabelCheck {
public:
    // False when a rule may not go on with this byte of its text.
    bool goOn(char byte) {
        if (byte == '.') {
            const bool isGood = count_ >= 1 && count_ <= LONGEST_LABEL;
            count_ = 0;
            return isGood;
        }
        ++count_;
        return std::string_view("#/:?").find(byte) == std::string_view::npos;
    }

    bool isLastGood() const { return count_ <= LONGEST_LABEL; }

private:
    size_t count_ = 0;
};

Outcome literalCopy(std::string_view name, bool isRule) {
    std::string copy;
    LabelCheck check;
    for (size_t i = 0; i < name.size(); ++i) {
        if (isRule && !check.goOn(name[i])) {
            return refused(copy.size());
        }
        if (hasEscapeAt(name, i)) {
            copy += lowerByte(escapedByteAt(name, i));
            i += 2;
        } else {
            copy += lowerByte(name[i]);
        }
    }
    const size_t room = copy.size();
    if (isRule && !check.isLastGood()) {
        return refused(room);
    }
    return {RULE_OK, copy, room};
}

Outcome tolerantHost(std::string_view name, bool isRule) {
    Outcome outcome = strictHost(name);
    if (outcome.status == RULE_ERR_BAD_RULE) {
        const size_t strictRoom = outcome.room;
        outcome = literalCopy(name, isRule);
        // The strict form is tried first, and its lack of room is final.
        outcome.room = std::max(outcome.room, strictRoom);
    }
    if (outcome.status != RULE_OK) {
        return outcome;
    }
    if (isRule && outcome.text.size() > LONGEST_HOST) {
        return refused(outcome.room);
    }
    if (!outcome.text.empty() && outcome.text.back() == '.') {
        outcome.text.pop_back();
    }
    return outcome;
}

struct CaseRange {
    uint32_t first;
    uint32_t last;
    uint32_t step;
    int32_t distance;
};

// The first line that names a code point counts. A distance of 0 takes one out of a later line.
constexpr CaseRange CASE_RANGES[] = {
    {0x41, 0x5A, 1, 0x20},
    {0xD7, 0xD7, 1, 0},
    {0xC0, 0xDE, 1, 0x20},
    {0x130, 0x130, 1, 0x69 - 0x130},
    {0x100, 0x136, 2, 1},
    {0x139, 0x147, 2, 1},
    {0x179, 0x17D, 2, 1},
    {0x14A, 0x176, 2, 1},
    {0x178, 0x178, 1, 0xFF - 0x178},
    {0x181, 0x181, 1, 0x253 - 0x181},
    {0x186, 0x186, 1, 0x254 - 0x186},
    {0x18A, 0x18A, 1, 0x257 - 0x18A},
    {0x18E, 0x18E, 1, 0x258 - 0x18E},
    {0x18F, 0x18F, 1, 0x259 - 0x18F},
    {0x190, 0x190, 1, 0x25B - 0x190},
    {0x193, 0x193, 1, 0x260 - 0x193},
    {0x194, 0x194, 1, 0x263 - 0x194},
    {0x196, 0x196, 1, 0x269 - 0x196},
    {0x197, 0x197, 1, 0x268 - 0x197},
    {0x19C, 0x19C, 1, 0x26F - 0x19C},
    {0x19D, 0x19D, 1, 0x272 - 0x19D},
    {0x19F, 0x19F, 1, 0x275 - 0x19F},
    {0x1A9, 0x1A9, 1, 0x283 - 0x1A9},
    {0x1AE, 0x1AE, 1, 0x288 - 0x1AE},
    {0x1B7, 0x1B7, 1, 0x292 - 0x1B7},
    {0x1B1, 0x1B2, 1, 0xD9},
    {0x182, 0x184, 2, 1},
    {0x187, 0x187, 1, 1},
    {0x18B, 0x18B, 1, 1},
    {0x191, 0x191, 1, 1},
    {0x198, 0x198, 1, 1},
    {0x1A0, 0x1A4, 2, 1},
    {0x1A7, 0x1A7, 1, 1},
    {0x1AC, 0x1AC, 1, 1},
    {0x1AF, 0x1AF, 1, 1},
    {0x1B3, 0x1B5, 2, 1},
    {0x1B8, 0x1B8, 1, 1},
    {0x1BC, 0x1BC, 1, 1},
    {0x1CD, 0x1CF, 2, 1},
    {0x1C4, 0x1C4, 1, 2},
    {0x1C5, 0x1C5, 1, 1},
    {0x1C7, 0x1C7, 1, 2},
    {0x1C8, 0x1C8, 1, 1},
    {0x1CA, 0x1CA, 1, 2},
    {0x1CB, 0x1CB, 1, 1},
    {0x1D1, 0x1DB, 2, 1},
    {0x1DE, 0x1DE, 1, 1},
    {0x1E0, 0x1EE, 2, 1},
    {0x1F4, 0x1F4, 1, 1},
    {0x1FA, 0x1FE, 2, 1},
    {0x200, 0x216, 2, 1},
    {0x1F1, 0x1F1, 1, 2},
    {0x386, 0x386, 1, 0x3AC - 0x386},
    {0x388, 0x38A, 1, 0x25},
    {0x38C, 0x38C, 1, 0x3CC - 0x38C},
    {0x38E, 0x38F, 1, 0x3F},
    {0x3A2, 0x3A2, 1, 0},
    {0x391, 0x3AB, 1, 0x20},
    {0x3E2, 0x3EE, 2, 1},
    {0x40D, 0x40D, 1, 0},
    {0x401, 0x40F, 1, 0x50},
    {0x410, 0x42F, 1, 0x20},
    {0x460, 0x480, 2, 1},
    {0x490, 0x4BE, 2, 1},
    {0x4C5, 0x4C5, 1, 0},
    {0x4C9, 0x4C9, 1, 0},
    {0x4C1, 0x4CB, 2, 1},
    {0x4EC, 0x4EC, 1, 0},
    {0x4D0, 0x4EE, 2, 1},
    {0x4F6, 0x4F6, 1, 0},
    {0x4F0, 0x4F8, 2, 1},
    {0x531, 0x556, 1, 0x30},
    {0x10A0, 0x10C5, 1, 0x30},
    {0x1E00, 0x1E94, 2, 1},
    {0x1EA0, 0x1EF8, 2, 1},
    {0x1F08, 0x1F0F, 1, -8},
    {0x1F18, 0x1F1D, 1, -8},
    {0x1F28, 0x1F2F, 1, -8},
    {0x1F38, 0x1F3F, 1, -8},
    {0x1F48, 0x1F4D, 1, -8},
    {0x1F59, 0x1F5F, 2, -8},
    {0x1F68, 0x1F6F, 1, -8},
    {0x1F88, 0x1F8F, 1, -8},
    {0x1F98, 0x1F9F, 1, -8},
    {0x1FA8, 0x1FAF, 1, -8},
    {0x1FB8, 0x1FB9, 1, -8},
    {0x1FD8, 0x1FD9, 1, -8},
    {0x1FE8, 0x1FE9, 1, -8},
    {0x24B6, 0x24CF, 1, 0x1A},
    {0xFF21, 0xFF3A, 1, 0x20},
};

// The lengths of sequences by their lead byte; 0 for a byte that leads none.
size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC0) {
        return 0;
    }
    if (lead < 0xE0) {
        return 2;
    }
    if (lead < 0xF0) {
        return 3;
    }
    return lead < 0xF8 ? 4 : 0;
}

// The bias of the next delta, and the digits of a delta: RFC 3492 sections 6.1 and 6.3.
class PunycodeBias {
public:
    int64_t threshold(int64_t k) const { return std::clamp<int64_t>(k - bias_, 1, 26); }

    void adapt(int64_t delta, int64_t points) {
        delta /= isFirst_ ? 700 : 2;
        isFirst_ = false;
        delta += delta / points;
        int64_t k = 0;
        while (delta > 455) {
            delta /= 35;
            k += 36;
        }
        bias_ = k + 36 * delta / (delta + 38);
    }

private:
    int64_t bias_ = 72;
    bool isFirst_ = true;
};

constexpr std::string_view PUNYCODE_DIGITS = "abcdefghijklmnopqrstuvwxyz0123456789";

std::string digitsOf(int64_t delta, const PunycodeBias& bias) {
    std::string digits;
    for (int64_t k = 36;; k += 36) {
        const int64_t threshold = bias.threshold(k);
        if (delta < threshold) {
            return digits + PUNYCODE_DIGITS[static_cast<size_t>(delta)];
        }
        digits += PUNYCODE_DIGITS[static_cast<size_t>(threshold +
                                                      (delta - threshold) % (36 - threshold))];
        delta = (delta - threshold) / (36 - threshold);
    }
}

bool isAsciiPoint(uint32_t codePoint) {
    return codePoint < 0x80;
}

}  // namespace

bool isBlankByte(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && isBlankByte(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlankByte(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

char lowerByte(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
}

std::string lowerBytes(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), lowerByte);
    return lowered;
}

bool hasEscapeAt(std::string_view text, size_t at) {
    return text[at] == '%' && text.size() - at >= 3 && hexValue(text[at + 1]) >= 0 &&
           hexValue(text[at + 2]) >= 0;
}

char escapedByteAt(std::string_view text, size_t at) {
    return static_cast<char>(hexValue(text[at + 1]) * 16 + hexValue(text[at + 2]));
}

uint32_t lowerCodePointByTable(uint32_t codePoint) {
    for (const CaseRange& range : CASE_RANGES) {
        if (codePoint >= range.first && codePoint <= range.last &&
            (codePoint - range.first) % range.step == 0) {
            return static_cast<uint32_t>(static_cast<int64_t>(codePoint) + range.distance);
        }
    }
    return codePoint;
}

std::optional<std::vector<uint32_t>> readCodePoints(std::string_view bytes, bool lowerCase) {
    std::vector<uint32_t> codePoints;
    while (!bytes.empty()) {
        const auto lead = static_cast<unsigned char>(bytes[0]);
        const size_t length = sequenceLength(lead);
        if (length == 0 || bytes.size() < length) {
            return std::nullopt;
        }
        uint32_t codePoint = length == 1 ? lead : lead & (0x7FU >> length);
        for (size_t i = 1; i < length; ++i) {
            const auto next = static_cast<unsigned char>(bytes[i]);
            if (next < 0x80 || next > 0xBF) {
                return std::nullopt;
            }
            codePoint = codePoint * 64 + (next - 0x80U);
        }
        codePoints.push_back(lowerCase ? lowerCodePointByTable(codePoint) : codePoint);
        bytes.remove_prefix(length);
    }
    return codePoints;
}

std::string encodePunycode(const std::vector<uint32_t>& codePoints) {
    std::string basic;
    for (const uint32_t codePoint : codePoints) {
        if (isAsciiPoint(codePoint)) {
            basic += static_cast<char>(codePoint);
        }
    }
    if (basic.size() == codePoints.size()) {
        return basic;
    }
    std::string label = "xn--" + basic + (basic.empty() ? "" : "-");
    PunycodeBias bias;
    int64_t written = static_cast<int64_t>(basic.size());
    int64_t delta = 0;
    uint32_t next = 0x80;
    while (written < static_cast<int64_t>(codePoints.size())) {
        uint32_t smallest = UINT32_MAX;
        for (const uint32_t codePoint : codePoints) {
            if (codePoint >= next) {
                smallest = std::min(smallest, codePoint);
            }
        }
        delta += static_cast<int64_t>(smallest - next) * (written + 1);
        for (const uint32_t codePoint : codePoints) {
            if (codePoint < smallest) {
                ++delta;
            } else if (codePoint == smallest) {
                label += digitsOf(delta, bias);
                bias.adapt(delta, ++written);
                delta = 0;
            }
        }
        ++delta;
        next = smallest + 1;
    }
    return label;
}

std::optional<std::vector<uint32_t>> decodePunycode(std::string_view label) {
    if (label.substr(0, 4) != "xn--") {
        return std::nullopt;
    }
    label.remove_prefix(4);
    const size_t delimiter = label.rfind('-');
    std::vector<uint32_t> codePoints;
    if (delimiter != std::string_view::npos) {
        codePoints.assign(label.begin(), label.begin() + static_cast<std::ptrdiff_t>(delimiter));
        label.remove_prefix(delimiter + 1);
    }
    PunycodeBias bias;
    int64_t codePoint = 0x80;
    int64_t at = 0;
    while (!label.empty()) {
        int64_t delta = 0;
        int64_t weight = 1;
        for (int64_t k = 36;; k += 36) {
            const size_t digit =
                label.empty() ? std::string_view::npos : PUNYCODE_DIGITS.find(label.front());
            if (digit == std::string_view::npos || weight > INT32_MAX) {
                return std::nullopt;
            }
            label.remove_prefix(1);
            delta += static_cast<int64_t>(digit) * weight;
            const int64_t threshold = bias.threshold(k);
            if (static_cast<int64_t>(digit) < threshold) {
                break;
            }
            weight *= 36 - threshold;
        }
        const int64_t points = static_cast<int64_t>(codePoints.size()) + 1;
        bias.adapt(delta, points);
        codePoint += (at + delta) / points;
        at = (at + delta) % points;
        codePoints.insert(codePoints.begin() + at, static_cast<uint32_t>(codePoint));
        ++at;
    }
    return codePoints;
}

Outcome strictHost(std::string_view name) {
    if (name.empty()) {
        return {RULE_ERR_INVALID_ARG, {}, 0};
    }
    std::string host;
    std::string label;
    for (const char byte : name) {
        if (byte != '.') {
            if (!isStrictLabelByte(byte)) {
                return refused(host.size());
            }
            label += byte;
            continue;
        }
        const Outcome outcome = strictLabel(label);
        if (outcome.status != RULE_OK) {
            return refused(host.size() + outcome.room);
        }
        host += outcome.text + '.';
        label.clear();
    }
    const size_t roomWithDot = host.size();
    if (label.empty()) {
        host.pop_back();
    } else {
        const Outcome outcome = strictLabel(label);
        if (outcome.status != RULE_OK) {
            return refused(host.size() + outcome.room);
        }
        host += outcome.text;
    }
    const size_t room = std::max(roomWithDot, host.size());
    return host.size() > LONGEST_HOST ? refused(room) : Outcome{RULE_OK, host, room};
}

Outcome ruleHost(std::string_view name) {
    return tolerantHost(name, true);
}

Outcome matchHost(std::string_view name) {
    return tolerantHost(name, false);
}

std::optional<std::vector<std::string>> labelsOf(std::string_view name) {
    std::vector<std::string> labels;
    for (;;) {
        const size_t dot = name.find('.');
        labels.emplace_back(name.substr(0, dot));
        if (labels.back().empty() || labels.back().size() > 255) {
            return std::nullopt;
        }
        if (dot == std::string_view::npos) {
            return labels;
        }
        name.remove_prefix(dot + 1);
    }
}

}  // namespace rs::test
