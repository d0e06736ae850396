#include "lookup/flat_names_ahead.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

// A label in wire form.
std::string label(std::string_view text) {
    return static_cast<char>(text.size()) + std::string(text);
}

const std::string EXAMPLE = label("example") + label("com");
const std::string HOSTS = label("hosts") + label("test");

// example.com answers 1 itself and 2 for the names under it; hosts.test answers 3 itself.
OwnedFlatNames build() {
    return OwnedFlatNames(buildFlatNames(
        NameForm::WIRE, 2,
        [](const auto& add) {
            return add({EXAMPLE.data(), size32(EXAMPLE), 1, 2}) &&
                   add({HOSTS.data(), size32(HOSTS), 3, NO_RECORD});
        },
        [](uint32_t own, uint32_t /*inherited*/) { return own; }));
}

using Numbers = std::vector<uint32_t>;

// What the user is asked to prefetch for a name.
Numbers prefetched(std::string_view name) {
    const OwnedFlatNames names = build();
    const ExactText text(name);
    NameAhead ahead;
    ahead.prefetchFilter(*names, text.data(), text.size());
    ahead.prefetchLine(*names);
    Numbers numbers;
    ahead.prefetchText(*names, [&](uint32_t number) { numbers.push_back(number); });
    return numbers;
}

TEST(NameAhead, AsksForWhatTheNameItselfAnswers) {
    EXPECT_EQ(Numbers{1}, prefetched(EXAMPLE));
    EXPECT_EQ(Numbers{3}, prefetched(HOSTS));
}

TEST(NameAhead, AsksForWhatASuffixAnswers) {
    EXPECT_EQ(Numbers{2}, prefetched(label("web") + EXAMPLE));
    EXPECT_EQ(Numbers{2}, prefetched(label("mail") + label("web") + EXAMPLE));
}

TEST(NameAhead, AsksForNothingThatTheTableDoesNotSay) {
    EXPECT_EQ(Numbers{}, prefetched(label("web") + HOSTS));
    EXPECT_EQ(Numbers{}, prefetched(label("unknown") + label("org")));
}

TEST(NameAhead, AsksForTheLongestSuffixesOfANameWithMany) {
    EXPECT_EQ(Numbers{2}, prefetched(repeat(label("a"), 6) + EXAMPLE));
    EXPECT_EQ(Numbers{}, prefetched(repeat(label("a"), 100) + EXAMPLE));
}

TEST(NameAhead, AsksForNothingWhenItIsSkipped) {
    const OwnedFlatNames names = build();
    NameAhead ahead;
    ahead.skip();
    ahead.prefetchLine(*names);
    ahead.prefetchText(*names, [](uint32_t number) { ADD_FAILURE() << number; });
}

}  // namespace

}  // namespace rs::test
