#include "url/path_table.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "core/slab.h"
#include "url/text_words.h"

namespace rs {

namespace {

static_assert(MAX_STORED_LENGTH <= UINT16_MAX);
static_assert(sizeof(PathTable) % TEXT_WORD == 0 && alignof(PathTable) <= TEXT_WORD);

// The items take whole words, so that the words after them are aligned.
size_t itemSlots(size_t itemCount) noexcept {
    return itemCount + itemCount % 2;
}

const uint32_t* itemsOf(const PathTable& table) noexcept {
    return reinterpret_cast<const uint32_t*>(&table + 1);
}

const uint64_t* wordsOf(const PathTable& table) noexcept {
    return reinterpret_cast<const uint64_t*>(itemsOf(table) + itemSlots(table.itemCount));
}

const PathPrefix* prefixesOf(const PathTable& table) noexcept {
    return reinterpret_cast<const PathPrefix*>(wordsOf(table) + table.prefixCount);
}

constexpr size_t roundUpToWord(size_t size) noexcept {
    return (size + TEXT_WORD - 1) / TEXT_WORD * TEXT_WORD;
}

// The bytes of a table that is built.
size_t pathTableSize(const PathTable& table) noexcept {
    const auto* end = reinterpret_cast<const char*>(prefixesOf(table) + table.prefixCount + 1);
    return roundUpToWord(static_cast<size_t>(end - reinterpret_cast<const char*>(&table)));
}

// How many bytes two texts of length bytes begin with alike, when those up to offset are.
uint32_t alikeLength(const char* left, const char* right, uint32_t length,
                     uint32_t offset) noexcept {
    for (; offset + TEXT_WORD <= length; offset += TEXT_WORD) {
        const uint64_t difference = orderedWord(left + offset) ^ orderedWord(right + offset);
        if (difference != 0) {
            return offset + static_cast<uint32_t>(std::countl_zero(difference)) / 8;
        }
    }
    while (offset < length && left[offset] == right[offset]) {
        ++offset;
    }
    return offset;
}

// Building.

std::string_view prefixOf(const UrlPathEntry& entry) noexcept {
    return {entry.path, entry.prefixLength};
}

std::string_view tailOf(const UrlPathEntry& entry) noexcept {
    if (!hasTailText(entry)) {
        return {};
    }
    return {entry.path + entry.prefixLength + 1, entry.pathLength - entry.prefixLength - 1};
}

int32_t compareNumbers(uint32_t left, uint32_t right) noexcept {
    return static_cast<int32_t>(left > right) - static_cast<int32_t>(left < right);
}

// Orders what entries of one prefix ask for besides. Only a list tells plain paths from others.
int32_t compareConditions(const UrlPathEntry& left, const UrlPathEntry& right,
                          bool isList) noexcept {
    const int32_t byPlain = isList ? compareNumbers(left.plainPath, right.plainPath) : 0;
    const int32_t byLow = compareNumbers(left.portLow, right.portLow);
    const int32_t byHigh = compareNumbers(left.portHigh, right.portHigh);
    for (const int32_t order : {byPlain, byLow, byHigh}) {
        if (order != 0) {
            return order;
        }
    }
    return tailOf(left).compare(tailOf(right));
}

// Sorts by prefix, then by conditions, then by rule.
void sortItems(const UrlPathWord* paths, PathItem* items, uint32_t count, bool isList) noexcept {
    std::sort(items, items + count, [=](const PathItem& left, const PathItem& right) noexcept {
        if (left.word != right.word) {
            return left.word < right.word;
        }
        const UrlPathEntry& first = entryAt(paths, left.entry);
        const UrlPathEntry& second = entryAt(paths, right.entry);
        int32_t order = prefixOf(first).compare(prefixOf(second));
        order = order != 0 ? order : compareConditions(first, second, isList);
        return order != 0 ? order < 0 : first.ruleIndex < second.ruleIndex;
    });
}

uint32_t commonLengthOfAll(const UrlPathWord* paths, const PathItem* items,
                           uint32_t count) noexcept {
    const UrlPathEntry& first = entryAt(paths, items[0].entry);
    uint32_t length = first.prefixLength;
    for (uint32_t i = 1; i < count && length != 0; ++i) {
        const UrlPathEntry& entry = entryAt(paths, items[i].entry);
        length = std::min(length, entry.prefixLength);
        length = alikeLength(first.path, entry.path, length, 0);
    }
    return length;
}

bool isSamePrefix(const UrlPathWord* paths, const PathItem& left, const PathItem& right) noexcept {
    return left.word == right.word &&
           prefixOf(entryAt(paths, left.entry)) == prefixOf(entryAt(paths, right.entry));
}

// Leaves the earliest of the items that ask for the same; returns how many are left. They are sorted.
uint32_t dropRepeatedItems(const UrlPathWord* paths, PathItem* items, uint32_t count,
                           bool isList) noexcept {
    PathItem* end = std::unique(
        items, items + count, [=](const PathItem& left, const PathItem& right) noexcept {
            return isSamePrefix(paths, left, right) &&
                   compareConditions(entryAt(paths, left.entry), entryAt(paths, right.entry),
                                     isList) == 0;
        });
    return static_cast<uint32_t>(end - items);
}

// The end of the items of one prefix that begin at first.
uint32_t endOfPrefix(const UrlPathWord* paths, const PathItem* items, uint32_t first,
                     uint32_t count) noexcept {
    uint32_t end = first + 1;
    while (end < count && isSamePrefix(paths, items[first], items[end])) {
        ++end;
    }
    return end;
}

uint32_t countPrefixes(const UrlPathWord* paths, const PathItem* items, uint32_t count) noexcept {
    uint32_t prefixes = 0;
    for (uint32_t first = 0; first < count; first = endOfPrefix(paths, items, first, count)) {
        ++prefixes;
    }
    return prefixes;
}

// A table while it is filled.
struct TableParts {
    const UrlPathWord* paths;
    uint32_t* items;
    uint64_t* words;
    PathPrefix* prefixes;
};

// The prefix above all: the way up ends there.
constexpr PathPrefix TOP{NO_RECORD, NO_RECORD, UINT32_MAX, 0, 0, 0};

const PathPrefix& prefixAt(const TableParts& parts, uint32_t place) noexcept {
    return place == NO_RECORD ? TOP : parts.prefixes[place];
}

// Jumps are as long as the two before them together where these are of one length, and one step otherwise: the way
// from any prefix to any other above it takes steps in the order of the logarithm of its length.
uint32_t jumpFrom(const TableParts& parts, uint32_t link) noexcept {
    const PathPrefix& above = prefixAt(parts, link);
    const PathPrefix& second = prefixAt(parts, above.jump);
    const PathPrefix& third = prefixAt(parts, second.jump);
    return above.depth - second.depth == second.depth - third.depth ? second.jump : link;
}

// Puts the items of one prefix in their place, in rule order.
void takeItems(const TableParts& parts, PathItem* items, uint32_t first, uint32_t end) noexcept {
    if (end - first > 1) {
        std::sort(items + first, items + end,
                  [&parts](const PathItem& left, const PathItem& right) noexcept {
                      return entryAt(parts.paths, left.entry).ruleIndex <
                             entryAt(parts.paths, right.entry).ruleIndex;
                  });
    }
    for (uint32_t i = first; i < end; ++i) {
        parts.items[i] = items[i].entry;
    }
}

void linkPrefix(const TableParts& parts, uint32_t place) noexcept {
    PathPrefix& prefix = parts.prefixes[place];
    const UrlPathEntry& entry = entryAt(parts.paths, parts.items[prefix.firstItem]);
    prefix.length = static_cast<uint16_t>(entry.prefixLength);
    uint32_t link = NO_RECORD;
    if (place != 0) {
        link = place - 1;
        const PathPrefix& before = parts.prefixes[link];
        const UrlPathEntry& beforeEntry = entryAt(parts.paths, parts.items[before.firstItem]);
        const uint32_t common = alikeLength(
            beforeEntry.path, entry.path, std::min(uint32_t{before.length}, entry.prefixLength), 0);
        // What this prefix begins with is on the way up from the one before it.
        while (link != NO_RECORD && parts.prefixes[link].length > common) {
            link = parts.prefixes[link].link;
        }
    }
    prefix.link = link;
    prefix.jump = jumpFrom(parts, link);
    prefix.depth = static_cast<uint16_t>(prefixAt(parts, link).depth + 1);
    prefix.earliest = std::min(entry.ruleIndex, prefixAt(parts, link).earliest);
}

// Searching.

// How many of the words in rising order are not greater than a word.
uint32_t countUpTo(const uint64_t* words, uint32_t count, uint64_t word) noexcept {
    const uint64_t* first = words;
    while (count > 1) {
        const uint32_t half = count / 2;
        first += first[half - 1] <= word ? half : 0;
        count -= half;
    }
    return static_cast<uint32_t>(first - words) + (count == 1 && *first <= word ? 1 : 0);
}

// The number of prefixes that are not after the key. Those from first on begin with the same bytes as the key.
uint32_t countWithText(const PathTable& table, const UrlPathWord* paths, uint32_t first,
                       uint32_t last, const PathKey& key) noexcept {
    const std::string_view text(key.path, key.length);
    const PathPrefix* prefixes = prefixesOf(table);
    const PathPrefix* end = std::partition_point(
        prefixes + first, prefixes + last, [&](const PathPrefix& prefix) noexcept {
            return prefixOf(entryAt(paths, itemsOf(table)[prefix.firstItem])) <= text;
        });
    return static_cast<uint32_t>(end - prefixes);
}

// How many bytes a prefix and the key begin with alike, when they begin with the common ones.
uint32_t sharedLength(const PathTable& table, const UrlPathWord* paths, uint32_t place,
                      uint64_t keyWord, const PathKey& key) noexcept {
    const PathPrefix& prefix = prefixesOf(table)[place];
    const uint32_t shorter = std::min(uint32_t{prefix.length}, key.length);
    const uint64_t difference = wordsOf(table)[place] ^ keyWord;
    if (difference != 0) {
        const auto equalBytes = static_cast<uint32_t>(std::countl_zero(difference)) / 8;
        return std::min(table.commonLength + equalBytes, shorter);
    }
    const UrlPathEntry& entry = entryAt(paths, itemsOf(table)[prefix.firstItem]);
    return alikeLength(entry.path, key.path, shorter, table.commonLength);
}

// The longest prefix that the key begins with; NO_RECORD without one.
uint32_t findLongestPrefix(const PathTable& table, const UrlPathWord* paths,
                           const PathKey& key) noexcept {
    if (key.length < table.commonLength ||
        std::memcmp(key.path, table.common, table.commonLength) != 0) {
        return NO_RECORD;
    }
    const uint64_t keyWord = wordFrom(key.path, key.length, table.commonLength);
    const uint64_t* words = wordsOf(table);
    uint32_t count = countUpTo(words, table.prefixCount, keyWord);
    if (count != 0 && words[count - 1] == keyWord) {
        const uint32_t first = keyWord == 0 ? 0 : countUpTo(words, count, keyWord - 1);
        count = countWithText(table, paths, first, count, key);
    }
    if (count == 0) {
        return NO_RECORD;
    }
    const PathPrefix* prefixes = prefixesOf(table);
    uint32_t place = count - 1;
    const uint32_t shared = sharedLength(table, paths, place, keyWord, key);
    while (place != NO_RECORD && prefixes[place].length > shared) {
        const uint32_t jump = prefixes[place].jump;
        place = jump != NO_RECORD && prefixes[jump].length > shared ? jump : prefixes[place].link;
    }
    return place;
}

}  // namespace

size_t pathTableSize(size_t entryCount) noexcept {
    return sizeof(PathTable) + itemSlots(entryCount) * sizeof(uint32_t) +
           entryCount * sizeof(uint64_t) + roundUpToWord((entryCount + 1) * sizeof(PathPrefix));
}

size_t buildPathTable(PathTable& table, const UrlPathWord* paths, PathItem* items, uint32_t count,
                      bool isList) noexcept {
    table.common = entryAt(paths, items[0].entry).path;
    table.commonLength = commonLengthOfAll(paths, items, count);
    for (uint32_t i = 0; i < count; ++i) {
        const UrlPathEntry& entry = entryAt(paths, items[i].entry);
        items[i].word = wordFrom(entry.path, entry.prefixLength, table.commonLength);
    }
    sortItems(paths, items, count, isList);
    table.itemCount = dropRepeatedItems(paths, items, count, isList);
    table.prefixCount = countPrefixes(paths, items, table.itemCount);
    const TableParts parts{paths, const_cast<uint32_t*>(itemsOf(table)),
                           const_cast<uint64_t*>(wordsOf(table)),
                           const_cast<PathPrefix*>(prefixesOf(table))};
    table.earliest = UINT32_MAX;
    uint32_t first = 0;
    for (uint32_t place = 0; place < table.prefixCount; ++place) {
        const uint32_t end = endOfPrefix(paths, items, first, table.itemCount);
        parts.words[place] = items[first].word;
        takeItems(parts, items, first, end);
        parts.prefixes[place].firstItem = first;
        linkPrefix(parts, place);
        table.earliest = std::min(table.earliest, parts.prefixes[place].earliest);
        first = end;
    }
    parts.prefixes[table.prefixCount].firstItem = first;
    return pathTableSize(table);
}

const UrlPathEntry* findInPathTable(const PathTable& table, const UrlPathWord* paths,
                                    const PathKey& key, bool isList, uint32_t before) noexcept {
    const UrlPathEntry* best = nullptr;
    const PathPrefix* prefixes = prefixesOf(table);
    const uint32_t* items = itemsOf(table);
    for (uint32_t place = findLongestPrefix(table, paths, key);
         place != NO_RECORD && prefixes[place].earliest < before; place = prefixes[place].link) {
        const uint32_t end = prefixes[place + 1].firstItem;
        for (uint32_t i = prefixes[place].firstItem; i < end; ++i) {
            const UrlPathEntry& entry = entryAt(paths, items[i]);
            if (entry.ruleIndex >= before) {
                break;
            }
            if ((!isList || endsAtSeparator(entry, key)) && hasPort(entry, key) &&
                hasTail(entry, key)) {
                best = &entry;
                before = entry.ruleIndex;
                break;
            }
        }
    }
    return best;
}

}  // namespace rs
