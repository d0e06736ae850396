// How an entry enters an endpoint structure. Every insertion takes makeEntry(), which returns a new
// entry or null, and keeps to this order:
//
//     create the structure when there is none
//     allocate nodes and room                      may fail: nothing was entered yet
//     makeEntry()                                  may fail: nothing was entered yet
//     link everything                              cannot fail
//
// Invariants: makeEntry() is called last, after all other allocations, because an entry may own
//             userData and must not be dropped. An insertion answers false when memory is out or
//             makeEntry failed; what was entered before stays.
// Ownership:  a structure owns an entry from the moment that it is made.
// Threads:    one thread builds a structure. Counts are changed atomically all the same.
#pragma once

#include "core/chain.h"
#include "core/memory.h"

namespace rs {

// Makes a structure on first need. False when memory is out.
template <typename Structure>
[[nodiscard]] bool createStructure(Structure*& structure) noexcept {
    if (structure == nullptr) {
        structure = allocateRecord<Structure>();
    }
    return structure != nullptr;
}

// Makes an entry and appends it. False when it could not be made.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool appendMadeEntry(Chain<Entry>& chain, const MakeEntry& makeEntry) noexcept {
    Entry* entry = makeEntry();
    if (entry == nullptr) {
        return false;
    }
    chain.append(entry);
    return true;
}

}  // namespace rs
