#include "lookup/flat_names.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

struct Entry {
    std::string_view name;
    uint32_t whole = NO_RECORD;
    uint32_t below = NO_RECORD;
};

// The smaller number wins, as the earlier rule does.
OwnedFlatNames build(NameForm form, const std::vector<Entry>& entries) {
    return OwnedFlatNames(buildFlatNames(
        form, entries.size(),
        [&entries](const auto& add) {
            return std::all_of(entries.begin(), entries.end(), [&add](const Entry& entry) {
                const ExactText text(entry.name);
                return add({text.data(), text.size(), entry.whole, entry.below});
            });
        },
        [](uint32_t own, uint32_t inherited) { return std::min(own, inherited); }));
}

uint32_t find(const OwnedFlatNames& names, std::string_view name) {
    const ExactText text(name);
    return findFlatName(*names, text.data(), text.size());
}

TEST(FlatNames, OfNoNamesHasNoMemory) {
    EXPECT_EQ(nullptr, build(NameForm::WIRE, {}));
    freeFlatNames(nullptr);
}

TEST(FlatNames, AnswersForANameAndForThoseUnderIt) {
    const OwnedFlatNames names =
        build(NameForm::DOTTED, {{"example.com", 1, 2}, {"a.test", 3}, {"b.test", NO_RECORD, 4}});
    ASSERT_NE(nullptr, names);
    EXPECT_EQ(1U, find(names, "example.com"));
    EXPECT_EQ(2U, find(names, "www.example.com"));
    EXPECT_EQ(2U, find(names, "a.b.c.example.com"));
    EXPECT_EQ(3U, find(names, "a.test"));
    EXPECT_EQ(NO_RECORD, find(names, "x.a.test"));
    EXPECT_EQ(NO_RECORD, find(names, "b.test"));
    EXPECT_EQ(4U, find(names, "x.b.test"));
    for (const std::string_view name :
         {"", "com", "xexample.com", "example.co", "example.com.", "test"}) {
        EXPECT_EQ(NO_RECORD, find(names, name)) << name;
    }
}

TEST(FlatNames, CarriesTheSmallerNumberDown) {
    const std::vector<Entry> entries = {
        {"d.c.b.a", 9, 8},           {"b.a", NO_RECORD, 5}, {"c.b.a", 3},
        {"e.d.c.b.a", 2, NO_RECORD}, {"a", 1, 6},           {"x.a", 4, 7},
    };
    // The order in which names are added does not count.
    for (const bool isReversed : {false, true}) {
        std::vector<Entry> ordered = entries;
        if (isReversed) {
            std::reverse(ordered.begin(), ordered.end());
        }
        const OwnedFlatNames names = build(NameForm::DOTTED, ordered);
        ASSERT_NE(nullptr, names);
        EXPECT_EQ(1U, find(names, "a"));
        EXPECT_EQ(6U, find(names, "b.a"));
        EXPECT_EQ(5U, find(names, "y.b.a"));
        EXPECT_EQ(3U, find(names, "c.b.a"));
        EXPECT_EQ(5U, find(names, "y.c.b.a"));
        EXPECT_EQ(5U, find(names, "d.c.b.a"));
        EXPECT_EQ(5U, find(names, "y.d.c.b.a"));
        EXPECT_EQ(2U, find(names, "e.d.c.b.a"));
        EXPECT_EQ(5U, find(names, "y.e.d.c.b.a"));
        EXPECT_EQ(4U, find(names, "x.a"));
        EXPECT_EQ(6U, find(names, "y.x.a"));
    }
}

// A user may link the numbers instead of choosing one: each name meets only what its longest suffix answers.
TEST(FlatNames, LetsTheUserLinkNumbers) {
    const std::vector<Entry> entries = {
        {"c.b.a", 10, 11}, {"a", NO_RECORD, 12}, {"b.a", 13}, {"d.c.b.a", 14, 15}};
    std::map<uint32_t, uint32_t> links;
    const OwnedFlatNames names(buildFlatNames(
        NameForm::DOTTED, entries.size(),
        [&entries](const auto& add) {
            return std::all_of(entries.begin(), entries.end(), [&add](const Entry& entry) {
                return add({entry.name.data(), size32(entry.name), entry.whole, entry.below});
            });
        },
        [&links](uint32_t own, uint32_t inherited) {
            EXPECT_TRUE(links.emplace(own, inherited).second);
            return own;
        }));
    ASSERT_NE(nullptr, names);
    EXPECT_EQ((std::map<uint32_t, uint32_t>{{10, 12}, {11, 12}, {13, 12}, {14, 11}, {15, 11}}),
              links);
    EXPECT_EQ(14U, find(names, "d.c.b.a"));
    EXPECT_EQ(15U, find(names, "e.d.c.b.a"));
    EXPECT_EQ(12U, find(names, "e.b.a"));
}

