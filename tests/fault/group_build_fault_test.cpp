// Groups of every rule type but IP when memory runs out while they are built.
#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/failing_allocator.h"
#include "support/fault_host.h"
#include "support/text.h"
#include "url/url_index.h"

namespace rs::test {

namespace {

struct BuildPlan {
    FaultRules rules;
    // Rules that enter behind all others, as the 128-bit structures are filled last.
    Positions later;
    // Rules whose userData no group hands back, and those that an equal earlier one makes
    // superfluous; of domain rules only.
    Positions never;
    Positions duplicates;
    // A large set, of whose allocations some fail only.
    bool isLarge = false;
};

struct FaultTotals {
    uint64_t allocations = 0;
    uint64_t failures = 0;
    uint64_t failedBuilds = 0;
    uint64_t leftOut = 0;   // builds without one rule
    uint64_t complete = 0;  // builds that a failure did not keep from being complete
    size_t entered = 0;     // rules handed back by the build that failed last
};

bool contains(const Positions& positions, uint32_t position) {
    return std::find(positions.begin(), positions.end(), position) != positions.end();
}

Positions difference(const Positions& left, const Positions& right) {
    Positions positions;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                        std::back_inserter(positions));
    return positions;
}

// A domain or URL rule that memory runs out for is left out; in the other types the build fails.
bool leavesRulesOut(const FaultRules& rules) {
    return rules.type == RULE_TYPE_FQDN || rules.type == RULE_TYPE_URL;
}

// The rules whose userData goes back when a build fails, in the order in which they enter.
Positions enteringOrder(const BuildPlan& plan) {
    Positions order;
    for (uint32_t position = 1; position <= plan.rules.rules.size(); ++position) {
        if (plan.rules.rules[position - 1].hasUserData && !contains(plan.later, position) &&
            !contains(plan.never, position)) {
            order.push_back(position);
        }
    }
    order.insert(order.end(), plan.later.begin(), plan.later.end());
    return order;
}

uint64_t countAllocations(const FaultRules& rules) {
    FaultHost host(rules);
    const AllocationWatch watch;
    host.buildAndDelete();
    EXPECT_EQ(0U, watch.liveBlockCount());
    return watch.allocationCount();
}

std::vector<uint64_t> numbersToFail(uint64_t count, bool isLarge) {
    constexpr uint64_t AT_THE_START = 12;
    constexpr uint64_t AT_THE_END = 40;  // where blocks are made
    constexpr uint64_t BETWEEN = 16;
    std::vector<uint64_t> numbers;
    for (uint64_t number = 1; number <= count; ++number) {
        if (!isLarge || number <= AT_THE_START || number + AT_THE_END > count ||
            number % (count / BETWEEN) == 0) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

// A group without failures hands userData back as documented.
void expectCleanBuild(const BuildPlan& plan, const BuildRecord& record) {
    EXPECT_EQ(plan.duplicates, record.atBuild);
    EXPECT_EQ(record.inside.handingBack, record.atDelete);
    if (plan.rules.type != RULE_TYPE_FQDN) {
        Positions all = enteringOrder(plan);
        std::sort(all.begin(), all.end());
        EXPECT_EQ(all, record.atDelete);
    }
}

// The position of the rule that a build left out, as it shows inside the group or by userData that
// did not go back; 0 for none.
uint32_t findLeftOut(const BuildRecord& clean, const BuildRecord& record) {
    Positions missing = difference(clean.inside.stored, record.inside.stored);
    if (missing.empty()) {
        missing = difference(clean.atBuild, record.atBuild);
    }
    EXPECT_GE(1U, missing.size()) << "one failure may cost one rule";
    return missing.empty() ? 0 : missing[0];
}

// What a build shows when another rule stands where the rule at position stood.
BuildRecord buildWithout(const BuildPlan& plan, uint32_t position) {
    FaultRules rules = plan.rules;
    rules.rules[position - 1] = {"left.out.invalid", false};
    BuildRecord record = FaultHost(rules).buildAndDelete();
    std::erase(record.inside.stored, position);
    return record;
}

// A finished build that met a failure: complete, or the same as without one of the rules. How names
// lie in blocks may differ, and with that which userData goes back at the deletion.
void expectFinishedBuild(const BuildPlan& plan, const BuildRecord& clean, const BuildRecord& record,
                         FaultTotals& totals) {
    EXPECT_TRUE(leavesRulesOut(plan.rules));
    EXPECT_EQ(record.inside.handingBack, record.atDelete);
    const uint32_t leftOut = findLeftOut(clean, record);
    ++(leftOut == 0 ? totals.complete : totals.leftOut);
    const BuildRecord expected = leftOut == 0 ? clean : buildWithout(plan, leftOut);
    EXPECT_EQ(expected.answers, record.answers);
    EXPECT_EQ(expected.atBuild, record.atBuild);
    EXPECT_EQ(expected.inside.stored, record.inside.stored);
}

class BuildFaults {
public:
    explicit BuildFaults(const BuildPlan& plan)
        : plan_(plan), clean_(FaultHost(plan.rules).buildAndDelete()), order_(enteringOrder(plan)) {
        expectCleanBuild(plan, clean_);
        totals_.allocations = countAllocations(plan.rules);
    }

    FaultTotals failAllocations() {
        for (const uint64_t number : numbersToFail(totals_.allocations, plan_.isLarge)) {
            SCOPED_TRACE(::testing::Message() << "allocation " << number << " fails");
            failAllocation(number);
            if (::testing::Test::HasFailure()) {
                break;
            }
            ++totals_.failures;
        }
        return totals_;
    }

private:
    void failAllocation(uint64_t number) {
        FaultHost host(plan_.rules);
        const SetState state(host.set());
        RuleGroup untouched{};
        RuleGroup* group = &untouched;
        int32_t status = RULE_OK;
        BuildRecord record;
        {
            const AllocationWatch watch(number);
            status = rs_buildRuleGroup(&host.set(), &group);
            EXPECT_TRUE(watch.hasFailed());
            if (status == RULE_OK) {
                record = host.recordAndDelete(group);
            }
            EXPECT_EQ(0U, watch.liveBlockCount());
        }
        EXPECT_TRUE(state == SetState(host.set()));
        if (status == RULE_OK) {
            expectFinishedBuild(plan_, clean_, record, totals_);
        } else {
            EXPECT_EQ(RULE_ERR_NO_MEMORY, status);
            EXPECT_EQ(&untouched, group);
            expectFailedBuild(host.takeHandedBack());
        }
        EXPECT_EQ(clean_, host.buildAndDelete());
    }

    // What had entered goes back once: the later the failure, the more.
    void expectFailedBuild(Positions handedBack) {
        ++totals_.failedBuilds;
        ASSERT_GE(order_.size(), handedBack.size());
        Positions entered(order_.begin(),
                          order_.begin() + static_cast<ptrdiff_t>(handedBack.size()));
        std::sort(entered.begin(), entered.end());
        std::sort(handedBack.begin(), handedBack.end());
        EXPECT_EQ(entered, handedBack);
        EXPECT_LE(totals_.entered, entered.size());
        if (!leavesRulesOut(plan_.rules) && !plan_.isLarge) {
            EXPECT_GE(totals_.entered + 1, entered.size()) << "rules enter one after the other";
        }
        totals_.entered = entered.size();
    }

    const BuildPlan& plan_;
    BuildRecord clean_;
    Positions order_;
    FaultTotals totals_;
};

FaultTotals failBuild(std::string_view operation, const BuildPlan& plan) {
    SCOPED_TRACE(operation);
    const FaultTotals totals = BuildFaults(plan).failAllocations();
    EXPECT_EQ(totals.failures, totals.failedBuilds + totals.leftOut + totals.complete);
    EXPECT_LE(2U, totals.failedBuilds) << "the group and its structure";
    if (!leavesRulesOut(plan.rules)) {
        EXPECT_LE(enteringOrder(plan).size(), totals.entered + 1) << "all but the last rule";
    }
    reportFailures("building " + std::string(operation), totals.failures);
    return totals;
}

// Every allocation fails the build.
void expectBuildsFail(std::string_view operation, const BuildPlan& plan) {
    const FaultTotals totals = failBuild(operation, plan);
    EXPECT_EQ(totals.failures, totals.failedBuilds);
    EXPECT_EQ(totals.allocations, totals.failures);
}

void append(std::vector<FaultRule>& rules, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        rules.push_back({text});
    }
}

std::vector<FaultRule> rulesOf(const std::vector<std::string>& texts) {
    std::vector<FaultRule> rules;
    append(rules, texts);
    return rules;
}

constexpr struct {
    int32_t type;
    std::string_view name;
} EMPTY_SETS[] = {
    {RULE_TYPE_FQDN, "an empty set of domain rules"},
    {RULE_TYPE_URL, "an empty set of URL rules"},
    {RULE_TYPE_PACKET_FILTER, "an empty set of packet filter rules"},
    {RULE_TYPE_IP_PORT, "an empty set of IP:Port rules"},
    {RULE_TYPE_COMPOUND, "an empty set of compound rules"},
};

TEST(GroupBuildFault, EmptySets) {
    for (const auto& row : EMPTY_SETS) {
        BuildPlan plan;
        plan.rules.type = row.type;
        plan.rules.keys = {"www.example.com"};
        const FaultTotals totals = failBuild(row.name, plan);
        EXPECT_EQ(2U, totals.allocations);
        EXPECT_EQ(2U, totals.failedBuilds);
    }
}

// Domain rules.

const std::vector<std::string>& domainKeys() {
    static const std::vector<std::string> KEYS = {"www.example.com", "a.b.example.com",
                                                  "example.com",     "xn--bcher-kva.example",
                                                  "mail.test",       "other.name"};
    return KEYS;
}

TEST(GroupBuildFault, DomainRules) {
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
    // The two parts of an entry of each rule, for a superfluous one is told by its entry; without
    // userData that one leaves no trace.
    EXPECT_EQ(16U, totals.leftOut);
    EXPECT_EQ(2U, totals.complete);

    plan.rules.rules = {{"*"}, {"www.example.com"}, {"*"}, {"*.example.com"}, {"*", false}};
    plan.never = {1, 3};
    plan.duplicates = {};
    totals = failBuild("domain rules with \"*\"", plan);
    EXPECT_EQ(6U, totals.failedBuilds);
    EXPECT_EQ(1U, totals.entered) << "\"*\" is never handed back";
    EXPECT_EQ(6U, totals.leftOut);
}

// Names that all stand in one bucket: one text with dots at different places. Each number below 4096
// has its own.
std::string sharingName(uint32_t number) {
    constexpr std::string_view LETTERS = "abcdefghijklm";
    std::string name(1, LETTERS[0]);
    for (uint32_t i = 1; i < LETTERS.size(); ++i) {
        if ((number >> (i - 1) & 1U) != 0) {
            name += '.';
        }
        name += LETTERS[i];
    }
    return name;
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

TEST(GroupBuildFault, DomainRulesInBlocks) {
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
    EXPECT_EQ(2U * 174, totals.leftOut);
    // 159 entries behind a head take three blocks, 11 wildcards one.
    EXPECT_EQ(4U, totals.complete);
}

TEST(GroupBuildFault, ThousandsOfDomainRulesInOneBucket) {
    const std::vector<std::string> names = sharingNames(2500, "");
    BuildPlan plan{{RULE_TYPE_FQDN, rulesOf(names), someOf(names, 50, "")}, {}, {}, {}};
    plan.isLarge = true;
    const FaultTotals totals = failBuild("2500 domain rules in one bucket", plan);
    EXPECT_LT(5000U, totals.allocations);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(35U, totals.complete) << "blocks of 72 for 2499 entries";
}

// URL rules.

TEST(GroupBuildFault, UrlRules) {
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
    // Two for the path of each of 7 rules, two for each of 5 hosts, and one for each scheme of two.
    EXPECT_EQ(26U, totals.leftOut);
    EXPECT_EQ(0U, totals.complete);

    plan.rules.rules = {{"*/a"}, {"example.com/a"}, {"https://*/axb"}, {"*:*", false}};
    totals = failBuild("URL rules with \"*\"", plan);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(12U, totals.leftOut);
}

std::vector<std::string> manyPaths(std::string_view host, uint32_t count) {
    std::vector<std::string> urls;
    for (uint32_t i = 0; i < count; ++i) {
        urls.push_back(std::string(host) + "/path/number" + std::to_string(i) + "/of/many");
    }
    return urls;
}

TEST(GroupBuildFault, UrlRulesInPathBlocks) {
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
    // Two for each path and two for each of two hosts.
    EXPECT_EQ(2U * 149 + 4, totals.leftOut);
    // 131 long paths of the host in blocks of 63, 34 and 34; 17 paths of "*" in one.
    EXPECT_EQ(4U, totals.complete);
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

TEST(GroupBuildFault, UrlRulesInHostBlocks) {
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
    EXPECT_LE(3U, totals.complete);
}

TEST(GroupBuildFault, ThousandsOfUrlRulesOnOneHost) {
    BuildPlan plan{{RULE_TYPE_URL, rulesOf(manyPaths("example.com", 3000)), {}}, {}, {}, {}};
    plan.rules.keys = someOf(manyPaths("example.com", 3001), 100, "");
    plan.isLarge = true;
    const FaultTotals totals = failBuild("3000 URL rules on one host", plan);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_LE(20U, totals.leftOut);
    // There are 48 blocks.
    EXPECT_EQ(40U, totals.complete);
}

TEST(GroupBuildFault, ThousandsOfUrlRulesInOneBucket) {
    const std::vector<std::string> hosts = sharingHosts(1000);
    BuildPlan plan{{RULE_TYPE_URL, rulesOf(hosts), someOf(hosts, 20, "")}, {}, {}, {}};
    plan.isLarge = true;
    const FaultTotals totals = failBuild("1000 URL rules in one bucket", plan);
    EXPECT_EQ(4U, totals.failedBuilds);
    EXPECT_EQ(16U, totals.complete) << "blocks of 63 for 999 hosts";
}

// The types with endpoints: the same rules, written for either.

struct EndpointRule {
    std::string first;
    std::string firstPorts;
    std::string second;
    std::string secondPorts;
    bool hasUserData = true;
};

std::string textOf(const EndpointRule& rule, int32_t type) {
    const std::string fields =
        rule.first + ';' + rule.firstPorts + ';' + rule.second + ';' + rule.secondPorts;
    return type == RULE_TYPE_IP_PORT ? fields + ";1" : "tcp;" + fields;
}

BuildPlan endpointPlan(int32_t type, const std::vector<EndpointRule>& rules, Positions later) {
    BuildPlan plan{{type, {}, {}}, std::move(later), {}, {}};
    for (const EndpointRule& rule : rules) {
        plan.rules.rules.push_back({textOf(rule, type), rule.hasUserData});
    }
    return plan;
}

constexpr struct {
    int32_t type;
    std::string_view name;
} ENDPOINT_TYPES[] = {
    {RULE_TYPE_PACKET_FILTER, "packet filter rules"},
    {RULE_TYPE_IP_PORT, "IP:Port rules"},
};

TEST(GroupBuildFault, EndpointRules) {
    // One of each kind of first and second address; the fifth and sixth have no IPv4 form.
    const std::vector<EndpointRule> rules = {
        {"10.0.0.1", "80", "10.0.0.1", "80"},
        {"10.0.0.0/24", "80,443,90-95", "192.168.0.0/16", "*", false},
        {"*", "*", "10.0.0.1", "443"},
        {"10.0.0.1", "443", "*", "80"},
        {"2001:db8::1", "80", "2001:db8::/32", "*"},
        {"2001:db8::/64", "*", "2001:db8::1", "443,80"},
        {"::ffff:10.1.2.3", "80", "::ffff:192.168.0.1", "80"},
        {"::ffff:10.3.0.0/112", "80", "*", "80"},
        {"10.0.0.1", "80", "10.0.0.1", "80"},
        {"::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "5000", "*", "443"},
        {"0.0.0.0-255.255.255.255", "443", "192.168.0.1", "5000"},
        {"*", "5000", "*", "5000"},
    };
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(row.name, endpointPlan(row.type, rules, {5, 6, 10}));
    }
}

TEST(GroupBuildFault, EndpointRulesInManyBlocks) {
    // 18 blocks of 65536 addresses, chains of several rules in two of them.
    const std::vector<EndpointRule> rules = {
        {"9.250.0.0-10.2.255.255", "1-65535", "10.0.0.0/8", "80"},
        {"10.0.0.0-10.1.255.255", "80", "*", "*"},
        {"10.1.2.0/24", "443", "192.168.0.1", "80"},
        {"10.0.0.0-10.0.0.255", "*", "*", "80", false},
    };
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(std::string(row.name) + " in many blocks",
                         endpointPlan(row.type, rules, {}));
    }
}

TEST(GroupBuildFault, EndpointRulesInChains) {
    std::vector<EndpointRule> rules;
    for (uint32_t i = 0; i < 20; ++i) {
        const std::string port = std::to_string(i % 2 == 0 ? 80 + i : 5000 - i);
        rules.push_back({"10.0.0.1", port, "10.0.0.1", "80"});
        rules.push_back({"10.0.0.0/30", "80", "10.0.0.1", port, i % 3 != 0});
    }
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(std::string(row.name) + " in chains", endpointPlan(row.type, rules, {}));
    }
}

TEST(GroupBuildFault, EndpointRulesOfManyRanges) {
    // More ranges than the finder of equal ones has room for at first, some of them twice.
    std::vector<EndpointRule> rules;
    Positions later;
    for (uint32_t i = 0; i < 72; ++i) {
        const std::string group = std::to_string(i % 66);
        rules.push_back({"2001:db8:" + group + "::/48", "80", "2001:db8::1", "80"});
        later.push_back(i + 1);
    }
    rules.push_back({"2001:db8::-2001:db8::ffff", "*", "*", "*"});
    later.push_back(73);
    for (const auto& row : ENDPOINT_TYPES) {
        expectBuildsFail(std::string(row.name) + " of many ranges",
                         endpointPlan(row.type, rules, later));
    }
}

TEST(GroupBuildFault, IpPortRulesOfManyItems) {
    const BuildPlan plan{
        {RULE_TYPE_IP_PORT,
         {{"10.0.0.1,10.0.0.200,10.1.0.0-10.3.0.5;80,443;10.0.0.1,192.168.0.1;80,443;1"},
          // An item of each family: the rule enters in both halves and is handed back once.
          {"2001:db8::1,10.0.0.1,fe80::/10;80;2001:db8::1,192.168.0.1;*;1"},
          {"2001:db8::1,fe80::1;5000;10.0.0.1;80;1"},
          {"*;80;2001:db8::/32,10.0.0.1;80;0x1", false},
          {"10.0.0.1,10.0.0.1;*;*;5000;1"}},
         {}},
        {3},
        {},
        {}};
    expectBuildsFail("IP:Port rules of many items", plan);
}

TEST(GroupBuildFault, ThousandsOfEndpointRules) {
    std::vector<EndpointRule> rules;
    for (uint32_t i = 0; i < 2000; ++i) {
        const std::string address =
            "10." + std::to_string(i / 250) + '.' + std::to_string(i % 250) + ".1";
        rules.push_back({address, "80", i % 2 == 0 ? "10.0.0.1" : "*", "80"});
    }
    for (const auto& row : ENDPOINT_TYPES) {
        BuildPlan plan = endpointPlan(row.type, rules, {});
        plan.isLarge = true;
        const FaultTotals totals = failBuild("2000 " + std::string(row.name), plan);
        EXPECT_EQ(totals.failures, totals.failedBuilds);
        EXPECT_LT(10000U, totals.allocations);
    }
}

// Compound rules.

TEST(GroupBuildFault, CompoundRules) {
    const BuildPlan plan{{RULE_TYPE_COMPOUND,
                          {{"1;1;10.0.0.1;80;0;1"},
                           {"1-10,70*,100;5*;10.0.0.0/8,::1,*;80,443-444;0x7;7"},
                           {"*;*;*;443;0;0", false},
                           {"1;1;10.0.0.1;80;0;1"},
                           {"5;5;2001:db8::1-2001:db8::9,192.168.0.1;*;2;1"}},
                          {}},
                         {},
                         {},
                         {}};
    expectBuildsFail("compound rules", plan);
}

TEST(GroupBuildFault, ManyCompoundRules) {
    BuildPlan plan{{RULE_TYPE_COMPOUND, {}, {}}, {}, {}, {}};
    for (uint32_t i = 0; i < 60; ++i) {
        plan.rules.rules.push_back({std::to_string(i) + ",70;*;10.0.0.1,192.168.0.0/16;" +
                                        std::to_string(60 + i) + ",443;0;" + std::to_string(i),
                                    i % 4 != 0});
    }
    expectBuildsFail("60 compound rules", plan);
}

// Sets without userData keep no account of it, and sets without callback do not hand it back.

const std::vector<FaultRules>& smallSets() {
    static const std::vector<FaultRules> SETS = {
        {RULE_TYPE_FQDN, {{"a.test"}, {"*.a.test"}, {"a.test"}, {"*"}}, {"a.test", "b.a.test"}},
        {RULE_TYPE_URL, {{"a.test/x"}, {"https://*.a.test"}, {"a.test/x"}, {"*"}}, {"a.test/x"}},
        {RULE_TYPE_PACKET_FILTER, {{"tcp;10.0.0.1;80;*;*"}, {"tcp;::/1;80;*;*"}}, {}},
        {RULE_TYPE_IP_PORT, {{"10.0.0.1;80;*;*;1"}, {"::/1,10.0.0.0/24;80;*;*;1"}}, {}},
        {RULE_TYPE_COMPOUND, {{"1;1;10.0.0.1;80;0;1"}, {"*;*;*;*;0;0"}}, {}},
    };
    return SETS;
}

TEST(GroupBuildFault, RulesWithoutUserData) {
    for (const FaultRules& rules : smallSets()) {
        BuildPlan plan{rules, {}, {}, {}};
        for (FaultRule& rule : plan.rules.rules) {
            rule.hasUserData = false;
        }
        failBuild("rules without userData of type " + std::to_string(rules.type), plan);
    }
}

TEST(GroupBuildFault, FailedBuildWithoutCallbackHandsNothingBack) {
    uint64_t failures = 0;
    for (const FaultRules& rules : smallSets()) {
        SCOPED_TRACE(rules.type);
        failures += failEachAllocation([&](uint64_t number) {
            FaultHost host(rules);
            rs_registerRuleCallback(&host.set(), RULE_CALLBACK_RELEASE, nullptr, nullptr);
            const AllocationWatch watch(number);
            RuleGroup* group = nullptr;
            rs_buildRuleGroup(&host.set(), &group);
            rs_delRuleGroup(&group);
            EXPECT_EQ(Positions(), host.takeHandedBack());
            EXPECT_EQ(0U, watch.liveBlockCount());
            return watch.hasFailed();
        });
    }
    reportFailures("building without callback", failures);
}

}  // namespace

}  // namespace rs::test
