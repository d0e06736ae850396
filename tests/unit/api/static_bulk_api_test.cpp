// The bulk lookups of <ruleset_static.h> answer as single lookups do.
#include <ruleset_static.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/match_result.h"
#include "support/random_source.h"
#include "support/reference_ip.h"
#include "support/rule_builder.h"
#include "support/rule_handles.h"
#include "support/scoped_flat_use.h"
#include "support/text.h"

namespace rs::test {

namespace {

// Around the ends of a block of keys.
constexpr size_t COUNTS[] = {0, 1, 31, 32, 33, 64, 65, 1000};

constexpr uint32_t UNTOUCHED_INDEX = 0xDEADBEEF;
constexpr int32_t UNTOUCHED_STATUS = 0x5EADBEEF;

struct Lookup {
    int32_t status;
    MatchResult result;
};

// What bulk lookups answer to a key, by the single lookup of it: on a miss only ruleIndex is written.
template <typename Match>
Lookup expectedOf(const Match& match) {
    MatchResult result = UNTOUCHED;
    const int32_t status = match(&result);
    if (status != 1) {
        result = UNTOUCHED;
        result.ruleIndex = 0;
    }
    return {status, result};
}

// Where a call of a bulk lookup writes to, with a place after the last one.
struct Answers {
    explicit Answers(size_t count)
        : ruleIndexes(count + 1, UNTOUCHED_INDEX),
          statuses(count + 1, UNTOUCHED_STATUS),
          results(count + 1, UNTOUCHED) {}

    std::vector<uint32_t> ruleIndexes;
    std::vector<int32_t> statuses;
    std::vector<MatchResult> results;
};

// The keys again and again, until there are count.
template <typename Key>
std::vector<Key> takeKeys(const std::vector<Key>& keys, size_t count) {
    std::vector<Key> taken;
    taken.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        taken.push_back(keys[i % keys.size()]);
    }
    return taken;
}

// Asks for keys by bulk(keys, count, ruleIndexes, statuses, results) and by single(key, result). A bulk lookup that has no
// statuses leaves them alone. Counts the hits.
template <typename Key, typename Bulk, typename Single>
void expectAnswersOfSingles(size_t& hits, const std::vector<Key>& keys, bool hasStatuses,
                            const Bulk& bulk, const Single& single) {
    for (const size_t count : COUNTS) {
        SCOPED_TRACE(count);
        const std::vector<Key> asked = takeKeys(keys, count);
        Answers answers(count);
        ASSERT_EQ(RULE_OK, bulk(asked.data(), count, answers.ruleIndexes.data(),
                                answers.statuses.data(), answers.results.data()));
        for (size_t i = 0; i < count; ++i) {
            const Lookup expected =
                expectedOf([&](MatchResult* result) { return single(asked[i], result); });
            ASSERT_EQ(expected.result, answers.results[i]) << "key " << i % keys.size();
            ASSERT_EQ(expected.result.ruleIndex, answers.ruleIndexes[i]);
            ASSERT_EQ(hasStatuses ? expected.status : UNTOUCHED_STATUS, answers.statuses[i]);
            hits += expected.status == 1 ? 1 : 0;
        }
        EXPECT_EQ(UNTOUCHED_INDEX, answers.ruleIndexes[count]);
        EXPECT_EQ(UNTOUCHED_STATUS, answers.statuses[count]);
        EXPECT_EQ(UNTOUCHED, answers.results[count]);

        Answers indexesOnly(count);
        ASSERT_EQ(RULE_OK,
                  bulk(asked.data(), count, indexesOnly.ruleIndexes.data(), nullptr, nullptr));
        EXPECT_EQ(answers.ruleIndexes, indexesOnly.ruleIndexes);
    }
}

using Texts = std::vector<std::string>;

// Every rule has a value, an id and userData of its own, so that no answer is like another.
RuleGroupHandle makeGroup(int32_t type, const Texts& rules) {
    static std::array<char, 4096> userData;
    const RuleSetHandle set = newRuleSet(type);
    uint32_t position = 0;
    for (const std::string& rule : rules) {
        EXPECT_EQ(RULE_OK, addRule(*set, rule, 7 + position, ruleIdAt(position + 1),
                                   &userData[position % userData.size()]))
            << rule;
        ++position;
    }
    return buildRuleGroup(*set);
}

// Calls check(group) for the rules in each of the three forms of a group.
template <typename Check>
void forEachForm(int32_t type, const Texts& rules, const Check& check) {
    for (const FlatUse use : {FlatUse::ALWAYS, FlatUse::NEVER, FlatUse::BY_SIZE}) {
        SCOPED_TRACE(::testing::Message()
                     << rules.size() << " rules, flat use " << static_cast<uint32_t>(use));
        const ScopedFlatUse used(use);
        const RuleGroupHandle group = makeGroup(type, rules);
        ASSERT_NE(nullptr, group);
        check(*group);
    }
}

// ------------------------------------------------------------------------------------------------ IP

std::string ipv4Text(uint32_t address) {
    return std::to_string(address >> 24U) + '.' + std::to_string(address >> 16U & 0xFFU) + '.' +
           std::to_string(address >> 8U & 0xFFU) + '.' + std::to_string(address & 0xFFU);
}

AddressBytes ipv6Bytes(uint64_t upper, uint64_t lower) {
    return bytesOf(makeNumber(upper, lower));
}

AddressBytes mappedBytes(uint32_t address) {
    return ipv6Bytes(0, 0xFFFF00000000 | address);
}

constexpr uint32_t STEP = 0x00010307;  // between the places of rules
constexpr uint64_t IPV6_PREFIX = 0x20010DB800000000;

uint32_t ipv4Place(uint32_t number) {
    return 0x0A000000 + number * STEP;
}

uint64_t ipv6Place(uint32_t number) {
    return IPV6_PREFIX + number * 0x0000000100010003;
}

std::string ipv6Text(uint64_t upper, std::string_view rest) {
    std::string text;
    for (uint32_t shift = 64; shift != 0;) {
        shift -= 16;
        constexpr char DIGITS[] = "0123456789abcdef";
        for (uint32_t digit = 16; digit != 0;) {
            digit -= 4;
            text += DIGITS[upper >> (shift + digit) & 15U];
        }
        text += ':';
    }
    return text + std::string(rest);
}

// Each kind of rule has count, at the same places.
Texts ipv4Hosts(uint32_t count) {
    Texts rules;
    for (uint32_t i = 0; i < count; ++i) {
        rules.push_back(ipv4Text(ipv4Place(i)));
    }
    return rules;
}

Texts ipv4Ranges(uint32_t count) {
    Texts rules;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t first = ipv4Place(i) - 2;
        rules.push_back(ipv4Text(first) + '-' + ipv4Text(first + 3 + i % 700));
    }
    return rules;
}

