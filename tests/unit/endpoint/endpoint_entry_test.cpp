#include "endpoint/endpoint_entry.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Fields {
    uint32_t firstPortsOffset;
    uint32_t firstPortsLength;
    uint32_t secondPortsOffset;
    uint32_t secondPortsLength;
};

struct Rule {
    const char* text;
    Fields fields;
    void* userData;
};

struct Entry {
    PortRange* firstPorts;
    PortRange* secondPorts;
};

class EntryPorts : public ::testing::Test {
protected:
    void TearDown() override { freeSlab(ports); }

    // Reads the ports of a text of two fields of two bytes.
    bool read(const char* text) {
        return readPorts(Rule{text, {0, 2, 3, 2}, nullptr}, ports, entry);
    }

    Slab<PortRange> ports{};
    Entry entry{};
};

TEST_F(EntryPorts, AreReadFromBothFields) {
    ASSERT_TRUE(read("80;99"));
    EXPECT_EQ(80, entry.firstPorts->low);
    EXPECT_EQ(99, entry.secondPorts->low);
}

TEST_F(EntryPorts, AreNotReadFromABadField) {
    EXPECT_FALSE(read("8x;99"));
    EXPECT_EQ(nullptr, entry.firstPorts);
    EXPECT_FALSE(read("80;9x"));
    EXPECT_NE(nullptr, entry.firstPorts) << "which is read first";
    EXPECT_EQ(nullptr, entry.secondPorts);
}

TEST(EntryClaims, GiveUserDataToTheFirstEntryOfARule) {
    int userData = 0;
    uint8_t claims[3] = {};
    Rule rule{"", {}, &userData};
    const EntrySource<Rule> source{rule, 2, claims};
    uint32_t firstFlags = 0;
    uint32_t secondFlags = 0;
    claimUserData(source, firstFlags);
    claimUserData(source, secondFlags);
    EXPECT_EQ(ENTRY_RELEASES_USER_DATA, firstFlags);
    EXPECT_EQ(0, secondFlags);
    EXPECT_EQ(0, claims[0]);
    EXPECT_EQ(1, claims[1]);
    EXPECT_EQ(0, claims[2]);
}

TEST(EntryClaims, AreNotNeededWithoutUserData) {
    const Rule rule{"", {}, nullptr};
    uint32_t flags = 0;
    claimUserData(EntrySource<const Rule>{rule, 1, nullptr}, flags);
    EXPECT_EQ(0, flags);
}

// An entry with what makers ask of one, and a list of one port.
struct SharingEntry {
    PortRange* firstPorts;
    uint32_t flags;
    SharingEntry* next;
};

constexpr uint32_t& releaseFlagsOf(SharingEntry& entry) {
    return entry.flags;
}

class SharedLists : public ::testing::Test {
protected:
    void TearDown() override {
        freeSlab(entries);
        freeSlab(ports);
    }

    // Makers count what they make first.
    auto maker(SharingEntry*& first) {
        return EntryMaker(entries, first, [this]() -> SharingEntry* {
            SharingEntry* entry = newRecord(entries);
            entry->firstPorts = makeRange<uint16_t>(ports, 80, 80);
            entry->flags = ENTRY_RELEASES_USER_DATA;
            return entry;
        });
    }

    Slab<SharingEntry> entries{};
    Slab<PortRange> ports{};
};

TEST_F(SharedLists, AreMadeOnce) {
    SharingEntry* first = nullptr;
    const auto makeEntry = maker(first);
    SharingEntry* entry = makeEntry();
    EXPECT_EQ(first, entry);
    first->next = first;
    const SharingEntry* second = makeEntry();
    const SharingEntry* third = makeEntry();
    EXPECT_EQ(3, entries.count);
    EXPECT_EQ(1, ports.count);
    EXPECT_EQ(first->firstPorts, second->firstPorts);
    EXPECT_EQ(first->firstPorts, third->firstPorts);
    EXPECT_EQ(0, second->flags) << "userData stays with the first";
    EXPECT_EQ(nullptr, second->next);
}

TEST_F(SharedLists, TellTheEntriesOfAMakerFromOthers) {
    SharingEntry* first = nullptr;
    SharingEntry* other = nullptr;
    const auto makeEntry = maker(first);
    const auto makeOther = maker(other);
    const SharingEntry* made = makeEntry();
    EXPECT_FALSE(makeOther.made(*made)) << "a maker that has made none";
    const SharingEntry* otherMade = makeOther();
    const SharingEntry* second = makeEntry();
    EXPECT_TRUE(makeEntry.made(*made));
    EXPECT_TRUE(makeEntry.made(*second));
    EXPECT_FALSE(makeEntry.made(*otherMade)) << "equal lists, but not the same";
}

}  // namespace

}  // namespace rs::test
