// Groups that the command builds, when memory runs out.
#include <ruleset.h>
#include <ruleset_static.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "domain/domain_compile.h"
#include "lookup/flat_policy.h"
#include "rule_handles.h"
#include "support/failing_allocator.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

TEST(CommandBuildFault, GoesOnWithWholeGroupsOnly) {
    const RuleSetHandle set =
        makeRuleSet(RULE_TYPE_FQDN, {{"a.test"}, {"*.b.test"}, {"a.test"}, {"*"}});
    uint32_t failedBuilds = 0;
    uint32_t holes = 0;
    uint32_t whole = 0;
    const uint64_t failures = failEachAllocation([&](uint64_t number) {
        const AllocationWatch watch(number);
        try {
            const cli::RuleGroupHandle group = cli::buildRuleGroup(*set);
            EXPECT_EQ(0U, rulesLeftOut(group.get()));
            whole += watch.hasFailed() ? 1 : 0;
        } catch (const std::bad_alloc&) {
            ++failedBuilds;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ("1 rules were left out: out of memory", error.what());
            ++holes;
        }
        EXPECT_EQ(0U, watch.liveBlockCount());
        return watch.hasFailed();
    });
    // The group, the index, and the two parts of each of the two tables.
    EXPECT_EQ(6U, failedBuilds);
    // The two parts of the entry of "*", the parts of the slab of entries and of names, and what finds equal names.
    EXPECT_EQ(8U, holes);
    // Entries that cannot be packed stay as they are, and a flat lookup is not needed.
    EXPECT_EQ(wantsFlat(2, FLAT_DOMAIN_NAMES) ? 8U : 2U, whole);
    EXPECT_EQ(failures, failedBuilds + holes + whole);
}

}  // namespace

}  // namespace rs::test