Texts ipv6Hosts(uint32_t count) {
    Texts rules;
    for (uint32_t i = 0; i < count; ++i) {
        rules.push_back(ipv6Text(ipv6Place(i), "0:0:0:5"));
    }
    return rules;
}

Texts ipv6Ranges(uint32_t count) {
    Texts rules;
    for (uint32_t i = 0; i < count; ++i) {
        rules.push_back(ipv6Text(ipv6Place(i), i % 2 == 0 ? ":/64" : ":/126"));
    }
    return rules;
}

Texts joined(const std::vector<Texts>& lists) {
    Texts all;
    for (const Texts& list : lists) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}

// At and around the places of count rules, and anywhere.
std::vector<uint32_t> ipv4Keys(uint32_t count) {
    RandomSource random(20);
    std::vector<uint32_t> keys{0, 1, 0x7FFFFFFF, 0xFFFFFFFF};
    for (uint32_t i = 0; i < 300; ++i) {
        keys.push_back(ipv4Place(random.below32(count)) + random.below32(8) - 4);
        keys.push_back(i % 3 == 0 ? random.bits32() : ipv4Place(random.below32(count)));
    }
    return keys;
}

std::vector<AddressBytes> ipv6Keys(uint32_t count) {
    RandomSource random(21);
    std::vector<AddressBytes> keys{ipv6Bytes(0, 0), ipv6Bytes(UINT64_MAX, UINT64_MAX),
                                   mappedBytes(0), ipv6Bytes(0, 0xFFFE0A000000)};
    for (const uint32_t address : ipv4Keys(count)) {
        const uint64_t place = ipv6Place(random.below32(count));
        keys.push_back(ipv6Bytes(place, random.below(8)));
        keys.push_back(ipv6Bytes(place + random.below(2), random.bits()));
        keys.push_back(mappedBytes(address));
    }
    return keys;
}

