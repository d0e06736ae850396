// Singly linked chains. Their elements are records with a field `next`.
//
//     first -> element -> element -> null        a plain chain is a pointer to its first element
//                            ^
//                           last                 a Chain has this pointer, too
//
// Ownership:  whoever holds the first element owns the whole chain.
// Cost:       pushing is one step, and so is appending to a Chain.
#pragma once

#include <utility>

namespace rs {

// Puts an element before a chain.
template <typename Element>
void pushToChain(Element*& first, Element* element) noexcept {
    element->next = first;
    first = element;
}

// Empties a chain: freeElement(element) frees each element, from the first on.
template <typename Element, typename FreeElement>
void freeChain(Element*& first, const FreeElement& freeElement) noexcept {
    while (first != nullptr) {
        Element* element = std::exchange(first, first->next);
        freeElement(element);
    }
}

// A chain that grows at its end. Zero-filled is the empty chain.
template <typename Element>
struct Chain {
    Element* first;  // owned, with all after it
    Element* last;   // borrowed; null in an empty chain

    // Puts an element, whose next is null, after the last one.
    void append(Element* element) noexcept {
        (last == nullptr ? first : last->next) = element;
        last = element;
    }
};

}  // namespace rs
