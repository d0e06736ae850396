#include "url/host_paths.h"

#include <ruleset.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

// Where entries are made; it frees them.
class Records {
public:
    Records() { sizeSlab(entries_, 100); }
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;
    ~Records() {
        freeSlab(entries_);
        freeTextSlab(texts_);
    }

    UrlPathEntry* make(std::string_view path, uint32_t wildcardOffset = 0, uint32_t ruleIndex = 1) {
        UrlRule rule{};
        rule.rule.path = {path.data(), size32(path)};
        rule.rule.wildcardOffset = wildcardOffset;
        rule.rule.portLow = 80;
        rule.rule.portHigh = 90;
        rule.ruleValue = 4;
        rule.ruleId = 5;
        rule.userData = &rule;
        UrlPathEntry* entry = makePathEntry(entries_, texts_, rule, ruleIndex);
        if (entry != nullptr) {
            EXPECT_EQ(&rule, entry->userData);
        }
        return entry;
    }

    uint32_t count() const { return entries_.count; }

private:
    Slab<UrlPathEntry> entries_{};
    TextSlab texts_{};
};

// A node with paths, which frees what it holds.
class HostNode {
public:
    // As the compiler adds them: in front.
    void push(std::string_view path, uint32_t wildcardOffset = 0) {
        UrlPathEntry* entry = records_.make(path, wildcardOffset, ++count_);
        entry->next = node_.paths;
        node_.paths = entry;
        ++node_.pathCount;
    }

    // The words that the packed paths take.
    size_t pack() {
        packed_.assign(packedPathWords(records_.count()), {});
        PathRoom room{packed_.data(), 0};
        packPaths(node_, room);
        EXPECT_LE(room.used, packed_.size());
        return room.used;
    }

    std::vector<std::string> listedPaths() const {
        std::vector<std::string> paths;
        for (const UrlPathEntry* entry = node_.paths; entry != nullptr; entry = entry->next) {
            paths.emplace_back(entry->path);
        }
        EXPECT_EQ(node_.pathCount, paths.size());
        return paths;
    }

    // First the block that was pushed last.
    std::vector<int32_t> blockSizes() const {
        std::vector<int32_t> sizes;
        for (const UrlPathBlock* block = node_.pathBlocks; block != nullptr; block = block->next) {
            sizes.push_back(block->count);
        }
        return sizes;
    }

    const UrlPathBlock* firstPathBlock() const { return node_.pathBlocks; }

    const UrlPathEntry* firstPath() const { return node_.paths; }

private:
    Records records_;
    std::vector<UrlPathWord> packed_;
    UrlHostNode node_{};
    uint32_t count_ = 0;
};

std::string pathAt(uint32_t number) {
    return "/path" + std::to_string(number);
}

// ---- Entries.

TEST(MakePathEntry, CopiesWhatTheRuleSays) {
    Records records;
    const UrlPathEntry* entry = records.make("/index.html", 0, 17);
    ASSERT_NE(nullptr, entry);
    EXPECT_STREQ("/index.html", entry->path);
    EXPECT_EQ(11, entry->pathLength);
    EXPECT_EQ(11, entry->prefixLength);
    EXPECT_EQ(17, entry->ruleIndex);
    EXPECT_EQ(4, entry->ruleValue);
    EXPECT_EQ(5, entry->ruleId);
    EXPECT_EQ(80, entry->portLow);
    EXPECT_EQ(90, entry->portHigh);
    EXPECT_EQ(nullptr, entry->next);
}

TEST(MakePathEntry, CoversTheWholeHostWithoutPathOrWithASlashAlone) {
    Records records;
    for (const std::string_view path : {"", "/"}) {
        const UrlPathEntry* entry = records.make(path);
        ASSERT_NE(nullptr, entry);
        EXPECT_STREQ("/*", entry->path);
        EXPECT_EQ(2, entry->pathLength);
        EXPECT_EQ(1, entry->prefixLength);
        EXPECT_EQ(0, entry->plainPath);
    }
    // Of other short paths nothing is made.
    EXPECT_STREQ("//", records.make("//")->path);
    EXPECT_STREQ("/?", records.make("/?")->path);
}

