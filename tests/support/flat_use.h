// Which groups have flat lookups, for a part of a test.
#pragma once

#include "lookup/flat_policy.h"

namespace rs::test {

// Builds have flat lookups as it says while it exists, and as before afterwards.
class FlatUseScope {
public:
    explicit FlatUseScope(FlatUse use) : before_(flatUse) { flatUse = use; }
    ~FlatUseScope() { flatUse = before_; }
    FlatUseScope(const FlatUseScope&) = delete;
    FlatUseScope& operator=(const FlatUseScope&) = delete;

private:
    FlatUse before_;
};

}  // namespace rs::test
