// The ident text of the library.
#pragma once

namespace rs {

// Name, version, build platform and build date, as one constant line:
// "ruleset 5.200.1021 (linux-x86_64, built 2026-11-21)". The date is the day of SOURCE_DATE_EPOCH
// when that was set for the build.
const char* getLibraryVersion() noexcept;

}  // namespace rs