TEST(MakePathEntry, HasItsPrefixUpToTheWildcard) {
    constexpr struct {
        std::string_view path;
        uint32_t wildcardOffset;
        uint32_t prefixLength;
    } ROWS[] = {
        {"/*", 1, 1},
        {"/a*b", 2, 2},
        {"/abc*", 4, 4},
        {"/?q=*", 4, 4},
        {"/abc", 0, 4},
        // A star that an escape made is none.
        {"/a*b", 0, 4},
    };
    Records records;
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.path);
        const UrlPathEntry* entry = records.make(row.path, row.wildcardOffset);
        EXPECT_EQ(row.prefixLength, entry->prefixLength);
        EXPECT_EQ(row.path.size(), entry->pathLength);
    }
}

TEST(MakePathEntry, TellsPlainPaths) {
    constexpr struct {
        std::string_view path;
        uint32_t wildcardOffset;
        uint32_t plainPath;
    } ROWS[] = {
        {"/a", 0, 1},
        {"/a/b", 0, 1},
        {"//a", 0, 1},
        {"/a.b%", 0, 1},
        {"/a b", 0, 1},
        {"/a/", 0, 0},
        {"//", 0, 0},
        {"/a?b", 0, 0},
        {"/?", 0, 0},
        {"/a#b", 0, 0},
        {"/#", 0, 0},
        {"/a*", 2, 0},
        {"/*a", 1, 0},
        // A star that an escape made is a star here.
        {"/a*b", 0, 0},
    };
    Records records;
    for (const auto& row : ROWS) {
        EXPECT_EQ(row.plainPath, records.make(row.path, row.wildcardOffset)->plainPath) << row.path;
    }
}

TEST(MakePathEntry, HasAtMost8191Bytes) {
    const std::string path = '/' + std::string(8190, 'a');
    Records records;
    const UrlPathEntry* entry = records.make(path);
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(8191, entry->pathLength);
    EXPECT_EQ(path, entry->path);
    EXPECT_EQ(nullptr, records.make(path + 'a'));
    EXPECT_EQ(1U, records.count());
}

// ---- Packing.

TEST(PackPaths, LeavesFifteenLongPathsInTheList) {
    HostNode node;
    for (uint32_t i = 0; i < 15; ++i) {
        node.push(pathAt(i));
    }
    node.push("/a");
    node.pack();
    EXPECT_TRUE(node.blockSizes().empty());
    EXPECT_EQ(16, node.listedPaths().size());
}

TEST(PackPaths, MovesSixteenLongPathsIntoABlock) {
    HostNode node;
    for (uint32_t i = 0; i < 16; ++i) {
        node.push(pathAt(i));
    }
    node.pack();
    EXPECT_EQ(std::vector<int32_t>{16}, node.blockSizes());
    EXPECT_TRUE(node.listedPaths().empty());
}

TEST(PackPaths, CallsAPathLongFromFivePrefixBytesOn) {
    const auto pushPaths = [](HostNode& node) {
        for (uint32_t i = 0; i < 15; ++i) {
            node.push("/ab" + std::to_string(10 + i));
        }
        // Four bytes of prefix each, whatever follows.
        for (uint32_t i = 0; i < 50; ++i) {
            node.push("/a" + std::to_string(10 + i));
            node.push("/abc*defgh", 4);
        }
    };
    HostNode without;
    pushPaths(without);
    without.pack();
    EXPECT_TRUE(without.blockSizes().empty());
    HostNode node;
    pushPaths(node);
    node.push("/abcd*", 5);
    node.pack();
    EXPECT_EQ(std::vector<int32_t>{16}, node.blockSizes());
    EXPECT_EQ(5, node.firstPathBlock()->minPrefixLength);
    EXPECT_EQ(100, node.listedPaths().size());
}

TEST(PackPaths, KeepsTheOrderOfTheShortPaths) {
    HostNode node;
    node.push("/a");
    for (uint32_t i = 0; i < 20; ++i) {
        node.push(pathAt(i));
        if (i == 10) {
            node.push("/b");
        }
    }
    node.push("/c");
    node.pack();
    EXPECT_EQ((std::vector<std::string>{"/c", "/b", "/a"}), node.listedPaths());
}

TEST(PackPaths, MakesBlocksOfAtMost63AndHalvesWhatIsLeft) {
    const struct {
        uint32_t count;
        std::vector<int32_t> sizes;  // as they are taken
    } rows[] = {
        {16, {16}},          {63, {63}},
        {64, {32, 32}},      {65, {32, 33}},
        {126, {63, 63}},     {127, {63, 32, 32}},
        {130, {63, 33, 34}}, {189, {63, 63, 63}},
        {125, {62, 63}},     {200, {63, 63, 37, 37}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.count);
        HostNode node;
        for (uint32_t i = 0; i < row.count; ++i) {
            node.push(pathAt(i));
        }
        node.pack();
        std::vector<int32_t> sizes = node.blockSizes();
        std::reverse(sizes.begin(), sizes.end());
        EXPECT_EQ(row.sizes, sizes);
        EXPECT_TRUE(node.listedPaths().empty());
    }
}

