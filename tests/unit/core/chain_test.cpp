#include "core/chain.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rs::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Element {
    int number;
    Element* next;
};

std::vector<int> numbersOf(const Element* first) {
    std::vector<int> numbers;
    for (; first != nullptr; first = first->next) {
        numbers.push_back(first->number);
    }
    return numbers;
}

TEST(Chain, AppendsAtItsEnd) {
    Element elements[] = {{1, nullptr}, {2, nullptr}, {3, nullptr}};
    Chain<Element> chain{};
    EXPECT_THAT(numbersOf(chain.first), IsEmpty()) << "zero-filled is empty";
    for (Element& element : elements) {
        chain.append(&element);
        EXPECT_EQ(&element, chain.last);
    }
    EXPECT_THAT(numbersOf(chain.first), ElementsAre(1, 2, 3));
}

TEST(Chain, PushesBeforeItsFirst) {
    Element elements[] = {{1, nullptr}, {2, nullptr}};
    Element* first = nullptr;
    pushToChain(first, &elements[0]);
    pushToChain(first, &elements[1]);
    EXPECT_THAT(numbersOf(first), ElementsAre(2, 1));
}

TEST(Chain, FreesFromTheFirstOnAndIsEmptyThen) {
    Element elements[] = {{1, &elements[1]}, {2, &elements[2]}, {3, nullptr}};
    Element* first = &elements[0];
    std::vector<int> freed;
    freeChain(first, [&freed](Element* element) {
        freed.push_back(element->number);
        element->next = nullptr;  // a freed element is not read again
    });
    EXPECT_THAT(freed, ElementsAre(1, 2, 3));
    EXPECT_EQ(nullptr, first);
}

}  // namespace

}  // namespace rs::test
