#include "lookup/flat_policy.h"

namespace rs {

FlatUse flatUse = FlatUse::BY_SIZE;

bool wantsFlat(uint64_t count, uint64_t threshold) noexcept {
    switch (flatUse) {
        case FlatUse::ALWAYS:
            return count != 0;
        case FlatUse::NEVER:
            return false;
        case FlatUse::BY_SIZE:
            break;
    }
    return count >= threshold;
}

}  // namespace rs
