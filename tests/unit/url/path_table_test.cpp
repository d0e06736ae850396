#include "url/path_table.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/slab.h"
#include "support/text.h"

namespace rs::test {

namespace {

struct Path {
    std::string text;
    bool hasWildcard = false;  // at its '*'
    uint16_t portLow = 80;
    uint16_t portHigh = 80;
};

// Paths as rules 1, 2 ... of one list, or of blocks, with a table of them.
class Table {
public:
    explicit Table(std::vector<Path> paths, bool isList = false)
        : paths_(std::move(paths)), isList_(isList) {
        words_.resize(paths_.size() * URL_LISTED_WORDS);
        std::vector<PathItem> items;
        for (uint32_t i = 0; i < paths_.size(); ++i) {
            const auto word = static_cast<uint32_t>(i * URL_LISTED_WORDS);
            const UrlPathEntry entry = entryOf(paths_[i], i + 1);
            std::memcpy(&words_[word], &entry, sizeof entry);
            items.push_back({0, word});
        }
        memory_.resize(pathTableSize(paths_.size()) / sizeof(uint64_t));
        const size_t size = buildPathTable(*table(), words_.data(), items.data(),
                                           static_cast<uint32_t>(paths_.size()), isList);
        EXPECT_LE(size, memory_.size() * sizeof(uint64_t));
    }

    uint32_t find(std::string_view path, uint16_t port = 80, uint32_t before = UINT32_MAX) const {
        const ExactText text(path);
        const UrlPathEntry* entry = findInPathTable(
            *table(), words_.data(), {text.data(), text.size(), port}, isList_, before);
        EXPECT_EQ(walk(path, port, before), entry == nullptr ? 0 : entry->ruleIndex) << path;
        return entry == nullptr ? 0 : entry->ruleIndex;
    }

    const PathTable* table() const { return reinterpret_cast<const PathTable*>(memory_.data()); }

private:
    PathTable* table() { return reinterpret_cast<PathTable*>(memory_.data()); }

    static UrlPathEntry entryOf(Path& path, uint32_t ruleIndex) {
        UrlPathEntry entry{};
        entry.path = path.text.data();
        entry.pathLength = size32(path.text);
        entry.prefixLength =
            path.hasWildcard ? static_cast<uint32_t>(path.text.find('*')) : entry.pathLength;
        entry.plainPath =
            path.text.find_first_of("*?#") == std::string::npos && !path.text.ends_with('/');
        entry.portLow = path.portLow;
        entry.portHigh = path.portHigh;
        entry.ruleIndex = ruleIndex;
        return entry;
    }

    uint32_t walk(std::string_view path, uint16_t port, uint32_t before) const {
        const PathKey key{path.data(), size32(path), port};
        for (size_t i = 0; i < paths_.size() && i + 1 < before; ++i) {
            const UrlPathEntry& entry = entryAt(words_.data(), i * URL_LISTED_WORDS);
            if (hasPrefix(entry, key) && (!isList_ || endsAtSeparator(entry, key)) &&
                hasPort(entry, key) && hasTail(entry, key)) {
                return static_cast<uint32_t>(i + 1);
            }
        }
        return 0;
    }

