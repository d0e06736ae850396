// How an entry enters an endpoint structure. Every insertion takes a makeEntry: makeEntry() returns
// a new entry or null, and makeEntry.made(entry) says whether an entry came from it. An insertion
// keeps to this order:
//
//     create the structure when there is none
//     return true                                  when the last entry there is a made one
//     allocate nodes and room                      may fail: nothing was entered yet
//     makeEntry()                                  may fail: nothing was entered yet
//     link everything                              cannot fail
//
// A rule may name an address again and again. All entries of one makeEntry are equal for every
// test, so a second one changes no answer: a walk gets to it only after the first has answered 0,
// and then it answers 0 too; any other status, be it 1 or negative, ends the walk at the first.
// That holds for a walk over all entries as well, which asks for a second endpoint only.
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

// Makes an entry and appends it, unless the chain ends with one that makeEntry made. False when it
// could not be made.
template <typename Entry, typename MakeEntry>
[[nodiscard]] bool appendMadeEntry(Chain<Entry>& chain, const MakeEntry& makeEntry) noexcept {
    if (chain.first != nullptr && makeEntry.made(*chain.last)) {
        return true;
    }
    Entry* entry = makeEntry();
    if (entry == nullptr) {
        return false;
    }
    chain.append(entry);
    return true;
}

}  // namespace rs
