// Groups of domain and URL rules when memory runs out while they are built.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/structure.h"
#include "domain/domain_compile.h"
#include "domain/domain_match.h"
#include "lookup/flat_policy.h"
#include "support/failing_allocator.h"
#include "support/fault_build.h"
#include "support/fault_host.h"
#include "support/host_names.h"
#include "support/rule_builder.h"
#include "support/rule_records.h"
#include "support/text.h"
#include "url/url_compile.h"
#include "url/url_index.h"

namespace rs::test {

namespace {

// Domain rules.

const std::vector<std::string>& domainKeys() {
    static const std::vector<std::string> KEYS = {"www.example.com", "a.b.example.com",
                                                  "example.com",     "xn--bcher-kva.example",
                                                  "mail.test",       "other.name"};
    return KEYS;
}

// How many allocations a flat lookup of so many names takes: its record and arrays, and chunks of bytes. A group does
// without it when one fails.
uint64_t flatAllocations(uint64_t nameCount, uint64_t allocations) {
    return wantsFlat(nameCount, FLAT_DOMAIN_NAMES) ? allocations : 0;
}

TEST(NameBuildFault, DomainRules) {
    BuildPlan plan{{RULE_TYPE_FQDN,
                    {{"www.example.com"},
                     {"*.example.com"},
                     {"b\u00fccher.example", false},
                     {"WWW.example.com."},
                     {"mail.test"},
                     {"*.b.example.com"},
                     {"*.Example.com"},
                     {"mail.test", false},
                     {"mail.test"}},
                    domainKeys()},
                   {},
                   {},
                   {4, 7, 9}};
    FaultTotals totals = failBuild("domain rules", plan);
    // The group, the index, and the two parts of each of the two tables.
    EXPECT_EQ(6U, totals.failedBuilds);
    EXPECT_EQ(1U, totals.entered) << "the second table is for the second rule";
    // Three chunks of two entries and the list of them, a chunk of names, and what finds equal names in each table.
    EXPECT_EQ(7U, totals.leftOut);
    EXPECT_EQ(2U + flatAllocations(5, 6), totals.complete) << "the two parts of the packed slab";

    plan.rules.rules = {{"*"}, {"www.example.com"}, {"*"}, {"*.example.com"}, {"*", false}};
    plan.never = {1, 3};
    plan.duplicates = {};
    totals = failBuild("domain rules with \"*\"", plan);
    EXPECT_EQ(6U, totals.failedBuilds);
    EXPECT_EQ(1U, totals.entered) << "\"*\" is never handed back";
    EXPECT_EQ(8U, totals.leftOut);
    EXPECT_EQ(2U + flatAllocations(2, 6), totals.complete);
}

// With 2^31 names, the count of a table is no positive number any more.
TEST(NameBuildFault, KeepsTheEntryThatBringsTheCountToTwoToThe31) {
    const RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    ASSERT_EQ(RULE_OK, addRule(*set, "a.test"));
    const auto index = newStructure<DomainIndex, releaseDomainIndex>(*set);
    ASSERT_NE(nullptr, index);
    ASSERT_TRUE(ensureHashTable(index->exactTable, DOMAIN_BUCKETS));
    index->exactTable->elementCount = INT32_MAX;
    EnteredNames names;
    ASSERT_TRUE(enterDomainRule(*index, names, *set, ruleAt<DomainRule>(set->domainRules, 1), 1));
    EXPECT_EQ(uint32_t{INT32_MAX} + 1, index->exactTable->elementCount);
    MatchResult result{};
    EXPECT_EQ(1, lookupDomainWire(*index, "\1a\4test", 7, result));
    EXPECT_EQ(1U, result.ruleIndex);
}

std::vector<std::string> sharingNames(uint32_t count, std::string_view before) {
    std::vector<std::string> names;
    for (uint32_t i = 0; i < count; ++i) {
        names.push_back(std::string(before) + sharingName(i));
    }
    return names;
}

// Every step-th of the texts, behind something.
std::vector<std::string> someOf(const std::vector<std::string>& texts, size_t step,
                                std::string_view before) {
    std::vector<std::string> some;
    for (size_t i = 0; i < texts.size(); i += step) {
        some.push_back(std::string(before) + texts[i]);
    }
    return some;
}

TEST(NameBuildFault, DomainRulesInBlocks) {
    const std::vector<std::string> names = sharingNames(160, "");
    const std::vector<std::string> wildcards = sharingNames(12, "*.");
    BuildPlan plan{{RULE_TYPE_FQDN, rulesOf(names), someOf(names, 1, "")}, {}, {}, {}};
    append(plan.rules.rules, wildcards);
    plan.rules.keys.push_back("x." + names[3]);
    plan.rules.keys.push_back("x." + names[100]);
    // Two that are there already, one of them in what becomes a block.
    plan.rules.rules.push_back({names[159]});
    plan.rules.rules.push_back({names[80]});
    plan.duplicates = {173, 174};
    const FaultTotals totals = failBuild("domain rules in blocks", plan);
    EXPECT_EQ(totals.allocations, totals.failures);
    EXPECT_EQ(6U, totals.failedBuilds);
    EXPECT_EQ(160U, totals.entered) << "wildcards come behind the names";
    // A table of equal names grows three times, chunks of entries and of names are few.
    EXPECT_EQ(16U, totals.leftOut);
    // 160 entries in blocks of 72 at most take two chunks.
    EXPECT_EQ(3U + flatAllocations(172, 6), totals.complete);
}

TEST(NameBuildFault, ThousandsOfDomainRulesInOneBucket) {
    const std::vector<std::string> names = sharingNames(2500, "");
    BuildPlan plan{{RULE_TYPE_FQDN, rulesOf(names), someOf(names, 50, "")}, {}, {}, {}};
    plan.isLarge = true;
    const FaultTotals totals = failBuild("2500 domain rules in one bucket", plan);
    EXPECT_GT(60U, totals.allocations) << "many entries share an allocation";
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(3U + flatAllocations(2500, 7), totals.complete);
}

// URL rules.

// The same of URLs: the record, the places of nodes, five for the ranks of hosts, and the cells; one more for the
// largest table, one to pair the nodes of both schemes, and those of a flat lookup of names for wildcard hosts.
uint64_t flatUrlAllocations(uint64_t ruleCount, uint64_t allocations) {
    return wantsFlat(ruleCount, FLAT_URLS) ? allocations : 0;
}

TEST(NameBuildFault, UrlRules) {
    BuildPlan plan{{RULE_TYPE_URL,
                    {{"example.com/a"},
                     {"https://example.com/a*b"},
                     {"*.example.com"},
                     {"example.com/a"},
                     {"https://*.example.com:*/x", false},
                     {"example.com"},
                     {"[2001:db8::1]:8080/"}},
                    {"example.com/a", "https://example.com/axb", "https://www.example.com:7/x",
                     "www.example.com/q", "example.com/q", "http://[2001:db8::1]:8080/z"}},
                   {},
                   {},
                   {}};
    FaultTotals totals = failBuild("URL rules", plan);
    EXPECT_EQ(6U, totals.failedBuilds);
    EXPECT_EQ(2U, totals.entered) << "the second table is for the third rule";
    // Each of 7 entries and 5 nodes has a chunk to itself, and each of their three kinds an array of chunks; there are
    // the slots of two tables, and a chunk of texts.
    EXPECT_EQ(7U + 5 + 3 + 2 + 1, totals.leftOut);
    EXPECT_EQ(3U + flatUrlAllocations(7, 15), totals.complete)
        << "the two arrays of packed records, and the ends of buckets";

    plan.rules.rules = {{"*/a"}, {"example.com/a"}, {"https://*/axb"}, {"*:*", false}};
    totals = failBuild("URL rules with \"*\"", plan);
    EXPECT_EQ(4U, totals.failedBuilds);
    // The node of any host; 4 entries, a node, their arrays, the slots of a table and a chunk of texts.
    EXPECT_EQ(1U + 4 + 1 + 2 + 1 + 1, totals.leftOut);
    EXPECT_EQ(3U + flatUrlAllocations(4, 8), totals.complete);
}

std::vector<std::string> manyPaths(std::string_view host, uint32_t count) {
    std::vector<std::string> urls;
    for (uint32_t i = 0; i < count; ++i) {
        urls.push_back(std::string(host) + "/path/number" + std::to_string(i) + "/of/many");
    }
    return urls;
}

TEST(NameBuildFault, UrlRulesInPathBlocks) {
    BuildPlan plan{{RULE_TYPE_URL, rulesOf(manyPaths("example.com", 130)), {}}, {}, {}, {}};
    for (const char* const text :
         {"example.com/s", "example.com/path/number5*", "*/path/number1*"}) {
        plan.rules.rules.push_back({text});
    }
    const std::vector<std::string> wildcards = manyPaths("*", 16);
    append(plan.rules.rules, wildcards);
    plan.rules.keys = someOf(manyPaths("example.com", 132), 1, "");
    plan.rules.keys.insert(plan.rules.keys.end(),
                           {"example.com/s", "other.test/path/number1/x", "example.com/"});
    const FaultTotals totals = failBuild("URL rules in path blocks", plan);
    EXPECT_EQ(totals.allocations, totals.failures);
    EXPECT_EQ(4U, totals.failedBuilds);
    // Chunks of entries, nodes and texts, with their arrays.
    EXPECT_EQ(14U, totals.leftOut);
    EXPECT_EQ(3U + flatUrlAllocations(149, 9), totals.complete);
}

// Hosts as long as can be, whose paths lie in blocks.
TEST(NameBuildFault, UrlRulesInPathBlocksOfLongHosts) {
    BuildPlan plan{{RULE_TYPE_URL, {}, {}}, {}, {}, {}};
    for (const size_t length : {200U, 255U}) {
        const std::string host = nameOfLength(length);
        append(plan.rules.rules, manyPaths(host, 20));
        append(plan.rules.rules, manyPaths("https://*." + host.substr(2), 20));
        plan.rules.keys.push_back(host + "/path/number19/of/many");
        // Without its port, a URL has port 80 to a block.
        plan.rules.keys.push_back("https://a." + host.substr(2) + ":443/path/number7/of/many/x");
    }
    const FaultTotals totals = failBuild("URL rules in path blocks of long hosts", plan);
    EXPECT_EQ(totals.allocations, totals.failures);
    EXPECT_EQ(6U, totals.failedBuilds);
    EXPECT_EQ(16U, totals.leftOut);
    EXPECT_EQ(3U + flatUrlAllocations(80, 16), totals.complete);
}

uint32_t urlBucketOf(std::string_view host) {
    return urlHostHash(host.data(), size32(host)) % URL_BUCKETS;
}

// Hosts of one bucket: most have digits of the same sum.
std::vector<std::string> sharingHosts(size_t count) {
    const uint32_t bucket = urlBucketOf("h454545.test");
    std::vector<std::string> hosts;
    for (uint32_t i = 100000; i < 1000000 && hosts.size() < count; ++i) {
        std::string host = 'h' + std::to_string(i) + ".test";
        if (urlBucketOf(host) == bucket) {
            hosts.push_back(std::move(host));
        }
    }
    EXPECT_EQ(count, hosts.size());
    return hosts;
}

TEST(NameBuildFault, UrlRulesInHostBlocks) {
    const std::vector<std::string> hosts = sharingHosts(100);
    BuildPlan plan{{RULE_TYPE_URL, {}, {}}, {}, {}, {}};
    for (const std::string& host : hosts) {
        plan.rules.rules.push_back({(plan.rules.rules.size() % 40 < 20 ? "" : "https://") + host});
        plan.rules.keys.push_back(host + "/x");
        plan.rules.keys.push_back("https://" + host);
    }
    plan.rules.rules.push_back({"https://" + hosts[50]});
    plan.rules.rules.push_back({hosts[30] + "/x"});
    const FaultTotals totals = failBuild("URL rules in host blocks", plan);
    EXPECT_EQ(totals.allocations, totals.failures);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(3U + flatUrlAllocations(102, 9), totals.complete);
}

TEST(NameBuildFault, ThousandsOfUrlRulesOnOneHost) {
    BuildPlan plan{{RULE_TYPE_URL, rulesOf(manyPaths("example.com", 3000)), {}}, {}, {}, {}};
    plan.rules.keys = someOf(manyPaths("example.com", 3001), 100, "");
    plan.isLarge = true;
    const FaultTotals totals = failBuild("3000 URL rules on one host", plan);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(21U, totals.leftOut);
    EXPECT_EQ(3U + flatUrlAllocations(3000, 9), totals.complete);
}

TEST(NameBuildFault, ThousandsOfUrlRulesInOneBucket) {
    const std::vector<std::string> hosts = sharingHosts(1000);
    BuildPlan plan{{RULE_TYPE_URL, rulesOf(hosts), someOf(hosts, 20, "")}, {}, {}, {}};
    plan.isLarge = true;
    const FaultTotals totals = failBuild("1000 URL rules in one bucket", plan);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(3U + flatUrlAllocations(1000, 8), totals.complete);
}

}  // namespace

}  // namespace rs::test
