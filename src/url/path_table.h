// The paths of a host with many rules, sorted: those of its list, or those of all its blocks.
//
//     common   /shop/                       what all prefixes begin with, compared once
//     words    item     item    items       the next 8 bytes of each, as numbers in rising order
//     prefixes /shop/item <--+-- /shop/items/new      linked to the longest other one that it begins with
//     items    3   8   2, 7                 the entries of each prefix, in rule order
//
// A search takes the last prefix that is not after the path. Of the prefixes that the path begins with, the longest
// is that one or one that it is linked to, and the others are linked to it. Each prefix knows the earliest rule on its
// way up, so that the way ends where nothing earlier can come, and one that is far up, to pass over those that are
// longer than what the path and the first have in common.
//
// Of entries that cover the same paths under the same conditions only the earliest is here. Those of one prefix with
// other ports, or with other text after the '*', are asked one after the other.
//
// Ownership:  a table is a part of its user's array, and borrows the entries and their texts.
// Threads:    one thread builds; then any number of threads may search.
// Cost:       a search of n prefixes takes log n steps in the words, and as many comparisons of text at most; text is
//             compared only where the 8 bytes are equal. Building sorts, and takes no other memory than what it is
//             given. Memory: 32 bytes a prefix, 4 a further entry of it.
// Worst case: a path of 4 KB that begins with 4,095 prefixes, of which each has another port than the URL, and the
//             entries of one prefix, when they differ in the text after the '*' or in ports.
#pragma once

#include <cstddef>
#include <cstdint>

#include "url/path_key.h"
#include "url/url_index.h"

namespace rs {

struct PathTable {
    const char* common;  // borrowed from the first entry
    uint32_t commonLength;
    uint32_t prefixCount;
    uint32_t itemCount;
    uint32_t earliest;  // rule of all
    // the items follow, then the words, then the prefixes and one more, which ends the items of the last
};

struct PathPrefix {
    uint32_t link;  // to the longest other prefix that this one begins with; NO_RECORD without one
    uint32_t jump;  // to one further up
    uint32_t earliest;  // rule of this prefix and of all that it is linked to
    uint32_t firstItem;
    uint16_t length;
    uint16_t depth;  // the number of prefixes on the way up, with this one
};

// An entry while a table is built.
struct PathItem {
    uint64_t word;
    uint32_t entry;  // its place in the array of packed paths
};

// The bytes that a table of as many entries takes at most: a multiple of 8.
[[nodiscard]] size_t pathTableSize(size_t entryCount) noexcept;

// Builds a table of count entries, one at least, in zero-filled memory, and returns the bytes that it takes. The items
// have their entries only, and are sorted. A list is the list of a host, otherwise they are those of its blocks.
[[nodiscard]] size_t buildPathTable(PathTable& table, const UrlPathWord* paths, PathItem* items,
                                    uint32_t count, bool isList) noexcept;

// The earliest entry that covers the key, of those before the rule at an index; null without one.
[[nodiscard]] const UrlPathEntry* findInPathTable(const PathTable& table, const UrlPathWord* paths,
                                                  const PathKey& key, bool isList,
                                                  uint32_t before) noexcept;

}  // namespace rs
