#include "ip/ip_index.h"

#include <ruleset.h>

#include <array>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"

namespace rs::test {

namespace {

constexpr uint32_t ONES = 0xFFFFFFFF;

template <typename Address>
Address makeAddress(uint32_t number);

template <>
uint32_t makeAddress<uint32_t>(uint32_t number) {
    return number;
}

// Small numbers from both sides of a border between all four words.
template <>
Address128 makeAddress<Address128>(uint32_t number) {
    return number < 100 ? Address128{{7, ONES, ONES, ONES - 99 + number}}
                        : Address128{{8, 0, 0, number - 100}};
}

template <typename Address>
int32_t classify(uint32_t low, uint32_t high, uint32_t keyLow, uint32_t keyHigh,
                 TreeCompare compare) {
    IntervalKey<Address> item{makeAddress<Address>(low), makeAddress<Address>(high), nullptr};
    IntervalKey<Address> key{makeAddress<Address>(keyLow), makeAddress<Address>(keyHigh), nullptr};
    TreeNode node{};
    node.key = &key;
    return compare(&item, &node);
}

TEST(IntervalClassification, SaysHowAnIntervalLiesToAKey) {
    constexpr uint32_t KEY_LOW = 95;
    constexpr uint32_t KEY_HIGH = 105;
    constexpr struct {
        uint32_t low;
        uint32_t high;
        int32_t relation;
    } ROWS[] = {
        {0, 94, -1},   {94, 94, -1},  {0, 95, -2},   {94, 105, -2}, {94, 100, -2}, {94, 106, 3},
        {0, 199, 3},   {95, 105, 0},  {95, 95, 0},   {105, 105, 0}, {96, 104, 0},  {95, 106, 2},
        {105, 106, 2}, {100, 199, 2}, {106, 106, 1}, {106, 199, 1},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::Message() << row.low << '-' << row.high);
        EXPECT_EQ(row.relation,
                  classify<uint32_t>(row.low, row.high, KEY_LOW, KEY_HIGH, classifyInterval32));
        EXPECT_EQ(row.relation,
                  classify<Address128>(row.low, row.high, KEY_LOW, KEY_HIGH, classifyInterval128));
    }
}

TEST(IntervalClassification, ComparesUnsigned) {
    IntervalKey<uint32_t> key{0x7FFFFFF0, 0x80000010, nullptr};
    TreeNode node{};
    node.key = &key;
    constexpr struct {
        uint32_t low;
        uint32_t high;
        int32_t relation;
    } ROWS[] = {
        {0, ONES, 3}, {0x80000011, ONES, 1}, {0, 0x7FFFFFEF, -1}, {0x80000000, 0x80000000, 0}};
    for (const auto& row : ROWS) {
        const IntervalKey<uint32_t> item{row.low, row.high, nullptr};
        EXPECT_EQ(row.relation, classifyInterval32(&item, &node)) << row.low;
    }
}

TEST(AddressComparison, ComparesWordByWord) {
    Address128 key{{1, 2, 3, 4}};
    TreeNode node{};
    node.key = &key;
    constexpr struct {
        Address128 address;
        int32_t order;
    } ROWS[] = {
        {{{1, 2, 3, 4}}, 0},          {{{1, 2, 3, 5}}, 1},     {{{1, 2, 3, 3}}, -1},
        {{{1, 2, 4, 0}}, 1},          {{{1, 2, 2, ONES}}, -1}, {{{0, ONES, ONES, ONES}}, -1},
        {{{0x80000000, 0, 0, 0}}, 1},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.order, compareAddressKey(&row.address, &node));
    }
}

TEST(HostEntry, IsFoundFromItsLinks) {
    HostEntry entry{};
    EXPECT_EQ(&entry, hostEntryOf(&entry.links));
}

// A list of three entries, of which the first and the last own their userData.
template <typename Entry>
std::array<Entry, 3> makeEntries(int (&userData)[3]) {
    std::array<Entry, 3> entries{};
    for (size_t i = 0; i < entries.size(); ++i) {
        entries[i].userData = &userData[i];
        entries[i].entryFlags = i == 1 ? 0 : ENTRY_RELEASES_USER_DATA;
    }
    return entries;
}

