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
    void TearDown() override {
        freeRangeList(&entry.firstPorts);
        freeRangeList(&entry.secondPorts);
    }

    // Reads the ports of a text of two fields of two bytes.
    bool read(const char* text) { return readPorts(Rule{text, {0, 2, 3, 2}, nullptr}, entry); }

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
    EXPECT_NE(nullptr, entry.firstPorts) << "which the entry owns";
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

}  // namespace

}  // namespace rs::test
