// What the longest known suffix of a name says: the flat lookup of names.
//
//     asked for     mail.web.example.com
//
//     hashes        of com, example.com, web.example.com, mail.web.example.com: one pass from the right
//     filter           no   yes          no               no                    in the nearest caches
//     line          | 4 keys | 4 texts | 4 below | 4 whole |                    64 bytes
//                        |        |         `---> the record that it answers
//     texts              |        `---> 7 example 3 com                         the bytes decide
//                        `---> compared at once
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
//             line and the bytes of the name besides. It allocates nothing and takes 2.5 KiB of stack.
//             A build takes a step for each name and one for each suffix of a name, and sorts the names that have
//             suffixes among the others.
//             Memory: 26 bytes a name, and its bytes in words of 8.
// Worst case: a name of 128 labels in wire form, or of 255 dots, asks the filter as many times. Hashes have a secret
//             seed: which suffixes pass the filter, and how long a search is, cannot be chosen.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "core/lines.h"
#include "core/memory.h"
#include "core/slab.h"
#include "lookup/cut_name.h"
#include "lookup/hash_seed.h"
#include "lookup/slot_keys.h"

namespace rs {

inline constexpr uint32_t NAME_LINE_SLOTS = SLOT_KEYS;

// So the filter of a million names is in the caches of one core.
inline constexpr uint32_t LINES_PER_FILTER_WORD = 2;

// Four names. A name is known by its line and its slot there.
struct NameLine {
    uint32_t keys[NAME_LINE_SLOTS];   // bits of the hash, and the length; 0 in a free slot
    uint32_t texts[NAME_LINE_SLOTS];  // the number of the first word of the name's bytes
    // What a lookup of a name under it finds, then what one of the name itself does; NO_RECORD for nothing.
    uint32_t numbers[2][NAME_LINE_SLOTS];
};

static_assert(sizeof(NameLine) == CACHE_LINE);

struct FlatNames {
    HashSeed seed;
    NameLine* lines;   // owned
    uint64_t* filter;  // owned; a word for two lines
    uint64_t lineCount;
    Slab<NameWord> texts;  // owned; the words of SuffixHashes::writeName
    NameForm form;
    uint32_t fewestSuffixes;  // of a name: shorter suffixes of a looked up name are not asked for
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

// ------------------------------------------------------------------------------------------------ the steps of a lookup

// The places come from the highest bits of a hash, the key from those below, the filter bits from the lowest.
[[nodiscard]] inline uint64_t nameLineOf(const FlatNames& names, uint64_t hash) noexcept {
    __extension__ using Product = unsigned __int128;
    return static_cast<uint64_t>((static_cast<Product>(hash) * names.lineCount) >> 64U);
}

[[nodiscard]] inline uint32_t nameKeyOf(uint64_t hash, uint32_t length) noexcept {
    return (static_cast<uint32_t>(hash >> 18U) & 0xFFFFFE00U) | 0x100U | (length - 1);
}

// Of a word of the filter, three bits for each name: one suffix in 70 passes that is not there.
[[nodiscard]] inline uint64_t nameFilterBitsOf(uint64_t hash) noexcept {
    return uint64_t{1} << (hash & 63U) | uint64_t{1} << (hash >> 6U & 63U) |
           uint64_t{1} << (hash >> 12U & 63U);
}

[[nodiscard]] inline uint64_t& nameFilterWordOf(const FlatNames& names, uint64_t line) noexcept {
    return names.filter[line / LINES_PER_FILTER_WORD];
}

// 1 when a name with the hash may be there, 0 when none is. Of a big table, a line takes longer than the filter: it is
// fetched meanwhile.
[[nodiscard]] inline uint64_t mayHaveName(const FlatNames& names, uint64_t hash) noexcept {
    const uint64_t line = nameLineOf(names, hash);
    __builtin_prefetch(names.lines + line);
    const uint64_t bits = nameFilterWordOf(names, line);
    return bits >> (hash & 63U) & bits >> (hash >> 6U & 63U) & bits >> (hash >> 12U & 63U) & 1U;
}

// The slot of a suffix with this hash; NO_RECORD without one.
[[nodiscard]] uint32_t findNameSlot(const FlatNames& names, const SuffixHashes& hashes,
                                    uint64_t hash, uint32_t start, uint32_t length) noexcept;

// As findFlatName, for any name.
[[nodiscard]] uint32_t findCutName(const FlatNames& names, const char* name,
                                   uint32_t length) noexcept;

// Whether a name of the wire form has a length with which findUsualName takes it.
[[nodiscard]] inline bool isUsualWireName(uint32_t length) noexcept {
    return length - sizeof(NameWord) <= LONGEST_WIRE_NAME - sizeof(NameWord);
}

// As findFlatName, for names of the wire form. The name is not cut first: each suffix is asked for as soon as its start
// is known, so that the number of labels, which nobody can foresee, ends one loop and not two. All branches but that one
// go the same way for nearly all names that are found, and for nearly all others: the processor goes on to the next name
// while it waits for memory.
[[nodiscard, gnu::always_inline]] inline uint32_t findUsualName(
    const FlatNames& names, const char* name, uint32_t length,
    const SuffixHashes& hashes) noexcept {
    constexpr uint32_t MOST_ASKED = LONGEST_WIRE_NAME / 2;  // no label is empty
    constexpr uint32_t PASSED_BITS = 64;
    std::array<uint64_t, MOST_ASKED> asked;
    std::array<uint32_t, MOST_ASKED> starts;
    uint32_t count = 0;
    uint64_t passed = 0;  // the last suffix is the lowest bit
    uint32_t start = 0;
    const auto ask = [&] {
        const uint64_t hash = hashes.of(start);
        asked[count] = hash;
        starts[count++] = start;
        passed = 2 * passed + mayHaveName(names, hash);
    };
    uint32_t label = static_cast<uint8_t>(name[0]);
    uint32_t next = label + 1;
    while (next < length) {
        if (label == 0) [[unlikely]] {
            return findCutName(names, name, length);
        }
        ask();
        start = next;
        label = static_cast<uint8_t>(name[start]);
        next = start + label + 1;
    }
    if (next != length || label == 0 || count >= PASSED_BITS) [[unlikely]] {
        return findCutName(names, name, length);
    }
    // The last label is a suffix, too. Few tables have a name of one label.
    if (names.fewestSuffixes == 1) {
        ask();
    }
    while (passed != 0) {
        const auto suffix = count - static_cast<uint32_t>(std::bit_width(passed));
        const uint64_t hash = asked[suffix];
        const uint32_t place = starts[suffix];
        const NameLine* line = names.lines + nameLineOf(names, hash);
        const uint32_t same = matchKeys(line->keys, nameKeyOf(hash, length - place));
        auto slot = static_cast<uint32_t>(std::countr_zero(same | 1U << (NAME_LINE_SLOTS - 1)));
        if (same == 0 || !hashes.isSuffix(place, &recordAt(names.texts, line->texts[slot])))
            [[unlikely]] {
            const uint32_t found = findNameSlot(names, hashes, hash, place, length - place);
            if (found == NO_RECORD) {
                passed -= std::bit_floor(passed);
                continue;
            }
            line = names.lines + found / NAME_LINE_SLOTS;
            slot = found % NAME_LINE_SLOTS;
        }
        return line->numbers[suffix == 0 ? 1 : 0][slot];
    }
    return NO_RECORD;
}

// ------------------------------------------------------------------------------------------------ building

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
        uint32_t slot;    // its number among those of all lines
        uint32_t parent;  // the number of the slot of its longest known suffix
        uint16_t length;
        uint16_t suffixCount;
    };

    [[nodiscard]] uint32_t placeOf(const SuffixHashes& hashes, uint64_t hash,
                                   uint32_t length) const noexcept;
    [[nodiscard]] bool fill(uint32_t slot, const SuffixHashes& hashes, uint64_t hash,
                            const CutName& cut) noexcept;
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
