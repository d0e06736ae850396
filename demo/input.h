// What the programs that write rules and keys have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace demo {

constexpr uint64_t SEED = 20240229;

[[noreturn]] inline void fail(const std::string& message) {
    std::fprintf(stderr, "demo: %s\n", message.c_str());
    std::exit(1);
}

// A small generator of our own (splitmix64): the standard distributions may differ between compilers,
// and the demonstration shall print the same figures everywhere.
class Random {
public:
    uint64_t next() {
        state_ += 0x9E3779B97F4A7C15;
        uint64_t word = state_;
        word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9;
        word = (word ^ (word >> 27U)) * 0x94D049BB133111EB;
        return word ^ (word >> 31U);
    }

    bool oneIn(uint64_t count) { return next() % count == 0; }

    template <typename T>
    const T& pick(const std::vector<T>& choices) {
        return choices[static_cast<size_t>(next() % choices.size())];
    }

private:
    uint64_t state_ = SEED;
};

inline std::ofstream create(const std::string& path) {
    std::ofstream file(path);
    if (!file) {
        fail("cannot write " + path);
    }
    return file;
}

inline void finish(std::ofstream& file, const std::string& path) {
    file.close();
    if (!file) {
        fail("cannot write " + path);
    }
}

inline std::ifstream open(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        fail("cannot read " + path);
    }
    return file;
}

// One to twelve letters and digits.
inline std::string randomWord(Random& random) {
    static constexpr char LETTERS[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::string word;
    for (uint64_t count = 1 + random.next() % 12; count > 0; --count) {
        word += LETTERS[random.next() % (sizeof LETTERS - 1)];
    }
    return word;
}

// Some of the ASCII letters in upper case, which means the same in a host.
inline std::string mixedCase(std::string text, Random& random) {
    for (char& byte : text) {
        if (byte >= 'a' && byte <= 'z' && random.oneIn(4)) {
            byte = static_cast<char>(byte - 'a' + 'A');
        }
    }
    return text;
}

}  // namespace demo