TEST(PackPaths, SortsBlocksByPrefix) {
    HostNode node;
    constexpr struct {
        std::string_view path;
        uint32_t wildcardOffset;
    } PATHS[] = {
        {"/zzzz", 0},
        {"/aaaa*z", 5},
        {"/aaaa", 0},
        {"/aaaaa*", 6},
        {"/\xFF\xFF\xFF\xFF", 0},
        {"/bbbb*a", 5},
        {"/bbbb/c/d/e", 0},
        {"/aaab", 0},
        {"/a\x7F\x7F\x7F", 0},
        {"/a\x80\x80\x80", 0},
        {"/mmmm", 0},
        {"/mmmmmmmmm", 0},
        {"/mmmm*mm", 5},
        {"/0000", 0},
        {"/9999", 0},
        {"/aaaa", 0},
        {"/Aaaa", 0},
    };
    for (const auto& path : PATHS) {
        node.push(path.path, path.wildcardOffset);
    }
    node.pack();
    ASSERT_EQ(std::vector<int32_t>{17}, node.blockSizes());
    const UrlPathEntry* entries = entriesOf(node.firstPathBlock());
    for (int32_t i = 1; i < 17; ++i) {
        const UrlPathEntry& left = entries[i - 1];
        const UrlPathEntry& right = entries[i];
        const int32_t order =
            std::memcmp(left.path, right.path, std::min(left.prefixLength, right.prefixLength));
        EXPECT_TRUE(order < 0 || (order == 0 && left.prefixLength <= right.prefixLength))
            << left.path << " before " << right.path;
        EXPECT_EQ(nullptr, right.next);
    }
    EXPECT_EQ(5, node.firstPathBlock()->minPrefixLength);
}

TEST(PackPaths, RecordsTheSmallestPrefixOfEachBlock) {
    HostNode node;
    // Taken from the front of the list, which is the end of this.
    for (uint32_t i = 0; i < 63; ++i) {
        node.push("/long/path/" + std::to_string(100 + i));
    }
    for (uint32_t i = 0; i < 62; ++i) {
        node.push(pathAt(100 + i));
    }
    node.push("/path/of/twenty/bytes");
    node.pack();
    ASSERT_EQ((std::vector<int32_t>{63, 63}), node.blockSizes());
    EXPECT_EQ(14, node.firstPathBlock()->minPrefixLength);
    EXPECT_EQ(8, node.firstPathBlock()->next->minPrefixLength);
}

TEST(PackPaths, PutsTheListSideBySide) {
    HostNode node;
    for (const std::string_view path : {"/a", "/b", "/c"}) {
        node.push(path);
    }
    EXPECT_EQ(3 * URL_LISTED_WORDS, node.pack());
    const auto* words = reinterpret_cast<const UrlPathWord*>(node.firstPath());
    const UrlPathEntry* second = node.firstPath()->next;
    EXPECT_EQ(words + URL_LISTED_WORDS, reinterpret_cast<const UrlPathWord*>(second));
    EXPECT_EQ(words + 2 * URL_LISTED_WORDS, reinterpret_cast<const UrlPathWord*>(second->next));
    EXPECT_EQ(nullptr, second->next->next);
}

TEST(PackPaths, LosesNoRule) {
    HostNode node;
    for (uint32_t i = 0; i < 500; ++i) {
        node.push(i % 3 == 0 ? "/s" : pathAt(i % 100));
    }
    node.pack();
    std::vector<uint32_t> indexes;
    for (const UrlPathBlock* block = node.firstPathBlock(); block != nullptr; block = block->next) {
        for (int32_t i = 0; i < block->count; ++i) {
            indexes.push_back(entriesOf(block)[i].ruleIndex);
        }
    }
    std::sort(indexes.begin(), indexes.end());
    EXPECT_EQ(167, node.listedPaths().size());
    EXPECT_EQ(333, indexes.size());
    EXPECT_EQ(indexes.end(), std::adjacent_find(indexes.begin(), indexes.end()));
}

}  // namespace

}  // namespace rs::test
