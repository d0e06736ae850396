#include "endpoint/insertion.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "endpoint/entry_walk.h"
#include "support/plain_entry.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;

struct Structure {
    uint32_t count;
};

std::vector<uint32_t> freeAll(const Chain<PlainEntry>& chain) {
    return freeEntriesOf(
        [&chain](const auto& test) { return scanEntries<PlainEntry>(chain.first, test).status; });
}

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
    EXPECT_FALSE(appendMadeEntry(chain, MAKES_NOTHING));
    EXPECT_TRUE(appendMadeEntry(chain, making(2)));
    EXPECT_EQ(2, chain.last->ruleIndex);
    EXPECT_THAT(freeAll(chain), ElementsAre(1, 2));
}

// A rule is told by its last entry only: no entry of another rule comes between those of one.
TEST(EndpointInsertion, AppendsNoSecondEntryOfAMaker) {
    Chain<PlainEntry> chain{};
    for (const uint32_t rule : {1U, 1U, 2U, 2U, 1U}) {
        EXPECT_TRUE(appendMadeEntry(chain, making(rule)));
    }
    EXPECT_TRUE(appendMadeEntry(chain, PlainMaker(1, 0))) << "nothing has to be made";
    EXPECT_THAT(freeAll(chain), ElementsAre(1, 2, 1));
}

}  // namespace

}  // namespace rs::test
