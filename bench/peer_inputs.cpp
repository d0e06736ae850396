// Writes the files that whole commands are measured with: scripts/bench_commands.py runs this.
//
//     peer_inputs FOLDER RANGES ADDRESSES NAMES LINES
//
//     ranges.txt         10.0.16.0-10.0.16.201     disjoint IPv4 ranges
//     addresses.txt      10.0.16.77                half lie inside of a range, half outside of all
//     names.txt          *.kuramo.com              rules for the names below
//     words.txt          kuramo.com                the same names, as grep takes them
//     lines.txt          www.kuramo.com            half are below a name of the list
//
// In no line is a word of the list anywhere but at the end: there "the line has the word" and "the name is below the
// name of the rule" mean the same.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "handles.h"
#include "keys.h"
#include "lists.h"

namespace {

using namespace bench;

class OutputFile {
public:
    explicit OutputFile(const std::string& path) : file_(std::fopen(path.c_str(), "we")) {
        require(file_ != nullptr, path.c_str());
    }
    ~OutputFile() { require(std::fclose(file_) == 0, "a file is not written"); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void add(std::string_view line) {
        require(std::fwrite(line.data(), 1, line.size(), file_) == line.size() &&
                    std::fputc('\n', file_) == '\n',
                "a file is not written");
    }

private:
    std::FILE* file_;
};

RuleList makeList(const char* kind, uint32_t count) {
    const ListKind* found = findListKind(kind);
    require(found != nullptr, "no such list");
    return found->make(count, "");
}

// Each key is written several times, so that ten million lines need not ten million keys in memory.
template <typename Write>
void writeInTurn(uint32_t count, size_t keys, const Write& write) {
    for (uint32_t i = 0; i < count; ++i) {
        write(i % 2 == 0, i / 2 % keys);
    }
}

constexpr size_t DIFFERENT_KEYS = size_t{1} << 20U;

void writeAddresses(const std::string& folder, uint32_t rangeCount, uint32_t addressCount) {
    const RuleList list = makeList("ipv4_ranges", rangeCount);
    OutputFile ranges(folder + "/ranges.txt");
    std::vector<Interval<Ipv4>> sorted = list.ipv4;
    for (size_t i = 0; i < list.rules.size(); ++i) {
        ranges.add(list.rules[i]);
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const auto& left, const auto& right) { return left.first < right.first; });
    const auto isCovered = [&](Ipv4 address) {
        const auto next = std::upper_bound(
            sorted.begin(), sorted.end(), address,
            [](Ipv4 key, const Interval<Ipv4>& range) { return key < range.first; });
        return next != sorted.begin() && address <= (next - 1)->last;
    };
    const std::vector<Ipv4> hits = addressHits(list.ipv4, DIFFERENT_KEYS);
    const std::vector<Ipv4> misses = addressMisses(list.ipv4, DIFFERENT_KEYS, isCovered);
    OutputFile addresses(folder + "/addresses.txt");
    writeInTurn(addressCount, DIFFERENT_KEYS,
                [&](bool isHit, size_t i) { addresses.add(textOf(isHit ? hits[i] : misses[i])); });
}

// A name that has a name of the list somewhere else than at its end, as "a-kuramo.com" has, is no line.
void writeNames(const std::string& folder, uint32_t nameCount, uint32_t lineCount) {
    const RuleList list = makeList("names", nameCount);
    OutputFile names(folder + "/names.txt");
    OutputFile words(folder + "/words.txt");
    std::unordered_set<std::string_view> known;
    for (size_t i = 0; i < list.rules.size(); ++i) {
        names.add(list.rules[i]);
        words.add(list.rules[i].substr(2));
        known.insert(list.rules[i].substr(2));
    }
    const auto isBelow = [&](std::string_view name) {
        for (size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.')) {
            name.remove_prefix(dot + 1);
            if (known.contains(name)) {
                return true;
            }
        }
        return false;
    };
    const TextList hits = nameHits(list.rules, DIFFERENT_KEYS);
    const TextList misses = withoutCovered(
        nameMissCandidates({}, DIFFERENT_KEYS),
        [&](std::string_view name) { return known.contains(name) || isBelow(name); });
    OutputFile lines(folder + "/lines.txt");
    writeInTurn(lineCount, misses.size(),
                [&](bool isHit, size_t i) { lines.add(isHit ? hits[i] : misses[i]); });
}

uint32_t numberOfText(const char* text) {
    return static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 6) {
        std::fprintf(stderr, "usage: peer_inputs FOLDER RANGES ADDRESSES NAMES LINES\n");
        return 2;
    }
    writeAddresses(arguments[1], numberOfText(arguments[2]), numberOfText(arguments[3]));
    writeNames(arguments[1], numberOfText(arguments[4]), numberOfText(arguments[5]));
    return EXIT_SUCCESS;
}
