#include "lookup/open_table.h"

#include <cstdint>
#include <map>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

struct Slot {
    uint64_t hash;
    uint32_t key;
    uint32_t value;

    [[nodiscard]] bool isTaken() const { return value != 0; }
};

class OpenTableTest : public ::testing::Test {
protected:
    uint32_t valueOf(uint64_t hash, uint32_t key) const {
        const Slot* slot = table.find(hash, [key](const Slot& one) { return one.key == key; });
        return slot == nullptr ? 0 : slot->value;
    }

    void add(uint64_t hash, uint32_t key, uint32_t value) {
        ASSERT_TRUE(table.reserveOne());
        table.add({hash, key, value});
    }

    OpenTable<Slot> table;
};

TEST_F(OpenTableTest, HoldsNothingAtFirst) {
    EXPECT_EQ(0, valueOf(0, 0));
}

TEST_F(OpenTableTest, TellsSlotsOfOneHashApart) {
    add(5, 1, 10);
    add(5, 2, 20);
    add(5 + 64, 1, 30);  // the same place in a table of 64 slots
    EXPECT_EQ(10, valueOf(5, 1));
    EXPECT_EQ(20, valueOf(5, 2));
    EXPECT_EQ(30, valueOf(5 + 64, 1));
    EXPECT_EQ(0, valueOf(5, 3));
    EXPECT_EQ(0, valueOf(6, 1));
}

TEST_F(OpenTableTest, GoesOnAtItsBeginning) {
    add(63, 1, 10);
    add(63, 2, 20);
    EXPECT_EQ(20, valueOf(63, 2));
}

TEST_F(OpenTableTest, LetsItsUserChangeASlot) {
    ASSERT_TRUE(table.reserveOne());
    table.add({7, 1, 10}).value = 11;
    EXPECT_EQ(11, valueOf(7, 1));
    table.find(7, [](const Slot&) { return true; })->value = 12;
    EXPECT_EQ(12, valueOf(7, 1));
}

TEST_F(OpenTableTest, FindsEverySlotWhileItGrows) {
    std::map<uint32_t, uint64_t> hashes;
    uint64_t hash = 1;
    for (uint32_t key = 1; key <= 5000; ++key) {
        hash = hash * 6364136223846793005U + 1442695040888963407U;
        hashes[key] = key % 3 == 0 ? key % 7 : hash;
        add(hashes[key], key, key);
        if (key % 500 == 0) {
            for (const auto& [earlier, itsHash] : hashes) {
                ASSERT_EQ(earlier, valueOf(itsHash, earlier)) << "of " << key;
            }
        }
    }
}

}  // namespace

}  // namespace rs::test
