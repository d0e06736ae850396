#include "core/list.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace rs::test {

namespace {

TEST(List, IsEmptyAtFirst) {
    ListLink head;
    resetList(head);
    EXPECT_TRUE(isListEmpty(head));
    EXPECT_EQ(&head, head.next);
    EXPECT_EQ(&head, head.prev);
}

TEST(List, AppendsAtTheTail) {
    ListLink head;
    ListLink elements[3];
    resetList(head);
    for (ListLink& element : elements) {
        appendToList(head, element);
    }
    EXPECT_FALSE(isListEmpty(head));
    const ListLink* ring[] = {&head, &elements[0], &elements[1], &elements[2], &head};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(ring[i + 1], ring[i]->next) << i;
        EXPECT_EQ(ring[i], ring[i + 1]->prev) << i;
    }
}

TEST(List, MovesItsElementsAfterThoseOfAnother) {
    for (const int before : {0, 1, 2}) {
        for (const int moved : {0, 1, 2}) {
            SCOPED_TRACE(std::to_string(moved) + " after " + std::to_string(before));
            ListLink to;
            ListLink from;
            ListLink elements[4];
            resetList(to);
            resetList(from);
            for (int i = 0; i < before + moved; ++i) {
                appendToList(i < before ? to : from, elements[i]);
            }
            moveList(from, to);
            EXPECT_TRUE(isListEmpty(from));
            EXPECT_EQ(&from, from.prev);
            const ListLink* last = &to;
            for (int i = 0; i < before + moved; ++i) {
                EXPECT_EQ(&elements[i], last->next) << i;
                EXPECT_EQ(last, elements[i].prev) << i;
                last = &elements[i];
            }
            EXPECT_EQ(&to, last->next);
            EXPECT_EQ(last, to.prev);
        }
    }
}

TEST(List, FreesItsElementsInOrder) {
    ListLink head;
    ListLink elements[2];
    resetList(head);
    appendToList(head, elements[0]);
    appendToList(head, elements[1]);
    std::vector<ListLink*> freed;
    freeList(head, [&freed](ListLink* element) noexcept {
        *element = {nullptr, nullptr};  // what is freed is not read again
        freed.push_back(element);
    });
    EXPECT_EQ((std::vector<ListLink*>{&elements[0], &elements[1]}), freed);
    EXPECT_TRUE(isListEmpty(head));
    EXPECT_EQ(&head, head.prev);
}

TEST(List, UnlinksAnElementFromTheMiddle) {
    ListLink head;
    ListLink elements[3];
    resetList(head);
    for (ListLink& element : elements) {
        appendToList(head, element);
    }
    unlinkFromList(elements[1]);
    EXPECT_EQ(&elements[2], elements[0].next);
    EXPECT_EQ(&elements[0], elements[2].prev);
    unlinkFromList(elements[2]);
    EXPECT_EQ(&elements[0], head.prev);
}

}  // namespace

}  // namespace rs::test
