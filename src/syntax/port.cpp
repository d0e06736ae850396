#include "syntax/port.h"

#include <ruleset.h>

#include "syntax/ascii.h"
#include "syntax/items.h"

namespace rs {

namespace {

// Position of the last '-', or length without one.
uint32_t lastDash(const char* text, uint32_t length) noexcept {
    for (uint32_t i = length; i > 0; --i) {
        if (text[i - 1] == '-') {
            return i - 1;
        }
    }
    return length;
}

}  // namespace

int32_t parsePort(const char* text, uint32_t length, uint16_t* out) noexcept {
    if (text == nullptr || length == 0 || length > 5) {
        return RULE_ERR_BAD_RULE;
    }
    uint32_t value = 0;
    for (uint32_t i = 0; i < length; ++i) {
        if (!isDecimalDigit(text[i])) {
            return RULE_ERR_BAD_RULE;
        }
        value = value * 10 + static_cast<uint32_t>(text[i] - '0');
    }
    if (value == 0 || value > 65535) {
        return RULE_ERR_BAD_RULE;
    }
    *out = static_cast<uint16_t>(value);
    return RULE_OK;
}

int32_t parsePortPair(const char* text, uint32_t length, PortPair* out) noexcept {
    if (text == nullptr) {
        return RULE_ERR_BAD_RULE;
    }
    const uint32_t dash = lastDash(text, length);
    PortPair pair{};
    if (parsePort(text, dash, &pair.low) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    pair.high = pair.low;
    if (dash < length && (parsePort(text + dash + 1, length - dash - 1, &pair.high) != RULE_OK ||
                          pair.low > pair.high)) {
        return RULE_ERR_BAD_RULE;
    }
    *out = pair;
    return RULE_OK;
}

int32_t checkPortItem(const char* text, uint32_t length) noexcept {
    PortPair ports{};
    return parsePortPair(text, length, &ports);
}

int32_t checkPortField(const char* text, uint32_t length) noexcept {
    if (text == nullptr || length == 0) {
        return RULE_ERR_BAD_RULE;
    }
    if (text[0] == '*') {
        return length == 1 ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    return forEachItem(text, length, checkPortItem);
}

}  // namespace rs
