// What a path entry is tested against, and the tests that lists, blocks and the path index share.
//
//     entry  /a*b  80..80        key  /axxb  80        hasPrefix  hasPort  hasTail
//     entry  /a    80..80        key  /ab    80        hasPrefix  hasPort  hasTail, but not endsAtSeparator
//
// Ownership:  a key borrows the path of a URL.
// Threads:    none of its own: values in, values out.
// Cost:       hasTail searches a text, the others compare.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "url/url_index.h"
#include "url/url_match_key.h"
#include "url/url_rule.h"

namespace rs {

struct PathKey {
    const char* path;
    uint32_t length;  // 1 at least
    uint16_t port;
};

inline constexpr uint32_t HTTPS_SCHEME_LENGTH = 8;  // of "https://"

[[nodiscard]] inline bool isHttps(const UrlMatchKey& key) noexcept {
    return key.scheme.length == HTTPS_SCHEME_LENGTH &&
           std::memcmp(key.scheme.text, "https", sizeof "https" - 1) == 0;
}

// Whether the rules of a node with a scheme of this length may cover URLs with the key's scheme. Another
// scheme with as many bytes as "https://", such as "ldaps://", is admitted by no node.
[[nodiscard]] inline bool admitsScheme(uint32_t nodeSchemeLength, const UrlMatchKey& key) noexcept {
    return nodeSchemeLength != 0 ? isHttps(key) : key.scheme.length != HTTPS_SCHEME_LENGTH;
}

[[nodiscard]] inline PathKey pathKeyOf(const UrlMatchKey& key, uint16_t defaultPort) noexcept {
    const uint16_t port = key.port != 0 ? key.port : defaultPort;
    if (key.path.length == 0) {
        return {"/", 1, port};
    }
    return {key.path.text, key.path.length, port};
}

// A list and a block have different default ports for https: see matchPathList.
[[nodiscard]] inline PathKey listKeyOf(const UrlMatchKey& key) noexcept {
    return pathKeyOf(key, isHttps(key) ? HTTPS_PORT : HTTP_PORT);
}

[[nodiscard]] inline PathKey blockKeyOf(const UrlMatchKey& key) noexcept {
    return pathKeyOf(key, HTTP_PORT);
}

[[nodiscard]] inline const UrlPathEntry& entryAt(const UrlPathWord* paths, size_t place) noexcept {
    return *reinterpret_cast<const UrlPathEntry*>(paths + place);
}

[[nodiscard]] inline bool hasPrefix(const UrlPathEntry& entry, const PathKey& key) noexcept {
    return entry.prefixLength <= key.length &&
           std::memcmp(entry.path, key.path, entry.prefixLength) == 0;
}

// Whether a path of length bytes ends the key, or is followed in it by the end of a segment.
[[nodiscard]] inline bool endsSegment(uint32_t length, const PathKey& key) noexcept {
    // Without a branch: which of the two it is cannot be foreseen.
    const char next = key.path[std::min(length, key.length - 1)];
    return static_cast<bool>(static_cast<int>(length >= key.length) |
                             static_cast<int>(next == '/') | static_cast<int>(next == '?') |
                             static_cast<int>(next == '#'));
}

[[nodiscard]] inline bool endsAtSeparator(const UrlPathEntry& entry, const PathKey& key) noexcept {
    return entry.plainPath == 0 || endsSegment(entry.pathLength, key);
}

[[nodiscard]] inline bool hasPort(const UrlPathEntry& entry, const PathKey& key) noexcept {
    return entry.portLow <= key.port && key.port <= entry.portHigh;
}

// The first occurrence of a pattern in a text, null without one; an empty pattern is found at the
// start. Cost: that of memmem, linear in both lengths for patterns over 256 bytes: std::search would
// take their product for 4 KB of one letter.
[[nodiscard]] inline const char* findSubstring(const char* text, uint32_t textLength,
                                               const char* pattern,
                                               uint32_t patternLength) noexcept {
    return static_cast<const char*>(memmem(text, textLength, pattern, patternLength));
}

// Whether text after a '*' has to be searched for: an empty one is everywhere.
[[nodiscard]] inline bool hasTailText(const UrlPathEntry& entry) noexcept {
    return entry.pathLength > entry.prefixLength + 1;
}

// Whether the text after the entry's '*' occurs in the path after the prefix.
[[nodiscard]] inline bool hasTail(const UrlPathEntry& entry, const PathKey& key) noexcept {
    return !hasTailText(entry) ||
           findSubstring(key.path + entry.prefixLength, key.length - entry.prefixLength,
                         entry.path + entry.prefixLength + 1,
                         entry.pathLength - entry.prefixLength - 1) != nullptr;
}

}  // namespace rs
