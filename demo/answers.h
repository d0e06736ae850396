// What the programs that check the command's answers have in common.
//
// An answer is a line of KEY TAB RULE TAB PLACE TAB VALUE TAB ID, and a key without a rule has none.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace demo {

struct Answer {
    std::string key;
    unsigned long value = 0;
    unsigned long id = 0;  // 0: no rule
};

struct Tally {
    uint32_t checked = 0;
    uint32_t covered = 0;
    uint32_t differences = 0;
};

constexpr uint32_t SHOWN_DIFFERENCES = 10;

[[noreturn]] inline void stop(const std::string& message) {
    std::fprintf(stderr, "demo: %s\n", message.c_str());
    std::exit(2);
}

inline std::ifstream openAnswers(const char* path) {
    std::ifstream file(path);
    if (!file) {
        stop(std::string("cannot read ") + path);
    }
    return file;
}

inline std::vector<std::string> split(const std::string& line, char separator) {
    std::vector<std::string> fields(1);
    for (const char byte : line) {
        if (byte == separator) {
            fields.emplace_back();
        } else {
            fields.back() += byte;
        }
    }
    return fields;
}

// The next answer of the command; one without a key at the end.
inline Answer nextAnswer(std::istream& file) {
    std::string line;
    if (!std::getline(file, line)) {
        return {};
    }
    const std::vector<std::string> fields = split(line, '\t');
    if (fields.size() != 5) {
        stop("unexpected answer: " + line);
    }
    return {fields[0], std::stoul(fields[3]), std::stoul(fields[4])};
}

// Holds the answers for the first `count` keys against find(key), whose id is 0 for a key without a rule. They are
// the same when isSame(expected, given); two without a rule always are.
template <typename Find, typename IsSame>
Tally compareAnswers(std::istream& keys, std::istream& answers, uint32_t count, const Find& find,
                     const IsSame& isSame) {
    Tally tally;
    Answer answer = nextAnswer(answers);
    for (std::string key; tally.checked < count && std::getline(keys, key); ++tally.checked) {
        const Answer expected = find(key);
        const Answer given = answer.key == key ? answer : Answer{key, 0, 0};
        if (given.id != 0) {
            answer = nextAnswer(answers);
        }
        tally.covered += expected.id != 0 ? 1 : 0;
        if ((expected.id == 0 && given.id == 0) ||
            (expected.id != 0 && given.id != 0 && isSame(expected, given))) {
            continue;
        }
        if (++tally.differences <= SHOWN_DIFFERENCES) {
            std::printf(
                "%s: rule %lu (value %lu) expected, rule %lu (value %lu) answered; 0: none\n",
                key.c_str(), expected.id, expected.value, given.id, given.value);
        }
    }
    return tally;
}

inline bool hasSameValue(const Answer& expected, const Answer& given) {
    return expected.value == given.value;
}

// Prints what was counted; the exit status of the program.
inline int report(const Tally& tally, const char* what) {
    std::printf("%u %s checked (%u covered), %u differences\n", tally.checked, what, tally.covered,
                tally.differences);
    return tally.differences == 0 && tally.checked != 0 ? 0 : 1;
}

}  // namespace demo
