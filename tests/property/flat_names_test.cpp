// The flat lookup of names against the walk over the suffixes of a name, one by one.
#include "lookup/flat_names.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/random_source.h"
#include "support/text.h"

namespace rs::test {

namespace {

struct Numbers {
    uint32_t whole = NO_RECORD;
    uint32_t below = NO_RECORD;
};

using Names = std::map<std::string, Numbers, std::less<>>;

// What a walk from the longest suffix on finds, written as lookups of names were before there were flat ones. The
// smallest number wins.
class Walk {
public:
    Walk(NameForm form, const Names& names) : form_(form), names_(names) {}

    uint32_t find(std::string_view name) const {
        uint32_t best = wholeOf(name);
        if (form_ == NameForm::DOTTED) {
            for (size_t dot = name.find('.');
                 dot != std::string_view::npos && dot + 1 < name.size(); dot = name.find('.')) {
                name.remove_prefix(dot + 1);
                best = std::min(best, belowOf(name));
            }
            return best;
        }
        for (;;) {
            const size_t label = static_cast<uint8_t>(name.empty() ? 0 : name[0]) + size_t{1};
            if (label + 2 > name.size() || name[label] == 0) {
                return best;
            }
            name.remove_prefix(label);
            best = std::min(best, belowOf(name));
        }
    }

private:
    Numbers of(std::string_view name) const {
        const auto found = names_.find(name);
        const uint32_t longest = form_ == NameForm::WIRE ? LONGEST_WIRE_NAME : LONGEST_DOTTED_NAME;
        return found == names_.end() || name.size() > longest ? Numbers{} : found->second;
    }
    uint32_t wholeOf(std::string_view name) const { return of(name).whole; }
    uint32_t belowOf(std::string_view name) const { return of(name).below; }

    NameForm form_;
    const Names& names_;
};

// Few labels, so that many names are suffixes of others; sometimes long ones, and many.
std::string randomLabel(RandomSource& random) {
    static const std::vector<std::string> LABELS = {"a",
                                                    "b",
                                                    "com",
                                                    "example",
                                                    "exactly8",
                                                    "ninebytes",
                                                    "sixteen-bytes-ok",
                                                    "seventeen-bytes-o"};
    if (random.oneIn(30)) {
        return std::string(static_cast<size_t>(random.between(1, 80)), 'l');
    }
    return random.pick(LABELS);
}

std::string randomName(NameForm form, RandomSource& random) {
    std::string name;
    const uint64_t count = random.oneIn(40) ? random.between(1, 140) : random.between(1, 5);
    for (uint64_t i = 0; i < count; ++i) {
        const std::string label = random.oneIn(3) || count > 5 ? "a" : randomLabel(random);
        if (form == NameForm::WIRE) {
            name += static_cast<char>(label.size());
        } else {
            name += i == 0 ? "" : ".";
        }
        name += label;
    }
    return name;
}

// A name of rules that is changed somewhere, or put under another one.
std::string nameNear(NameForm form, const std::vector<std::string>& known, RandomSource& random) {
    std::string name = random.oneIn(4) ? randomName(form, random) : random.pick(known);
    if (random.oneIn(2)) {
        name = randomName(form, random) + (form == NameForm::WIRE ? "" : ".") + name;
    }
    while (!name.empty() && random.oneIn(3)) {
        static const std::vector<char> BYTES = {'.', '\0', '\1', '\2', '\x7F', '\xFF', 'a'};
        const auto place = static_cast<size_t>(random.below(name.size()));
        switch (random.below(3)) {
            case 0:
                name[place] = random.pick(BYTES);
                break;
            case 1:
                name.insert(place, 1, random.pick(BYTES));
                break;
            default:
                name.erase(place, 1);
        }
    }
    return name;
}

bool isWellFormed(NameForm form, std::string_view name) {
    while (form == NameForm::WIRE && !name.empty()) {
        const size_t label = static_cast<uint8_t>(name[0]) + size_t{1};
        if (label == 1 || label > name.size()) {
            return false;
        }
        name.remove_prefix(label);
    }
    return true;
}

// Rules are well-formed in wire form; dotted hosts may be anything.
Names randomNames(NameForm form, RandomSource& random) {
    Names names;
    std::vector<std::string> known = {form == NameForm::WIRE ? "\3com" : "com"};
    const uint64_t count = random.between(1, random.oneIn(10) ? 500 : 20);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string name = nameNear(form, known, random);
        if (name.empty() || !isWellFormed(form, name)) {
            continue;
        }
        known.push_back(name);
        Numbers& numbers = names[name];
        (random.oneIn(2) ? numbers.whole : numbers.below) = random.below32(1000);
        if (random.oneIn(4)) {
            numbers = {random.below32(1000), random.below32(1000)};
        }
    }
    return names;
}

OwnedFlatNames build(NameForm form, const Names& names) {
    return OwnedFlatNames(buildFlatNames(
        form, names.size(),
        [&names](const auto& add) {
            return std::all_of(names.begin(), names.end(), [&add](const auto& entry) {
                const ExactText text(entry.first);
                return add({text.data(), text.size(), entry.second.whole, entry.second.below});
            });
        },
        [](uint32_t own, uint32_t inherited) { return std::min(own, inherited); }));
}

}  // namespace

TEST(FlatNamesProperty, AgreeWithTheWalk) {
    forEachCase(3000, [](RandomSource& random) {
        const NameForm form = random.oneIn(2) ? NameForm::WIRE : NameForm::DOTTED;
        const Names names = randomNames(form, random);
        if (names.empty()) {
            return;
        }
        const OwnedFlatNames flat = build(form, names);
        ASSERT_NE(nullptr, flat);
        const Walk walk(form, names);
        std::vector<std::string> known;
        for (const auto& entry : names) {
            known.push_back(entry.first);
            EXPECT_EQ(walk.find(entry.first),
                      findFlatName(*flat, entry.first.data(), size32(entry.first)));
        }
        for (int i = 0; i < 40; ++i) {
            const std::string name = nameNear(form, known, random);
            const ExactText text(name);
            EXPECT_EQ(walk.find(name), findFlatName(*flat, text.data(), text.size()))
                << ::testing::PrintToString(name);
        }
    });
}

}  // namespace rs::test
