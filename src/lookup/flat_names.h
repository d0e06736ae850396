// What the longest known suffix of a name says: the flat lookup of names.
//
//     asked for     mail.web.example.com
//
//     hashes        of com, example.com, web.example.com, mail.web.example.com: one pass from the right
//     filter           no   yes          no               no                    in the nearest caches
//     slots         | key text whole below | ... four in a line of 64 bytes
//     texts                 |                7 example 3 com                    the bytes decide
//                                    `---> the record that it answers
//
// Every name has two numbers. whole answers for the name itself, below for all names under it. The build carries them
// down: a name that says nothing about one of the two has the number of the longest of its own suffixes that does,
// and where both say something the user combines them. So only the longest suffix that is known counts, and no
// lookup goes on after it.
//
// Invariants: a line is filled from its first slot on, and a name is in the first line from its own on that had room:
//             a search ends at a line whose last slot is free.
// Ownership:  owns all its arrays, the bytes of its names too. The numbers are its user's.
// Threads:    one thread builds; then any number of threads may look up.
// Cost:       a lookup that finds nothing reads one word of the filter for each suffix. One that finds a name reads a
//             line and the bytes of the name besides. It allocates nothing and takes 1.5 KiB of stack.
//             A build takes a step for each name and one for each suffix of a name, and sorts the names that have
//             suffixes among the others.
//             Memory: 27 bytes a name, and its bytes.
// Worst case: a name of 128 labels in wire form, or of 255 dots, asks the filter as many times. Hashes have a secret
//             seed: which suffixes pass the filter, and how long a search is, cannot be chosen.
#pragma once

#include <cstdint>

#include "core/lines.h"
#include "core/memory.h"
#include "core/slab.h"
#include "lookup/cut_name.h"
#include "lookup/hash_seed.h"

namespace rs {

inline constexpr uint32_t NAME_LINE_SLOTS = 4;

struct NameSlot {
    uint32_t key;    // bits of the hash, and the length; 0 in a free slot
    uint32_t text;   // the number of the first word of the name's bytes
    uint32_t whole;  // what a lookup of the name finds; NO_RECORD for nothing, as in below
    uint32_t below;  // what a lookup of a name under it finds
};

static_assert(sizeof(NameSlot) * NAME_LINE_SLOTS == CACHE_LINE);

struct NameWord {
    char bytes[8];
};

struct FlatNames {
    HashSeed seed;
    NameForm form;
    NameSlot* slots;       // owned; lineCount lines of them
    uint64_t* filter;      // owned; a word for each line
    Slab<NameWord> texts;  // owned; zero bytes after each name
    uint64_t lineCount;
    uint32_t
        fewestSuffixes;  // of a name: shorter suffixes of a name that is looked up are not asked for
};

void freeFlatNames(FlatNames* names) noexcept;

using OwnedFlatNames = Owned<FlatNames, freeFlatNames>;

// What is known of one name.
struct FlatName {
    const char* bytes;  // borrowed, in the form of the lookup
    uint32_t length;
    uint32_t whole;  // NO_RECORD for nothing, as in below
    uint32_t below;
};

// What the longest known suffix of a name says: its whole when it is the name itself, its below otherwise. NO_RECORD
// when no suffix is known, when that says nothing, and for names that are not cut.
[[nodiscard]] uint32_t findFlatName(const FlatNames& names, const char* name,
                                    uint32_t length) noexcept;

// The steps of a build; see buildFlatNames.
class FlatNamesBuild {
public:
    // Makes room for as many names, of which none is there yet. False when memory is out.
    [[nodiscard]] bool begin(NameForm form, uint64_t nameCount) noexcept;

    // Adds a name, or its numbers to those that the name has already: the first ones stay. A name that is not cut or
    // is too long is left out, as no lookup finds it. False when memory is out, or no line is near that has room.
    [[nodiscard]] bool add(const FlatName& name) noexcept;

    using Combine = uint32_t (*)(void* context, uint32_t own, uint32_t inherited) noexcept;

    // Carries the numbers down and lets go of the lookup.
    [[nodiscard]] FlatNames* finish(Combine combine, void* context) noexcept;

private:
    struct AddedName {
        uint32_t slot;    // its number
        uint32_t parent;  // the number of the slot of its longest known suffix
        uint16_t length;
        uint16_t suffixCount;
    };

    [[nodiscard]] NameSlot* placeOf(uint64_t hash, const char* bytes, uint32_t length) noexcept;
    [[nodiscard]] bool fill(NameSlot& slot, uint64_t hash, const CutName& cut) noexcept;
    [[nodiscard]] uint32_t findParent(const AddedName& name) const noexcept;

    OwnedFlatNames names_;
    OwnedMemory<AddedName[]> added_;
    uint64_t addedCount_ = 0;
    uint64_t capacity_ = 0;
};

// Builds the lookup of at most nameCount names. forEachName(add) adds each: add(FlatName), and stops with false when
// that is false. combine(own, inherited) chooses the number of a name that says something itself, and has a suffix
// that does; names come after their suffixes. Null when memory is out: then the user goes without.
template <typename ForEachName, typename Combine>
[[nodiscard]] FlatNames* buildFlatNames(NameForm form, uint64_t nameCount,
                                        const ForEachName& forEachName, Combine combine) noexcept {
    FlatNamesBuild build;
    if (!build.begin(form, nameCount) ||
        !forEachName([&build](const FlatName& name) noexcept { return build.add(name); })) {
        return nullptr;
    }
    return build.finish(
        [](void* context, uint32_t own, uint32_t inherited) noexcept -> uint32_t {
            return (*static_cast<Combine*>(context))(own, inherited);
        },
        &combine);
}

}  // namespace rs
