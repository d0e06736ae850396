// Compiled groups of URL rules against the walk over the rules one by one.
#include "url/url_match.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_names.h"
#include "support/random_source.h"
#include "support/reference_url.h"
#include "support/rule_pair.h"
#include "support/text.h"
#include "url/path_key.h"

namespace rs::test {

namespace {

using Rules = RulePair<ReferenceUrlRules, RULE_TYPE_URL>;

constexpr CountedLookup LOOKUP = {"rs_matchUrlWithRuleGroup", rs_matchUrlWithRuleGroup};

// The reference knows no empty URL.
void checkKey(const RuleGroup& group, const std::string& key, const Rules& pair) {
    if (!key.empty()) {
        checkByWalk(LOOKUP, group, key, pair);
    }
}

void replaceFirst(std::string& text, std::string_view from, std::string_view to) {
    const size_t at = text.find(from);
    if (at != std::string::npos) {
        text.replace(at, from.size(), to);
    }
}

// A URL where the rules are: a rule with its wildcards filled in, and more behind it.
std::string urlNear(const std::vector<std::string>& texts, RandomSource& random) {
    if (texts.empty() || random.oneIn(4)) {
        return randomUrl(random);
    }
    std::string url(trimBlanks(random.pick(texts)));
    replaceFirst(url, ":*", random.oneIn(2) ? "" : ":8080");
    if (!random.oneIn(10)) {
        replaceFirst(url, "*.", random.oneIn(2) ? "a." : "");
        replaceFirst(url, "*", random.oneIn(2) ? "abc" : "web.com");
    }
    if (random.oneIn(2)) {
        url += randomRest(random, 1).substr(random.below(2));
    }
    if (random.oneIn(4)) {
        replaceFirst(url, "http://", random.oneIn(2) ? "https://" : "");
    }
    return url;
}

// Paths of few beginnings, mostly long enough for blocks.
std::string blockPath(RandomSource& random) {
    static const std::vector<std::string> PIECES{"/abc", "d",   "e",      "/x",
                                                 "?q",   "%41", "/abcde", "a"};
    std::string path = "/abc";
    for (uint64_t count = random.below(5); count > 0; --count) {
        path += random.pick(PIECES);
    }
    if (random.oneIn(3)) {
        path.insert(static_cast<size_t>(random.between(1, path.size())), 1, '*');
    }
    return path;
}

std::string blockHost(RandomSource& random) {
    static const std::vector<std::string> HOSTS{
        "a.com",    "https://a.com", "*.com",   "https://*.com", "*",
        "http://*", "https://*",     "a.com:*", "b.a.com"};
    return random.pick(HOSTS);
}

std::string blockUrl(RandomSource& random) {
    static const std::vector<std::string> SCHEMES{"",   "http://", "https://",
                                                  "//", "ftp://",  "rtmps://"};
    static const std::vector<std::string> HOSTS{"a.com", "b.a.com", "com", "c.com", ""};
    static const std::vector<std::string> PORTS{"", "", "", ":80", ":443", ":8080"};
    std::string path = blockPath(random);
    replaceFirst(path, "*", random.oneIn(2) ? "" : "/zz");
    return random.pick(SCHEMES) + random.pick(HOSTS) + random.pick(PORTS) + path;
}

std::string largeSetHost(RandomSource& random) {
    static const std::vector<std::string> TOPS{"com", "test", "example"};
    std::string label(1, static_cast<char>('a' + random.below(26)));
    label += static_cast<char>('a' + random.below(26));
    return label + std::to_string(random.below(80)) + "." + random.pick(TOPS);
}

// Paths of one beginning that begin one another, of which some differ in what is asked for besides.
std::string nestedPath(RandomSource& random) {
    static const std::vector<std::string> TAILS{"", "", "", "*", "*b", "*ab", "*a/b"};
    std::string path = random.oneIn(10) ? "/" : "/aaaaaaaa/aaaaaaa";
    for (uint64_t count = random.below(random.oneIn(4) ? 60 : 6); count > 0; --count) {
        path += random.oneIn(4) ? 'b' : 'a';
    }
    return path + random.pick(TAILS);
}

std::string nestedHost(RandomSource& random) {
    static const std::vector<std::string> SCHEMES{"", "https://"};
    static const std::vector<std::string> HOSTS{"a.com", "*.com", "*", "a.com", "b.a.com"};
    static const std::vector<std::string> PORTS{"", "", "", ":*", ":443", ":81"};
    return random.pick(SCHEMES) + random.pick(HOSTS) + random.pick(PORTS);
}

std::string nestedUrl(RandomSource& random) {
    static const std::vector<std::string> SCHEMES{"", "https://", "ldaps://"};
    static const std::vector<std::string> HOSTS{"a.com", "b.a.com", "c.com", "d"};
    static const std::vector<std::string> PORTS{"", "", ":80", ":443", ":81"};
    std::string path = nestedPath(random);
    replaceFirst(path, "*", random.oneIn(2) ? "" : "c");
    path += random.oneIn(2) ? "" : random.oneIn(2) ? "/a" : "ab";
    return random.pick(SCHEMES) + random.pick(HOSTS) + random.pick(PORTS) + path;
}

// Hosts enough for crowded buckets, one under both schemes at times; one host with most paths.
std::string largeSetRule(RandomSource& random) {
    if (random.oneIn(20)) {
        return blockHost(random) + blockPath(random) + std::to_string(random.below(1000));
    }
    std::string rule = random.oneIn(3) ? "https://" : "";
    rule += random.oneIn(2) ? "*." : "";
    rule += largeSetHost(random);
    return rule + (random.oneIn(2) ? randomRest(random, 1) : "");
}

// The order of letters counts little for the hash of a host: many of these stand in one bucket, and
// many of those have one hash.
std::string sameBucketHost(RandomSource& random) {
    std::string host = "abcd.";
    for (size_t i = host.size() - 1; i > 0; --i) {
        std::swap(host[i], host[static_cast<size_t>(random.below(i + 1))]);
    }
    return "x" + host + "com";
}

std::string largeSetKey(const std::vector<std::string>& texts, RandomSource& random) {
    const std::string url = urlNear(texts, random);
    const std::string mutated = random.oneIn(20) ? mutateText(url, random) : url;
    return mutated.empty() ? "/" : mutated;
}

}  // namespace

TEST(UrlMatchProperty, OfSmallSetsAgreesWithReference) {
    forEachCase(6000, [](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(1, random.oneIn(10) ? 60 : 12));
        Rules pair(2 * count + 2);
        for (size_t i = 0; i < count; ++i) {
            const std::string text = randomUrlRule(random);
            pair.add(text, random);
            if (random.oneIn(3)) {
                pair.add(mutateText(text, random), random);
            }
        }
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 20; ++i) {
                const std::string url = urlNear(pair.texts(), random);
                checkKey(group, url, pair);
                checkKey(group, mutateText(url, random), pair);
            }
        });
    });
}

