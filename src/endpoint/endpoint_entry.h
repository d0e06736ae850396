// Making the entries of rules with two endpoints, the part that both types of such rules share.
//
//     EntrySource                        first entry
//       rule       text and fields  -->    firstPorts  -> 80-80 -> 90-99 <-+
//       ruleIndex                          secondPorts -> 1-65535        <-+-- further entry
//       claims                      -->    userData, owned
//
// One source makes all entries that a rule gets in one pass of a build. The first of them reads the
// lists from the rule. Further ones are copies of it, and share its lists.
//
// Invariants: an entry claims its rule's userData as its last step. So an entry that is not whole
//             owns none. Entries have the same lists exactly when they have the same firstPorts.
// Ownership:  a source borrows all that it names. Entries and lists are records of the structure.
// Threads:    one thread builds.
// Cost:       a rule's lists are read once in each pass that makes an entry; a further entry is one
//             record.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/port_list.h"
#include "core/release.h"
#include "core/slab.h"

namespace rs {

template <typename Rule>
struct EntrySource {
    Rule& rule;
    uint32_t ruleIndex;
    uint8_t* claims;  // one byte per rule of the set; null when no rule has userData
};

// Reads both port fields of a rule into an entry. False when memory is out, or when a record was
// overwritten and a field is bad.
template <typename Rule, typename Entry>
[[nodiscard]] bool readPorts(const Rule& rule, Slab<PortRange>& ports, Entry& entry) noexcept {
    const auto& fields = rule.fields;
    return parsePortList(rule.text + fields.firstPortsOffset, fields.firstPortsLength, ports,
                         &entry.firstPorts) == RULE_OK &&
           parsePortList(rule.text + fields.secondPortsOffset, fields.secondPortsLength, ports,
                         &entry.secondPorts) == RULE_OK;
}

// Gives the rule's userData to an entry, unless an earlier entry of the rule owns it.
template <typename Rule>
void claimUserData(const EntrySource<Rule>& source, uint32_t& entryFlags) noexcept {
    markRuleReleased(source.claims, source.rule.userData, source.ruleIndex - 1, &entryFlags);
}

// A copy of an entry that shares its lists and owns no userData; null when memory is out.
template <typename Entry>
[[nodiscard]] Entry* makeSharingEntry(Slab<Entry>& entries, const Entry& first) noexcept {
    Entry* entry = newRecord(entries);
    if (entry != nullptr) {
        *entry = first;
        entry->next = nullptr;
        releaseFlagsOf(*entry) = 0;
    }
    return entry;
}

// The makeEntry of insertions: makeFirst() makes the first entry, which all others share lists with.
// first is null, or the entry that makeFirst made; it stays in a structure while entries are made.
template <typename Entry, typename MakeFirst>
class EntryMaker {
public:
    EntryMaker(Slab<Entry>& entries, Entry*& first, const MakeFirst& makeFirst) noexcept
        : entries_(entries), first_(first), makeFirst_(makeFirst) {}

    [[nodiscard]] Entry* operator()() const noexcept {
        return first_ == nullptr ? first_ = makeFirst_() : makeSharingEntry(entries_, *first_);
    }

    // Whether an entry is one of those made: of the same rule, with the same lists.
    [[nodiscard]] bool made(const Entry& entry) const noexcept {
        return first_ != nullptr && entry.firstPorts == first_->firstPorts;
    }

private:
    Slab<Entry>& entries_;
    Entry*& first_;
    MakeFirst makeFirst_;
};

}  // namespace rs
