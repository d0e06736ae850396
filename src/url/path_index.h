// The flat lookup of paths: the rules of one host that may cover a path, found without asking each one.
//
//     hosts   a.com -> 0, b.com -> 3 ...                  the names of exact hosts: see url/host_places.h
//     cells   | header | head | text | header | head | head | text | ... | header | tables | text | ... | table |
//               place of a.com         place of b.com                      place of a crowded host
//
//     header  the place above, the earliest rule up there, and where the entries are
//     head    a rule of the list: its number, the length of its prefix and the first 8 bytes of it, in 16 bytes.
//             They are in rule order.
//     text    the name of an exact host, and what the heads leave of their prefixes, up to 56 bytes of each
//     table   a list with many rules, or all blocks: see url/path_table.h
//
// A place is what one host name has in one of the two host tables: a section for its node without scheme and one for
// its node for https, when it has both. A place links to the one above, which a lookup goes on to: from
// web.example.com to that of *.example.com, and from there to that of *.com.
//
// The head of a rule that does not cover a path tells so by its 8 bytes nearly always. So no entry is read, but that
// of the rule that covers the path.
//
// Wildcard hosts are found through lookup/flat_names.h, which the index has beside this one. Their places are linked,
// and each exact host to the first of them above it. So one place is looked for in a lookup.
//
// Invariants: a place is in as few lines of memory as its cells need.
// Ownership:  owns its cells, borrows the entries and their texts.
// Threads:    one thread builds; then any number of threads may look up.
// Cost:       two words for the host, a line or two for its place, and the entry of the rule found. A lookup allocates
//             nothing. Memory: 40 bytes for a host with one rule and the texts, 16 and the text for each further rule,
//             32 in a table.
// Worst case: that of url/path_table.h, in each of the places above.
#pragma once

#include <cstdint>

#include "core/memory.h"
#include "core/slab.h"
#include "url/host_places.h"
#include "url/path_key.h"
#include "url/url_index.h"

namespace rs {

struct PathCell {
    uint64_t words[2];
};

struct PathIndex {
    PathCell* cells;           // owned
    const UrlPathWord* paths;  // borrowed
    HostPlaces hosts;          // owned; the places of exact hosts
    uint32_t anyHost;          // its place; NO_RECORD without one
};

// A list has a table from this many rules on. Up to 8 heads are two lines of memory, in which most do not fit.
inline constexpr uint32_t CROWDED_LIST = 9;

// Builds the lookup of an index whose records are packed. places has room for each node: it gets the number of the
// place that the node is the first section of, and NO_RECORD for the second ones. Null when memory is out.
[[nodiscard]] PathIndex* buildPathIndex(const UrlIndex& index, uint32_t* places) noexcept;

// Lets a place link to the one above. Places are linked from the top down.
void linkPlace(PathIndex& index, uint32_t place, uint32_t above) noexcept;

// The earliest entry that covers the key, of its host, of the wildcard hosts above it and of any host; null
// without one. wildcardHosts has the places of wildcard hosts for the names under them; null without any.
[[nodiscard]] const UrlPathEntry* findPath(const PathIndex& index, const FlatNames* wildcardHosts,
                                           const UrlMatchKey& key) noexcept;

void freePathIndex(PathIndex* index) noexcept;

using OwnedPathIndex = Owned<PathIndex, freePathIndex>;

}  // namespace rs
