#include "lookup/cut_name.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

constexpr HashSeed SEED = {0x0123456789ABCDEF, 0x123456789ABCDEF1};

// The suffixes of a name, the longest first; none for a name that is not cut.
std::vector<std::string> suffixesOf(NameForm form, std::string_view name) {
    const ExactText text(name);
    CutName cut;
    std::vector<std::string> suffixes;
    if (cutName(form, text.data(), text.size(), cut)) {
        for (uint32_t i = 0; i < cut.count; ++i) {
            suffixes.emplace_back(cut.bytes + cut.starts[i], cut.bytes + cut.length);
        }
        EXPECT_EQ(cut.length, cut.starts[cut.count]);
        EXPECT_EQ(cut.isWhole, cut.bytes == text.data() ? 1U : 0U);
    }
    return suffixes;
}

using Suffixes = std::vector<std::string>;

TEST(CutName, CutsLabelsOfWireNames) {
    const struct {
        std::string_view name;
        Suffixes suffixes;
    } rows[] = {
        {"", {}},
        {"\1a", {"\1a"}},
        {"\3web\7example\3com", {"\3web\7example\3com", "\7example\3com", "\3com"}},
        // A label may hold dots, zero bytes and bytes that look like lengths.
        {std::string_view("\3a\0.\1b", 6), {std::string("\3a\0.\1b", 6), "\1b"}},
        {"\5a\3com", {"\5a\3com"}},
        // Labels that end after the name, and an empty one after another.
        {"\6a\3com", {}},
        {"\1a\3co", {}},
        {"\1a\4com", {}},
        {std::string_view("\1a\0\3com", 7), {}},
        {std::string_view("\3com\0", 5), {}},
        // An empty label at the start is no part of a rule, but the rest may be.
        {std::string_view("\0\3com", 5), {std::string("\0\3com", 5), "\3com"}},
        {std::string_view("\0\0\3com", 6), {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.name));
        EXPECT_EQ(row.suffixes, suffixesOf(NameForm::WIRE, row.name));
    }
}

TEST(CutName, CutsDottedNamesAfterEachDotWithAByteAfterIt) {
    const struct {
        std::string_view name;
        Suffixes suffixes;
    } rows[] = {
        {"", {}},
        {"a", {"a"}},
        {"web.example.com", {"web.example.com", "example.com", "com"}},
        {"a..b", {"a..b", ".b", "b"}},
        {"a.b.", {"a.b.", "b."}},
        {".a", {".a", "a"}},
        {".", {"."}},
        {"..", {"..", "."}},
        {"0123456.89abcde.g", {"0123456.89abcde.g", "89abcde.g", "g"}},
        {"01234567.9", {"01234567.9", "9"}},
        {std::string_view("\0.\xAE.b/", 6), {std::string("\0.\xAE.b/", 6), "\xAE.b/", "b/"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.name));
        EXPECT_EQ(row.suffixes, suffixesOf(NameForm::DOTTED, row.name));
    }
}

TEST(CutName, CutsOnlyTheEndOfALongName) {
    const std::string wire = repeat("\1a", 128);
    EXPECT_EQ(128U, suffixesOf(NameForm::WIRE, wire).size());
    EXPECT_EQ(suffixesOf(NameForm::WIRE, wire), suffixesOf(NameForm::WIRE, "\3www" + wire));
    EXPECT_EQ(suffixesOf(NameForm::WIRE, wire), suffixesOf(NameForm::WIRE, wire + wire));
    EXPECT_EQ(Suffixes{}, suffixesOf(NameForm::WIRE, "\3www" + wire + "\1"));
    // An empty label ends the walk wherever it is, but at the start.
    EXPECT_EQ(Suffixes{}, suffixesOf(NameForm::WIRE, "\1a" + std::string(1, '\0') + wire));
    EXPECT_EQ(suffixesOf(NameForm::WIRE, wire),
              suffixesOf(NameForm::WIRE, std::string(1, '\0') + wire));

    const std::string dots(255, '.');
    EXPECT_EQ(255U, suffixesOf(NameForm::DOTTED, dots).size());
    EXPECT_EQ(suffixesOf(NameForm::DOTTED, dots), suffixesOf(NameForm::DOTTED, "a." + dots));
    const std::string longest(255, 'x');
    EXPECT_EQ(Suffixes{longest}, suffixesOf(NameForm::DOTTED, longest));
    EXPECT_EQ(Suffixes{longest}, suffixesOf(NameForm::DOTTED, "." + longest));
    EXPECT_EQ(Suffixes{}, suffixesOf(NameForm::DOTTED, "." + longest + "x"));
    EXPECT_EQ(Suffixes{}, suffixesOf(NameForm::DOTTED, longest + "."));
}

std::vector<uint64_t> hashesOf(NameForm form, std::string_view name) {
    const ExactText text(name);
    CutName cut;
    EXPECT_TRUE(cutName(form, text.data(), text.size(), cut));
    const SuffixHashes suffixHashes(cut, SEED);
    std::vector<uint64_t> hashes;
    for (uint32_t i = 0; i < cut.count; ++i) {
        hashes.push_back(suffixHashes.of(cut.starts[i]));
    }
    EXPECT_EQ(hashes[0], hashCutName(cut, SEED));
    if (cut.isWhole != 0 && text.size() >= sizeof(NameWord)) {
        const SuffixHashes hashesOfBytes(text.data(), text.size(), SEED);
        for (uint32_t i = 0; i < cut.count; ++i) {
            EXPECT_EQ(hashes[i], hashesOfBytes.of(cut.starts[i]));
        }
    }
    return hashes;
}

