#include "endpoint/endpoint_summary.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "support/plain_entry.h"

namespace rs::test {

namespace {

TEST(EndpointSummary, HasTheHullOfAWholeList) {
    PortRange last{20, 29, nullptr};
    PortRange middle{5, 7, &last};
    const PortRange first{10, 12, &middle};
    EXPECT_EQ(5, hullOf(first).low);
    EXPECT_EQ(29, hullOf(first).high);
    EXPECT_EQ(20, hullOf(last).low);
}

TEST(EndpointSummary, KnowsSpansOfWholeFirstWords) {
    constexpr uint32_t MOST = UINT32_MAX;
    const struct {
        Address128 low;
        Address128 high;
        bool isWholeOf128Bits;
        bool isWholeOf32Bits;
    } rows[] = {
        {FIRST_ADDRESS, LAST_ADDRESS, true, true},
        {{{7, 0, 0, 0}}, {{9, MOST, MOST, MOST}}, true, true},
        {{{7, 0, 0, 0}}, {{9, MOST, MOST, MOST - 1}}, false, true},
        {{{7, 0, 0, 0}}, {{9, 0, MOST, MOST}}, false, true},
        {{{7, 0, 0, 0}}, {{7, 0, 0, 0}}, false, true},
        {{{7, 0, 0, 1}}, {{9, MOST, MOST, MOST}}, false, false},
        {{{7, 0, 1, 0}}, {{9, MOST, MOST, MOST}}, false, false},
        {{{7, 1, 0, 0}}, {{9, MOST, MOST, MOST}}, false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.isWholeOf128Bits, hasWholeWords({row.low, row.high}, false));
        EXPECT_EQ(row.isWholeOf32Bits, hasWholeWords({row.low, row.high}, true));
    }
}

TEST(EndpointSummary, IsInsideWithinEachHullOnly) {
    constexpr EntryHull HULL{{80, 90}, {443, 443}, {1000, 2000}, 6};
    const struct {
        EndpointQuestion question;
        bool isInside;
    } rows[] = {
        {{80, 443, 1000, 2}, true},  {{90, 443, 2000, 4}, true},  {{79, 443, 1000, 2}, false},
        {{91, 443, 1000, 2}, false}, {{80, 442, 1000, 2}, false}, {{80, 444, 1000, 2}, false},
        {{80, 443, 999, 2}, false},  {{80, 443, 2001, 2}, false}, {{80, 443, 1000, 9}, false},
        {{80, 443, 1000, 0}, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.isInside, isInside(HULL, row.question));
    }
}

TEST(EndpointSummary, DecidesAsItsFlagsSay) {
    const EntryHull hull{{80, 80}, {0, 9}, {0, UINT32_MAX}, 1};
    const EndpointQuestion inside{80, 0, 0, 1};
    const EndpointQuestion outside{81, 0, 0, 1};
    const struct {
        uint32_t flags;
        SummaryAnswer answerInside;
        SummaryAnswer answerOutside;
    } rows[] = {
        {0, SummaryAnswer::ASK_ENTRIES, SummaryAnswer::ASK_ENTRIES},
        {DECIDES_INSIDE, SummaryAnswer::COVERED, SummaryAnswer::ASK_ENTRIES},
        {DECIDES_OUTSIDE, SummaryAnswer::ASK_ENTRIES, SummaryAnswer::NOT_COVERED},
        {DECIDES_INSIDE | DECIDES_OUTSIDE, SummaryAnswer::COVERED, SummaryAnswer::NOT_COVERED},
    };
    for (const auto& row : rows) {
        const EndpointSummary summary{hull, row.flags, 0, 1, 2, 3, nullptr};
        EXPECT_EQ(row.answerInside, askSummary(summary, inside));
        EXPECT_EQ(row.answerOutside, askSummary(summary, outside));
    }
}

TEST(EndpointSummary, SaysWhatTheFirstEntrySays) {
    PlainEntry second{9, 90, 900, nullptr, nullptr};
    int host = 0;
    const PlainEntry first{5, 50, 500, &host, &second};
    const EndpointSummary summary = summarizeNode(3, &first, true);
    EXPECT_EQ(3, summary.node);
    EXPECT_EQ(DECIDES_INSIDE, summary.flags) << "another entry follows";
    EXPECT_EQ(5, summary.hull.firstPorts.high);
    MatchResult result{};
    EXPECT_EQ(1, answerBySummary(summary, {5, 0, 0, 1}, result, []() noexcept { return 7; }));
    EXPECT_EQ(5, result.ruleIndex);
    EXPECT_EQ(50, result.ruleValue);
    EXPECT_EQ(500, result.ruleId);
    EXPECT_EQ(&host, result.userData);
    EXPECT_EQ(7, answerBySummary(summary, {6, 0, 0, 1}, result, []() noexcept { return 7; }));
    const EndpointSummary ofLast = summarizeNode(3, &second, true);
    EXPECT_EQ(0, answerBySummary(ofLast, {10, 0, 0, 1}, result, []() noexcept { return 7; }));
    EXPECT_EQ(0, summarizeNode<PlainEntry>(3, nullptr, true).flags);
}

}  // namespace

}  // namespace rs::test