void expectIpAnswersOfSingles(const RuleGroup& group, uint32_t count) {
    size_t hits = 0;
    expectAnswersOfSingles(
        hits, ipv4Keys(count), false,
        [&](const uint32_t* keys, size_t number, uint32_t* ruleIndexes, int32_t* /*statuses*/,
            MatchResult* results) {
            return matchIpv4Bulk(&group, keys, number, ruleIndexes, results);
        },
        [&](uint32_t key, MatchResult* result) {
            return rs_matchIPRuleGroup(&group, key, result);
        });
    expectAnswersOfSingles(
        hits, ipv6Keys(count), false,
        [&](const AddressBytes* keys, size_t number, uint32_t* ruleIndexes, int32_t* /*statuses*/,
            MatchResult* results) {
            return matchIpv6Bulk(&group, keys, number, ruleIndexes, results);
        },
        [&](const AddressBytes& key, MatchResult* result) {
            return rs_matchIPRuleGroupEx(&group, 6, key.data(), result);
        });
    EXPECT_LT(0U, hits);
}

struct IpRules {
    const char* name;
    Texts (*make)(uint32_t count);
};

class BulkIp : public ::testing::TestWithParam<IpRules> {};

TEST_P(BulkIp, AnswersAsSingleLookups) {
    for (const uint32_t count : {3U, 40U, 600U}) {
        forEachForm(RULE_TYPE_IP, GetParam().make(count),
                    [count](const RuleGroup& group) { expectIpAnswersOfSingles(group, count); });
    }
}

const IpRules IP_RULES[] = {
    {"Ipv4Hosts", ipv4Hosts},
    {"Ipv4Ranges", ipv4Ranges},  // asked for in IPv4-mapped form, too: their ranges are mirrored
    {"Ipv4Both",
     [](uint32_t count) {
         return joined({ipv4Hosts(count), ipv4Ranges(count)});
     }},
    {"Ipv4RangesFirst",
     [](uint32_t count) {
         return joined({ipv4Ranges(count), ipv4Hosts(count)});
     }},
    {"Ipv6Hosts", ipv6Hosts},
    {"Ipv6Ranges", ipv6Ranges},
    {"Ipv6Both",
     [](uint32_t count) {
         return joined({ipv6Ranges(count), ipv6Hosts(count)});
     }},
    {"FewIpv4RangesAndHosts",
     [](uint32_t count) {
         return joined({ipv4Ranges(2), ipv4Hosts(count)});
     }},
    {"Ipv4RangesAndIpv6Hosts",
     [](uint32_t count) {
         return joined({ipv4Ranges(count), ipv6Hosts(count)});
     }},
    {"Ipv4HostsAndIpv6Ranges",
     [](uint32_t count) {
         return joined({ipv4Hosts(count), ipv6Ranges(count)});
     }},
    {"All",
     [](uint32_t count) {
         return joined({ipv6Hosts(count), ipv4Ranges(count), ipv6Ranges(count), ipv4Hosts(count)});
     }},
};

INSTANTIATE_TEST_SUITE_P(EveryKind, BulkIp, ::testing::ValuesIn(IP_RULES),
                         [](const auto& row) { return row.param.name; });

