// Chains of inclusive ranges: of ports, of numbers, of addresses.
//
//     80-80 -> 443-443 -> 1000-2000 -> null
//
// Ownership:  whoever holds the first node owns the chain; nodes of a slab are the slab's. A null
//             pointer is the empty chain.
// Cost:       a test walks the chain.
#pragma once

#include <cstdint>
#include <memory>

#include "core/chain.h"
#include "core/memory.h"
#include "core/slab.h"
#include "syntax/address128.h"

namespace rs {

template <typename Bound>
struct RangeNode {
    Bound low;
    Bound high;  // inclusive
    RangeNode* next;
};

using AddressRange = RangeNode<Address128>;

// A new node with null after it; null when memory is out.
template <typename Bound>
[[nodiscard]] RangeNode<Bound>* makeRange(const Bound& low, const Bound& high) noexcept {
    auto* node = allocateRecord<RangeNode<Bound>>();
    if (node != nullptr) {
        node->low = low;
        node->high = high;
    }
    return node;
}

// The same of a slab.
template <typename Bound>
[[nodiscard]] RangeNode<Bound>* makeRange(Slab<RangeNode<Bound>>& nodes, const Bound& low,
                                          const Bound& high) noexcept {
    auto* node = newRecord(nodes);
    if (node != nullptr) {
        node->low = low;
        node->high = high;
    }
    return node;
}

// Whether a range of the chain holds a value.
template <typename Bound>
[[nodiscard]] bool holds(const RangeNode<Bound>* first, const Bound& value) noexcept {
    while (first != nullptr && (value < first->low || first->high < value)) {
        first = first->next;
    }
    return first != nullptr;
}

// Frees every node and sets *head to null; a null argument is left alone.
template <typename Bound>
void freeRangeList(RangeNode<Bound>** head) noexcept {
    if (head != nullptr) {
        freeChain(*head, freeMemory<RangeNode<Bound>>);
    }
}

template <typename Bound>
void freeRanges(RangeNode<Bound>* first) noexcept {
    freeRangeList(&first);
}

template <typename Bound>
using OwnedRanges = Owned<RangeNode<Bound>, freeRanges<Bound>>;

// Copies nodes into the empty chain out, in order. convert(copy) may change a copy, and answers
// whether it is kept. False when memory is out; out then holds the copies made so far.
template <typename Bound, typename Convert>
[[nodiscard]] bool copyRanges(const RangeNode<Bound>* first, RangeNode<Bound>*& out,
                              const Convert& convert) noexcept {
    for (RangeNode<Bound>** tail = &out; first != nullptr; first = first->next) {
        RangeNode<Bound> range{first->low, first->high, nullptr};
        if (!convert(range)) {
            continue;
        }
        *tail = makeRange(range.low, range.high);
        if (*tail == nullptr) {
            return false;
        }
        tail = &(*tail)->next;
    }
    return true;
}

// Copies every node.
template <typename Bound>
[[nodiscard]] bool copyRanges(const RangeNode<Bound>* first, RangeNode<Bound>*& out) noexcept {
    return copyRanges(first, out, [](const RangeNode<Bound>&) noexcept { return true; });
}

// Copies every node into the empty chain out, in order, as nodes of a slab. False when memory is
// out; out then has the copies made so far.
template <typename Bound>
[[nodiscard]] bool copyRanges(const RangeNode<Bound>* first, Slab<RangeNode<Bound>>& nodes,
                              RangeNode<Bound>*& out) noexcept {
    for (RangeNode<Bound>** tail = &out; first != nullptr; first = first->next) {
        *tail = makeRange(nodes, first->low, first->high);
        if (*tail == nullptr) {
            return false;
        }
        tail = &(*tail)->next;
    }
    return true;
}

}  // namespace rs
