// The compiled form of a list of domain rules.
//
//   matchAll        *                             -> rule 7       the first rule "*"
//   exactTable      3 web 7 example 3 com 0       -> rule 2       full names, by hash
//   wildcardTable   7 example 3 com 0             -> rule 1       names after "*.", by hash
//   flatNames       both tables in one            -> rule 1       only in groups of many names
//
// Names are in wire form: each label after a byte with its length, and a zero byte at the end, which
// nameLength does not count.
//
// Invariants: a table holds a name once, for the earliest rule. Chains are laid out as
//             lookup/chain_blocks.h pictures them, in blocks of at most 72 entries.
//             With flatNames, all entries but matchAll are in the slab entries, and their numbers there are those of
//             flatNames.
// Ownership:  the index owns everything below it.
//             Deliberate: only the first entry of a block gives its userData back when the index is
//             freed, and matchAll never does.
// Threads:    read-only once built; afterwards only refCount changes, atomically.
// Cost:       a lookup hashes and probes the name once and each of its suffixes once. With flatNames it reads a
//             line of a table and a record, or less when nothing is found.
#pragma once

#include <cstdint>

#include "core/release.h"
#include "core/slab.h"
#include "core/text_slab.h"
#include "lookup/flat_names.h"
#include "lookup/hash_table.h"
#include "lookup/hashed_name.h"

namespace rs {

inline constexpr int32_t DOMAIN_BUCKETS = 4096;
inline constexpr uint32_t MAX_DOMAIN_BLOCK = 72;

struct DomainEntry {
    char* name;           // wire form; borrowed from the index, but owned by matchAll
    uint32_t nameLength;  // without the final zero byte
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;         // borrowed from the host
    uint32_t releaseFlags;  // 0
    uint32_t hash;
    uint32_t nextCount;  // entries in the block that next points to
    DomainEntry* next;   // borrowed from the index
};

struct DomainIndex {
    uint32_t refCount;
    DomainEntry* matchAll;  // owned; null without a rule "*"
    HashTable* exactTable;  // owned; null until needed, like wildcardTable
    HashTable* wildcardTable;
    uint32_t leftOut;  // rules that memory ran out for during the build; they are in no table

    Slab<DomainEntry> entered;  // owned; entries as rules made them. Empty when all are packed
    Slab<DomainEntry> entries;  // owned; the packed ones, chain by chain
    TextSlab names;             // owned; of all entries but matchAll
    FlatNames* flatNames;       // owned; null in small groups, and when memory for it is out
};

// The hash of a name in wire form: its label bytes, not their lengths. 0 for less than 2 bytes.
uint32_t hashWireName(const char* wireName, uint32_t wireLength) noexcept;

// Turns a dotted name into wire form in place. Before, length bytes at buffer + 1; after, length + 2
// bytes at buffer: each dot has become the length of the label after it. False for an empty name and
// for labels that are empty or over 255 bytes.
[[nodiscard]] bool makeWireName(char* buffer, uint32_t length) noexcept;

inline HashedName nameOf(const DomainEntry& entry) noexcept {
    return {entry.name, entry.nameLength, entry.hash};
}

// Drops one reference. The last one clears *slot and frees the index, with its userData given back
// through info. A null slot or an empty one is left alone.
void releaseDomainIndex(DomainIndex** slot, const ReleaseInfo* info) noexcept;

// The number of entries in both tables; matchAll is not counted.
uint64_t countDomainEntries(const DomainIndex& index) noexcept;

}  // namespace rs
