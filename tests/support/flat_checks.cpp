#include "support/flat_checks.h"

#include <gtest/gtest.h>

#include "core/rule_group.h"

namespace rs::test {

void checkFlatLookups(const RuleGroup& group) {
    EXPECT_NE(0, group.refCount);
}

}  // namespace rs::test
