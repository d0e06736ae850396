// Circular doubly linked lists whose head is a link like those of the elements.
//
//     head <-> element <-> element <-> head          empty: head <-> head
//
// An element holds a ListLink. The user of a list finds the element from its link.
//
// Ownership:  the list owns nothing; whoever links an element frees it.
// Cost:       appending, unlinking and moving change at most six pointers.
#pragma once

namespace rs {

struct ListLink {
    ListLink* next;  // borrowed, like prev
    ListLink* prev;
};

// Makes a list empty; elements that it may have are forgotten.
inline void resetList(ListLink& head) noexcept {
    head.next = &head;
    head.prev = &head;
}

[[nodiscard]] inline bool isListEmpty(const ListLink& head) noexcept {
    return head.next == &head;
}

// Puts an element at the end of a list.
inline void appendToList(ListLink& head, ListLink& element) noexcept {
    element.next = &head;
    element.prev = head.prev;
    head.prev->next = &element;
    head.prev = &element;
}

// Puts all elements of a list, in their order, at the end of another; the first is then empty.
inline void moveList(ListLink& from, ListLink& to) noexcept {
    if (isListEmpty(from)) {
        return;
    }
    from.next->prev = to.prev;
    to.prev->next = from.next;
    from.prev->next = &to;
    to.prev = from.prev;
    resetList(from);
}

// Takes an element out of the list that it is in.
inline void unlinkFromList(ListLink& element) noexcept {
    element.prev->next = element.next;
    element.next->prev = element.prev;
}

// Empties a list: freeElement(link) frees each element, from the first on.
template <typename FreeElement>
void freeList(ListLink& head, const FreeElement& freeElement) noexcept {
    ListLink* link = head.next;
    while (link != &head) {
        ListLink* next = link->next;
        freeElement(link);
        link = next;
    }
    resetList(head);
}

}  // namespace rs
