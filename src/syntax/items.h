// Lists of items between commas.
//
//     80,,90    ->   take("80")  take("")  take("90")       an empty list has one empty item
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "syntax/text.h"

namespace rs {

// Calls take(item) for the items of a list from left to right, empty ones included. Stops at the
// first status but RULE_OK and returns it.
template <typename Take>
[[nodiscard]] int32_t forEachItem(Text list, const Take& take) noexcept {
    for (;;) {
        const uint32_t length = list.find(',');
        const int32_t status = take(list.first(length));
        if (status != RULE_OK || length == list.length) {
            return status;
        }
        list = list.from(length + 1);
    }
}

}  // namespace rs