TEST(FlatNames, JoinsWhatIsAddedForOneName) {
    const OwnedFlatNames names =
        build(NameForm::DOTTED, {{"a.b", 1}, {"a.b", NO_RECORD, 2}, {"a.b", 3, 4}});
    ASSERT_NE(nullptr, names);
    EXPECT_EQ(1U, find(names, "a.b"));
    EXPECT_EQ(2U, find(names, "x.a.b"));
}

TEST(FlatNames, RefusesMoreNamesThanThereIsRoomFor) {
    FlatNamesBuild rooms;
    ASSERT_TRUE(rooms.begin(NameForm::DOTTED, 1));
    EXPECT_TRUE(rooms.add({"a", 1, 1, 1}));
    EXPECT_TRUE(rooms.add({"a", 1, 1, 1}));
    EXPECT_FALSE(rooms.add({"b", 1, 1, 1}));
}

TEST(FlatNames, LeavesOutNamesThatNoLookupFinds) {
    const std::string longest(255, 'x');
    const OwnedFlatNames dotted =
        build(NameForm::DOTTED,
              {{"", 1, 1}, {longest, 2, 3}, {"a." + longest, 4, 4}, {longest + "y", 5, 5}});
    ASSERT_NE(nullptr, dotted);
    EXPECT_EQ(2U, find(dotted, longest));
    EXPECT_EQ(3U, find(dotted, "a." + longest));
    EXPECT_EQ(NO_RECORD, find(dotted, longest + "y"));
    EXPECT_EQ(NO_RECORD, find(dotted, ""));

    const std::string wire = "\xFF" + longest;
    const OwnedFlatNames wires =
        build(NameForm::WIRE, {{wire, 2, 3}, {"\1a" + wire, 4, 4}, {"\2a", 5, 5}});
    ASSERT_NE(nullptr, wires);
    EXPECT_EQ(2U, find(wires, wire));
    EXPECT_EQ(3U, find(wires, "\1a" + wire));
    EXPECT_EQ(NO_RECORD, find(wires, "\2a"));
}

// A stored name goes on where a shorter one that is asked for ends, and zero bytes are bytes as all others.
TEST(FlatNames, TellsNamesOfOtherLengthsApart) {
    const std::string zero("a\0", 2);
    const OwnedFlatNames names = build(NameForm::DOTTED, {{zero, 1, 1}});
    EXPECT_EQ(1U, find(names, zero));
    EXPECT_EQ(NO_RECORD, find(names, "a"));
    EXPECT_EQ(NO_RECORD, find(names, std::string("a\0\0", 3)));
}

TEST(FlatNames, FindsEachOfManyNames) {
    for (const uint32_t count : {1U, 2U, 3U, 4U, 5U, 63U, 1000U, 30000U}) {
        SCOPED_TRACE(count);
        std::vector<std::string> texts;
        for (uint32_t i = 0; i < count; ++i) {
            texts.push_back("host" + std::to_string(i) + ".example.com");
        }
        const OwnedFlatNames names(buildFlatNames(
            NameForm::DOTTED, count,
            [&texts](const auto& add) {
                bool isAdded = true;
                for (uint32_t i = 0; i < texts.size() && isAdded; ++i) {
                    isAdded = add({texts[i].data(), size32(texts[i]), i, i});
                }
                return isAdded;
            },
            [](uint32_t own, uint32_t) { return own; }));
        ASSERT_NE(nullptr, names);
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(i, find(names, texts[i]));
            ASSERT_EQ(i, find(names, "www." + texts[i]));
            ASSERT_EQ(NO_RECORD, find(names, "www" + texts[i]));
        }
    }
}

}  // namespace

}  // namespace rs::test
