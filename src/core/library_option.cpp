#include "core/library_option.h"

#include <ruleset_static.h>

namespace rs {

uint32_t ipv6Enabled = 1;

int32_t setLibraryOption(int32_t option, int32_t value) noexcept {
    if (option != RULE_OPTION_IPV6) {
        return RULE_ERR_INVALID_ARG;
    }
    ipv6Enabled = value != 0 ? 1 : 0;
    return RULE_OK;
}

}  // namespace rs
