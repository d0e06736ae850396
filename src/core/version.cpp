#include "core/version.h"

namespace rs {

const char LIBRARY_VERSION[] =
    "ruleset " RULESET_VERSION " (" RULESET_BUILD_PLATFORM ", built " RULESET_BUILD_DATE ")";

}  // namespace rs