    std::vector<Path> paths_;
    bool isList_;
    std::vector<UrlPathWord> words_;
    std::vector<uint64_t> memory_;
};

TEST(PathTable, OfOnePathFindsIt) {
    const Table table({{"/abc"}});
    EXPECT_EQ(1, table.find("/abc"));
    EXPECT_EQ(1, table.find("/abcd"));
    EXPECT_EQ(0, table.find("/ab"));
    EXPECT_EQ(0, table.find("/abd"));
    EXPECT_EQ(0, table.find("/abc", 81));
}

TEST(PathTable, FindsTheEarliestOfThePathsThatOneBeginsWith) {
    const Table table({{"/aaaa/bbbb/cccc"}, {"/aaaa/bbbb"}, {"/aaaa"}, {"/aaaa/bbbb/cccc/dddd"}});
    EXPECT_EQ(1, table.find("/aaaa/bbbb/cccc/dddd"));
    EXPECT_EQ(2, table.find("/aaaa/bbbb/cccb"));
    EXPECT_EQ(3, table.find("/aaaa/bbb"));
    EXPECT_EQ(0, table.find("/aaa"));
    EXPECT_EQ(0, table.find("/aaaa/bbbb/cccc", 80, 1));
}

TEST(PathTable, ComparesTextWhereEightBytesAreEqual) {
    const Table table({{"/common/12345678x"},
                       {"/common/12345678y"},
                       {"/common/12345678"},
                       {"/common/12345678yy"},
                       {"/common/1"}});
    EXPECT_EQ(1, table.find("/common/12345678x"));
    EXPECT_EQ(2, table.find("/common/12345678yyy"));
    EXPECT_EQ(3, table.find("/common/12345678"));
    EXPECT_EQ(3, table.find("/common/12345678a"));
    EXPECT_EQ(3, table.find("/common/12345678z"));
    EXPECT_EQ(5, table.find("/common/1234567"));
    EXPECT_EQ(0, table.find("/common/0"));
    EXPECT_EQ(0, table.find("/commoo/1"));
    EXPECT_EQ(0, table.find("/common/"));
}

TEST(PathTable, TellsZeroBytesFromTheEndOfAPath) {
    using namespace std::string_literals;
    const Table table({{"/a\0"s}, {"/a"s}, {"/a\0\0b"s}, {"/b"s}});
    EXPECT_EQ(1, table.find("/a\0"s));
    EXPECT_EQ(1, table.find("/a\0\0b"s));
    EXPECT_EQ(2, table.find("/a"));
    EXPECT_EQ(2, table.find("/a\1"));
    EXPECT_EQ(0, table.find("/\0"s));
}

TEST(PathTable, HasEqualRulesOnce) {
    std::vector<Path> paths(1000, Path{"/path/of/all"});
    paths.insert(paths.end(), 1000, Path{"/path*tail", true});
    const Table table(paths);
    EXPECT_EQ(2U, table.table()->itemCount);
    EXPECT_EQ(2U, table.table()->prefixCount);
    EXPECT_EQ(1, table.find("/path/of/all"));
    EXPECT_EQ(1001, table.find("/path/tail"));
}

TEST(PathTable, KeepsRulesThatAskForOtherThings) {
    const Table table({{"/abc*x", true},
                       {"/abc*y", true},
                       {"/abc", false, 81, 81},
                       {"/abc*", true, 82, 90},
                       {"/abc", false, 82, 82},
                       {"/abc*x", true, 1, 65535}});
    EXPECT_EQ(1, table.find("/abc-x"));
    EXPECT_EQ(2, table.find("/abcy"));
    EXPECT_EQ(3, table.find("/abc", 81));
    EXPECT_EQ(4, table.find("/abc", 82));
    EXPECT_EQ(0, table.find("/abc"));
    EXPECT_EQ(6, table.find("/abcx", 99));
}

TEST(PathTable, OfAListHasPlainPathsUpToASeparator) {
    const std::vector<Path> paths{{"/abc"}, {"/ab*", true}, {"/a?b"}};
    const Table list(paths, true);
    EXPECT_EQ(1, list.find("/abc/d"));
    EXPECT_EQ(2, list.find("/abcd"));
    EXPECT_EQ(3, list.find("/a?bc"));
    const Table blocks(paths, false);
    EXPECT_EQ(1, blocks.find("/abcd"));
}

// The way up is long, and what the path and the last prefix have in common is short.
TEST(PathTable, PassesOverLongPrefixesThatBeginOneAnother) {
    std::vector<Path> paths;
    for (size_t length = 3000; length >= 1; --length) {
        paths.push_back({"/" + std::string(length, 'a')});
    }
    const Table table(paths);
    for (size_t length = 1; length <= 3000; length += 97) {
        const auto rule = static_cast<uint32_t>(3001 - length);
        EXPECT_EQ(rule, table.find("/" + std::string(length, 'a')));
        EXPECT_EQ(rule, table.find("/" + std::string(length, 'a') + "b"));
    }
    EXPECT_EQ(0, table.find("/"));
}

TEST(PathTable, FindsEachOfManyPaths) {
    std::vector<Path> paths;
    for (uint32_t i = 0; i < 4000; ++i) {
        paths.push_back({"/path/" + std::to_string(i * 7919U % 10007U)});
    }
    const Table table(paths);
    for (uint32_t i = 0; i < 10007; i += 11) {
        static_cast<void>(table.find("/path/" + std::to_string(i)));
        static_cast<void>(table.find("/path/" + std::to_string(i) + "x"));
    }
}

}  // namespace

}  // namespace rs::test
