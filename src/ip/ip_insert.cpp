#include "ip/ip_insert.h"

#include <ruleset.h>

#include <algorithm>

#include "core/entry.h"
#include "lookup/address_hash.h"
#include "lookup/hash_table.h"

namespace rs {

namespace {

// While one rule is entered, what a rule so much later needs is on its way.
constexpr uint32_t RULES_AHEAD = 8;

// An entry of any kind for a rule; null when memory is out. It does not own the userData yet: see claimUserData.
template <typename Entry>
Entry* makeEntry(Slab<Entry>& entries, const EntryRule& rule) noexcept {
    Entry* entry = newRecord(entries);
    if (entry != nullptr) {
        fillEntry(rule, rule.ruleIndex, *entry);
    }
    return entry;
}

// claimUserData() is called last, when the entry is sure to stay: an entry that owns userData must
// not be dropped.
template <typename Entry>
void claimUserData(Entry& entry, const EntryRule& rule) noexcept {
    markRuleReleased(rule.userDataClaims, rule.userData, rule.ruleIndex - 1, &entry.entryFlags);
}

bool isUnclaimed(const EntryRule& rule) noexcept {
    return rule.userData != nullptr && rule.userDataClaims[rule.ruleIndex - 1] == 0;
}

// The index of covered intervals wakes up where rules take more steps than this on average, and more than some
// hundred at all. Real lists of address ranges take one or two: all ranges of autonomous systems and countries
// together 2.1. A step reads an entry that may be anywhere, so that some ten of them cost as much as the index.
constexpr uint64_t STEPS_PER_RULE = 8;
constexpr uint64_t FREE_STEPS = 500;

}  // namespace

int32_t insertHost(HashTable& hostTable, Slab<HostEntry>& entries, uint32_t address,
                   const EntryRule& rule) noexcept {
    HostEntry* entry = makeEntry(entries, rule);
    if (entry == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    entry->address = address;
    hashAdd(hostTable, hashIPv4(address),
            [entry](HashBucket& bucket) noexcept { appendToList(bucket.list, entry->links); });
    claimUserData(*entry, rule);
    return RULE_OK;
}

int32_t AddressInsertion::insert(uint32_t position, const EntryRule& rule) noexcept {
    if (position + RULES_AHEAD < hosts_.count &&
        hosts_.ranks[position + RULES_AHEAD] != DUPLICATE_HOST) {
        growing_.prefetch(hosts_.ranks[position + RULES_AHEAD]);
    }
    const uint32_t rank = hosts_.ranks[position];
    const uint32_t before = growing_.atOrBefore(rank);
    const bool isNewNode = before != rank;
    if (isNewNode && newRecord(table_.ipv6HostNodes) == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    AddressEntry* entry = makeEntry(table_.addressEntries, rule);
    if (entry == nullptr) {
        if (isNewNode) {
            takeBackRecord(table_.ipv6HostNodes);
        }
        return RULE_ERR_NO_MEMORY;
    }
    const uint32_t number = table_.addressEntries.count - 1;
    if (isNewNode) {
        growing_.add(rank, before, growing_.atOrAfter(rank), number);
    } else {
        growing_.append(rank, table_.addressEntries, number);
    }
    claimUserData(*entry, rule);
    return RULE_OK;
}

void AddressInsertion::link(SearchTree& tree) noexcept {
    growing_.link(tree, table_.ipv6HostNodes, table_.addressEntries,
                  [this](AddressNode& record, uint32_t rank) noexcept {
                      record.key = hosts_.addresses.at<Address128>(rank);
                  });
}

template <typename Address>
bool IntervalInsertion<Address>::reserve() noexcept {
    const uint32_t rankCount = ranges_.addresses.count();
    return ends_.reserve(rankCount) && growing_.reserve(rankCount) &&
           entered_.reserve(ranges_.count);
}

template <typename Address>
int32_t IntervalInsertion<Address>::insert(uint32_t position, const EntryRule& rule) noexcept {
    if (position + RULES_AHEAD < ranges_.count) {
        const uint32_t low = ranges_.ranges[position + RULES_AHEAD].low;
        growing_.prefetch(low);
        __builtin_prefetch(&ends_[low]);
    }
    if (!isAwake_ && steps_ > STEPS_PER_RULE * position + FREE_STEPS) {
        wakeCovers();
    }
    const Piece& whole = ranges_.ranges[position];
    position_ = position;
    firstEntry_ = entries_.count;
    owner_ = isUnclaimed(rule) ? findOwner(whole, rule.ruleValue) : NO_RANK;
    const int32_t status = enterPieces(whole, rule);
    if (status == RULE_OK) {
        entered_.add(position);
        if (isAwake_) {
            covers_.add(position);
        }
    } else if (enteredParts() != 0) {
        // The build fails, and the entry that should own the userData may be missing.
        claimUserData(recordAt(entries_, entries_.count - 1), rule);
    } else {
        ++leftOut_;
    }
    return enteredParts() != 0 ? status : RULE_ERR_DUPLICATE;
}

// From low to high: a part of each node that is met, and a node for each gap.
template <typename Address>
int32_t IntervalInsertion<Address>::enterPieces(const Piece& whole,
                                                const EntryRule& rule) noexcept {
    for (Piece rest = whole; rest.low < rest.end;) {
        const uint32_t low = isAwake_ ? skipCovered(rest, rule.ruleValue) : rest.low;
        if (low == rest.end) {
            break;
        }
        const uint32_t node = growing_.atOrBefore(low);
        const bool isInside = node != NO_RANK && ends_[node] > low;
        const uint32_t next = isInside ? ends_[node] : growing_.atOrAfter(low);
        const Piece piece{low, std::min(next, rest.end)};
        if (!(isInside ? enterPart(node, piece, rule) : enterNode(piece, node, next, rule))) {
            return RULE_ERR_NO_MEMORY;
        }
        rest.low = piece.end;
    }
    return RULE_OK;
}

template <typename Address>
bool IntervalInsertion<Address>::enterNode(const Piece& key, uint32_t before, uint32_t after,
                                           const EntryRule& rule) noexcept {
    if (newRecord(nodes_) == nullptr) {
        return false;
    }
    if (!enterEntry(key, rule)) {
        takeBackRecord(nodes_);
        return false;
    }
    ends_[key.low] = key.end;
    growing_.add(key.low, before, after, entries_.count - 1);
    mirrorNode(key, rule);
    return true;
}

// Appends an entry unless one with the same ruleValue covers the part already.
template <typename Address>
bool IntervalInsertion<Address>::enterPart(uint32_t node, const Piece& part,
                                           const EntryRule& rule) noexcept {
    if (isCovered(node, part, rule.ruleValue)) {
        return true;
    }
    if (!enterEntry(part, rule)) {
        return false;
    }
    const uint32_t last = growing_.lastEntryOf(node);
    growing_.append(node, entries_, entries_.count - 1);
    mirrorPart(part, last, rule);
    return true;
}

template <typename Address>
bool IntervalInsertion<Address>::enterEntry(const Piece& piece, const EntryRule& rule) noexcept {
    Entry* entry = makePart(entries_, piece, rule);
    if (entry != nullptr && piece.low == owner_) {
        claimUserData(*entry, rule);
    }
    return entry != nullptr;
}

// An entry for a piece, in the slab of either width; null when memory is out.
template <typename Address>
template <typename KeyAddress>
RangeEntry<KeyAddress>* IntervalInsertion<Address>::makePart(Slab<RangeEntry<KeyAddress>>& entries,
                                                             const Piece& piece,
                                                             const EntryRule& rule) noexcept {
    RangeEntry<KeyAddress>* entry = makeEntry(entries, rule);
    if (entry != nullptr) {
        entry->low = ranges_.addresses.template at<KeyAddress>(piece.low);
        entry->high = ranges_.addresses.template before<KeyAddress>(piece.end);
    }
    return entry;
}

// An entry of the mirror has the number of the one that was made just now. It owns no userData: the other one may.
template <typename Address>
void IntervalInsertion<Address>::mirrorNode(const Piece& key, const EntryRule& rule) noexcept {
    if (mirror_.entries != nullptr && (newRecord(*mirror_.nodes) == nullptr ||
                                       makePart(*mirror_.entries, key, rule) == nullptr)) {
        giveMirrorUp();
    }
}

template <typename Address>
void IntervalInsertion<Address>::mirrorPart(const Piece& part, uint32_t last,
                                            const EntryRule& rule) noexcept {
    if (mirror_.entries == nullptr) {
        return;
    }
    RangeEntry<Address128>* entry = makePart(*mirror_.entries, part, rule);
    if (entry == nullptr) {
        giveMirrorUp();
        return;
    }
    recordAt(*mirror_.entries, last).next = entry;
}

template <typename Address>
void IntervalInsertion<Address>::giveMirrorUp() noexcept {
    mirrorFailure_ = {position_, enteredParts() == 1 ? RULE_ERR_DUPLICATE : RULE_ERR_NO_MEMORY};
    mirror_ = {};
}

// Where the entry begins that owns the rule's userData; NO_RANK when nothing will be entered. It is the one that a way
// down from the root makes first: one in the topmost node that the range meets, then what sticks out below, then what
// sticks out above.
template <typename Address>
uint32_t IntervalInsertion<Address>::findOwner(const Piece& whole, uint32_t ruleValue) noexcept {
    uint32_t first = growing_.atOrBefore(whole.low);
    if (first == NO_RANK || ends_[first] <= whole.low) {
        first = growing_.atOrAfter(whole.low);
    }
    if (first == NO_RANK || first >= whole.end) {
        return whole.low;
    }
    const uint32_t second = growing_.atOrAfter(first + 1);
    const bool meetsSeveral = second != NO_RANK && second < whole.end;
    return findOwner(meetsSeveral ? growing_.root() : first, whole, ruleValue);
}

// The same for a piece, on the way down from a node.
template <typename Address>
uint32_t IntervalInsertion<Address>::findOwner(uint32_t node, const Piece& piece,
                                               uint32_t ruleValue) noexcept {
    if (isAwake_ && covers_.reach(ruleValue, piece.low) >= piece.end) {
        return NO_RANK;
    }
    while (node != NO_RANK && (piece.end <= node || piece.low >= ends_[node])) {
        const ShapeNode& links = growing_.linksOf(node);
        node = piece.end <= node ? links.left : links.right;
    }
    if (node == NO_RANK) {
        return piece.low;
    }
    const Piece part{std::max(piece.low, node), std::min(piece.end, ends_[node])};
    if (!isCovered(node, part, ruleValue)) {
        return part.low;
    }
    uint32_t owner = NO_RANK;
    if (piece.low < part.low) {
        owner = findOwner(growing_.linksOf(node).left, {piece.low, part.low}, ruleValue);
    }
    if (owner == NO_RANK && part.end < piece.end) {
        owner = findOwner(growing_.linksOf(node).right, {part.end, piece.end}, ruleValue);
    }
    return owner;
}

// Passes over the nodes whose parts one earlier range covers, up to the end of the piece or to where a part begins that
// has to be looked at by itself. What is covered has no gaps.
template <typename Address>
uint32_t IntervalInsertion<Address>::skipCovered(const Piece& piece,
                                                 uint32_t ruleValue) const noexcept {
    const uint32_t end = covers_.reach(ruleValue, piece.low);
    if (end <= piece.low || end >= piece.end) {
        return end <= piece.low ? piece.low : piece.end;
    }
    const uint32_t node = growing_.atOrBefore(end);
    const bool endsInside = node < end && ends_[node] > end;
    return endsInside ? std::max(node, piece.low) : end;
}

template <typename Address>
bool IntervalInsertion<Address>::isCovered(uint32_t node, const Piece& part,
                                           uint32_t ruleValue) noexcept {
    ++steps_;
    return isAwake_ ? covers_.reach(ruleValue, part.low) >= part.end
                    : hasCoveringEntry(node, part, ruleValue);
}

template <typename Address>
bool IntervalInsertion<Address>::hasCoveringEntry(uint32_t node, const Piece& part,
                                                  uint32_t ruleValue) noexcept {
    const auto low = ranges_.addresses.template at<Address>(part.low);
    const auto high = ranges_.addresses.template before<Address>(part.end);
    for (const Entry* entry = &recordAt(entries_, growing_.firstEntryOf(node)); entry != nullptr;
         entry = entry->next) {
        ++steps_;
        if (entry->ruleValue == ruleValue && entry->low <= low && entry->high >= high) {
            return true;
        }
    }
    return false;
}

// Makes the index of all ranges so far. When memory is out, walks go on.
template <typename Address>
void IntervalInsertion<Address>::wakeCovers() noexcept {
    if (mayWake_ && covers_.reserve(ranges_)) {
        for (uint32_t position = entered_.atOrAfter(0); position != NO_RANK;
             position = entered_.atOrAfter(position + 1)) {
            covers_.add(position);
        }
        isAwake_ = true;
    }
    mayWake_ = false;
}

template <typename Address>
template <typename KeyAddress>
void IntervalInsertion<Address>::linkInto(SearchTree& tree,
                                          const Slab<IntervalNode<KeyAddress>>& nodes,
                                          const Slab<RangeEntry<KeyAddress>>& entries) noexcept {
    growing_.link(
        tree, nodes, entries, [this](IntervalNode<KeyAddress>& record, uint32_t rank) noexcept {
            record.key = {ranges_.addresses.template at<KeyAddress>(rank),
                          ranges_.addresses.template before<KeyAddress>(ends_[rank]), nullptr};
        });
}

template <typename Address>
void IntervalInsertion<Address>::link(SearchTree& tree) noexcept {
    linkInto(tree, nodes_, entries_);
}

template <typename Address>
void IntervalInsertion<Address>::linkMirror(SearchTree& tree) noexcept {
    linkInto(tree, *mirror_.nodes, *mirror_.entries);
}

template class IntervalInsertion<uint32_t>;
template class IntervalInsertion<Address128>;

}  // namespace rs
