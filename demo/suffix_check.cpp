// Checks what the command answered for host names against the list of public suffixes itself, by walking its lines
// from the first to the last. It shares no code with the library nor with what wrote the rules.
//
//     usage: suffix_check LIST KEYS ANSWERS COUNT
//
// The value of an answer is the line of the list: of all suffixes that a name ends in, the one with most labels.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "answers.h"

namespace {

struct Line {
    std::string suffix;  // with a dot in front
    unsigned long number;
    long labels;
};

std::vector<Line> readList(const char* path) {
    std::ifstream file = demo::openAnswers(path);
    std::vector<Line> lines;
    std::string text;
    for (unsigned long number = 1; std::getline(file, text); ++number) {
        if (text.empty() || text[0] == '/' || text[0] == '!') {
            continue;
        }
        std::string suffix = text[0] == '*' ? text.substr(1) : "." + text;
        const long labels = std::count(suffix.begin(), suffix.end(), '.');
        lines.push_back({std::move(suffix), number, labels});
    }
    return lines;
}

std::string plainForm(std::string name) {
    for (char& byte : name) {
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
    }
    if (!name.empty() && name.back() == '.') {
        name.pop_back();
    }
    return name;
}

bool endsIn(const std::string& name, const std::string& suffix) {
    return name.size() > suffix.size() &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

demo::Answer scan(const std::vector<Line>& lines, const std::string& key) {
    const std::string name = plainForm(key);
    const Line* best = nullptr;
    for (const Line& line : lines) {
        if (endsIn(name, line.suffix) && (best == nullptr || line.labels > best->labels)) {
            best = &line;
        }
    }
    return best == nullptr ? demo::Answer{key, 0, 0} : demo::Answer{key, best->number, 1};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        demo::stop("usage: suffix_check LIST KEYS ANSWERS COUNT");
    }
    const std::vector<Line> lines = readList(argv[1]);
    std::ifstream keys = demo::openAnswers(argv[2]);
    std::ifstream answers = demo::openAnswers(argv[3]);
    return demo::report(
        demo::compareAnswers(
            keys, answers, static_cast<uint32_t>(std::stoul(argv[4])),
            [&lines](const std::string& key) { return scan(lines, key); }, demo::hasSameValue),
        "names");
}
