#include "domain/domain_index.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/memory.h"
#include "core/rule_group.h"
#include "domain/domain_compile.h"
#include "support/release_recorder.h"
#include "support/rule_builder.h"
#include "support/text.h"

namespace rs::test {

namespace {

struct WireName {
    bool isValid;
    std::string bytes;  // with the final zero byte
};

WireName wireNameOf(std::string_view name) {
    std::vector<char> buffer(name.size() + 2, '?');
    std::copy(name.begin(), name.end(), buffer.begin() + 1);
    const bool isValid = makeWireName(buffer.data(), size32(name));
    return {isValid, isValid ? std::string(buffer.begin(), buffer.end()) : std::string()};
}

uint32_t hashOf(std::string_view name) {
    const WireName wireName = wireNameOf(name);
    EXPECT_TRUE(wireName.isValid) << name;
    const ExactText text(std::string_view(wireName.bytes).substr(0, wireName.bytes.size() - 1));
    return hashWireName(text.data(), text.size());
}

TEST(WireName, HasALengthInFrontOfEachLabelAndAZeroAtTheEnd) {
    const struct {
        std::string_view name;
        std::string bytes;
    } rows[] = {
        {"web.example.com", std::string("\3web\7example\3com\0", 17)},
        {"a", std::string("\1a\0", 3)},
        {"*", std::string("\1*\0", 3)},
        {"a.b", std::string("\1a\1b\0", 5)},
        {std::string_view("a\0b", 3), std::string("\3a\0b\0", 5)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const WireName wireName = wireNameOf(row.name);
        EXPECT_TRUE(wireName.isValid);
        EXPECT_EQ(row.bytes, wireName.bytes);
    }
}

TEST(WireName, HasNoEmptyLabels) {
    for (const std::string_view name : {"", ".", "..", ".a", "a.", "a..b", "..a"}) {
        EXPECT_FALSE(wireNameOf(name).isValid) << name;
    }
}

TEST(WireName, HasLabelsOfAtMost255Bytes) {
    for (const size_t length : {63U, 64U, 127U, 128U, 255U}) {
        SCOPED_TRACE(length);
        const WireName wireName = wireNameOf(std::string(length, 'a') + ".b");
        ASSERT_TRUE(wireName.isValid);
        EXPECT_EQ(length, static_cast<uint8_t>(wireName.bytes[0]));
        EXPECT_EQ(1, wireName.bytes[length + 1]);
        EXPECT_TRUE(wireNameOf("b." + std::string(length, 'a')).isValid);
    }
    EXPECT_FALSE(wireNameOf(std::string(256, 'a')).isValid);
    EXPECT_FALSE(wireNameOf("b." + std::string(256, 'a') + ".b").isValid);
}

TEST(WireNameHash, AddsEachLabelByteTimes1999) {
    EXPECT_EQ(97U * 1999, hashOf("a"));
    EXPECT_EQ(97U * 1999 + 98U * 1999 + (97U * 1999 >> 16U), hashOf("ab"));
    EXPECT_EQ(0xFFU * 1999, hashOf("\xFF"));
}

TEST(WireNameHash, SkipsDots) {
    EXPECT_EQ(hashOf("abc"), hashOf("a.bc"));
    // Deliberate: two different names share their hash.
    EXPECT_EQ(hashOf("ab.c"), hashOf("a.bc"));
    EXPECT_NE(hashOf("ab.c"), hashOf("ab.d"));
}

TEST(WireNameHash, OfTheDottedFormIsTheSame) {
    constexpr std::string_view NAME = "web.example.com";
    uint32_t hash = 0;
    for (const char byte : NAME) {
        if (byte != '.') {
            hash = hash + static_cast<uint8_t>(byte) * 1999U + (hash >> 16U);
        }
    }
    EXPECT_EQ(hash, hashOf(NAME));
}

TEST(WireNameHash, OfLessThanTwoBytesIsZero) {
    EXPECT_EQ(0, hashWireName("\1a", 0));
    EXPECT_EQ(0, hashWireName("\1a", 1));
    EXPECT_EQ(97U * 1999, hashWireName("\1a", 2));
}

TEST(DomainIndexRelease, LeavesNullAlone) {
    const ReleaseInfo info{};
    releaseDomainIndex(nullptr, &info);
    DomainIndex* index = nullptr;
    releaseDomainIndex(&index, &info);
    EXPECT_EQ(nullptr, index);
}

TEST(DomainIndexRelease, HappensWithTheLastReference) {
    RuleSetHandle set = newRuleSet(RULE_TYPE_FQDN);
    ReleaseRecorder recorder;
    int userData = 0;
    ASSERT_EQ(RULE_OK, addRule(*set, "a.com", 1, 1, &userData));
    RuleGroup group{};
    DomainIndex* index = buildDomainIndex(set.get(), &group);
    ASSERT_NE(nullptr, index);
    EXPECT_EQ(1, index->refCount);
    index->refCount = 2;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    releaseDomainIndex(&group.domainIndex, &info);
    EXPECT_EQ(index, group.domainIndex);
    EXPECT_EQ(1, index->refCount);
    EXPECT_TRUE(recorder.order().empty());
    releaseDomainIndex(&group.domainIndex, &info);
    EXPECT_EQ(nullptr, group.domainIndex);
    EXPECT_EQ(1, recorder.countOf(&userData));
}

TEST(DomainIndexRelease, HandsBackBySetBitZeroOfAFlagWordOnly) {
    // The flag word of the match-all entry stays 0; here one with bit 0 set shows that it is asked.
    ReleaseRecorder recorder;
    int userData = 0;
    const ReleaseInfo info{ReleaseRecorder::record, &recorder, 0};
    for (const uint32_t flags : {0U, 1U}) {
        auto* index = allocateRecord<DomainIndex>();
        index->refCount = 1;
        index->matchAll = allocateRecord<DomainEntry>();
        index->matchAll->userData = &userData;
        index->matchAll->releaseFlags = flags;
        releaseDomainIndex(&index, &info);
        EXPECT_EQ(flags, recorder.countOf(&userData));
    }
}

TEST(CountDomainEntries, CountsBothTablesAndNotTheMatchAll) {
    const RuleSetHandle set =
        makeDomainRuleSet({{"a.com"}, {"b.com"}, {"*.com"}, {"*"}, {"A.com"}});
    RuleGroup group{};
    const ReleaseInfo info{};
    ASSERT_NE(nullptr, buildDomainIndex(set.get(), &group));
    EXPECT_EQ(3, countDomainEntries(*group.domainIndex));
    EXPECT_EQ(3, countDomainEntries(*group.domainIndex));
    releaseDomainIndex(&group.domainIndex, &info);
    const DomainIndex empty{};
    EXPECT_EQ(0, countDomainEntries(empty));
}

}  // namespace

}  // namespace rs::test
