#include "domain/host_name.h"

#include <ruleset.h>

#include "domain/plain_name.h"
#include "domain/punycode.h"
#include "domain/utf8.h"
#include "syntax/ascii.h"
#include "syntax/percent.h"
#include "syntax/text_writer.h"

namespace rs {

namespace {

// The longest label that decoding may leave, before it is encoded as ASCII.
constexpr uint32_t MAX_DECODED_LABEL = 255;

enum class HostCharClass : uint8_t { INVALID, SEPARATOR, NON_ASCII, LABEL };

HostCharClass hostCharClass(char byte) noexcept {
    if (!isAscii(byte)) {
        return HostCharClass::NON_ASCII;
    }
    if (byte == '.') {
        return HostCharClass::SEPARATOR;
    }
    const char lower = lowerAscii(byte);
    const bool isLabelByte =
        (lower >= 'a' && lower <= 'z') || isDecimalDigit(byte) || byte == '-' || byte == '%';
    return isLabelByte ? HostCharClass::LABEL : HostCharClass::INVALID;
}

int32_t copyAsciiLabel(const char* decoded, uint32_t length, char* out,
                       uint32_t* inOutCapacity) noexcept {
    if (length > MAX_LABEL_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    TextWriter writer(out, *inOutCapacity);
    if (!writer.put(Text{decoded, length})) {
        return RULE_ERR_BUFFER_SMALL;
    }
    *inOutCapacity = length;
    return RULE_OK;
}

// decoded has a readable byte after its end, which continues no UTF-8 sequence.
int32_t encodeUnicodeLabel(const char* decoded, uint32_t length, char* out,
                           uint32_t* inOutCapacity) noexcept {
    uint32_t codePoints[MAX_LABEL_LENGTH];
    uint32_t count = MAX_LABEL_LENGTH;
    if (utf8ToCodePoints(decoded, length, codePoints, &count, true) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    return punycodeEncode(codePoints, count, out, inOutCapacity, true, false);
}

int32_t appendLabel(TextWriter& writer, Text label, bool nonAscii) noexcept {
    return writer.append([label, nonAscii](char* out, uint32_t* inOutCapacity) noexcept {
        return normalizeHostLabel(label.text, label.length, out, inOutCapacity, nonAscii);
    });
}

// Ends a label at a '.' of the name.
int32_t appendLabelAndDot(TextWriter& writer, Text label, bool nonAscii) noexcept {
    const int32_t status = appendLabel(writer, label, nonAscii);
    if (status != RULE_OK) {
        return status;
    }
    return writer.put('.') ? RULE_OK : RULE_ERR_BUFFER_SMALL;
}

// Ends the name with its last label, or drops a trailing dot. The dot has been written then: the
// name has a byte at least, and a label before a dot is never empty.
int32_t finishName(TextWriter& writer, Text label, bool nonAscii) noexcept {
    if (label.isEmpty()) {
        writer.dropLast();
    } else {
        const int32_t status = appendLabel(writer, label, nonAscii);
        if (status != RULE_OK) {
            return status;
        }
    }
    return writer.length() <= MAX_HOST_LENGTH ? RULE_OK : RULE_ERR_BAD_RULE;
}

bool isForbiddenInRules(char byte) noexcept {
    return byte == '#' || byte == '/' || byte == ':' || byte == '?';
}

// The literal copy of a rule's host, see normalizeRuleHost.
int32_t copyRuleHost(const char* name, uint32_t length, TextWriter& writer) noexcept {
    uint32_t labelLength = 0;
    for (uint32_t i = 0; i < length;) {
        if (name[i] == '.') {
            if (labelLength == 0 || labelLength > MAX_LABEL_LENGTH) {
                return RULE_ERR_BAD_RULE;
            }
            labelLength = 0;
        } else if (isForbiddenInRules(name[i])) {
            return RULE_ERR_BAD_RULE;
        } else {
            ++labelLength;
        }
        const PercentByte next = readPercentByte(name + i, length - i, 0);
        if (!writer.put(next.byte)) {
            return RULE_ERR_BUFFER_SMALL;
        }
        i += next.length;
    }
    return labelLength <= MAX_LABEL_LENGTH ? RULE_OK : RULE_ERR_BAD_RULE;
}

// The literal copy of a name to be matched.
int32_t copyMatchHost(const char* name, uint32_t length, TextWriter& writer) noexcept {
    for (uint32_t i = 0; i < length;) {
        const PercentByte next = readPercentByte(name + i, length - i, 0);
        if (!writer.put(next.byte)) {
            return RULE_ERR_BUFFER_SMALL;
        }
        i += next.length;
    }
    return RULE_OK;
}

uint32_t lengthWithoutLastDot(const char* name, uint32_t length) noexcept {
    return length > 0 && name[length - 1] == '.' ? length - 1 : length;
}

// Whether whole blocks for a name would overwrite bytes that are still to be read: a caller may normalize in place.
bool overlapsName(const char* out, const char* name, uint32_t length) noexcept {
    const auto at = reinterpret_cast<uintptr_t>(out);
    const auto begin = reinterpret_cast<uintptr_t>(name);
    return at < begin + length && begin < at + plainNameRoom(length);
}

// Writes most names in one pass. False, with out unspecified, for a name that is not plain or has no room for whole
// blocks: the general way decides what becomes of it.
template <Underscores underscores>
bool writePlainName(const char* name, uint32_t length, char* out,
                    uint32_t* inOutCapacity) noexcept {
    if (*inOutCapacity < plainNameRoom(length) || overlapsName(out, name, length)) {
        return false;
    }
    const PlainName plain = lowerPlainName<underscores>(name, length, out);
    if (plain.length == 0) {
        return false;
    }
    *inOutCapacity = plain.length;
    return true;
}

// The strict normalizer for any name, label by label.
int32_t normalizeLabels(const char* name, uint32_t length, char* out,
                        uint32_t* inOutCapacity) noexcept {
    TextWriter writer(out, *inOutCapacity);
    uint32_t labelStart = 0;
    bool nonAscii = false;
    for (uint32_t i = 0; i < length; ++i) {
        const HostCharClass charClass = hostCharClass(name[i]);
        if (charClass == HostCharClass::INVALID) {
            return RULE_ERR_BAD_RULE;
        }
        nonAscii = nonAscii || charClass == HostCharClass::NON_ASCII;
        if (charClass != HostCharClass::SEPARATOR) {
            continue;
        }
        const int32_t status =
            appendLabelAndDot(writer, {name + labelStart, i - labelStart}, nonAscii);
        if (status != RULE_OK) {
            return status;
        }
        labelStart = i + 1;
        nonAscii = false;
    }
    const int32_t status = finishName(writer, {name + labelStart, length - labelStart}, nonAscii);
    if (status == RULE_OK) {
        *inOutCapacity = writer.length();
    }
    return status;
}

using CopyHost = int32_t (*)(const char* name, uint32_t length, TextWriter& writer) noexcept;

// The strict form, or a literal copy of what that refuses. The length still counts a last dot.
int32_t normalizeOrCopy(const char* name, uint32_t length, char* out, uint32_t* inOutCapacity,
                        CopyHost copyHost) noexcept {
    if (name == nullptr || length == 0 || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (writePlainName<Underscores::ALLOWED>(name, length, out, inOutCapacity)) {
        return RULE_OK;
    }
    uint32_t strictLength = *inOutCapacity;
    int32_t status = normalizeLabels(name, length, out, &strictLength);
    if (status == RULE_OK) {
        *inOutCapacity = strictLength;
    }
    if (status != RULE_ERR_BAD_RULE) {
        return status;
    }
    TextWriter writer(out, *inOutCapacity);
    status = copyHost(name, length, writer);
    if (status == RULE_OK) {
        *inOutCapacity = writer.length();
    }
    return status;
}

}  // namespace

int32_t percentDecodeLower(const char* label, uint32_t length, char* out, uint32_t* inOutCapacity,
                           bool* inOutNonAscii) noexcept {
    TextWriter writer(out, *inOutCapacity);
    for (uint32_t i = 0; i < length;) {
        const PercentByte next = readPercentByte(label + i, length - i, 0);
        if (!writer.put(next.byte)) {
            return RULE_ERR_BUFFER_SMALL;  // also when the escape is bad
        }
        if (label[i] == '%') {
            if (next.length == 1) {
                return RULE_ERR_BAD_RULE;
            }
            *inOutNonAscii = *inOutNonAscii || !isAscii(next.byte);
        }
        i += next.length;
    }
    *inOutCapacity = writer.length();
    return RULE_OK;
}

int32_t normalizeHostLabel(const char* label, uint32_t length, char* out, uint32_t* inOutCapacity,
                           bool nonAscii) noexcept {
    if (length == 0) {
        return RULE_ERR_BAD_RULE;
    }
    char decoded[MAX_DECODED_LABEL + 1];
    uint32_t decodedLength = MAX_DECODED_LABEL;
    if (percentDecodeLower(label, length, decoded, &decodedLength, &nonAscii) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    if (!nonAscii) {
        return copyAsciiLabel(decoded, decodedLength, out, inOutCapacity);
    }
    decoded[decodedLength] = 0;  // continues no UTF-8 sequence that the label's end cuts off
    return encodeUnicodeLabel(decoded, decodedLength, out, inOutCapacity);
}

int32_t normalizeHostName(const char* name, uint32_t length, char* out,
                          uint32_t* inOutCapacity) noexcept {
    if (name == nullptr || length == 0 || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return writePlainName<Underscores::REFUSED>(name, length, out, inOutCapacity)
               ? RULE_OK
               : normalizeLabels(name, length, out, inOutCapacity);
}

int32_t normalizeRuleHost(const char* name, uint32_t length, char* out,
                          uint32_t* inOutCapacity) noexcept {
    const int32_t status = normalizeOrCopy(name, length, out, inOutCapacity, copyRuleHost);
    if (status != RULE_OK) {
        return status;
    }
    if (*inOutCapacity > MAX_HOST_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    *inOutCapacity = lengthWithoutLastDot(out, *inOutCapacity);
    return RULE_OK;
}

int32_t normalizeMatchHost(const char* name, uint32_t length, char* out,
                           uint32_t* inOutCapacity) noexcept {
    const int32_t status = normalizeOrCopy(name, length, out, inOutCapacity, copyMatchHost);
    if (status == RULE_OK) {
        *inOutCapacity = lengthWithoutLastDot(out, *inOutCapacity);
    }
    return status;
}

}  // namespace rs
