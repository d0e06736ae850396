// The flat lookup of paths: the rules of one host that may cover a path, found without asking each one.
//
//     hosts    a.com -> 0, b.com -> 1 ...                 the ranks of exact hosts: see url/host_places.h
//     fronts   | header, a.com, /path | entry | header, b.com | - | ...            by rank, two lines of memory each
//     cells    | header | head | head | text | ... | header | tables | text | ... | table |
//                place of b.com                      place of a crowded host
//
//     front    an exact host: its name, and its entry when it has one rule, with the first bytes of the path
//     header   the place above, the earliest rule up there, and where the entries are
//     head     a rule of the list: its number, the length of its prefix and the first 8 bytes of it, in 16 bytes.
//              They are in rule order.
//     text     what the heads leave of their prefixes, up to 56 bytes of each, after a name that is too long for a front
//     table    a list with many rules, or all blocks: see url/path_table.h
//
// A place is what one host name has in one of the two host tables: a section for its node without scheme and one for
// its node for https, when it has both. A place links to the one above, which a lookup goes on to: from
// web.example.com to that of *.example.com, and from there to that of *.com. The place of an exact host with one rule is
// its front. Others have their sections in the cells.
//
// The rank of a host is the number of its front, so both lines of it are on their way as soon as the hash of the name
// has met a tag. They decide about one rule, but for a prefix that does not fit. The head of a rule that does not cover
// a path tells so by its 8 bytes nearly always. So no entry is read, but that of the rule that covers the path.
//
// The fronts are a part of the packed records, as they have entries: a build ranks the hosts first, and packs the paths
// in the order of the ranks.
//
// Wildcard hosts are found through lookup/flat_names.h, which the index has beside this one. Their places are linked,
// and each exact host to the first of them above it. So one place is looked for in a lookup.
//
// Invariants: a place in the cells is in as few lines of memory as it needs.
// Ownership:  owns its cells, borrows the fronts, the entries and their texts.
// Threads:    one thread builds; then any number of threads may look up.
// Cost:       a bucket for the host, then two lines at once for a host with one rule; a line or two for another place,
//             and the entry of the rule found. A lookup allocates nothing. Memory: 67 bytes beside the entry for an exact
//             host with one rule; for others, 16 for the place, 16 and the text for each rule, 32 in a table.
// Worst case: that of url/path_table.h, in each of the places above.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/lines.h"
#include "core/memory.h"
#include "core/slab.h"
#include "url/host_places.h"
#include "url/path_key.h"
#include "url/url_index.h"

namespace rs {

struct PathCell {
    uint64_t words[2];
};

// What the header and the entry leave of two lines. Half of the names with their prefixes are longer than 48 bytes.
inline constexpr uint32_t FRONT_TEXT = 56;

// What a lookup of an exact host reads first: all of a host with one rule, in two lines of memory.
struct HostFront {
    uint32_t above;          // place; NO_RECORD without one
    uint32_t earliestAbove;  // rule of all places above
    uint32_t place;          // of the cells; NO_RECORD when the place is the entry
    uint8_t hostLength;
    uint8_t flags;
    uint16_t pathLength;    // of the prefix, as far as it is in text
    char text[FRONT_TEXT];  // the name, and the prefix of the entry after it
    UrlPathEntry entry;     // of a host with one rule
};

inline constexpr size_t URL_FRONT_WORDS = sizeof(HostFront) / sizeof(UrlPathWord);
static_assert(sizeof(HostFront) == 2 * CACHE_LINE && offsetof(HostFront, entry) >= CACHE_LINE);

struct PathIndex {
    PathCell* cells;           // owned
    const UrlPathWord* paths;  // borrowed
    HostFront* fronts;         // borrowed: the first words of paths; null without an exact host
    HostPlaces hosts;          // owned; the ranks of exact hosts
    uint32_t anyHost;          // its place; NO_RECORD without one
};

// A list has a table from this many rules on. Up to 8 heads are two lines of memory, in which most do not fit. In a near
// cache, hits among 8 heads take half the time of a table (56 ns against 113), and among 12 as well (62 against 124).
inline constexpr uint32_t CROWDED_LIST = 9;

// The steps of a build. The first has the ranks of the exact hosts: the nodes of the index are packed, its paths not yet.
// places has room for each node, and says until the last step which nodes share a place. Null when memory is out.
[[nodiscard]] PathIndex* startPathIndex(const UrlIndex& index, uint32_t* places) noexcept;

// Whether the node of a rank has its only entry in the front.
[[nodiscard]] bool hasOneEntry(const UrlHostNode& node) noexcept;

// Fills the fronts, which begin at words, and moves the only entries of nodes to them.
void fillFronts(PathIndex& index, UrlHostNode* nodes, UrlPathWord* words) noexcept;

// Whether the entry of a node was moved to a front.
[[nodiscard]] bool isInFront(const PathIndex& index, const UrlHostNode& node) noexcept;

// Adds all places, when all paths are packed. places gets the number of the place for the first node of each that has
// cells, and NO_RECORD for other nodes. False when memory is out.
[[nodiscard]] bool finishPathIndex(PathIndex& result, const UrlIndex& index,
                                   uint32_t* places) noexcept;

// Lets the host of a rank link to the first place above it, when that is linked.
void linkHost(PathIndex& index, uint32_t rank, uint32_t above) noexcept;

// Lets a place link to the one above. Places are linked from the top down.
void linkPlace(PathIndex& index, uint32_t place, uint32_t above) noexcept;

// The earliest entry that covers the key, of its host, of the wildcard hosts above it and of any host; null
// without one. wildcardHosts has the places of wildcard hosts for the names under them; null without any.
[[nodiscard]] const UrlPathEntry* findPath(const PathIndex& index, const FlatNames* wildcardHosts,
                                           const UrlMatchKey& key) noexcept;

// What findPath reads of an exact host, asked for by a user with many keys before it looks up the first one: the bucket of
// the host, and then the front that it names.
struct FrontAhead {
    HostProbe probe;  // without a bucket when there is nothing to ask for
};

[[nodiscard]] FrontAhead prefetchHost(const PathIndex& index, Text host) noexcept;
void prefetchFront(const PathIndex& index, const FrontAhead& ahead) noexcept;

void freePathIndex(PathIndex* index) noexcept;

using OwnedPathIndex = Owned<PathIndex, freePathIndex>;

}  // namespace rs
