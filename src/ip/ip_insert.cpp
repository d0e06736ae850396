#include "ip/ip_insert.h"

#include <ruleset.h>

#include <algorithm>
#include <utility>

#include "core/entry.h"
#include "core/memory.h"
#include "core/range_node.h"
#include "lookup/address_hash.h"

namespace rs {

namespace {

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

// A node with a key and its first entry; null when memory is out.
template <typename Node, typename Entry, typename Key>
Node* makeNode(Slab<Node>& nodes, Slab<Entry>& entries, const Key& key,
               const EntryRule& rule) noexcept {
    Node* made = newRecord(nodes);
    if (made == nullptr) {
        return nullptr;
    }
    Entry* entry = makeEntry(entries, rule);
    if (entry == nullptr) {
        takeBackRecord(nodes);
        return nullptr;
    }
    made->key = key;
    made->node.key = &made->key;
    made->node.entries = entry;
    made->node.entryNumber = entries.count - 1;
    made->node.lastEntry = entry;
    made->node.entryCount = 1;
    return made;
}

template <typename Entry>
Entry& firstEntryOf(const TreeNode& node) noexcept {
    return *static_cast<Entry*>(node.entries);
}

struct HostInsertion {
    Slab<HostEntry>* entries;
    uint32_t address;
    const EntryRule* rule;
    int32_t status;
};

void* insertIntoHostBucket(HashBucket* bucket, void* item) noexcept {
    auto* insertion = static_cast<HostInsertion*>(item);
    for (ListLink* link = bucket->list.next; link != &bucket->list; link = link->next) {
        const HostEntry* entry = hostEntryOf(link);
        if (entry->address == insertion->address &&
            entry->ruleValue == insertion->rule->ruleValue) {
            insertion->status = RULE_ERR_DUPLICATE;
            return nullptr;
        }
    }
    HostEntry* entry = makeEntry(*insertion->entries, *insertion->rule);
    if (entry == nullptr) {
        insertion->status = RULE_ERR_NO_MEMORY;
        return nullptr;
    }
    entry->address = insertion->address;
    claimUserData(*entry, *insertion->rule);
    appendToList(bucket->list, entry->links);
    insertion->status = RULE_OK;
    return insertion;
}

// Whether an entry of a node is one that isDuplicate(entry) takes. Counts the entries walked.
template <typename Entry, typename IsDuplicate>
bool hasEntry(const TreeNode& node, uint64_t& steps, const IsDuplicate& isDuplicate) noexcept {
    for (auto* entry = static_cast<const Entry*>(node.entries); entry != nullptr;
         entry = entry->next) {
        ++steps;
        if (isDuplicate(*entry)) {
            return true;
        }
    }
    return false;
}

// A node has one entry at least, which came with it.
template <typename Entry>
void appendEntry(TreeNode& node, Entry* entry) noexcept {
    static_cast<Entry*>(node.lastEntry)->next = entry;
    node.lastEntry = entry;
    ++node.entryCount;
}

// The index of covered intervals wakes up where rules take more steps than this on average. Real lists
// of address ranges take one or two: all ranges of autonomous systems and countries together 2.1.
constexpr uint64_t STEPS_PER_RULE = 64;

// One rule's way into an interval tree. Work is the chain of intervals still to enter. What sticks
// out of a node is queued before all other work, so that the pieces are entered from low to high.
template <typename Address>
class IntervalInsertion {
public:
    using Key = IntervalKey<Address>;
    using Entry = RangeEntry<Address>;
    using Work = OwnedRanges<Address>;

    IntervalInsertion(SearchTree& tree, IntervalBuild<Address>& build,
                      const EntryRule& rule) noexcept
        : tree_(tree), build_(build), rule_(rule) {}

