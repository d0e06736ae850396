// The paths of one host: entries made from rules, and their packing into sorted blocks.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "url/url_index.h"
#include "url/url_rule.h"

namespace rs {

// An entry for a rule; null for a path over MAX_STORED_LENGTH and when memory is out. A rule without
// path, or with "/" alone, covers every path of its host: its entry is "/*".
UrlPathEntry* makePathEntry(const UrlRule& rule, uint32_t ruleIndex) noexcept;

// Moves the long paths of a host with many of them into blocks; the short ones stay in the list.
// Blocks have at most MAX_PATH_BLOCK entries. When memory runs out, what is left stays in the list.
void packPaths(UrlHostNode& node) noexcept;

}  // namespace rs
