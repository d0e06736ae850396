// Circular doubly linked lists whose head is a link like those of the elements.
//
//     head <-> element <-> element <-> head          empty: head <-> head
//
// An element holds a ListLink. The list owns nothing: whoever links an element frees it.
#pragma once

namespace rs {

struct ListLink {
    ListLink* next;  // borrowed, like prev
    ListLink* prev;
};

inline void resetList(ListLink& head) noexcept {
    head.next = &head;
    head.prev = &head;
}

[[nodiscard]] inline bool isListEmpty(const ListLink& head) noexcept {
    return head.next == &head;
}

inline void appendToList(ListLink& head, ListLink& element) noexcept {
    element.next = &head;
    element.prev = head.prev;
    head.prev->next = &element;
    head.prev = &element;
}

inline void unlinkFromList(ListLink& element) noexcept {
    element.prev->next = element.next;
    element.next->prev = element.prev;
}

// Takes the first element off; null when the list is empty.
[[nodiscard]] inline ListLink* takeFirst(ListLink& head) noexcept {
    if (isListEmpty(head)) {
        return nullptr;
    }
    ListLink* first = head.next;
    unlinkFromList(*first);
    return first;
}

}  // namespace rs