// Hosts whose paths stand in a list, or in one block, or in many.
TEST(UrlMatchProperty, OfCrowdedHostsAgreesWithReference) {
    uint64_t rulesInBlocks = 0;
    forEachCase(1500, [&rulesInBlocks](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(10, random.oneIn(4) ? 700 : 150));
        Rules pair(count);
        for (size_t i = 0; i < count; ++i) {
            pair.add(blockHost(random) + blockPath(random), random);
        }
        rulesInBlocks += pair.reference().countOfRulesInBlocks();
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 60; ++i) {
                const std::string url = blockUrl(random);
                checkKey(group, url, pair);
                if (random.oneIn(4)) {
                    checkKey(group, mutateText(url, random), pair);
                }
            }
        });
    });
    EXPECT_LT(0U, rulesInBlocks);
}

// Paths that begin with many others, as rules of a list and in blocks.
TEST(UrlMatchProperty, OfNestedPathsAgreesWithReference) {
    uint64_t rulesInBlocks = 0;
    forEachCase(1000, [&rulesInBlocks](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(5, random.oneIn(4) ? 600 : 100));
        Rules pair(count);
        for (size_t i = 0; i < count; ++i) {
            pair.add(nestedHost(random) + nestedPath(random), random);
        }
        rulesInBlocks += pair.reference().countOfRulesInBlocks();
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 60; ++i) {
                const std::string url = nestedUrl(random);
                checkKey(group, url, pair);
                if (random.oneIn(4)) {
                    checkKey(group, mutateText(url, random), pair);
                }
            }
        });
    });
    EXPECT_LT(0U, rulesInBlocks);
}

std::string shortPath(RandomSource& random) {
    std::string path = "/";
    for (uint64_t length = random.below(4); length > 0; --length) {
        path += static_cast<char>('a' + random.below(3));
    }
    return path + (random.oneIn(5) ? "*b" : "");
}

std::string urlOfShortPath(RandomSource& random) {
    std::string path = shortPath(random);
    replaceFirst(path, "*", random.oneIn(2) ? "" : "cc");
    path += random.oneIn(2) ? "/x" : random.oneIn(2) ? "b" : "";
    return (random.oneIn(3) ? "https://a.com" : "b.a.com") + path;
}

