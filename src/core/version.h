// The ident text of the library: a constant, which any thread may read.
#pragma once

namespace rs {

// Name, version, build platform and build date, as getLibraryVersion of <ruleset_static.h> shows it.
extern const char LIBRARY_VERSION[];

}  // namespace rs
