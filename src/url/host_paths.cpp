#include "url/host_paths.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/chain.h"
#include "core/entry.h"

namespace rs {

namespace {

// Prefix order: by the bytes up to the shorter prefix, then by length.
bool standsBefore(const UrlPathEntry& left, const UrlPathEntry& right) noexcept {
    const uint32_t shorter = std::min(left.prefixLength, right.prefixLength);
    const int32_t order = std::memcmp(left.path, right.path, shorter);
    return order != 0 ? order < 0 : left.prefixLength < right.prefixLength;
}

bool isPlainPath(std::string_view path) noexcept {
    return path.find_first_of("*?#") == std::string_view::npos && !path.ends_with('/');
}

bool isLong(const UrlPathEntry& entry) noexcept {
    return entry.prefixLength >= LONG_PREFIX_LENGTH;
}

uint32_t countLongPaths(const UrlHostNode& node) noexcept {
    uint32_t count = 0;
    for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
        count += isLong(*entry) ? 1 : 0;
    }
    return count;
}

// The last two blocks share evenly what is left, so that neither is small.
uint32_t nextBlockSize(uint32_t remaining) noexcept {
    return remaining <= MAX_PATH_BLOCK ? remaining : std::min(remaining / 2, MAX_PATH_BLOCK);
}

// The link that holds the first long path from link on.
UrlPathEntry** findLongPath(UrlPathEntry** link) noexcept {
    while (!isLong(**link)) {
        link = &(*link)->next;
    }
    return link;
}

// Takes room for a record and for what follows it.
template <typename Record>
Record* takeRoom(PathRoom& room, size_t words) noexcept {
    auto* record = reinterpret_cast<Record*>(room.words + room.used);
    room.used += words;
    return record;
}

// Fills a block with the first long paths from link on and returns the link after them. The list
// has enough of them.
UrlPathEntry** moveIntoBlock(UrlHostNode& node, UrlPathEntry** link, UrlPathBlock& block) noexcept {
    block.minPrefixLength = UINT32_MAX;
    UrlPathEntry* entries = entriesOf(&block);
    for (int32_t i = 0; i < block.count; ++i) {
        link = findLongPath(link);
        const UrlPathEntry* entry = *link;
        *link = entry->next;
        --node.pathCount;
        entries[i] = *entry;
        entries[i].next = nullptr;
        block.minPrefixLength = std::min(block.minPrefixLength, entry->prefixLength);
    }
    std::sort(entries, entries + block.count, standsBefore);
    return link;
}

void moveLongPaths(UrlHostNode& node, uint32_t longPaths, PathRoom& room) noexcept {
    UrlPathEntry** link = &node.paths;
    for (uint32_t remaining = longPaths; remaining != 0;) {
        const uint32_t count = nextBlockSize(remaining);
        auto* block =
            takeRoom<UrlPathBlock>(room, URL_BLOCK_WORDS + size_t{count} * URL_ENTRY_WORDS);
        *block = {static_cast<int32_t>(count), 0, nullptr};
        link = moveIntoBlock(node, link, *block);
        pushToChain(node.pathBlocks, block);
        remaining -= count;
    }
}

void moveList(UrlHostNode& node, PathRoom& room) noexcept {
    if (node.paths != nullptr) {
        room.used = (room.used + URL_LISTED_WORDS - 1) / URL_LISTED_WORDS * URL_LISTED_WORDS;
    }
    for (UrlPathEntry** link = &node.paths; *link != nullptr; link = &(*link)->next) {
        auto* entry = takeRoom<UrlPathEntry>(room, URL_LISTED_WORDS);
        *entry = **link;
        *link = entry;
    }
}

}  // namespace

UrlPathEntry* makePathEntry(Slab<UrlPathEntry>& entries, TextSlab& texts, const UrlRule& rule,
                            uint32_t ruleIndex) noexcept {
    const std::string_view own(rule.rule.path.text, rule.rule.path.length);
    const bool coversHost = own.empty() || own == "/";
    const std::string_view path = coversHost ? "/*" : own;
    if (path.size() > MAX_STORED_LENGTH) {
        return nullptr;
    }
    UrlPathEntry* entry = newRecord(entries);
    if (entry == nullptr) {
        return nullptr;
    }
    entry->path = newText(texts, path.size() + 1);
    if (entry->path == nullptr) {
        takeBackRecord(entries);
        return nullptr;
    }
    std::copy(path.begin(), path.end(), entry->path);
    entry->path[path.size()] = 0;
    entry->pathLength = static_cast<uint32_t>(path.size());
    entry->prefixLength = entry->pathLength;
    if (coversHost) {
        entry->prefixLength = 1;
    } else if (rule.rule.wildcardOffset != 0) {
        entry->prefixLength = rule.rule.wildcardOffset;
    }
    entry->plainPath = isPlainPath(path) ? 1 : 0;
    fillEntry(rule, ruleIndex, *entry);
    entry->portLow = rule.rule.portLow;
    entry->portHigh = rule.rule.portHigh;
    return entry;
}

size_t packedPathWords(size_t entryCount) noexcept {
    // A block has CROWDED_PATHS entries at least: the last two of a host share more than MAX_PATH_BLOCK.
    static_assert(MAX_PATH_BLOCK / 2 >= CROWDED_PATHS);
    // A host with blocks may leave some words free before its list.
    return entryCount * URL_LISTED_WORDS +
           entryCount / CROWDED_PATHS * (URL_BLOCK_WORDS + URL_LISTED_WORDS - 1);
}

void packPaths(UrlHostNode& node, PathRoom& room) noexcept {
    // Most hosts have few paths, which need not be looked at.
    const uint32_t longPaths = node.pathCount < CROWDED_PATHS ? 0 : countLongPaths(node);
    if (longPaths >= CROWDED_PATHS) {
        moveLongPaths(node, longPaths, room);
    }
    moveList(node, room);
}

}  // namespace rs
