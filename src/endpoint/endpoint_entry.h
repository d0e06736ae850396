// Making the entries of rules with two endpoints, the part that both types of such rules share.
//
//     EntrySource                        entry
//       rule       text and fields  -->    firstPorts  -> 80-80 -> 90-99
//       ruleIndex                          secondPorts -> 1-65535
//       claims                      -->    userData, owned by the first entry of the rule
//
// One source makes all entries that a rule gets in one pass of a build. So what those entries have
// in common is made from the source, by the one maker of their type.
//
// Invariants: an entry claims its rule's userData as its last step. So an entry that is not whole
//             owns none, and can be freed without calling the host back.
// Ownership:  a source borrows all that it names; an entry owns its lists of ports.
// Threads:    one thread builds.
// Cost:       each entry has port lists of its own, read again from the rule's text.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/port_list.h"
#include "core/release.h"

namespace rs {

template <typename Rule>
struct EntrySource {
    Rule& rule;
    uint32_t ruleIndex;
    uint8_t* claims;  // one byte per rule of the set; null when no rule has userData
};

// Reads both port fields of a rule into an entry. False when memory is out, or when a record was
// overwritten and a field is bad; the entry owns what was read until then.
template <typename Rule, typename Entry>
[[nodiscard]] bool readPorts(const Rule& rule, Entry& entry) noexcept {
    const auto& fields = rule.fields;
    return parsePortList(rule.text + fields.firstPortsOffset, fields.firstPortsLength,
                         &entry.firstPorts) == RULE_OK &&
           parsePortList(rule.text + fields.secondPortsOffset, fields.secondPortsLength,
                         &entry.secondPorts) == RULE_OK;
}

// Gives the rule's userData to an entry, unless an earlier entry of the rule owns it.
template <typename Rule>
void claimUserData(const EntrySource<Rule>& source, uint32_t& entryFlags) noexcept {
    markRuleReleased(source.claims, source.rule.userData, source.ruleIndex - 1, &entryFlags);
}

}  // namespace rs
