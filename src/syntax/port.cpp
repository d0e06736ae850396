#include "syntax/port.h"

#include <ruleset.h>

#include "syntax/items.h"
#include "syntax/number.h"

namespace rs {

namespace {

constexpr NumberForm PORT{.maxLength = 5, .minValue = 1, .maxValue = UINT16_MAX};

// Position of the last '-', or length without one.
uint32_t lastDash(Text text) noexcept {
    for (uint32_t i = text.length; i > 0; --i) {
        if (text.text[i - 1] == '-') {
            return i - 1;
        }
    }
    return text.length;
}

}  // namespace

int32_t parsePort(Text text, uint16_t* out) noexcept {
    return text.text != nullptr && readNumber<PORT>(text, *out) ? RULE_OK : RULE_ERR_BAD_RULE;
}

int32_t parsePortPair(Text text, PortPair* out) noexcept {
    if (text.text == nullptr) {
        return RULE_ERR_BAD_RULE;
    }
    const uint32_t dash = lastDash(text);
    PortPair pair{};
    if (parsePort(text.first(dash), &pair.low) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    pair.high = pair.low;
    if (dash < text.length &&
        (parsePort(text.from(dash + 1), &pair.high) != RULE_OK || pair.low > pair.high)) {
        return RULE_ERR_BAD_RULE;
    }
    *out = pair;
    return RULE_OK;
}

int32_t checkPortItem(Text text) noexcept {
    PortPair ports{};
    return parsePortPair(text, &ports);
}

int32_t checkPortField(Text text) noexcept {
    if (text.text == nullptr || text.isEmpty()) {
        return RULE_ERR_BAD_RULE;
    }
    if (*text.text == '*') {
        return text.length == 1 ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    return forEachItem(text, checkPortItem);
}

}  // namespace rs
