// What decides most lookups of an address in one read: what its first entry asks for and reports, side by side.
//
//     node 10.0.0.1 -> #4 first ports 80, second ports 1000-1999 and 3000, second address 5.6.0.0/16
//
//     summary   node  flags  ports 80-80  1000-3000  second 5.6.0.0-5.6.255.255  mask  4 value id userData
//                                         hull
//
// A hull is the shortest span that holds all ranges of a list. What is outside of one is not covered by the entry. What is
// inside of all of them is covered, when each hull is all that its list has: the entry is exact then. Otherwise, and when
// an entry does not cover but others follow it, the entries themselves are asked.
//
// Of a second address of 128 bits the first word has a hull. Such a list is exact when it has whole words only, as "*" and
// prefixes up to /32 have.
//
// Invariants: a summary says what the entry said when it was built.
// Ownership:  summaries borrow userData.
// Threads:    none while building; read-only afterwards.
// Cost:       a summary is 48 bytes, and one with its address 64, a cache line.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/entry.h"
#include "core/lines.h"
#include "core/port_list.h"
#include "core/range_node.h"
#include "endpoint/entry_walk.h"
#include "syntax/address128.h"

namespace rs {

template <typename Bound>
struct Hull {
    Bound low;
    Bound high;  // inclusive
};

// What an entry asks for beside its first address.
struct EntryHull {
    Hull<uint16_t> firstPorts;
    Hull<uint16_t> secondPorts;
    Hull<uint32_t> second;  // of second addresses of 32 bits, or of the first words of longer ones
    uint32_t mask;          // one of these bits
};

// What an entry says of itself. One that misses a list, and so answers with an error, says nothing.
struct EntryHulls {
    bool isKnown;
    bool isExact;
    EntryHull hull;
};

// The hull of a list, which is not empty.
template <typename Bound>
[[nodiscard]] Hull<Bound> hullOf(const RangeNode<Bound>& first) noexcept {
    Hull<Bound> hull{first.low, first.high};
    for (const RangeNode<Bound>* node = first.next; node != nullptr; node = node->next) {
        hull = {std::min(hull.low, node->low), std::max(hull.high, node->high)};
    }
    return hull;
}

[[nodiscard]] constexpr Hull<uint32_t> firstWords(const Hull<Address128>& hull) noexcept {
    return {hull.low.words[0], hull.high.words[0]};
}

// Whether an address is in a span exactly when its first word is in that of first words. One of 32 bits, in IPv4 form,
// has zeros after its first word.
[[nodiscard]] constexpr bool hasWholeWords(const Hull<Address128>& hull, bool isOf32Bits) noexcept {
    const auto hasAfterFirst = [](const Address128& address, uint32_t word) noexcept {
        return address.words[1] == word && address.words[2] == word && address.words[3] == word;
    };
    return hasAfterFirst(hull.low, 0) && (isOf32Bits || hasAfterFirst(hull.high, UINT32_MAX));
}

// What a lookup asks beside the first address.
struct EndpointQuestion {
    uint16_t firstPort;
    uint16_t secondPort;
    uint32_t second;  // as in EntryHull
    uint32_t mask;
};

// Bits of flags: whether a summary decides a lookup that is inside, and one that is outside of its hulls.
inline constexpr uint32_t DECIDES_INSIDE = 1;
inline constexpr uint32_t DECIDES_OUTSIDE = 2;

struct EndpointSummary {
    EntryHull hull;
    uint32_t flags;
    uint32_t node;  // its record
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed
};

template <typename Address>
struct alignas(CACHE_LINE) ExactSummary {
    EndpointSummary summary;
    Address address;
};

static_assert(sizeof(EndpointSummary) == 48 && sizeof(ExactSummary<Address128>) == CACHE_LINE);

// The summary of a node with these entries, in a structure of so wide addresses. Each type of entries has a hullsOf(entry,
// isOf32Bits).
template <typename Entry>
[[nodiscard]] EndpointSummary summarizeNode(uint32_t node, const Entry* first,
                                            bool isOf32Bits) noexcept {
    EndpointSummary summary{};
    summary.node = node;
    const EntryHulls hulls = first == nullptr ? EntryHulls{} : hullsOf(*first, isOf32Bits);
    if (hulls.isKnown) {
        summary.hull = hulls.hull;
        summary.flags =
            (hulls.isExact ? DECIDES_INSIDE : 0) | (first->next == nullptr ? DECIDES_OUTSIDE : 0);
        fillEntry(*first, first->ruleIndex, summary);
    }
    return summary;
}

// Lookups of one kind mostly go the same way through this, so that its branches cost less than putting bits together.
[[nodiscard]] constexpr bool isInside(const EntryHull& hull,
                                      const EndpointQuestion& question) noexcept {
    const auto has = [](const auto& span, auto value) noexcept {
        return span.low <= value && value <= span.high;
    };
    return has(hull.firstPorts, question.firstPort) && has(hull.secondPorts, question.secondPort) &&
           has(hull.second, question.second) && (hull.mask & question.mask) != 0;
}

// What a summary says to a lookup.
enum class SummaryAnswer : uint8_t { NOT_COVERED, COVERED, ASK_ENTRIES };

[[nodiscard]] constexpr SummaryAnswer askSummary(const EndpointSummary& summary,
                                                 const EndpointQuestion& question) noexcept {
    const bool inside = isInside(summary.hull, question);
    if ((summary.flags & (inside ? DECIDES_INSIDE : DECIDES_OUTSIDE)) == 0) {
        return SummaryAnswer::ASK_ENTRIES;
    }
    return inside ? SummaryAnswer::COVERED : SummaryAnswer::NOT_COVERED;
}

// The first entry of a node that covers, where test has a question. The entries are read when the summary does not decide,
// and the first one is when it covers.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> scanSummarized(const EndpointSummary& summary, const Entry* first,
                                                const Test& test) noexcept {
    switch (askSummary(summary, test.question())) {
        case SummaryAnswer::COVERED:
            return {1, first};
        case SummaryAnswer::NOT_COVERED:
            return {0, nullptr};
        case SummaryAnswer::ASK_ENTRIES:
            break;
    }
    return scanEntries<Entry>(first, test);
}

// The lookup that a summary ends: 1 with the entry's rule in *result, 0, or what search() answers, which asks entries.
template <typename Search>
[[nodiscard]] inline int32_t answerBySummary(const EndpointSummary& summary,
                                             const EndpointQuestion& question, MatchResult& result,
                                             const Search& search) noexcept {
    switch (askSummary(summary, question)) {
        case SummaryAnswer::COVERED:
            return reportEntry(&summary, result);
        case SummaryAnswer::NOT_COVERED:
            return 0;
        case SummaryAnswer::ASK_ENTRIES:
            break;
    }
    return search();
}

}  // namespace rs
