// Lists of items between commas.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstdint>

namespace rs {

// Calls take(item, itemLength) for the items of a list from left to right, empty ones included, up
// to the first that it does not answer RULE_OK for, and returns that answer.
template <typename Take>
int32_t forEachItem(const char* text, uint32_t length, const Take& take) noexcept {
    const char* const end = text + length;
    for (const char* item = text;; ++item) {
        const char* const comma = std::find(item, end, ',');
        const int32_t status = take(item, static_cast<uint32_t>(comma - item));
        if (status != RULE_OK || comma == end) {
            return status;
        }
        item = comma;
    }
}

}  // namespace rs
