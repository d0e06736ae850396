#include "public_suffixes.h"

#include <ruleset.h>

#include <algorithm>
#include <fstream>
#include <string_view>

#include "random.h"

namespace bench {
namespace {

struct Suffix {
    std::string name;  // without what marks the line
    char mark;         // '!', '*' or ' '
    uint32_t labels;   // of a name that are the suffix
};

uint32_t labelsOf(std::string_view name) {
    return static_cast<uint32_t>(std::count(name.begin(), name.end(), '.')) + 1;
}

Suffix suffixOf(const std::string& line) {
    if (line[0] == '!') {
        return {line.substr(1), '!', labelsOf(line) - 1};
    }
    return line[0] == '*' ? Suffix{line.substr(2), '*', labelsOf(line)}
                          : Suffix{line, ' ', labelsOf(line)};
}

std::vector<Suffix> readSuffixes() {
    std::ifstream file(SUFFIX_LIST);
    std::vector<Suffix> suffixes;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && !line.starts_with("//")) {
            suffixes.push_back(suffixOf(line));
        }
    }
    std::stable_sort(suffixes.begin(), suffixes.end(), [](const Suffix& left, const Suffix& right) {
        const bool isException = left.mark == '!';
        return isException != (right.mark == '!') ? isException : left.labels > right.labels;
    });
    return suffixes;
}

// Calls add with the text of each rule and its number of labels.
template <typename Add>
void forEachRule(const Add& add) {
    for (const Suffix& suffix : readSuffixes()) {
        add(suffix.name, suffix.labels - (suffix.mark == '*' ? 1 : 0));
        add("*." + suffix.name, suffix.labels);
    }
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return byte > 0; });
}

}  // namespace

RuleList makePublicSuffixes(uint32_t /*count*/, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_FQDN, {}, {}, {}};
    forEachRule([&](const std::string& rule, uint32_t /*labels*/) { list.rules.add(rule); });
    return list;
}

std::vector<uint32_t> suffixLabels() {
    std::vector<uint32_t> labels;
    forEachRule([&](const std::string& /*rule*/, uint32_t count) { labels.push_back(count); });
    return labels;
}

TextList suffixKeys(size_t count) {
    const std::vector<Suffix> suffixes = readSuffixes();
    Random random(8);
    TextList keys;
    while (keys.size() < count) {
        const Suffix& suffix = suffixes[random.below(suffixes.size())];
        std::string key = random.below(16) == 0 ? makeName(random.next(), 3) : suffix.name;
        for (uint64_t labels = random.below(3); labels > 0; --labels) {
            key.insert(0, makeName(random.next(), 3).substr(0, 4) + "x.");
        }
        if (isAscii(key) && key.find("..") == std::string::npos) {
            keys.add(key + '\0');
        }
    }
    return keys;
}

}  // namespace bench
