// The option and the ident text of the library, for hosts that link statically.
#include <ruleset_static.h>

#include "core/library_option.h"
#include "core/version.h"

namespace rs {

int32_t setLibraryOption(int32_t option, int32_t value) noexcept {
    if (option != RULE_OPTION_IPV6) {
        return RULE_ERR_INVALID_ARG;
    }
    ipv6Enabled = value != 0 ? 1 : 0;
    return RULE_OK;
}

const char* getLibraryVersion() noexcept {
    return LIBRARY_VERSION;
}

}  // namespace rs
