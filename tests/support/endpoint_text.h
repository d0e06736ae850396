// The structures of rules with two endpoints as lines of text, one for each entry, in the order in
// which they are walked. Addresses are words in hexadecimal.
//
//     any4 #2                                    every first address
//     exact4 a000001 #1                          one first address
//     blocks4 10.1 0-ffff #3                     a span of a /16 block
//     any6 #2
//     exact6 0:0:ffff:a000001 #1
//     ranges6 0:0:ffff:a000000-0:0:ffff:a0100ff #3
#pragma once

#include <cstdint>
#include <ios>
#include <sstream>
#include <string>
#include <vector>

#include "core/release.h"
#include "endpoint/block_index.h"
#include "endpoint/entry_list.h"
#include "endpoint/exact_table.h"
#include "endpoint/range_list.h"
#include "syntax/address128.h"

namespace rs::test {

using Lines = std::vector<std::string>;

inline std::string addressText(uint32_t address) {
    std::ostringstream text;
    text << std::hex << address;
    return text.str();
}

inline std::string addressText(const Address128& address) {
    std::ostringstream text;
    text << std::hex << address.words[0] << ':' << address.words[1] << ':' << address.words[2]
         << ':' << address.words[3];
    return text.str();
}

// "low-high", or the address alone when both are the same.
template <typename Address>
std::string rangeText(const Address& low, const Address& high) {
    return low == high ? addressText(low) : addressText(low) + "-" + addressText(high);
}

// The head of an entry's text: "#1!" is of rule 1 and gives its userData back.
inline std::string ruleText(uint32_t ruleIndex, uint32_t entryFlags) {
    return "#" + std::to_string(ruleIndex) +
           ((entryFlags & ENTRY_RELEASES_USER_DATA) != 0 ? "!" : "");
}

// The six structures, any of them null.
template <typename Entry>
struct EndpointStructures {
    const EntryList<Entry>* any4;
    const HashTable* exact4;
    const BlockIndex<Entry>* blocks4;
    const EntryList<Entry>* any6;
    const HashTable* exact6;
    const RangeList<Entry>* ranges6;
};

template <typename Entry, typename TextOf>
void addChainLines(const std::string& place, const Entry* first, const TextOf& textOf,
                   Lines& lines) {
    for (const Entry* entry = first; entry != nullptr; entry = entry->next) {
        lines.push_back(place + " " + textOf(*entry));
    }
}

template <typename Entry, typename TextOf>
void addListLines(const std::string& place, const EntryList<Entry>* list, const TextOf& textOf,
                  Lines& lines) {
    if (list != nullptr) {
        addChainLines(place, list->entries.first, textOf, lines);
    }
}

template <typename Entry, typename Address, typename TextOf>
void addExactLines(const std::string& place, const HashTable* table, const TextOf& textOf,
                   Lines& lines) {
    for (uint32_t i = 0; table != nullptr && i < table->bucketCount; ++i) {
        ListLink* head = &table->buckets[i].list;
        for (ListLink* link = head->next; link != head; link = link->next) {
            const auto* node = exactNodeOf<Entry, Address>(link);
            addChainLines(place + " " + addressText(node->address), node->entries.first, textOf,
                          lines);
        }
    }
}

template <typename Entry, typename TextOf>
void addBlockLines(const BlockIndex<Entry>* index, const TextOf& textOf, Lines& lines) {
    for (uint32_t block = 0; index != nullptr && block < OCTET_VALUES * OCTET_VALUES; ++block) {
        const auto* slots = index->slots[block / OCTET_VALUES];
        const auto* node = slots == nullptr ? nullptr : slots[block % OCTET_VALUES].first;
        for (; node != nullptr; node = node->next) {
            std::ostringstream place;
            place << "blocks4 " << block / OCTET_VALUES << '.' << block % OCTET_VALUES << ' '
                  << rangeText(uint32_t{node->spanLow}, uint32_t{node->spanHigh});
            addChainLines(place.str(), node->entry, textOf, lines);
        }
    }
}

template <typename Entry, typename TextOf>
void addRangeLines(const RangeList<Entry>* list, const TextOf& textOf, Lines& lines) {
    const auto* bucket = list == nullptr ? nullptr : list->buckets.first;
    for (; bucket != nullptr; bucket = bucket->next) {
        addChainLines("ranges6 " + rangeText(bucket->low, bucket->high), bucket->entries.first,
                      textOf, lines);
    }
}

// textOf(entry) is the text of an entry.
template <typename Entry, typename TextOf>
Lines linesOf(const EndpointStructures<Entry>& structures, const TextOf& textOf) {
    Lines lines;
    addListLines("any4", structures.any4, textOf, lines);
    addExactLines<Entry, uint32_t>("exact4", structures.exact4, textOf, lines);
    addBlockLines(structures.blocks4, textOf, lines);
    addListLines("any6", structures.any6, textOf, lines);
    addExactLines<Entry, Address128>("exact6", structures.exact6, textOf, lines);
    addRangeLines(structures.ranges6, textOf, lines);
    return lines;
}

}  // namespace rs::test
