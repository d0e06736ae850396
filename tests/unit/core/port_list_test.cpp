#include "core/port_list.h"

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

using Ports = std::vector<std::pair<uint16_t, uint16_t>>;

Ports portsOf(const PortRange* list) {
    Ports ports;
    for (; list != nullptr; list = list->next) {
        ports.emplace_back(list->low, list->high);
    }
    return ports;
}

TEST(PortList, ReadsAFieldIntoAListInReverseTextOrder) {
    const struct {
        std::string_view text;
        Ports ports;
    } rows[] = {
        {"*", {{1, 65535}}},
        {"80", {{80, 80}}},
        {"00080", {{80, 80}}},
        {"80-90", {{80, 90}}},
        {"80-80", {{80, 80}}},
        {"1-65535", {{1, 65535}}},
        {"80,443,1000-2000", {{1000, 2000}, {443, 443}, {80, 80}}},
        {"1000-2000,80", {{80, 80}, {1000, 2000}}},
        // Nothing is merged or sorted.
        {"80,80,70-90", {{70, 90}, {80, 80}, {80, 80}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const ExactText text(row.text);
        PortRange* list = nullptr;
        ASSERT_EQ(RULE_OK, parsePortList(text.data(), text.size(), &list));
        EXPECT_EQ(row.ports, portsOf(list));
        freeRangeList(&list);
        EXPECT_EQ(nullptr, list);
        Slab<PortRange> nodes{};
        ASSERT_EQ(RULE_OK, parsePortList(text.data(), text.size(), nodes, &list));
        EXPECT_EQ(row.ports, portsOf(list));
        EXPECT_EQ(row.ports.size(), nodes.count);
        freeSlab(nodes);
    }
}

TEST(PortList, RefusesBadFieldsAndWritesNothing) {
    for (const std::string_view row :
         {"*80"sv,    "**"sv,       "*,80"sv,    "80,*"sv,      "*-80"sv,     "0"sv,      "65536"sv,
          "90-80"sv,  "80-"sv,      "-80"sv,     "-"sv,         ","sv,        ",80"sv,    "80,"sv,
          "80,,90"sv, "80,90-80"sv, "80,0"sv,    "80-90-100"sv, "80,1-2-3"sv, "80, 90"sv, " 80"sv,
          "80 "sv,    "a"sv,        "80,a,90"sv, "1,2,3,4,x"sv}) {
        SCOPED_TRACE(row);
        const ExactText text(row);
        PortRange untouched{};
        PortRange* list = &untouched;
        EXPECT_EQ(RULE_ERR_BAD_RULE, parsePortList(text.data(), text.size(), &list));
        EXPECT_EQ(&untouched, list);
        Slab<PortRange> nodes{};
        EXPECT_EQ(RULE_ERR_BAD_RULE, parsePortList(text.data(), text.size(), nodes, &list));
        EXPECT_EQ(&untouched, list);
        freeSlab(nodes);
    }
}

TEST(PortList, RefusesNullAndEmptyTexts) {
    PortRange untouched{};
    PortRange* list = &untouched;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePortList(nullptr, 0, &list));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePortList(nullptr, 2, &list));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePortList("80", 0, &list));
    Slab<PortRange> nodes{};
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePortList(nullptr, 2, nodes, &list));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePortList("80", 0, nodes, &list));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, parsePortList("80", 2, nodes, nullptr));
    EXPECT_EQ(&untouched, list);
}

TEST(PortList, HoldsThousandsOfItems) {
    std::string text = "1";
    for (int i = 2; i <= 5000; ++i) {
        text += ',' + std::to_string(i);
    }
    PortRange* list = nullptr;
    ASSERT_EQ(RULE_OK, parsePortList(text.data(), size32(text), &list));
    const Ports ports = portsOf(list);
    ASSERT_EQ(5000, ports.size());
    EXPECT_EQ(5000, ports.front().first);
    EXPECT_EQ(1, ports.back().first);
    freeRangeList(&list);
}

TEST(PortListItem, IsPushedAtTheFront) {
    PortRange* list = nullptr;
    const PortRange* first = parsePortListItem("80", 2, &list);
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, list);
    const PortRange* second = parsePortListItem("90-99", 5, &list);
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(second, list);
    EXPECT_EQ(first, list->next);
    EXPECT_EQ((Ports{{90, 99}, {80, 80}}), portsOf(list));
    freeRangeList(&list);
}

TEST(PortListItem, LeavesTheListAloneWhenTheTextIsBad) {
    PortRange* list = nullptr;
    ASSERT_NE(nullptr, parsePortListItem("80", 2, &list));
    for (const std::string_view row : {""sv, "0"sv, "*"sv, "90-80"sv, "1,2"sv, "-1"sv, "1-"sv}) {
        EXPECT_EQ(nullptr, parsePortListItem(row.data(), size32(row), &list)) << row;
        EXPECT_EQ((Ports{{80, 80}}), portsOf(list)) << row;
    }
    freeRangeList(&list);
}

TEST(PortList, IsFreedOnce) {
    PortRange* list = nullptr;
    freeRangeList(&list);
    EXPECT_EQ(nullptr, list);
}

}  // namespace

}  // namespace rs::test
