// DomainIndex + name -> MatchResult.
//
//     web.example.com  ->  3 web 7 example 3 com 0      canonical, then in wire form
//
//     asked for                  in              found
//     web.example.com            exactTable      rule 2
//         example.com            wildcardTable   rule 1      each suffix, from the longest on
//                 com            wildcardTable
//                                matchAll        rule 7
//                                                rule 1 wins: it was added earliest
//
// An index with flatNames asks that instead of both tables: the answer is the same.
//
// A lookup returns 1 with result filled, 0 when no rule covers the name, or a negative status.
// result.ruleIndex is set to 0 as soon as the name has its wire form, so also when nothing is found.
//
// Ownership:  userData in a result is the index's.
// Threads:    lookups only read: any number of threads may look up in one index.
// Cost:       a hash and a probe per suffix of at most 255 bytes; see lookup/flat_names.h for those with flatNames. Names of thousands of bytes, and
//             wire names of over 512 bytes with capitals in them, take memory for the call.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "domain/domain_index.h"

namespace rs {

// Looks a name up as users write it, of at least one byte. RULE_ERR_INVALID_ARG for a name that
// leaves no wire form, RULE_ERR_BUFFER_SMALL for one whose canonical form exceeds the largest
// buffer, RULE_ERR_NO_MEMORY.
[[nodiscard]] int32_t matchDomainName(const DomainIndex& index, const char* name, uint32_t length,
                                      MatchResult& result) noexcept;

// Looks a name up that is in wire form, in any letter case. wireLength is at least 1 and does not
// count the final zero byte. RULE_ERR_NO_MEMORY.
[[nodiscard]] int32_t lookupDomainWire(const DomainIndex& index, const char* wireName,
                                       uint32_t wireLength, MatchResult& result) noexcept;

// The earliest entry for a lower-case name in wire form, matchAll aside, as the two tables have it. Null without one.
[[nodiscard]] const DomainEntry* findDomainOrdered(const DomainIndex& index, const char* wireName,
                                                   uint32_t wireLength) noexcept;

// The same of an index with flatNames, as those have it.
[[nodiscard]] const DomainEntry* findDomainFlat(const DomainIndex& index, const char* wireName,
                                                uint32_t wireLength) noexcept;

}  // namespace rs