TEST(SuffixHashes, AreThoseOfTheSuffixesByThemselves) {
    for (size_t length = 1; length <= 40; ++length) {
        for (const std::string_view before : {"", "a.", "bcdefgh.", "0123456789.", "a.b.c."}) {
            const std::string label = std::string(length - 1, 'x') + 'y';
            const std::string name = std::string(before) + label;
            EXPECT_EQ(hashesOf(NameForm::DOTTED, label)[0], hashesOf(NameForm::DOTTED, name).back())
                << name;
            EXPECT_EQ(hashesOf(NameForm::DOTTED, label + ".com")[0],
                      *(hashesOf(NameForm::DOTTED, name + ".com").end() - 2))
                << name;
        }
    }
}

TEST(SuffixHashes, DependOnEveryByteAndOnTheLength) {
    std::set<uint64_t> hashes;
    size_t count = 0;
    for (uint32_t length = 1; length <= 64; ++length) {
        std::string name(length, '\0');
        hashes.insert(hashesOf(NameForm::DOTTED, name)[0]);
        ++count;
        for (uint32_t i = 0; i < length; ++i) {
            for (const char byte : {'\1', 'a', '\x80'}) {
                name[i] = byte;
                hashes.insert(hashesOf(NameForm::DOTTED, name)[0]);
                ++count;
            }
            name[i] = '\0';
        }
    }
    EXPECT_EQ(count, hashes.size());
}

std::string distinctBytes(uint32_t length) {
    std::string name;
    for (uint32_t i = 0; i < length; ++i) {
        name += static_cast<char>(i * 7 + 1);
    }
    return name;
}

// The words of a name, and after them what a lookup may read.
std::vector<NameWord> wordsOf(std::string_view name) {
    const ExactText text(name);
    CutName cut;
    EXPECT_TRUE(cutName(NameForm::DOTTED, text.data(), text.size(), cut));
    std::vector<NameWord> words((name.size() + 7) / 8);
    SuffixHashes(cut, SEED).writeName(words.data());
    NameWord others{};
    std::fill(std::begin(others.bytes), std::end(others.bytes), '\xA5');
    words.resize(words.size() + USUAL_WORDS - 1, others);
    return words;
}

TEST(SuffixHashes, KnowTheirSuffixesByTheirBytes) {
    for (uint32_t length = 1; length <= LONGEST_DOTTED_NAME; ++length) {
        SCOPED_TRACE(length);
        std::string name = distinctBytes(length);
        std::replace(name.begin(), name.end(), '.', '-');
        std::vector<NameWord> words = wordsOf(name);
        std::string read(length, '\0');
        readName(words.data(), length, read.data());
        EXPECT_EQ(name, read);
        for (const std::string_view before :
             {"", "a.", "01234.", "seven.b.", "0123456789abcdef."}) {
            const std::string longer = std::string(before) + name;
            if (longer.size() > LONGEST_DOTTED_NAME) {
                continue;
            }
            const ExactText text(longer);
            CutName cut;
            ASSERT_TRUE(cutName(NameForm::DOTTED, text.data(), text.size(), cut));
            const SuffixHashes hashes(cut, SEED);
            const auto start = size32(before);
            EXPECT_TRUE(hashes.isSuffix(start, words.data()));
            for (uint32_t i = 0; i < length; ++i) {
                std::string other = name;
                other[i] = other[i] == 'z' ? 'y' : 'z';
                EXPECT_FALSE(hashes.isSuffix(start, wordsOf(other).data())) << i;
            }
        }
    }
}

TEST(SuffixHashes, SeeCapitalsOfNames) {
    for (uint32_t length = 8; length <= LONGEST_WIRE_NAME; ++length) {
        std::string name(length, 'x');
        const auto mayHaveCapitals = [&name] {
            const ExactText text(name);
            return SuffixHashes(text.data(), text.size(), SEED).mayHaveCapitals();
        };
        EXPECT_FALSE(mayHaveCapitals()) << length;
        for (uint32_t i = 0; i < length; ++i) {
            for (const char capital : {'A', 'Z'}) {
                name[i] = capital;
                EXPECT_TRUE(mayHaveCapitals()) << length << " bytes, at " << i;
            }
            for (const char other : {'a', 'z', '-', '0', '9', '\0', '\77', '\xFF'}) {
                name[i] = other;
                EXPECT_FALSE(mayHaveCapitals()) << length << " bytes, at " << i;
            }
        }
    }
}

TEST(SuffixHashes, DependOnWhereLabelsEnd) {
    EXPECT_NE(hashesOf(NameForm::WIRE, "\2ab\1c")[0], hashesOf(NameForm::WIRE, "\1a\2bc")[0]);
    EXPECT_NE(hashesOf(NameForm::DOTTED, "ab.c")[0], hashesOf(NameForm::DOTTED, "a.bc")[0]);
}

}  // namespace

}  // namespace rs::test
