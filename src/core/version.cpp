// The ident text of the library.
#include <ruleset_static.h>

namespace rs {

const char* getLibraryVersion() noexcept {
    return "ruleset " RULESET_VERSION " (" RULESET_BUILD_PLATFORM ", built " RULESET_BUILD_DATE ")";
}

}  // namespace rs