// Short paths alone, so that the list of a host is long.
TEST(UrlMatchProperty, OfLongListsAgreesWithReference) {
    forEachCase(600, [](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(5, 80));
        Rules pair(count);
        for (size_t i = 0; i < count; ++i) {
            pair.add(nestedHost(random) + shortPath(random), random);
        }
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 60; ++i) {
                checkKey(group, urlOfShortPath(random), pair);
            }
        });
    });
}

TEST(UrlMatchProperty, OfOneCrowdedBucketAgreesWithReference) {
    forEachCase(600, [](RandomSource& random) {
        const size_t count = static_cast<size_t>(random.between(1, random.oneIn(2) ? 30 : 300));
        Rules pair(count);
        const uint64_t httpsShare = random.between(1, 6);
        for (size_t i = 0; i < count; ++i) {
            const std::string scheme = random.oneIn(httpsShare) ? "https://" : "";
            pair.add(scheme + (random.oneIn(3) ? "*." : "") + sameBucketHost(random), random);
        }
        pair.checkBuild([&](const RuleGroup& group) {
            for (int i = 0; i < 100; ++i) {
                const std::string scheme = random.oneIn(2) ? "https://" : "";
                checkKey(group, scheme + (random.oneIn(3) ? "a." : "") + sameBucketHost(random),
                         pair);
            }
        });
    });
}

TEST(UrlMatchProperty, OfSetsOfEverySizeAgreesWithReference) {
    forEachCase(1, [](RandomSource& random) {
        for (const uint64_t size : {100ULL, 1000ULL, 10000ULL, 50000ULL, 100000ULL}) {
            const auto count = static_cast<size_t>(propertySize(size));
            checkLargeSet<Rules>(LOOKUP, count, count, random, largeSetRule, largeSetKey);
        }
    });
}

// URLs whose canonical form comes close to the room of its buffer or exceeds it.
TEST(UrlMatchProperty, OfUrlsWithoutRoomAgreesWithReference) {
    forEachCase(3000, [](RandomSource& random) {
        Rules pair(4);
        pair.add("*", random);
        pair.add("https://*:*/", random);
        pair.add("[::]:*", random);
        pair.add(randomUrlRule(random), random);
        static const std::vector<std::string> HOSTS{
            "[::]", "[1::]", "\xC3\xBC", "\xC3\xBC.\xC3\xBC", "a", "//[::]"};
        std::string url = random.pick(HOSTS);
        if (random.oneIn(2)) {
            url += randomRest(random, 0);
        }
        if (random.oneIn(4)) {
            const uint64_t size = random.between(1015, 1030) * (random.oneIn(2) ? 4 : 1);
            while (url.size() < size) {
                url.insert(0, random.oneIn(2) ? "u" : "\xC3\xBC.");
            }
            url.insert(static_cast<size_t>(random.below(url.size())), random.oneIn(2) ? "@" : "/");
        }
        pair.checkBuild([&](const RuleGroup& group) { checkKey(group, url, pair); });
    });
}

// Texts of two letters, one of them NUL, so that patterns nearly occur everywhere.
TEST(FindSubstringProperty, FindsWhatAPlainSearchFinds) {
    const auto fewLetters = [](RandomSource& random, uint64_t maxLength) {
        std::string text(static_cast<size_t>(random.below(maxLength + 1)), 'a');
        const uint64_t rarity = random.between(1, 40);
        for (char& byte : text) {
            byte = random.oneIn(rarity + 1) ? '\0' : byte;
        }
        return text;
    };
    forEachCase(5000, [&](RandomSource& random) {
        const uint64_t size = random.oneIn(10) ? 2000 : 20;
        const std::string text = fewLetters(random, size);
        std::string pattern = fewLetters(random, random.oneIn(2) ? size : 4);
        if (random.oneIn(3) && !text.empty()) {
            pattern = text.substr(static_cast<size_t>(random.below(text.size())));
            pattern = pattern.substr(0, static_cast<size_t>(random.below(pattern.size() + 1)));
        }
        const ExactText exactText(text);
        const ExactText exactPattern(pattern);
        const char* found = findSubstring(exactText.data(), exactText.size(), exactPattern.data(),
                                          exactPattern.size());
        const size_t expected = text.find(pattern);
        EXPECT_EQ(expected == std::string::npos ? nullptr : exactText.data() + expected, found)
            << ::testing::PrintToString(pattern) << " in " << ::testing::PrintToString(text);
    });
}

}  // namespace rs::test
