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

// An entry of any kind for a rule. It does not own the userData yet: see claimUserData.
template <typename Entry>
OwnedMemory<Entry> makeEntry(const EntryRule& rule) noexcept {
    OwnedMemory<Entry> entry(allocateRecord<Entry>());
    if (entry) {
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

struct HostInsertion {
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
    OwnedMemory<HostEntry> entry = makeEntry<HostEntry>(*insertion->rule);
    if (!entry) {
        insertion->status = RULE_ERR_NO_MEMORY;
        return nullptr;
    }
    entry->address = insertion->address;
    claimUserData(*entry, *insertion->rule);
    appendToList(bucket->list, entry.release()->links);
    insertion->status = RULE_OK;
    return insertion;
}

// Where a rule's entry belongs among those of a node.
template <typename Entry>
struct EntryPlace {
    Entry* last;  // the one to append to; null without entries, which no build makes
    bool isDuplicate;
};

// isDuplicate(entry) says that the rule adds nothing to an entry.
template <typename Entry, typename IsDuplicate>
EntryPlace<Entry> findEntryPlace(const TreeNode& node, const IsDuplicate& isDuplicate) noexcept {
    Entry* last = nullptr;
    for (auto* entry = static_cast<Entry*>(node.entries); entry != nullptr; entry = entry->next) {
        if (isDuplicate(*entry)) {
            return {entry, true};
        }
        last = entry;
    }
    return {last, false};
}

// One rule's way into an interval tree. Work is the chain of intervals still to enter. What sticks
// out of a node is queued before all other work, so that the pieces are entered from low to high.
template <typename Address>
class IntervalInsertion {
public:
    using Key = IntervalKey<Address>;
    using Entry = RangeEntry<Address>;
    using Work = OwnedRanges<Address>;

    IntervalInsertion(SearchTree& tree, const EntryRule& rule) noexcept
        : tree_(tree), rule_(rule) {}

    int32_t insert(const Address& low, const Address& high) noexcept {
        int32_t status = queue(low, high) ? RULE_OK : RULE_ERR_NO_MEMORY;
        while (status == RULE_OK && work_) {
            Work item = takeItem();
            status = enter(std::move(item));
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
        const TreePlace place = findTreePlace(tree_, item.get());
        if (place.node == nullptr) {
            return enterNewNode(place, std::move(item));
        }
        const int32_t status = queueRemainders(*item, place);
        if (status != RULE_OK) {
            return status;
        }
        const auto& key = *static_cast<const Key*>(place.node->key);
        return enterCoveredPart(*place.node, std::max(item->low, key.low),
                                std::min(item->high, key.high));
    }

    int32_t enterNewNode(const TreePlace& place, Work key) noexcept {
        OwnedMemory<Entry> entry = makeEntry<Entry>(rule_);
        if (!entry) {
            return RULE_ERR_NO_MEMORY;
        }
        entry->low = key->low;
        entry->high = key->high;
        if (!insertTreeNode(tree_, place, key.get(), entry.get())) {
            return RULE_ERR_NO_MEMORY;
        }
        key.release();
        claimUserData(*entry.release(), rule_);
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
    int32_t enterCoveredPart(const TreeNode& node, const Address& low,
                             const Address& high) noexcept {
        const auto place = findEntryPlace<Entry>(node, [&](const Entry& entry) noexcept {
            return entry.low <= low && entry.high >= high && entry.ruleValue == rule_.ruleValue;
        });
        if (place.isDuplicate) {
            return RULE_OK;
        }
        OwnedMemory<Entry> entry = makeEntry<Entry>(rule_);
        if (!entry) {
            return RULE_ERR_NO_MEMORY;
        }
        entry->low = low;
        entry->high = high;
        claimUserData(*entry, rule_);
        place.last->next = entry.release();
        entered_ = true;
        return RULE_OK;
    }

    SearchTree& tree_;
    const EntryRule& rule_;
    Work work_;
    bool entered_ = false;
};

int32_t insertAddressNode(SearchTree& tree, const TreePlace& place, const Address128& address,
                          const EntryRule& rule) noexcept {
    OwnedMemory<Address128> key(allocateRecord<Address128>());
    OwnedMemory<AddressEntry> entry = makeEntry<AddressEntry>(rule);
    if (!key || !entry) {
        return RULE_ERR_FAILED;
    }
    *key = address;
    if (!insertTreeNode(tree, place, key.get(), entry.get())) {
        return RULE_ERR_FAILED;
    }
    key.release();
    claimUserData(*entry.release(), rule);
    return RULE_OK;
}

int32_t appendAddressEntry(const TreeNode& node, const EntryRule& rule) noexcept {
    const auto place = findEntryPlace<AddressEntry>(node, [&](const AddressEntry& entry) noexcept {
        return entry.ruleValue == rule.ruleValue;
    });
    if (place.isDuplicate) {
        return RULE_ERR_DUPLICATE;
    }
    OwnedMemory<AddressEntry> entry = makeEntry<AddressEntry>(rule);
    if (place.last == nullptr || !entry) {
        return RULE_ERR_FAILED;
    }
    claimUserData(*entry, rule);
    place.last->next = entry.release();
    return RULE_OK;
}

}  // namespace

int32_t insertHost(HashTable* hostTable, uint32_t address, const EntryRule& rule) noexcept {
    HostInsertion insertion{address, &rule, RULE_ERR_INVALID_ARG};
    const int32_t count =
        hashInsert(hostTable, hashIPv4(address), &insertion, insertIntoHostBucket);
    return count > 0 ? RULE_OK : insertion.status;
}

int32_t insertAddress128(SearchTree* tree, const Address128& address,
                         const EntryRule& rule) noexcept {
    const TreePlace place = findTreePlace(*tree, &address);
    if (place.node == nullptr) {
        return insertAddressNode(*tree, place, address, rule);
    }
    return appendAddressEntry(*place.node, rule);
}

int32_t insertInterval32(SearchTree* tree, uint32_t low, uint32_t high,
                         const EntryRule& rule) noexcept {
    return IntervalInsertion<uint32_t>(*tree, rule).insert(low, high);
}

int32_t insertInterval128(SearchTree* tree, const Address128& low, const Address128& high,
                          const EntryRule& rule) noexcept {
    return IntervalInsertion<Address128>(*tree, rule).insert(low, high);
}

}  // namespace rs