TEST(BulkIp, RefusesNullArgumentsAndGroupsOfOtherTypes) {
    const RuleGroupHandle group = makeIpGroup({{"10.0.0.0/8"}});
    const RuleGroupHandle other = makeDomainGroup({{"a.com"}});
    const uint32_t address = 1;
    const AddressBytes bytes{};
    uint32_t index = UNTOUCHED_INDEX;
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv4Bulk(nullptr, &address, 1, &index, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv4Bulk(other.get(), &address, 1, &index, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv4Bulk(other.get(), nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv4Bulk(group.get(), nullptr, 1, &index, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv4Bulk(group.get(), &address, 1, nullptr, &result));
    EXPECT_EQ(RULE_OK, matchIpv4Bulk(group.get(), nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv6Bulk(nullptr, &bytes, 1, &index, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv6Bulk(other.get(), &bytes, 1, &index, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv6Bulk(other.get(), nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv6Bulk(group.get(), nullptr, 1, &index, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, matchIpv6Bulk(group.get(), &bytes, 1, nullptr, &result));
    EXPECT_EQ(RULE_OK, matchIpv6Bulk(group.get(), nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(UNTOUCHED_INDEX, index);
    EXPECT_EQ(UNTOUCHED, result);
}

// ------------------------------------------------------------------------------------------------ names and URLs

// Blocks of exactly the size of their texts, and keys that name them; the last key has a null text.
struct TextKeys {
    explicit TextKeys(const Texts& texts) {
        for (const std::string& text : texts) {
            blocks.emplace_back(text);
            keys.push_back({blocks.back().data(), blocks.back().size()});
        }
        keys.push_back({nullptr, 5});
    }

    std::vector<ExactText> blocks;
    std::vector<TextKey> keys;
};

using BulkText = int32_t (*)(const RuleGroup*, const TextKey*, size_t, uint32_t*, int32_t*,
                             MatchResult*) noexcept;
using SingleText = int32_t (*)(const RuleGroup*, const char*, uint32_t, MatchResult*);

void expectTextAnswersOfSingles(const RuleGroup& group, const Texts& texts, BulkText bulk,
                                SingleText single) {
    const TextKeys keys(texts);
    size_t hits = 0;
    expectAnswersOfSingles(
        hits, keys.keys, true,
        [&](const TextKey* asked, size_t count, uint32_t* ruleIndexes, int32_t* statuses,
            MatchResult* results) {
            return bulk(&group, asked, count, ruleIndexes, statuses, results);
        },
        [&](const TextKey& key, MatchResult* result) {
            return single(&group, key.text, key.length, result);
        });
    EXPECT_LT(0U, hits);
}

void expectRefusals(BulkText bulk, const RuleGroup& group, const RuleGroup& other) {
    const TextKey key{"a.com", 5};
    uint32_t index = UNTOUCHED_INDEX;
    int32_t status = UNTOUCHED_STATUS;
    MatchResult result = UNTOUCHED;
    EXPECT_EQ(RULE_ERR_INVALID_ARG, bulk(nullptr, &key, 1, &index, &status, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, bulk(&other, &key, 1, &index, &status, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, bulk(&other, nullptr, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, bulk(&group, nullptr, 1, &index, &status, &result));
    EXPECT_EQ(RULE_ERR_INVALID_ARG, bulk(&group, &key, 1, nullptr, &status, &result));
    EXPECT_EQ(RULE_OK, bulk(&group, nullptr, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(UNTOUCHED_INDEX, index);
    EXPECT_EQ(UNTOUCHED_STATUS, status);
    EXPECT_EQ(UNTOUCHED, result);
}

std::string hostText(uint32_t number) {
    return "host" + std::to_string(number) + ".example" + std::to_string(number % 5) + ".com";
}

Texts domainRules(uint32_t count) {
    Texts rules{"a.com", "*.org", "B\303\274cher.example", "x_y.test", "*.deep.under.net"};
    for (uint32_t i = 0; i < count; ++i) {
        rules.push_back((i % 3 == 0 ? "*." : "") + hostText(i));
    }
    return rules;
}

Texts nameKeys(uint32_t count) {
    Texts names{"",
                "a.com",
                "A.CoM",
                "a.com.",
                ".",
                "..",
                "a..com",
                ".a.com",
                "com",
                "x",
                "web.org",
                "org",
                "%61.com",
                "b%C3%BCcher.example",
                "B\303\234CHER.Example",
                "xn--bcher-kva.example",
                "x_y.test",
                "x y.test",
                "1.2.deep.under.net",
                std::string("a\0b.com", 7),
                std::string(63, 'a') + ".org",
                std::string(64, 'a') + ".org",
                repeat("abcdefg.", 20) + "org",
                repeat("a.", 126) + "org",
                repeat("a.", 300) + "org",
                std::string(5000, 'a') + ".org",
                std::string(70000, 'a')};
    for (uint32_t i = 0; i < 150; ++i) {
        names.push_back(hostText(i * 11 % (2 * count + 1)));
        names.push_back("www." + hostText(i * 7 % (2 * count + 1)));
        names.push_back("UNKNOWN" + std::to_string(i) + ".example.net");
    }
    return names;
}

TEST(BulkDomainNames, AnswerAsSingleLookups) {
    for (const uint32_t count : {0U, 40U, 2000U}) {
        forEachForm(RULE_TYPE_FQDN, domainRules(count), [count](const RuleGroup& group) {
            expectTextAnswersOfSingles(group, nameKeys(count), matchDomainNamesBulk,
                                       rs_matchDomainNameWithRuleGroup);
        });
    }
}

TEST(BulkDomainNames, AnswerAsSingleLookupsWhereARuleCoversAllNames) {
    for (const uint32_t count : {0U, 2000U}) {
        Texts rules = domainRules(count);
        rules.insert(rules.begin() + 2, "*");
        forEachForm(RULE_TYPE_FQDN, rules, [count](const RuleGroup& group) {
            expectTextAnswersOfSingles(group, nameKeys(count), matchDomainNamesBulk,
                                       rs_matchDomainNameWithRuleGroup);
        });
    }
}

TEST(BulkDomainNames, RefuseNullArgumentsAndGroupsOfOtherTypes) {
    expectRefusals(matchDomainNamesBulk, *makeDomainGroup({{"*"}}), *makeUrlGroup({{"a.com"}}));
}

Texts urlRules(uint32_t count) {
    Texts rules{"a.com",         "*.org/path",      "https://secure.test/",
                "a.test:8080/x", "[2001:db8::1]/a", "long.test/" + std::string(200, 'p')};
    for (uint32_t i = 0; i < count; ++i) {
        const std::string path = i % 4 == 0 ? "" : "/dir" + std::to_string(i % 7);
        rules.push_back((i % 3 == 0 ? "*." : "") + hostText(i / 2) + path);
    }
    return rules;
}

Texts urlKeys(uint32_t count) {
    Texts urls{"",
               "a.com",
               "http://A.com/Path?Query",
               "HTTPS://user@SECURE.test:443/",
               "http://secure.test/",
               "a.test:8080/x/y",
               "a.test:80/x",
               "[2001:DB8:0::1]/a",
               "[2001:db8::1",
               "/path",
               "/",
               "http://",
               "://",
               "http:///x",
               ":80",
               "%61.com/%62",
               "web.org/path/more",
               "b\303\274cher.org/path",
               std::string("a.com/\0", 7),
               "long.test/" + std::string(53, 'p'),
               "long.test/" + std::string(54, 'p'),
               "long.test/" + std::string(55, 'p'),
               "long.test/" + std::string(200, 'p') + "/end",
               "a.com/" + std::string(4000, 'x'),
               "a.com/" + std::string(9000, 'x'),
               std::string(64, '%'),
               std::string(64, '\xC3')};
    for (uint32_t i = 0; i < 150; ++i) {
        const std::string dir = "/dir" + std::to_string(i % 9);
        urls.push_back("http://" + hostText(i * 11 % (count + 1)) + dir);
        urls.push_back("www." + hostText(i * 7 % (count + 1)) + dir + "/index.html?q=1");
        urls.push_back("https://UNKNOWN" + std::to_string(i) + ".example.net/");
    }
    return urls;
}

TEST(BulkUrls, AnswerAsSingleLookups) {
    for (const uint32_t count : {0U, 40U, 2000U}) {
        forEachForm(RULE_TYPE_URL, urlRules(count), [count](const RuleGroup& group) {
            expectTextAnswersOfSingles(group, urlKeys(count), matchUrlsBulk,
                                       rs_matchUrlWithRuleGroup);
        });
    }
}

TEST(BulkUrls, AnswerAsSingleLookupsWithoutAnExactHost) {
    forEachForm(
        RULE_TYPE_URL, {"*.org/path", "*/dir1", "*.example1.com/dir2"}, [](const RuleGroup& group) {
            expectTextAnswersOfSingles(group, urlKeys(40), matchUrlsBulk, rs_matchUrlWithRuleGroup);
        });
}

TEST(BulkUrls, RefuseNullArgumentsAndGroupsOfOtherTypes) {
    expectRefusals(matchUrlsBulk, *makeUrlGroup({{"a.com"}}), *makeDomainGroup({{"*"}}));
}

}  // namespace

}  // namespace rs::test
