// Lookups when memory runs out, and groups that share their structures.
#include <ruleset.h>
#include <ruleset_static.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/rule_group.h"
#include "core/scratch.h"
#include "core/text_buffer.h"
#include "domain/domain_index.h"
#include "domain/domain_match.h"
#include "support/failing_allocator.h"
#include "support/fault_host.h"
#include "support/match_result.h"
#include "support/rule_builder.h"
#include "support/text.h"
#include "url/url_index.h"

namespace rs::test {

namespace {

// The longest name whose scratch is on the stack: canonical names get 16 bytes more at least, and
// buffers end at 8191.
constexpr size_t LONGEST_ON_STACK = MAX_TEXT_BUFFER - TEXT_BUFFER_STEP;

// A name of so many bytes: labels of 63 in escapes, and one for the rest, below .example.com.
std::string longName(size_t length) {
    constexpr std::string_view SUFFIX = ".example.com";
    constexpr std::string_view LABEL = "%61%62%63.";
    std::string name;
    while (name.size() + LABEL.size() + SUFFIX.size() <= length) {
        name += LABEL;
    }
    const size_t rest = length - name.size() - SUFFIX.size();
    if (rest == 0) {
        name.pop_back();  // the dot
        name.insert(name.begin(), 'x');
    } else {
        name.append(rest, 'x');
    }
    return name + std::string(SUFFIX);
}

RuleGroupHandle domainGroup() {
    return buildRuleGroup(*makeRuleSet(
        RULE_TYPE_FQDN, {{"www.example.com", 7}, {"*.example.com", 8}, {"*.abc.example.com", 9}}));
}

struct NameRow {
    std::string name;
    uint64_t failures;
    int32_t status;  // with memory enough
};

TEST(MatchFault, LongNamesNeedMemory) {
    const RuleGroupHandle group = domainGroup();
    const std::vector<NameRow> rows = {
        {longName(100), 0, 1},
        {longName(LONGEST_ON_STACK), 0, 1},
        {longName(LONGEST_ON_STACK + 1), 1, 1},
        {longName(20000), 1, 1},
        {longName(60000), 1, 1},
        {std::string(20000, 'a'), 1, RULE_ERR_INVALID_ARG},
        {longName(20000) + ".other", 1, 0},
        {std::string(9000, '.'), 1, RULE_ERR_INVALID_ARG},
        {"*." + longName(9000), 1, 1},
    };
    uint64_t failures = 0;
    for (const NameRow& row : rows) {
        SCOPED_TRACE(row.name.size());
        const uint64_t found = failEachAllocation([&](uint64_t number) {
            MatchResult result = UNTOUCHED;
            const AllocationWatch watch(number);
            const int32_t status = rs_matchDomainNameWithRuleGroup(group.get(), row.name.data(),
                                                                   size32(row.name), &result);
            EXPECT_EQ(watch.hasFailed() ? RULE_ERR_NO_MEMORY : row.status, status);
            EXPECT_EQ(0U, watch.liveBlockCount());
            if (status == 1) {
                EXPECT_EQ(2U, result.ruleIndex);
                EXPECT_EQ(8U, result.ruleValue);
            } else {
                EXPECT_EQ(status == 0 ? 0U : UNTOUCHED.ruleIndex, result.ruleIndex);
                EXPECT_EQ(UNTOUCHED.ruleValue, result.ruleValue);
            }
            return watch.hasFailed();
        });
        EXPECT_EQ(row.failures, found);
        failures += found;
    }
    reportFailures("looking names up", failures);
}

// A wire name of so many bytes with capital letters: labels "AB", one for the rest, and
// example.com behind them.
std::string capitalWireName(size_t length) {
    constexpr std::string_view SUFFIX = "\7eXample\3com";
    std::string name;
    while (name.size() + SUFFIX.size() + 5 <= length) {
        name += "\2AB";
    }
    const size_t rest = length - name.size() - SUFFIX.size();
    if (rest > 1) {
        name += static_cast<char>(rest - 1);
        name.append(rest - 1, 'Z');
    }
    return name + std::string(SUFFIX);
}

TEST(MatchFault, LongWireNamesWithCapitalsNeedMemory) {
    const RuleGroupHandle group = domainGroup();
    const struct {
        std::string name;
        uint64_t failures;
    } rows[] = {
        {capitalWireName(60), 0},
        {capitalWireName(512), 0},
        {capitalWireName(513), 1},
        {capitalWireName(20000), 1},
    };
    uint64_t failures = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.size());
        const uint64_t found = failEachAllocation([&](uint64_t number) {
            MatchResult result = UNTOUCHED;
            const AllocationWatch watch(number);
            const int32_t status =
                lookupDomainWire(*group->domainIndex, row.name.data(), size32(row.name), result);
            EXPECT_EQ(watch.hasFailed() ? RULE_ERR_NO_MEMORY : 1, status);
            EXPECT_EQ(watch.hasFailed() ? 0U : 2U, result.ruleIndex);
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
        EXPECT_EQ(row.failures, found);
        failures += found;
    }
    reportFailures("looking wire names up", failures);
}

TEST(MatchFault, UrlsOfAnyLengthAllocateNothing) {
    const RuleGroupHandle group = buildRuleGroup(
        *makeRuleSet(RULE_TYPE_URL, {{"example.com/a*b"}, {"*.example.com"}, {"*/c"}}));
    const std::string longPath(3000, 'p');
    const struct {
        std::string url;
        int32_t status;
        uint32_t ruleIndex;
    } rows[] = {
        {"http://example.com/axb", 1, 1},
        {"https://WWW.Example.com:443/%61?q#f", 0, 0},
        {"http://[2001:db8::1]/c", 1, 3},
        {"www.example.com/" + longPath, 1, 2},
        {"http://" + longName(900) + '/' + longPath, 1, 2},
        {"example.com/a" + longPath + 'b', 1, 1},
        {"example.com/a" + longPath + longPath + 'b', RULE_ERR_BUFFER_SMALL, 0},
        {longName(1000000), RULE_ERR_BUFFER_SMALL, 0},
        {"a" + std::string(100000, '/'), RULE_ERR_BUFFER_SMALL, 0},
    };
    const AllocationWatch watch;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url.substr(0, 60));
        MatchResult result{};
        EXPECT_EQ(row.status,
                  rs_matchUrlWithRuleGroup(group.get(), row.url.data(), size32(row.url), &result));
        EXPECT_EQ(row.ruleIndex, result.ruleIndex);
    }
    EXPECT_EQ(0U, watch.allocationCount());
    reportFailures("looking URLs up", watch.allocationCount());
}