    int32_t insert(const Address& low, const Address& high) noexcept {
        const bool hasRoom = build_.covers.reserveOne() && queue(low, high);
        int32_t status = hasRoom ? RULE_OK : RULE_ERR_NO_MEMORY;
        while (status == RULE_OK && work_) {
            Work item = takeItem();
            status = enter(std::move(item));
        }
        if (status == RULE_OK) {
            build_.covers.add(rule_.ruleValue, low, high);
        } else if (status == RULE_ERR_NO_MEMORY && !entered_) {
            ++build_.leftOut;
        }
        return entered_ ? status : RULE_ERR_DUPLICATE;
    }

private:
    bool queue(const Address& low, const Address& high) noexcept {
        Key* item = makeRange(low, high);
        if (item == nullptr) {
            return false;
        }
        item->next = work_.release();
        work_.reset(item);
        return true;
    }

    Work takeItem() noexcept {
        Work item = std::move(work_);
        work_.reset(item->next);
        item->next = nullptr;
        return item;
    }

    int32_t enter(Work item) noexcept {
        countStep();
        if (isCovered(item->low, item->high)) {
            return RULE_OK;
        }
        const TreePlace place = findTreePlace(tree_, item.get());
        if (place.node == nullptr) {
            return enterNewNode(place, *item);
        }
        const int32_t status = queueRemainders(*item, place);
        if (status != RULE_OK) {
            return status;
        }
        const auto& key = *static_cast<const Key*>(place.node->key);
        return enterCoveredPart(*place.node, std::max(item->low, key.low),
                                std::min(item->high, key.high));
    }

    void countStep() noexcept {
        ++build_.steps;
        if (!build_.covers.isAwake() &&
            build_.steps > STEPS_PER_RULE * (uint64_t{build_.covers.count()} + 1)) {
            build_.covers.wake();
        }
    }

    // Whether one earlier rule with the same ruleValue covers all of a piece, as far as the index knows.
    // Such a piece adds nothing to any node: each has an entry that covers its part, of that rule or of
    // one that made an entry of that rule superfluous.
    bool isCovered(const Address& low, const Address& high) const noexcept {
        return build_.covers.isAwake() && build_.covers.covers(rule_.ruleValue, low, high);
    }

    int32_t enterNewNode(const TreePlace& place, const Key& key) noexcept {
        IntervalNode<Address>* made = makeNode(build_.nodes, build_.entries, key, rule_);
        if (made == nullptr) {
            return RULE_ERR_NO_MEMORY;
        }
        auto& entry = firstEntryOf<Entry>(made->node);
        entry.low = key.low;
        entry.high = key.high;
        insertTreeNode(tree_, place, made->node);
        claimUserData(entry, rule_);
        entered_ = true;
        return RULE_OK;
    }

    // The lower remainder is queued last, since it comes first.
    int32_t queueRemainders(const Key& item, const TreePlace& place) noexcept {
        const auto& key = *static_cast<const Key*>(place.node->key);
        const bool sticksOutBelow =
            place.relation == KEY_STICKS_OUT_BELOW || place.relation == KEY_STICKS_OUT_BOTH;
        const bool sticksOutAbove =
            place.relation == KEY_STICKS_OUT_ABOVE || place.relation == KEY_STICKS_OUT_BOTH;
        if (!sticksOutBelow && !sticksOutAbove && place.relation != KEY_INSIDE) {
            return RULE_ERR_INVALID_ARG;
        }
        if (sticksOutAbove && !queue(nextAddress(key.high), item.high)) {
            return RULE_ERR_NO_MEMORY;
        }
        if (sticksOutBelow && !queue(item.low, previousAddress(key.low))) {
            return RULE_ERR_NO_MEMORY;
        }
        return RULE_OK;
    }

    // Appends an entry unless one with the same ruleValue covers the part already.
    int32_t enterCoveredPart(TreeNode& node, const Address& low, const Address& high) noexcept {
        if (isCoveredInNode(node, low, high)) {
            return RULE_OK;
        }
        Entry* entry = makeEntry(build_.entries, rule_);
        if (entry == nullptr) {
            return RULE_ERR_NO_MEMORY;
        }
        entry->low = low;
        entry->high = high;
        claimUserData(*entry, rule_);
        appendEntry(node, entry);
        entered_ = true;
        return RULE_OK;
    }

    bool isCoveredInNode(const TreeNode& node, const Address& low, const Address& high) noexcept {
        if (build_.covers.isAwake()) {
            return isCovered(low, high);
        }
        return hasEntry<Entry>(node, build_.steps, [&](const Entry& entry) noexcept {
            return entry.low <= low && entry.high >= high && entry.ruleValue == rule_.ruleValue;
        });
    }

