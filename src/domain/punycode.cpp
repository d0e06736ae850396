#include "domain/punycode.h"

#include <ruleset.h>

#include <algorithm>

#include "syntax/ascii.h"
#include "syntax/text_writer.h"

namespace rs {

namespace {

constexpr uint32_t BASE = 36;
constexpr uint32_t T_MIN = 1;
constexpr uint32_t T_MAX = 26;
constexpr uint32_t SKEW = 38;
constexpr uint32_t DAMP = 700;
constexpr uint32_t INITIAL_BIAS = 72;
constexpr uint32_t INITIAL_N = 128;
constexpr Text PREFIX = literalText("xn--");

bool isBasic(uint32_t codePoint) noexcept {
    return codePoint < INITIAL_N;
}

// Delta and its like are kept in 31 bits: a value beyond is an overflow.
bool overflows(uint32_t value) noexcept {
    return static_cast<int32_t>(value) < 0;
}

int32_t putDelta(TextWriter& writer, uint32_t delta, uint32_t bias) noexcept {
    uint32_t rest = delta;
    for (uint32_t k = BASE;; k += BASE) {
        const uint32_t threshold = k <= bias ? T_MIN : std::min(k - bias, T_MAX);
        const bool isLast = rest < threshold;
        const uint32_t value = isLast ? rest : threshold + (rest - threshold) % (BASE - threshold);
        char digit = 0;
        if (punycodeDigit(value, false, &digit) != RULE_OK) {
            return RULE_ERR_BAD_RULE;
        }
        if (!writer.put(digit)) {
            return RULE_ERR_BUFFER_SMALL;
        }
        if (isLast) {
            return RULE_OK;
        }
        rest = (rest - threshold) / (BASE - threshold);
    }
}

// The encoder's state: all code points below n are in the output, handled of them so far.
struct Encoder {
    uint32_t n = INITIAL_N;
    uint32_t delta = 0;
    uint32_t bias = INITIAL_BIAS;
    uint32_t handled;
    uint32_t basicCount;
};

// Writes the deltas of all occurrences of code point n.
int32_t encodeOccurrences(const uint32_t* codePoints, uint32_t count, Encoder& state,
                          TextWriter& writer) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        if (codePoints[i] < state.n && (++state.delta == 0 || overflows(state.delta))) {
            return RULE_ERR_BAD_RULE;
        }
        if (codePoints[i] != state.n) {
            continue;
        }
        const int32_t status = putDelta(writer, state.delta, state.bias);
        if (status != RULE_OK) {
            return status;
        }
        const bool firstTime = state.handled == state.basicCount;
        punycodeAdapt(state.delta, state.handled + 1, firstTime, &state.bias);
        state.delta = 0;
        ++state.handled;
    }
    return RULE_OK;
}

int32_t encodeNonBasic(const uint32_t* codePoints, uint32_t count, uint32_t basicCount,
                       TextWriter& writer) noexcept {
    Encoder state{.handled = basicCount, .basicCount = basicCount};
    while (state.handled < count) {
        uint32_t next = UINT32_MAX;
        for (uint32_t i = 0; i < count; ++i) {
            if (codePoints[i] >= state.n) {
                next = std::min(next, codePoints[i]);
            }
        }
        state.delta += (next - state.n) * (state.handled + 1);
        if (overflows(state.delta)) {
            return RULE_ERR_BAD_RULE;
        }
        state.n = next;
        const int32_t status = encodeOccurrences(codePoints, count, state, writer);
        if (status != RULE_OK) {
            return status;
        }
        ++state.n;
        if (overflows(++state.delta)) {
            return RULE_ERR_BAD_RULE;
        }
    }
    return RULE_OK;
}

int32_t encodeLabel(const uint32_t* codePoints, uint32_t count, TextWriter& writer,
                    bool lowerBasic) noexcept {
    uint32_t basicCount = 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (!isBasic(codePoints[i])) {
            continue;
        }
        const char byte = static_cast<char>(codePoints[i]);
        if (!writer.put(lowerBasic ? lowerAscii(byte) : byte)) {
            return RULE_ERR_BUFFER_SMALL;
        }
        ++basicCount;
    }
    if (basicCount != 0 && !writer.put('-')) {
        return RULE_ERR_BUFFER_SMALL;
    }
    return encodeNonBasic(codePoints, count, basicCount, writer);
}

// A label that needs no encoding.
int32_t copyBasic(const uint32_t* codePoints, uint32_t count, TextWriter& writer) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        if (!writer.put(static_cast<char>(codePoints[i]))) {
            return RULE_ERR_BUFFER_SMALL;
        }
    }
    return RULE_OK;
}

}  // namespace

int32_t punycodeEncode(const uint32_t* codePoints, uint32_t count, char* out,
                       uint32_t* inOutCapacity, bool addPrefix, bool lowerBasic) noexcept {
    if (codePoints == nullptr || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (count > *inOutCapacity) {
        return RULE_ERR_BUFFER_SMALL;
    }
    TextWriter writer(out, *inOutCapacity);
    int32_t status = RULE_OK;
    if (std::all_of(codePoints, codePoints + count, isBasic)) {
        status = copyBasic(codePoints, count, writer);
    } else if (addPrefix && (writer.room() <= PREFIX.length || !writer.put(PREFIX))) {
        status = RULE_ERR_BUFFER_SMALL;  // a byte at least follows the prefix
    } else {
        status = encodeLabel(codePoints, count, writer, lowerBasic);
    }
    if (status != RULE_OK) {
        return status;
    }
    if (writer.length() > MAX_LABEL_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    *inOutCapacity = writer.length();
    return RULE_OK;
}

void punycodeAdapt(uint32_t delta, uint32_t numPoints, bool firstTime, uint32_t* biasOut) noexcept {
    delta /= firstTime ? DAMP : 2;
    delta += delta / numPoints;
    uint32_t k = 0;
    while (delta > (BASE - T_MIN) * T_MAX / 2) {
        delta /= BASE - T_MIN;
        k += BASE;
    }
    *biasOut = k + BASE * delta / (delta + SKEW);
}

int32_t punycodeDigit(uint32_t value, bool upperCase, char* charOut) noexcept {
    if (value >= BASE) {
        return RULE_ERR_BAD_RULE;
    }
    if (value < 26) {
        *charOut = static_cast<char>((upperCase ? 'A' : 'a') + static_cast<int32_t>(value));
    } else {
        *charOut = static_cast<char>('0' + static_cast<int32_t>(value) - 26);
    }
    return RULE_OK;
}

}  // namespace rs
