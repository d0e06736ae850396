// One policy for flat lookups in a scope, whatever the mode of the program.
#pragma once

#include "lookup/flat_policy.h"

namespace rs::test {

class ScopedFlatUse {
public:
    explicit ScopedFlatUse(FlatUse use) : before_(flatUse) { flatUse = use; }
    ~ScopedFlatUse() { flatUse = before_; }
    ScopedFlatUse(const ScopedFlatUse&) = delete;
    ScopedFlatUse& operator=(const ScopedFlatUse&) = delete;

private:
    FlatUse before_;
};

}  // namespace rs::test
