#include "endpoint/insertion.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/plain_entry.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;

struct Structure {
    uint32_t count;
};

TEST(EndpointInsertion, CreatesAStructureOnce) {
    Structure* structure = nullptr;
    ASSERT_TRUE(createStructure(structure));
    const OwnedMemory<Structure> owner(structure);
    EXPECT_EQ(0, structure->count);
    EXPECT_TRUE(createStructure(structure));
    EXPECT_EQ(owner.get(), structure);
}

TEST(EndpointInsertion, AppendsWhatWasMade) {
    Chain<PlainEntry> chain{};
    EXPECT_TRUE(appendMadeEntry(chain, making(1)));
    EXPECT_FALSE(appendMadeEntry(chain, makeNothing));
    EXPECT_TRUE(appendMadeEntry(chain, making(2)));
    EXPECT_EQ(2, chain.last->ruleIndex);
    std::vector<uint32_t> rules;
    freeChain(chain.first, notingRules(rules));
    EXPECT_THAT(rules, ElementsAre(1, 2));
}

}  // namespace

}  // namespace rs::test