    SearchTree& tree_;
    IntervalBuild<Address>& build_;
    const EntryRule& rule_;
    Work work_;
    bool entered_ = false;
};

int32_t insertAddressNode(SearchTree& tree, AddressBuild& build, const TreePlace& place,
                          const Address128& address, const EntryRule& rule) noexcept {
    AddressNode* made = makeNode(build.nodes, build.entries, address, rule);
    if (made == nullptr) {
        return RULE_ERR_FAILED;
    }
    insertTreeNode(tree, place, made->node);
    claimUserData(firstEntryOf<AddressEntry>(made->node), rule);
    return RULE_OK;
}

// A node with this many entries has their ruleValues in the table, so that no walk is longer.
constexpr uint32_t CROWDED_ENTRIES = 16;

bool fileValues(const TreeNode& node, ValueTable& crowdedValues) noexcept {
    for (auto* entry = static_cast<const AddressEntry*>(node.entries); entry != nullptr;
         entry = entry->next) {
        if (!crowdedValues.add(&node, entry->ruleValue)) {
            return false;
        }
    }
    return true;
}

bool hasValue(const TreeNode& node, const ValueTable& crowdedValues, uint32_t ruleValue) noexcept {
    if (node.entryCount >= CROWDED_ENTRIES) {
        return crowdedValues.contains(&node, ruleValue);
    }
    uint64_t steps = 0;
    return hasEntry<AddressEntry>(node, steps, [ruleValue](const AddressEntry& entry) noexcept {
        return entry.ruleValue == ruleValue;
    });
}

// Files the value that was appended last, or all of a node that has become crowded by it.
bool noteValue(const TreeNode& node, ValueTable& crowdedValues, uint32_t ruleValue) noexcept {
    if (node.entryCount == CROWDED_ENTRIES) {
        return fileValues(node, crowdedValues);
    }
    return node.entryCount < CROWDED_ENTRIES || crowdedValues.add(&node, ruleValue);
}

int32_t appendAddressEntry(TreeNode& node, AddressBuild& build, const EntryRule& rule) noexcept {
    if (hasValue(node, build.crowdedValues, rule.ruleValue)) {
        return RULE_ERR_DUPLICATE;
    }
    AddressEntry* entry = node.entries == nullptr ? nullptr : makeEntry(build.entries, rule);
    if (entry == nullptr) {
        return RULE_ERR_FAILED;
    }
    claimUserData(*entry, rule);
    appendEntry(node, entry);
    return noteValue(node, build.crowdedValues, rule.ruleValue) ? RULE_OK : RULE_ERR_FAILED;
}

}  // namespace

int32_t insertHost(HashTable* hostTable, Slab<HostEntry>& entries, uint32_t address,
                   const EntryRule& rule) noexcept {
    HostInsertion insertion{&entries, address, &rule, RULE_ERR_INVALID_ARG};
    const int32_t count =
        hashInsert(hostTable, hashIPv4(address), &insertion, insertIntoHostBucket);
    return count > 0 ? RULE_OK : insertion.status;
}

int32_t insertAddress128(SearchTree* tree, AddressBuild& build, const Address128& address,
                         const EntryRule& rule) noexcept {
    const TreePlace place = findTreePlace(*tree, &address);
    if (place.node == nullptr) {
        return insertAddressNode(*tree, build, place, address, rule);
    }
    return appendAddressEntry(*place.node, build, rule);
}

int32_t insertInterval32(SearchTree* tree, IntervalBuild<uint32_t>& build, uint32_t low,
                         uint32_t high, const EntryRule& rule) noexcept {
    return IntervalInsertion<uint32_t>(*tree, build, rule).insert(low, high);
}

int32_t insertInterval128(SearchTree* tree, IntervalBuild<Address128>& build, const Address128& low,
                          const Address128& high, const EntryRule& rule) noexcept {
    return IntervalInsertion<Address128>(*tree, build, rule).insert(low, high);
}

}  // namespace rs
