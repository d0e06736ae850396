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
// Ownership:  userData in a result is the index's.
// Threads:    lookups only read, allocate nothing, and may run in any number of threads.
// Cost:       a hash and a probe per suffix of at most 255 bytes, and the paths of each host found.
//             matchUrl has 4096 bytes of scratch on the stack.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "url/url_index.h"

namespace rs {

// A URL in the canonical forms that rules are stored in; its pieces lie in the buffer that it was
// parsed into.
struct UrlMatchKey {
    Text scheme;    // lower case, with "://"; empty for "//" and for none
    Text userInfo;  // as written; not used by lookups
    Text host;
    Text portText;  // ':' and digits of a valid port
    Text path;
};

inline constexpr uint32_t MAX_URL_SCRATCH = 4096;

// The scratch bytes that a URL of length bytes gets.
constexpr uint32_t urlScratchSize(uint32_t length) noexcept {
    return length <= MAX_URL_SCRATCH / 4 ? 4 * length : MAX_URL_SCRATCH;
}

// Looks a URL of at least one byte up. Returns 1 with result filled, 0 for none, or the negative
// status of parseUrlForMatch. result.ruleIndex is set to 0 as soon as the URL is parsed.
[[nodiscard]] int32_t matchUrl(const UrlIndex& index, const char* url, uint32_t length,
                               MatchResult& result) noexcept;

// Splits a URL and writes its canonical pieces into scratch. RULE_ERR_INVALID_ARG for null
// arguments; RULE_ERR_BUFFER_SMALL when they do not fit; RULE_ERR_BAD_RULE for a URL with neither
// host nor path, and for one without host that has a scheme or a port. Blanks are not trimmed.
int32_t parseUrlForMatch(const char* url, uint32_t length, char* scratch, uint32_t* inOutCapacity,
                         UrlMatchKey* key) noexcept;

// Looks a parsed URL up. Returns 1 with result filled, or 0 for none with result.ruleIndex 0.
[[nodiscard]] int32_t lookupUrl(const UrlIndex& index, const UrlMatchKey& key,
                                MatchResult& result) noexcept;

// The earliest entry of a list, or of a chain of blocks, that covers the key's path and port; null
// when none does.
//
// Deliberate: the two differ. In a list, a plain path covers what goes on after it with '/', '?' or
// '#' only, and a URL of https has the default port 443. In a block, a plain path is a plain prefix
// and the default port is always 80.
const UrlPathEntry* matchPathList(const UrlPathEntry* firstEntry, const UrlMatchKey& key) noexcept;
const UrlPathEntry* matchPathBlocks(const UrlPathBlock* firstBlock,
                                    const UrlMatchKey& key) noexcept;

// The first occurrence of a pattern in a text, null without one; an empty pattern is found at the
// start.
const char* findSubstring(const char* text, uint32_t textLength, const char* pattern,
                          uint32_t patternLength) noexcept;

}  // namespace rs
