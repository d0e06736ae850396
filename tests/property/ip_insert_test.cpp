// The structures of IP groups beside those that plain insertion makes, node for node.
#include "ip/ip_insert.h"

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "support/plain_ip_table.h"
#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/release_recorder.h"
#include "support/rule_handles.h"
#include "support/search_tree_check.h"

namespace rs::test {

namespace {

struct Line {
    std::string text;
    uint32_t ruleValue;
    bool hasUserData;
};

void expectSameAsPlain(const std::vector<Line>& lines) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    ReleaseRecorder recorder;
    ASSERT_EQ(RULE_OK, recorder.registerOn(*set));
    std::vector<char> tokens(lines.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        void* userData = lines[i].hasUserData ? &tokens[i] : nullptr;
        ASSERT_EQ(RULE_OK, addRule(*set, lines[i].text, lines[i].ruleValue,
                                   static_cast<uint32_t>(i + 1), userData))
            << lines[i].text;
    }
    const IpTableContent plain = plainContentOf(*set);
    const RuleGroupHandle group = buildRuleGroup(*set);
    ASSERT_NE(nullptr, group);
    const IpTableContent built = contentOf(*group->ipTable, recorder.order());
    EXPECT_EQ(plain.hosts, built.hosts);
    EXPECT_EQ(plain.ipv4Ranges, built.ipv4Ranges);
    EXPECT_EQ(plain.ipv6Hosts, built.ipv6Hosts);
    EXPECT_EQ(plain.ipv6Ranges, built.ipv6Ranges);
    EXPECT_EQ(plain.givenBack, built.givenBack);
    for (const SearchTree* tree : {group->ipTable->ipv4RangeTree, group->ipTable->ipv6HostTree,
                                   group->ipTable->ipv6RangeTree}) {
        EXPECT_TRUE(tree == nullptr || checkSearchTree(*tree));
    }
}

TEST(IpInsertProperty, MakesWhatPlainInsertionMakes) {
    forEachCase(400, [](RandomSource& random) {
        RandomIpRules rules(random);
        const auto values = static_cast<uint32_t>(random.between(1, 4));
        std::vector<Line> lines;
        for (uint64_t i = random.between(1, random.oneIn(8) ? 1500 : 60); i > 0; --i) {
            lines.push_back({rules.nextText(), random.below32(values), !random.oneIn(4)});
        }
        expectSameAsPlain(lines);
    });
}

// The tree of 128 bits is then the mirror of that of 32 bits.
TEST(IpInsertProperty, MakesWhatPlainInsertionMakesOfIpv4Ranges) {
    forEachCase(400, [](RandomSource& random) {
        RandomIpRules rules(random);
        const auto values = static_cast<uint32_t>(random.between(1, 4));
        std::vector<Line> lines;
        for (uint64_t i = random.between(1, random.oneIn(8) ? 1500 : 60); i > 0; --i) {
            const std::string text = rules.nextText();
            const bool isHost = text.find_first_of("-/") == std::string::npos;
            if (isHost || text.find(':') == std::string::npos) {
                lines.push_back({text, random.below32(values), !random.oneIn(4)});
            }
        }
        expectSameAsPlain(lines);
    });
}

std::string rangeText(uint32_t low, uint32_t high, uint32_t form) {
    const std::string from = writeIpv4Address(low);
    const std::string to = writeIpv4Address(high);
    switch (form) {
        case 0:
            return from + '-' + to;
        case 1:
            return "::ffff:" + from + "-::ffff:" + to;
        default:
            return "2001:db8::" + from + "-2001:db8::" + to;
    }
}

// So many ranges on few addresses that nodes are crowded and the index of covered intervals is made.
TEST(IpInsertProperty, MakesTheSameWhereRangesCrowd) {
    forEachCase(150, [](RandomSource& random) {
        const auto addresses = static_cast<uint32_t>(random.between(2, 300));
        const uint32_t values = random.oneIn(3) ? 1 : 1 + random.below32(40);
        const auto width = static_cast<uint32_t>(random.between(1, addresses));
        const bool reachesEnd = random.oneIn(3);
        std::vector<Line> lines;
        for (uint64_t i = random.between(1, 500); i > 0; --i) {
            const uint32_t low = random.below32(addresses);
            const uint32_t high = low + 1 + random.below32(random.oneIn(9) ? addresses : width);
            const uint32_t first = reachesEnd ? UINT32_MAX - 2 * addresses : 0;
            lines.push_back(
                {rangeText(first + low, first + high, random.oneIn(5) ? random.below32(3) : 0),
                 random.below32(values), !random.oneIn(3)});
        }
        expectSameAsPlain(lines);
    });
}

// Many ruleValues on few addresses, of both widths.
TEST(IpInsertProperty, MakesTheSameWhereHostsAreEqual) {
    forEachCase(60, [](RandomSource& random) {
        const auto addresses = static_cast<uint32_t>(random.between(1, 20));
        const auto values = static_cast<uint32_t>(random.between(1, 200));
        std::vector<Line> lines;
        for (uint64_t i = random.between(1, 700); i > 0; --i) {
            const std::string address = writeIpv4Address(random.below32(addresses) * 0x01010101U);
            const char* prefix = random.oneIn(2) ? "" : (random.oneIn(2) ? "::ffff:" : "fe80::");
            lines.push_back({prefix + address, random.below32(values), !random.oneIn(3)});
        }
        expectSameAsPlain(lines);
    });
}

struct Shape {
    const char* name;
    Line (*lineAt)(uint32_t i, uint32_t count);
};

constexpr uint32_t MIDDLE = 1'000'000;

Line nested(uint32_t i, uint32_t ruleValue) {
    return {rangeText(MIDDLE - i, MIDDLE + 1 + i, 0), ruleValue, true};
}

Line narrow(uint32_t i, uint32_t ruleValue) {
    return {rangeText(4 * i, 4 * i + 1, 0), ruleValue, true};
}

constexpr Shape SHAPES[] = {
    {"nested, a value each", [](uint32_t i, uint32_t) { return nested(i, i); }},
    {"nested, one value", [](uint32_t i, uint32_t) { return nested(i, 1); }},
    {"nested from outside", [](uint32_t i, uint32_t count) { return nested(count - i, i); }},
    {"narrow, then wide, a value each",
     [](uint32_t i, uint32_t count) {
         return i < count / 2 ? narrow(i, i) : Line{rangeText(0, 4 * count + i, 0), i, true};
     }},
    {"narrow, then wide, one value",
     [](uint32_t i, uint32_t count) {
         return i < count / 2 ? narrow(i, 1) : Line{rangeText(0, 4 * count + i, 0), 1, true};
     }},
    {"a staircase of one value",
     [](uint32_t i, uint32_t count) {
         const uint32_t step = i * 7 % count;
         return Line{rangeText(10 * step, 10 * step + 35, 0), 1, true};
     }},
    {"everything, then parts",
     [](uint32_t i, uint32_t) {
         return i == 0 ? Line{"0.0.0.0-255.255.255.255", 1, true} : narrow(i, i % 3);
     }},
    {"ascending", [](uint32_t i, uint32_t) { return narrow(i, i % 2); }},
    {"descending", [](uint32_t i, uint32_t count) { return narrow(count - i, i % 2); }},
};

TEST(IpInsertProperty, MakesTheSameOfListsThatWereMadeToBeSlow) {
    for (const Shape& shape : SHAPES) {
        for (const uint32_t count : {1U, 2U, 64U, 150U}) {
            SCOPED_TRACE(std::string(shape.name) + ", " + std::to_string(count));
            std::vector<Line> lines;
            for (uint32_t i = 0; i < count; ++i) {
                lines.push_back(shape.lineAt(i, count));
            }
            expectSameAsPlain(lines);
        }
    }
}

}  // namespace

}  // namespace rs::test