template <typename Key, typename Entry>
void expectOwnedUserDataHandedBack(TreeReleaseEntries releaseEntries) {
    int userData[3] = {};
    ReleaseRecorder recorder;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    Key key{};
    std::array<Entry, 3> entries = makeEntries<Entry>(userData);
    entries[0].next = &entries[1];
    entries[1].next = &entries[2];
    releaseEntries(&info, &key, entries.data());
    EXPECT_EQ((std::vector<void*>{&userData[0], &userData[2]}), recorder.order());

    const ReleaseInfo silent{};
    releaseEntries(&silent, &key, entries.data());
    releaseEntries(&info, &key, nullptr);
    EXPECT_EQ(2, recorder.order().size());
}

TEST(NodeRelease, HandsOwnedUserDataBackInEntryOrder) {
    expectOwnedUserDataHandedBack<Address128, AddressEntry>(releaseAddressEntries);
    expectOwnedUserDataHandedBack<IntervalKey<uint32_t>, RangeEntry<uint32_t>>(
        releaseRangeEntries32);
    expectOwnedUserDataHandedBack<IntervalKey<Address128>, RangeEntry<Address128>>(
        releaseRangeEntries128);
}

TEST(IpRuleTableRelease, LeavesNullSlotsAlone) {
    ReleaseRecorder recorder;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    releaseIpRuleTable(nullptr, &info);
    IpRuleTable* table = nullptr;
    releaseIpRuleTable(&table, &info);
    EXPECT_TRUE(recorder.order().empty());
}

TEST(IpRuleTableRelease, FreesATableWithoutStructures) {
    IpRuleTable* table = allocateRecord<IpRuleTable>();
    table->refCount = 1;
    const ReleaseInfo info{};
    releaseIpRuleTable(&table, &info);
    EXPECT_EQ(nullptr, table);
}

TEST(IpRuleTableRelease, ClearsTheSlotAndWaitsForTheLastReference) {
    int userData = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 1, &userData}});
    recorder.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};

    IpRuleTable* second = group->ipTable;
    ++second->refCount;
    releaseIpRuleTable(&second, &info);
    EXPECT_EQ(nullptr, second);
    EXPECT_EQ(1, group->ipTable->refCount);
    EXPECT_TRUE(recorder.order().empty());

    releaseIpRuleTable(&group->ipTable, &info);
    EXPECT_EQ(nullptr, group->ipTable);
    EXPECT_EQ(std::vector<void*>{&userData}, recorder.order());
}

TEST(IpRuleTableRelease, UsesTheGivenCallbackForHostsAndTheTreesOwnForTrees) {
    int host = 0;
    int range4 = 0;
    int host6 = 0;
    int range6 = 0;
    ReleaseRecorder built;
    ReleaseRecorder given;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 1, &host},
                                             {"10.0.0.0/24", 1, &range4},
                                             {"2001:db8::1", 1, &host6},
                                             {"2001:db8::/32", 1, &range6}});
    built.registerOn(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    const ReleaseInfo info{ReleaseRecorder::record, &given, 0};
    releaseIpRuleTable(&group->ipTable, &info);
    EXPECT_EQ(std::vector<void*>{&host}, given.order());
    // The 32-bit ranges first, then the single 128-bit addresses, then the 128-bit ranges.
    EXPECT_EQ((std::vector<void*>{&range4, &host6, &range6}), built.order());
}

TEST(IpRuleTableRelease, HandsNothingBackWithoutACallback) {
    int host = 0;
    int range = 0;
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeIpRuleSet({{"10.0.0.1", 1, &host}, {"10.0.0.0/8", 1, &range}});
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    const ReleaseInfo info{nullptr, &recorder, 0};
    releaseIpRuleTable(&group->ipTable, &info);
    EXPECT_EQ(nullptr, group->ipTable);
    EXPECT_TRUE(recorder.order().empty());
}

}  // namespace

}  // namespace rs::test
