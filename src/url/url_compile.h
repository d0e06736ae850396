// List of URL rules -> UrlIndex.
//
//     1  example.com/a        ->  exactHosts      example.com, http     paths: /a
//     2  example.com/b        ->                  the same node         paths: /b -> /a
//     3  https://example.com  ->  exactHosts      example.com, https    paths: /*
//     4  *.example.com/c      ->  wildcardHosts   example.com, http     paths: /c
//     5  */d                  ->  anyHost                               paths: /d
//
// Equal rules each have their entry. When all rules are in, the paths of crowded hosts are packed
// into blocks, then the chains of crowded buckets. The flat lookups come last, from what is packed.
//
// Threads:    none; the host serialises builds with all other use of the set.
// Cost:       a rule costs one probe of a table that the build has for itself; packing and the flat
//             lookups sort the paths of crowded hosts. Each record moves once.
#pragma once

#include <cstdint>

#include "core/rule_group.h"
#include "core/rule_set.h"
#include "url/url_index.h"

namespace rs {

// Rules from which on an index has flat lookups. With 8 rules they answer in two thirds of the time of the ordered
// structures, and with 4 already; below that their memory is not worth it.
inline constexpr uint32_t FLAT_URLS = 8;

// Builds the index of a set's URL rules, stores it in the group's slot and returns it; null, with
// null in the slot, when that fails. A rule that memory runs out for is left out and
// counts in index.leftOut.
UrlIndex* buildUrlIndex(RuleSet* set, RuleGroup* group) noexcept;

}  // namespace rs
