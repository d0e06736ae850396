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
// Ownership:  an entry moves into a block with its path and userData; the entry's own record is freed.
// Threads:    none; packing is a part of building.
// Cost:       packing sorts each block once.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "url/url_index.h"
#include "url/url_rule.h"

namespace rs {

// An entry for a rule, which the caller owns; null for a path over MAX_STORED_LENGTH and when memory
// is out.
[[nodiscard]] UrlPathEntry* makePathEntry(const UrlRule& rule, uint32_t ruleIndex) noexcept;

// Moves the long paths of a host that has CROWDED_PATHS of them or more into blocks of at most
// MAX_PATH_BLOCK entries. When memory runs out, the rest stays in the list, which a lookup reads too.
void packPaths(UrlHostNode& node) noexcept;

}  // namespace rs
