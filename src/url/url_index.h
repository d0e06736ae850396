// The compiled form of a list of URL rules.
//
//   anyHost         *                 -> paths of all rules with host "*"
//   exactHosts      web.example.com   -> paths of its rules       host nodes, by hash
//   wildcardHosts   example.com       -> paths of its rules       hosts after "*.", by hash
//
//   UrlHostNode  (scheme, host)   paths -> entry -> entry -> ...           newest rule first
//                                 pathBlocks -> [ sorted entries ] -> [ sorted entries ]
//
// A host with rules for https and for http has two nodes. A node with many long paths has them in
// blocks, where a lookup bisects by their first bytes.
//
//   UrlRecords   entered  | node | node | ...    | entry | entry | ...     in slabs, in rule order
//                packed   | nodes of bucket 0 | nodes of bucket 1 | ...    in chain order
//                         | fronts | block, its entries, entries of a list | ...    node by node
//
// A front has the entry of a host with one rule: see url/path_index.h. There are none without that lookup.
//
// When all rules are in, the records move to where they stay, each to its neighbours, and the slabs
// that they were entered into are freed. Without memory for that, the records stay where they are: in
// chains of single nodes and in lists.
//
// Invariants: chains of a bucket are laid out as lookup/chain_blocks.h pictures them, in blocks of at
//             most 63 nodes. All nodes of a block have one scheme: that of its first node. The
//             entries of a path block are in prefix order, and no prefix is shorter than
//             minPrefixLength.
// Ownership:  the index owns everything below it; every entry gives its userData back when freed. The
//             records are in few allocations, which are freed at once.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a lookup of the ordered structures probes the host once and each of its suffixes once,
//             and walks or bisects the paths of each host found. pathIndex finds the same by url/path_index.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/release.h"
#include "core/slab.h"
#include "core/text_slab.h"
#include "lookup/hash_table.h"
#include "lookup/hashed_name.h"
#include "url/url_split.h"

namespace rs {

inline constexpr int32_t URL_BUCKETS = 4096;
inline constexpr uint32_t MAX_HOST_BLOCK = 63;
inline constexpr uint32_t MAX_PATH_BLOCK = 63;
inline constexpr uint32_t MAX_STORED_LENGTH = 8191;  // of a host key or a path

// A host has path blocks from this many long paths on.
inline constexpr uint32_t LONG_PREFIX_LENGTH = 5;
inline constexpr uint32_t CROWDED_PATHS = 16;

struct UrlPathEntry {
    char* path;             // borrowed from the texts; NUL-terminated
    uint32_t plainPath;     // 1 without '*', '?' and '#', and not ending in '/'
    uint32_t prefixLength;  // up to the wildcard, or the whole path
    uint32_t pathLength;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed from the host program
    uint16_t portHigh;
    uint16_t portLow;
    UrlPathEntry* next;  // borrowed from the records; null in a block
};

struct UrlPathBlock {
    int32_t count;
    uint32_t minPrefixLength;
    UrlPathBlock* next;  // borrowed from the records
    // count entries follow: see entriesOf
};

inline UrlPathEntry* entriesOf(UrlPathBlock* block) noexcept {
    return reinterpret_cast<UrlPathEntry*>(block + 1);
}

inline const UrlPathEntry* entriesOf(const UrlPathBlock* block) noexcept {
    return reinterpret_cast<const UrlPathEntry*>(block + 1);
}

struct UrlHostNode {
    char* scheme;  // borrowed from the texts; "https", or null
    uint32_t schemeLength;
    char* host;  // borrowed from the texts
    uint32_t hostLength;
    uint32_t hash;
    uint32_t nextCount;        // nodes in the block that next points to
    uint32_t pathCount;        // entries in paths
    UrlPathBlock* pathBlocks;  // borrowed from the records, like paths and next
    UrlPathEntry* paths;
    UrlHostNode* next;
};

// A unit of the array that packed path blocks and entries are in.
struct UrlPathWord {
    uint64_t word;
};

inline constexpr size_t URL_ENTRY_WORDS = sizeof(UrlPathEntry) / sizeof(UrlPathWord);
inline constexpr size_t URL_BLOCK_WORDS = sizeof(UrlPathBlock) / sizeof(UrlPathWord);
// An entry of a packed list begins at a multiple of 8 words, so that it is in one line of memory.
inline constexpr size_t URL_LISTED_WORDS = 8;
static_assert(URL_ENTRY_WORDS * sizeof(UrlPathWord) == sizeof(UrlPathEntry) &&
              URL_BLOCK_WORDS * sizeof(UrlPathWord) == sizeof(UrlPathBlock) &&
              alignof(UrlPathEntry) <= alignof(UrlPathWord) &&
              alignof(UrlPathBlock) <= alignof(UrlPathWord));

// The records of an index, in the order of the picture above. Zero-filled is empty.
struct UrlRecords {
    Slab<UrlHostNode> enteredExact;  // owned, like all of these; empty once the records are packed
    Slab<UrlHostNode> enteredWildcard;
    Slab<UrlPathEntry> enteredPaths;
    UrlHostNode* nodes;  // packed: the exact hosts, then the wildcard hosts; null until then
    UrlPathWord* paths;  // null until packed
    TextSlab texts;
};

struct PathIndex;
struct FlatNames;

struct UrlIndex {
    uint32_t refCount;
    UrlHostNode* anyHost;   // owned; null without a rule for "*"
    HashTable* exactHosts;  // owned; null until needed, like wildcardHosts
    HashTable* wildcardHosts;
    uint32_t leftOut;  // rules that memory ran out for during the build; they are in no node
    UrlRecords records;
    PathIndex* pathIndex;  // owned; the flat lookup of paths, null in a small index
    FlatNames*
        hostNames;  // owned; host names -> places of pathIndex; null without one, or without hosts
};

// The hash of a host text: all its bytes, dots included.
uint32_t urlHostHash(const char* host, uint32_t length) noexcept;

inline HashedName hostOf(const UrlHostNode& node) noexcept {
    return {node.host, node.hostLength, node.hash};
}

// Drops one reference. The last one clears *slot and frees the index, with its userData given back
// through info. A null slot or an empty one is left alone.
void releaseUrlIndex(UrlIndex** slot, const ReleaseInfo* info) noexcept;

struct UrlStatistics {
    uint64_t hosts;  // nodes, "*" included
    uint64_t paths;  // entries
};

// Counts by a walk through both tables.
UrlStatistics countUrlRules(const UrlIndex& index) noexcept;

}  // namespace rs
