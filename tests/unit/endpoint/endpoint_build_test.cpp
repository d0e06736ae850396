#include "endpoint/endpoint_build.h"

#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/endpoint_text.h"
#include "support/plain_entry.h"

namespace rs::test {

namespace {

using ::testing::ElementsAre;

// A rule of one IPv4 address; 0 is for one that cannot enter, in the view of 128 bits.
struct Rule {
    ListLink links;
    uint32_t address;
};

struct Structure {
    uint32_t refCount;
    EntryList<PlainEntry>* any4;
    HashTable* exact4;
    BlockIndex<PlainEntry>* blocks4;
    EntryList<PlainEntry>* any6;
    HashTable* exact6;
    RangeList<PlainEntry>* ranges6;
    EndpointRecords<PlainEntry> records;
    EndpointLookups lookups;
};

uint32_t freedEntries = 0;

void releaseStructure(Structure** slot, const ReleaseInfo* /*info*/) noexcept {
    Structure* structure = dropFromSlot(slot);
    if (structure == nullptr) {
        return;
    }
    const auto freed = freeEntriesOf([structure](const auto& test) {
        return firstStatus(
            [&] { return scanList(structure->any4, test).status; },
            [&] { return scanAllExact<PlainEntry, uint32_t>(structure->exact4, test); },
            [&] { return scanAllBlocks(structure->blocks4, test); },
            [&] { return scanList(structure->any6, test).status; },
            [&] { return scanAllExact<PlainEntry, Address128>(structure->exact6, test); },
            [&] { return scanAllRanges(structure->ranges6, test); });
    });
    freedEntries += static_cast<uint32_t>(freed.size());
    freeMemory(structure->any4);
    hashDestroy(&structure->exact4);
    freeBlockIndex(structure->blocks4);
    freeMemory(structure->any6);
    hashDestroy(&structure->exact6);
    freeMemory(structure->ranges6);
    freeEndpointLookups(structure->lookups);
    freeEndpointRecords(structure->records);
    freeMemory(structure);
}

using Build = EndpointBuild<PlainEntry>;

Build startBuild(Structure& structure) noexcept {
    return {structure.any4,   structure.exact4,  structure.blocks4, structure.any6,
            structure.exact6, structure.ranges6, structure.records, structure.lookups};
}

bool enterIpv4View(const EntrySource<const Rule>& source, Build& build) noexcept {
    const uint32_t address = source.rule.address;
    return enterAddresses(build, address, address, making(source.ruleIndex));
}

bool enterIpv6View(const EntrySource<const Rule>& source, Build& build) noexcept {
    const Address128 address = mappedAddress(source.rule.address);
    return source.rule.address != 0 &&
           enterAddresses(build, address, address, making(source.ruleIndex));
}

class EndpointBuildTest : public ::testing::Test {
protected:
    void SetUp() override {
        freedEntries = 0;
        resetList(set.ipPortRules.head);
    }

    void TearDown() override { releaseStructure(&slot, nullptr); }

    void append(Rule& rule) {
        appendToList(set.ipPortRules.head, rule.links);
        ++set.ipPortRules.ruleCount;
    }

    Structure* compile() {
        return buildEndpointStructure<releaseStructure>(set, set.ipPortRules, slot, startBuild,
                                                        enterIpv4View, enterIpv6View);
    }

    static Lines linesOfStructure(const Structure& from) {
        const EndpointStructures<PlainEntry> structures{from.any4, from.exact4, from.blocks4,
                                                        from.any6, from.exact6, from.ranges6};
        return linesOf(structures, plainEntryText);
    }

    RuleSet set{};
    Structure* slot = nullptr;
};

TEST_F(EndpointBuildTest, FilesOneAddressApartFromARange) {
    ASSERT_NE(nullptr, compile()) << "without rules";
    Build build = startBuild(*slot);
    const Address128 last{{1, 0, 0, 9}};
    EXPECT_TRUE(enterAddresses(build, 5U, 5U, making(1)));
    EXPECT_TRUE(enterAddresses(build, 5U, 6U, making(2)));
    EXPECT_TRUE(enterAddresses(build, last, last, making(3)));
    EXPECT_TRUE(enterAddresses(build, FIRST_ADDRESS, last, making(4)));
    EXPECT_TRUE(enterRange(build, last, last, making(5)));
    EXPECT_THAT(linesOfStructure(*slot),
                ElementsAre("exact4 5 #1", "blocks4 0.0 5-6 #2", "exact6 1:0:0:9 #3",
                            "ranges6 0:0:0:0-1:0:0:9 #4", "ranges6 1:0:0:9 #5"));
}

TEST_F(EndpointBuildTest, EntersEveryRuleIntoBothViews) {
    Rule rules[] = {{{}, 7}, {{}, 8}};
    append(rules[0]);
    append(rules[1]);
    ASSERT_NE(nullptr, compile());
    EXPECT_EQ(1, slot->refCount);
    EXPECT_THAT(
        linesOfStructure(*slot),
        ElementsAre("exact4 7 #1", "exact4 8 #2", "exact6 0:0:ffff:7 #1", "exact6 0:0:ffff:8 #2"));
    releaseStructure(&slot, nullptr);
    EXPECT_EQ(4, freedEntries);
}

// The first pass enters three rules, the second one only.
TEST_F(EndpointBuildTest, FreesWhatHasEnteredWhenARuleCannotEnter) {
    Rule rules[] = {{{}, 7}, {{}, 0}, {{}, 8}};
    for (Rule& rule : rules) {
        append(rule);
    }
    Structure stale{};
    slot = &stale;
    EXPECT_EQ(nullptr, compile());
    EXPECT_EQ(nullptr, slot);
    EXPECT_EQ(4, freedEntries);
}

TEST(WholeSpace, ReachesFromTheFirstAddressToTheLast) {
    EXPECT_TRUE(isWholeSpace(0U, UINT32_MAX));
    EXPECT_FALSE(isWholeSpace(1U, UINT32_MAX));
    EXPECT_FALSE(isWholeSpace(0U, UINT32_MAX - 1));
    EXPECT_TRUE(isWholeSpace(FIRST_ADDRESS, LAST_ADDRESS));
    EXPECT_FALSE(isWholeSpace(FIRST_ADDRESS, mappedAddress(UINT32_MAX)));
    EXPECT_FALSE(isWholeSpace(mappedAddress(0), LAST_ADDRESS));
}

}  // namespace

}  // namespace rs::test
