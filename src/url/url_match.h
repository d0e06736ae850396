// UrlIndex + URL -> MatchResult.
//
//     https://web.example.com/a/b   ->   key: scheme, host, port, path
//
//     asked for             in               and of each host found
//     web.example.com       exactHosts       the paths under the scheme of the key,
//                           anyHost          the paths in the list by a walk,
//         example.com       wildcardHosts    the paths in blocks by bisection
//                 com       wildcardHosts
//
// The rule added earliest wins, wherever it was found.
//
// That is how the ordered structures are asked. An index with flat lookups is asked by
// url/path_index.h, with the same answer.
//
// Ownership:  userData in a result is the index's.
// Threads:    lookups only read, allocate nothing, and may run in any number of threads.
// Cost:       of the flat lookups, see there. Of the ordered structures, a hash and a probe per suffix
//             of at most 255 bytes, and the paths of each host found.
//             matchUrl has 4096 bytes of scratch on the stack.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "url/url_index.h"
#include "url/url_match_key.h"

namespace rs {

// Looks a URL of at least one byte up. Returns 1 with result filled, 0 for none, or the negative
// status of parseUrlForMatch. result.ruleIndex is set to 0 as soon as the URL is parsed.
[[nodiscard]] int32_t matchUrl(const UrlIndex& index, const char* url, uint32_t length,
                               MatchResult& result) noexcept;

// Looks a parsed URL up. Returns 1 with result filled, or 0 for none with result.ruleIndex 0.
[[nodiscard]] int32_t lookupUrl(const UrlIndex& index, const UrlMatchKey& key,
                                MatchResult& result) noexcept;

// The entry that lookupUrl reports: asked of the ordered structures, and of the flat lookups, which
// the index has. Null for none.
const UrlPathEntry* findUrlOrdered(const UrlIndex& index, const UrlMatchKey& key) noexcept;
const UrlPathEntry* findUrlFlat(const UrlIndex& index, const UrlMatchKey& key) noexcept;

// The earliest entry of a list, or of a chain of blocks, that covers the key's path and port; null
// when none does.
//
// Deliberate: the two differ. In a list, a plain path covers what goes on after it with '/', '?' or
// '#' only, and a URL of https has the default port 443. In a block, a plain path is a plain prefix
// and the default port is always 80.
const UrlPathEntry* matchPathList(const UrlPathEntry* firstEntry, const UrlMatchKey& key) noexcept;
const UrlPathEntry* matchPathBlocks(const UrlPathBlock* firstBlock,
                                    const UrlMatchKey& key) noexcept;

}  // namespace rs
