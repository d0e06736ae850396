// Entering rules into the structures of an IpRuleTable, one rule at one place.
//
// A new interval never splits or widens a node: what lies inside a node becomes an entry there, and
// what sticks out is entered by itself.
//
//     rule 2    |-----------------------------|
//     tree           |---rule 1---|
//     becomes   |-2-||----1, 2----||----2-----|
//
// A list whose ranges are all IPv4 ones has the same tree twice: that of 128 bits has the same nodes and entries, in their
// IPv4-mapped form. It is made as the mirror of the other, without a tree that grows once more.
//
// Each operation returns RULE_OK, RULE_ERR_DUPLICATE when the rule adds nothing to what earlier rules
// with the same ruleValue cover, or RULE_ERR_NO_MEMORY, which fails the build. The rules of a view are
// entered in rule order. Their places (ip/rule_places.h) say what meets without a way down a tree. When
// all are entered, or one has failed, link() makes the tree.
//
// Ownership:  the table owns what enters it. The first entry of a rule that is sure to stay owns
//             the rule's userData; the claims remember that.
// Threads:    none; a table is built by one thread.
// Cost:       a step for a host, a few for each piece of an interval. A build walks the entries of nodes only as long
//             as that is cheap; then a CoverIndex takes the place of walks.
#pragma once

#include <cstdint>

#include "core/slab.h"
#include "ip/build_array.h"
#include "ip/cover_index.h"
#include "ip/growing_tree.h"
#include "ip/ip_index.h"
#include "ip/rule_places.h"
#include "syntax/address128.h"

namespace rs {

// What the entries of one rule are made from.
struct EntryRule {
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;           // borrowed from the host
    uint8_t* userDataClaims;  // borrowed; one byte per rule of the set, null when none has userData
};

// Appends an entry to the bucket of an address. The table has buckets.
[[nodiscard]] int32_t insertHost(HashTable& hostTable, Slab<HostEntry>& entries, uint32_t address,
                                 const EntryRule& rule) noexcept;

// Enters hosts into the tree of addresses.
class AddressInsertion {
public:
    AddressInsertion(IpRuleTable& table, const HostPlaces& hosts) noexcept
        : table_(table), hosts_(hosts) {}

    // Makes room for all hosts. False when memory is out.
    [[nodiscard]] bool reserve() noexcept { return growing_.reserve(hosts_.addresses.count()); }

    // Enters the host of a position, which is no duplicate.
    [[nodiscard]] int32_t insert(uint32_t position, const EntryRule& rule) noexcept;

    void link(SearchTree& tree) noexcept;

private:
    IpRuleTable& table_;
    const HostPlaces& hosts_;
    GrowingTree growing_;
};

// Why there is no mirror: memory ran out for a part of the range of a position, which a tree that grows by itself would
// have left out (RULE_ERR_DUPLICATE) or failed with (RULE_ERR_NO_MEMORY). NO_RANK when it was no such range.
struct MirrorFailure {
    uint32_t position = NO_RANK;
    int32_t status = 0;
};

// Enters ranges into a tree of intervals.
template <typename Address>
class IntervalInsertion {
public:
    using Entry = RangeEntry<Address>;
    using Node = IntervalNode<Address>;

    IntervalInsertion(Slab<Node>& nodes, Slab<Entry>& entries, const RangePlaces& ranges) noexcept
        : nodes_(nodes), entries_(entries), ranges_(ranges) {}

    // Makes room for all ranges. False when memory is out.
    [[nodiscard]] bool reserve() noexcept;

    // Enters the range of a position.
    //
    // Deliberate: memory that runs out before any part of the range is entered is RULE_ERR_DUPLICATE
    // too, so that the build goes on without the rule; leftOut() counts these.
    [[nodiscard]] int32_t insert(uint32_t position, const EntryRule& rule) noexcept;

    void link(SearchTree& tree) noexcept;

    // Makes a mirror in these slabs, as long as memory lasts. All ranges are IPv4 ones.
    void mirrorInto(Slab<IntervalNode<Address128>>& nodes,
                    Slab<RangeEntry<Address128>>& entries) noexcept {
        mirror_ = {&nodes, &entries};
    }

    // Whether the mirror has all ranges. Otherwise its slabs are to be emptied.
    [[nodiscard]] bool hasMirror() const noexcept {
        return mirror_.entries != nullptr && leftOut_ == 0;
    }

    [[nodiscard]] MirrorFailure mirrorFailure() const noexcept { return mirrorFailure_; }

    // After link(): links the mirror, which is there.
    void linkMirror(SearchTree& tree) noexcept;

    [[nodiscard]] uint32_t leftOut() const noexcept { return leftOut_; }

    // The nodes that were met and the entries that were walked.
    [[nodiscard]] uint64_t steps() const noexcept { return steps_; }

private:
    // Ranks: [low, end).
    using Piece = RangePlace;

    struct Mirror {
        Slab<IntervalNode<Address128>>* nodes = nullptr;  // borrowed
        Slab<RangeEntry<Address128>>* entries = nullptr;  // borrowed; null when there is no mirror
    };

    template <typename KeyAddress>
    void linkInto(SearchTree& tree, const Slab<IntervalNode<KeyAddress>>& nodes,
                  const Slab<RangeEntry<KeyAddress>>& entries) noexcept;
    template <typename KeyAddress>
    RangeEntry<KeyAddress>* makePart(Slab<RangeEntry<KeyAddress>>& entries, const Piece& piece,
                                     const EntryRule& rule) noexcept;
    void mirrorNode(const Piece& key, const EntryRule& rule) noexcept;
    void mirrorPart(const Piece& part, uint32_t last, const EntryRule& rule) noexcept;
    void giveMirrorUp() noexcept;
    [[nodiscard]] uint32_t enteredParts() const noexcept { return entries_.count - firstEntry_; }
    int32_t enterPieces(const Piece& whole, const EntryRule& rule) noexcept;
    bool enterNode(const Piece& key, uint32_t before, uint32_t after,
                   const EntryRule& rule) noexcept;
    bool enterPart(uint32_t node, const Piece& part, const EntryRule& rule) noexcept;
    bool enterEntry(const Piece& piece, const EntryRule& rule) noexcept;
    uint32_t findOwner(const Piece& whole, uint32_t ruleValue) noexcept;
    uint32_t findOwner(uint32_t node, const Piece& piece, uint32_t ruleValue) noexcept;
    [[nodiscard]] uint32_t skipCovered(const Piece& piece, uint32_t ruleValue) const noexcept;
    bool isCovered(uint32_t node, const Piece& part, uint32_t ruleValue) noexcept;
    bool hasCoveringEntry(uint32_t node, const Piece& part, uint32_t ruleValue) noexcept;
    void wakeCovers() noexcept;

    Slab<Node>& nodes_;
    Slab<Entry>& entries_;
    const RangePlaces& ranges_;
    GrowingTree growing_;
    BuildArray<uint32_t> ends_;  // of the nodes, by rank
    RankSet entered_;            // the positions of the ranges that are in the tree
    CoverIndex covers_;
    bool isAwake_ = false;  // covers_ has all of entered_
    bool mayWake_ = true;
    Mirror mirror_;
    MirrorFailure mirrorFailure_;
    uint32_t position_ = 0;     // of the range that is being entered
    uint32_t firstEntry_ = 0;   // its number, made or not
    uint32_t owner_ = NO_RANK;  // where its entry begins that will own the userData
    uint64_t steps_ = 0;
    uint32_t leftOut_ = 0;
};

extern template class IntervalInsertion<uint32_t>;
extern template class IntervalInsertion<Address128>;

}  // namespace rs
