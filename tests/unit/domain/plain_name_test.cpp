#include "domain/plain_name.h"

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/reference_host.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr int ROUNDS = 50000;

// The lower form; empty for a name that is not plain. All buffers have exactly the bytes that are allowed.
template <Underscores underscores, typename Block = ByteBlock>
std::string lowered(std::string_view name, uint64_t* dots = nullptr) {
    const ExactText text(name);
    const auto out = std::make_unique<char[]>(plainNameRoom(text.size()));
    const PlainName plain = lowerPlainName<underscores, Block>(text.data(), text.size(), out.get());
    if (dots != nullptr) {
        *dots = plain.dots;
    }
    return {out.get(), plain.length};
}

template <typename Block = ByteBlock>
std::string wireForm(std::string_view name) {
    const ExactText text(name);
    const auto out = std::make_unique<char[]>(plainNameRoom(text.size()) + 2);
    const uint32_t length = writePlainWireName<Block>(text.data(), text.size(), out.get());
    EXPECT_TRUE(length == 0 || out[length] == 0);
    return {out.get(), length};
}

std::string randomName(std::mt19937& random) {
    constexpr std::string_view USUAL = "abcxyzAZ019-.";
    constexpr std::string_view ANY = "abZ9-..._%/ \x80";
    std::string name(1 + random() % (LONGEST_PLAIN_NAME + 2), ' ');
    const std::string_view letters = random() % 2 == 0 ? USUAL : ANY;
    const auto spread = static_cast<uint32_t>(1 + random() % 12);
    for (char& byte : name) {
        byte = random() % spread == 0 ? letters[random() % letters.size()] : 'q';
    }
    return name;
}

TEST(PlainName, IsWrittenInLowerCase) {
    uint64_t dots = 0;
    EXPECT_EQ("web.example.com", lowered<Underscores::REFUSED>("WEB.Example.COM.", &dots));
    EXPECT_EQ(0x808U, dots);
    EXPECT_EQ("a", lowered<Underscores::REFUSED>("A"));
    EXPECT_EQ("xn--bcher-kva.example", lowered<Underscores::REFUSED>("xn--bcher-kva.Example"));
    EXPECT_EQ("_dmarc.a", lowered<Underscores::ALLOWED>("_DMARC.a"));
}

TEST(PlainName, IsWrittenInWireForm) {
    using namespace std::string_literals;
    EXPECT_EQ("\3web\7example\3com"s, wireForm("WEB.Example.COM."));
    EXPECT_EQ("\1a"s, wireForm("a"));
    EXPECT_EQ("\1a"s, wireForm("a."));
}

TEST(PlainName, HasNoEmptyLabelAndNoOtherByte) {
    for (const char* name : {".", "..", ".a", "a..", "a..b", "a%41", "a b", "a/b", "\x80", "a_b"}) {
        EXPECT_EQ("", lowered<Underscores::REFUSED>(name)) << name;
    }
    EXPECT_EQ("", wireForm("."));
    EXPECT_EQ("", wireForm("a..b"));
}

TEST(PlainName, HasAtMost63Bytes) {
    const std::string longest(LONGEST_PLAIN_NAME, 'x');
    EXPECT_EQ(longest, lowered<Underscores::REFUSED>(longest));
    EXPECT_EQ(std::string(1, LONGEST_PLAIN_NAME) + longest, wireForm(longest));
    EXPECT_EQ("", lowered<Underscores::REFUSED>(longest + "x"));
    EXPECT_EQ("", lowered<Underscores::REFUSED>(longest + "."));
    std::string manyDots;
    for (uint32_t i = 0; i < LONGEST_PLAIN_NAME; ++i) {
        manyDots += i % 2 == 0 ? 'A' : '.';
    }
    uint64_t dots = 0;
    EXPECT_EQ(LONGEST_PLAIN_NAME, lowered<Underscores::REFUSED>(manyDots, &dots).size());
    EXPECT_EQ(0x2AAAAAAAAAAAAAAAU, dots);
}

TEST(PlainName, HasTheFormThatTheReferenceGives) {
    std::mt19937 random(1);
    int plainNames = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        const std::string name = randomName(random);
        const std::string strict = lowered<Underscores::REFUSED>(name);
        const std::string plain = lowered<Underscores::ALLOWED>(name);
        ASSERT_EQ((lowered<Underscores::ALLOWED, PortableBlock>(name)), plain);
        ASSERT_EQ(wireForm<PortableBlock>(name), wireForm(name));
        ASSERT_EQ(plain.empty(), wireForm(name).empty());
        ASSERT_TRUE(strict.empty() || strict == strictHost(name).text) << name;
        ASSERT_TRUE(plain.empty() || plain == matchHost(name).text) << name;
        ASSERT_TRUE(plain.empty() || plain == ruleHost(name).text) << name;
        plainNames += plain.empty() ? 0 : 1;
    }
    EXPECT_LT(ROUNDS / 20, plainNames);
}

}  // namespace

}  // namespace rs::test
