// The entries of rules whose first endpoint is every address.
//
//     EntryList  entries -> #2 -> #5 -> #9        count 3
//
// Invariants: entries are in rule order.
// Ownership:  the list borrows its entries.
// Threads:    read-only once built.
// Cost:       appending is one step; a lookup walks the list.
#pragma once

#include <cstdint>

#include "core/chain.h"
#include "core/reference_count.h"
#include "endpoint/entry_walk.h"
#include "endpoint/insertion.h"

namespace rs {

template <typename Entry>
struct EntryList {
    Chain<Entry> entries;
    uint32_t count;  // of insertions
};

template <typename Entry, typename MakeEntry>
[[nodiscard]] bool insertIntoList(EntryList<Entry>*& list, const MakeEntry& makeEntry) noexcept {
    if (!createStructure(list) || !appendMadeEntry(list->entries, makeEntry)) {
        return false;
    }
    incrementCount(list->count);
    return true;
}

// The first entry that covers. A null list has none.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> scanList(const EntryList<Entry>* list, const Test& test) noexcept {
    return scanEntries<Entry>(list == nullptr ? nullptr : list->entries.first, test);
}

}  // namespace rs