// One set of each type with its keys; every rule covers one of them.
const std::vector<FaultRules>& setsOfAllTypes() {
    static const std::vector<FaultRules> SETS = {
        {RULE_TYPE_FQDN,
         {{"www.example.com"}, {"*.example.com"}, {"b\u00fccher.example", false}, {"*"}},
         {"WWW.example.com.", "a.b.example.com", "B%C3%9CCHER.example", "other.test"}},
        {RULE_TYPE_URL,
         {{"example.com/a*b"}, {"https://*.example.com:*/"}, {"*/c", false}},
         {"example.com/axb", "https://www.example.com:9/%41", "http://[2001:db8::1]/c"}},
        {RULE_TYPE_PACKET_FILTER,
         {{"tcp;10.0.0.1;80;*;80"},
          {"tcp;10.0.0.0/8;*;10.0.0.1;80,443"},
          {"tcp;2001:db8::/32;80;*;*", false},
          {"tcp;*;5000;*;5000"}},
         {}},
        {RULE_TYPE_IP_PORT,
         {{"10.0.0.1;80;*;80;1"},
          {"10.0.0.0/8;*;10.0.0.1,192.168.0.1;80,443;1"},
          {"2001:db8::/32,fe80::1;80;*;*;1", false},
          {"*;5000;*;5000;1"}},
         {}},
        {RULE_TYPE_COMPOUND,
         {{"1;*;10.0.0.1;80;7;1"}, {"5,70;5;*;*;2;0", false}, {"*;*;*;*;0;0"}},
         {}},
    };
    return SETS;
}

TEST(MatchFault, LookupsAllocateNothing) {
    for (const FaultRules& rules : setsOfAllTypes()) {
        SCOPED_TRACE(rules.type);
        FaultHost host(rules);
        const RuleGroupHandle group = buildRuleGroup(host.set());
        const AllocationWatch watch;
        Positions found = host.answersOf(*group);
        if (group->domainIndex != nullptr) {
            EXPECT_EQ(3U, countDomainEntries(*group->domainIndex));
        }
        if (group->urlIndex != nullptr) {
            EXPECT_EQ(3U, countUrlRules(*group->urlIndex).paths);
        }
        if (group->ipPortIndex != nullptr) {
            EXPECT_EQ(1, matchSecondEndpoint4(group.get(), 0x0A000001, 80));
            EXPECT_EQ(1, matchSecondEndpoint6(group.get(), {0x20010DB8, 0, 0, 1}, 5000));
        }
        EXPECT_EQ(0U, watch.allocationCount());
        for (uint32_t position = 1; position <= rules.rules.size(); ++position) {
            EXPECT_LT(0, std::count(found.begin(), found.end(), position)) << "rule " << position;
        }
    }
}

TEST(MatchFault, FailedRetainLeavesTheGroupAlone) {
    uint64_t failures = 0;
    for (const FaultRules& rules : setsOfAllTypes()) {
        SCOPED_TRACE(rules.type);
        const BuildRecord clean = FaultHost(rules).buildAndDelete();
        failures += failEachAllocation([&](uint64_t number) {
            FaultHost host(rules);
            RuleGroupHandle group = buildRuleGroup(host.set());
            bool hasFailed = false;
            {
                const AllocationWatch watch(number);
                RuleGroupHandle copy(retainRuleGroup(group.get()));
                hasFailed = watch.hasFailed();
                EXPECT_EQ(hasFailed, copy == nullptr);
                if (copy != nullptr) {
                    EXPECT_EQ(1U, watch.allocationCount());
                    EXPECT_EQ(clean.answers, host.answersOf(*copy));
                }
                copy.reset();
                EXPECT_EQ(0U, watch.liveBlockCount());
            }
            EXPECT_EQ(Positions(), host.takeHandedBack());
            EXPECT_EQ(clean, host.recordAndDelete(group.release()));
            return hasFailed;
        });
    }
    EXPECT_EQ(setsOfAllTypes().size(), failures);
    reportFailures("sharing groups", failures);
}

TEST(ScratchFault, FailsOnTheHeapOnly) {
    for (const size_t size : {size_t{0}, size_t{64}, size_t{65}, size_t{1000}}) {
        SCOPED_TRACE(size);
        const uint64_t failures = failEachAllocation([size](uint64_t number) {
            const AllocationWatch watch(number);
            {
                Scratch<64> scratch;
                EXPECT_EQ(watch.hasFailed(), scratch.reserve(size) == nullptr);
                EXPECT_EQ(size > 64 && !watch.hasFailed() ? 1U : 0U, watch.liveBlockCount());
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
        EXPECT_EQ(size > 64 ? 1U : 0U, failures);
    }
}

}  // namespace

}  // namespace rs::test
