// Groups without flat lookups, whose ordered structures answer alone: the same answers, to compare with.
//
// A state of the library without flat lookups can be measured with these sources, too.
#pragma once

#if __has_include("lookup/flat_policy.h")
#include "lookup/flat_policy.h"
#endif

namespace bench {

#if __has_include("lookup/flat_policy.h")

inline constexpr bool HAS_FLAT_LOOKUPS = true;

// While one lives, groups are built without flat lookups.
class WithoutFlatLookups {
public:
    WithoutFlatLookups() : before_(rs::flatUse) { rs::flatUse = rs::FlatUse::NEVER; }
    ~WithoutFlatLookups() { rs::flatUse = before_; }
    WithoutFlatLookups(const WithoutFlatLookups&) = delete;
    WithoutFlatLookups& operator=(const WithoutFlatLookups&) = delete;

private:
    rs::FlatUse before_;
};

#else

inline constexpr bool HAS_FLAT_LOOKUPS = false;

class WithoutFlatLookups {};

#endif

}  // namespace bench
