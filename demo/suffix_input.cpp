// Writes wildcard rules from the list of public suffixes, and host names to ask for.
//
//     usage: suffix_input LIST FOLDER
//
//     LIST              com                     names end in it
//                       *.ck                    names end in it below any label: said as for "ck"
//                       !www.ck                 an exception: cannot be said by a rule that covers
//                       // comment
//
//     name_rules.txt    *.co.uk TAB 7 TAB 1     rule, value, id: the value is the line of the list. The suffixes
//                       *.uk    TAB 3 TAB 2     with most labels come first, because the earliest rule wins
//     name_keys.txt     one name a line
//
// Prints the numbers of rules, exceptions and names.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "input.h"

namespace {

constexpr uint32_t KEY_COUNT = 200'000;

struct Suffix {
    std::string name;
    uint32_t line;

    auto labels() const { return std::count(name.begin(), name.end(), '.') + 1; }
};

struct Suffixes {
    std::vector<Suffix> rules;
    uint32_t exceptions = 0;
};

Suffixes readSuffixes(const std::string& path) {
    std::ifstream file = demo::open(path);
    Suffixes result;
    std::string line;
    for (uint32_t number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line.compare(0, 2, "//") == 0) {
            continue;
        }
        if (line[0] == '!') {
            ++result.exceptions;
        } else {
            result.rules.push_back({line.compare(0, 2, "*.") == 0 ? line.substr(2) : line, number});
        }
    }
    std::stable_sort(
        result.rules.begin(), result.rules.end(),
        [](const Suffix& left, const Suffix& right) { return left.labels() > right.labels(); });
    return result;
}

// A name at the end of a suffix, or near one.
std::string nextName(const std::vector<Suffix>& suffixes, demo::Random& random) {
    const std::string& suffix = random.pick(suffixes).name;
    const std::string word = demo::randomWord(random);
    switch (random.next() % 8) {
        case 0:
            return suffix;  // itself, which only a shorter suffix covers
        case 1:
            return word + suffix;  // not at a label's border
        case 2:
            return suffix + "." + word;
        case 3:
            return word + "." + demo::randomWord(random) + "." + suffix + ".";
        default:
            return word + "." + suffix;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        demo::fail("usage: suffix_input LIST FOLDER");
    }
    const Suffixes suffixes = readSuffixes(argv[1]);
    const std::string rulesPath = std::string(argv[2]) + "/name_rules.txt";
    const std::string keysPath = std::string(argv[2]) + "/name_keys.txt";
    std::ofstream rules = demo::create(rulesPath);
    uint32_t id = 0;
    for (const Suffix& suffix : suffixes.rules) {
        rules << "*." << suffix.name << '\t' << suffix.line << '\t' << ++id << '\n';
    }
    demo::finish(rules, rulesPath);
    std::ofstream keys = demo::create(keysPath);
    demo::Random random;
    for (uint32_t left = KEY_COUNT; left > 0; --left) {
        keys << demo::mixedCase(nextName(suffixes.rules, random), random) << '\n';
    }
    demo::finish(keys, keysPath);
    std::printf("%zu %u %u\n", suffixes.rules.size(), suffixes.exceptions, KEY_COUNT);
    return 0;
}
