// The paths of one host: entries made from rules, and their packing into sorted blocks.
//
//     rule path       entry         prefixLength
//     (none) or /     /*            1                covers every path
//     /a/b            /a/b          4                plain: the whole path is the prefix
//     /a*c            /a*c          2                up to the '*'
//
//     before packing  paths -> long -> short -> long -> ... -> long        16 long paths or more
//     after packing   paths -> short
//                     pathBlocks -> [ long ... long ] -> [ long ... long ]
//
// A path is long when its prefix has LONG_PREFIX_LENGTH bytes at least. A block is bisected by as
// many bytes as its shortest prefix has; a short one would tell too few paths apart.
//
// Ownership:  an entry is its slab's and its path its text slab's. Packing copies an entry to its place;
//             the slab's own record is of no use then.
// Threads:    none; packing is a part of building.
// Cost:       packing sorts each block once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/slab.h"
#include "core/text_slab.h"
#include "url/url_index.h"
#include "url/url_rule.h"

namespace rs {

// An entry for a rule, in no list yet; null for a path over MAX_STORED_LENGTH and when memory is out.
[[nodiscard]] UrlPathEntry* makePathEntry(Slab<UrlPathEntry>& entries, TextSlab& texts,
                                          const UrlRule& rule, uint32_t ruleIndex) noexcept;

// Where packed entries go: an array that is filled from the front.
struct PathRoom {
    UrlPathWord* words;  // borrowed
    size_t used;
};

// The words that packed entries take at most, with their blocks.
[[nodiscard]] size_t packedPathWords(size_t entryCount) noexcept;

// Moves the entries of a host to a room: the long paths of a host that has CROWDED_PATHS of them or
// more in blocks of at most MAX_PATH_BLOCK entries, the others in the list, URL_LISTED_WORDS for each.
void packPaths(UrlHostNode& node, PathRoom& room) noexcept;

}  // namespace rs
