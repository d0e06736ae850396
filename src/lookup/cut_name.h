// A name cut into its suffixes, and one hash for each of them.
//
//     WIRE      3 web 7 example 3 com            DOTTED    web.example.com
//               |     |         |                          |   |       |
//     starts    0     4         12    16                   0   4       12   15
//
//     words                4 example 3 com                    e.com
//                     3 web 7                            web.exampl          8 bytes each, from the right
//
// The words are hashed in one chain from the right. The hash of a suffix is made of the part of one word that is in
// it, and of the words after that. So the hashes of suffixes do not wait for each other, and take one multiplication
// each. The same words are what a table stores of a name: comparing takes no step a byte.
//
// A name of the wire form is cut when its labels end where it ends and none of them but the first is empty: no other
// name has a suffix that a rule can have. A dotted name may be anything: a suffix begins after each dot that has a
// byte after it.
//
// Invariants: equal bytes are cut alike and have equal hashes, whatever is before them in the name.
// Ownership:  a CutName borrows the bytes of the name, and is not to be copied: short names are in it.
// Threads:    none of its own: values in, values out.
// Cost:       a few steps a label; of a long name, only the end that a rule may have is cut.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "lookup/hash_seed.h"

namespace rs {

enum class NameForm : uint32_t {
    WIRE,  // without the final zero byte
    DOTTED,
};

// Longer names are in no table.
inline constexpr uint32_t LONGEST_WIRE_NAME = 256;
inline constexpr uint32_t LONGEST_DOTTED_NAME = 255;
inline constexpr uint32_t MOST_SUFFIXES = 256;

struct CutName {
    const char* bytes;  // of the longest suffix that a table may have
    uint32_t length;
    uint32_t count;                      // of suffixes
    uint32_t isWhole;                    // 1: the first suffix is the name itself
    uint16_t starts[MOST_SUFFIXES + 1];  // of the suffixes, the longest first; then the end
    char shortBytes[8];  // the bytes of a name of fewer than 8, which are read as one word
};

// The bytes of a cut name, read as words of 8. Bytes before the name are 0, and none after it is read.
class NameWords {
public:
    static_assert(std::endian::native == std::endian::little,
                  "the first byte of a word is its lowest");

    explicit NameWords(const CutName& cut) noexcept
        : bytes_(cut.length < sizeof cut.shortBytes ? cut.shortBytes : cut.bytes) {}

    // The 8 bytes from start on, of a name that has as many there.
    [[nodiscard]] uint64_t bytesFrom(uint32_t start) const noexcept {
        uint64_t word = 0;
        std::memcpy(&word, bytes_ + start, sizeof word);
        return word;
    }

    // The 8 bytes before end, which is not 0.
    [[nodiscard]] uint64_t lastBytes(uint32_t end) const noexcept {
        const uint32_t there = std::min(end, 8U);
        return bytesFrom(end - there) << (64 - 8 * there);
    }

private:
    const char* bytes_;
};

inline void copyShortBytes(CutName& cut) noexcept {
    if (cut.length < sizeof cut.shortBytes) {
        std::memset(cut.shortBytes, 0, sizeof cut.shortBytes);
        std::copy_n(cut.bytes, cut.length, cut.shortBytes);  // no bytes may be a null pointer
    }
}

// Where the suffixes of a name start. False, with a part of the name cut, for one that has no suffix of the form.
[[nodiscard]] inline bool cutWireName(const char* name, uint32_t length, CutName& cut) noexcept {
    uint32_t skipped = 0;
    uint32_t shortestLabel = 1;
    while (length - skipped > LONGEST_WIRE_NAME) {
        const auto label = static_cast<uint8_t>(name[skipped]);
        shortestLabel = skipped == 0 || label != 0 ? shortestLabel : 0;
        skipped += label + 1U;
    }
    const char* bytes = name + skipped;
    const uint32_t end = length - skipped;
    uint32_t start = 0;
    uint32_t count = 0;
    if (skipped == 0 && end != 0) {
        cut.starts[count++] = 0;
        start = static_cast<uint8_t>(bytes[0]) + 1U;
    }
    while (start < end) {
        const uint32_t label = static_cast<uint8_t>(bytes[start]);
        cut.starts[count++] = static_cast<uint16_t>(start);
        shortestLabel = std::min(shortestLabel, label);
        start += label + 1;
    }
    cut.starts[count] = static_cast<uint16_t>(start);
    cut.bytes = bytes;
    cut.length = end;
    cut.count = count;
    cut.isWhole = skipped == 0 ? 1 : 0;
    copyShortBytes(cut);
    return count != 0 && start == end && shortestLabel != 0;
}

// A word whose bytes are 0x80 where those of the given word are dots, and 0 elsewhere.
constexpr uint64_t findDots(uint64_t word) noexcept {
    constexpr uint64_t LOW_BITS = 0x7F7F7F7F7F7F7F7F;
    const uint64_t zeroAtDots = word ^ 0x2E2E2E2E2E2E2E2E;
    return ~(((zeroAtDots & LOW_BITS) + LOW_BITS) | zeroAtDots | LOW_BITS);
}

// As cutWireName, for a dotted name.
[[nodiscard]] inline bool cutDottedName(const char* name, uint32_t length, CutName& cut) noexcept {
    uint32_t skipped = 0;
    if (length > LONGEST_DOTTED_NAME) {
        const char* searched = name + (length - LONGEST_DOTTED_NAME - 1);
        const void* dot = std::memchr(searched, '.', LONGEST_DOTTED_NAME);
        if (dot == nullptr) {
            return false;
        }
        skipped = static_cast<uint32_t>(static_cast<const char*>(dot) - name) + 1;
    }
    cut.bytes = name + skipped;
    cut.length = length - skipped;
    cut.isWhole = skipped == 0 ? 1 : 0;
    cut.starts[0] = 0;
    cut.count = length == 0 ? 0 : 1;
    copyShortBytes(cut);
    const NameWords words(cut);
    for (uint32_t start = 0; start < cut.length; start += 8) {
        const uint32_t end = std::min(start + 8, cut.length);
        const uint64_t word = words.lastBytes(end) >> (64 - 8 * (end - start));
        for (uint64_t dots = findDots(word); dots != 0; dots &= dots - 1) {
            const uint32_t dot = start + static_cast<uint32_t>(std::countr_zero(dots)) / 8;
            cut.starts[cut.count] = static_cast<uint16_t>(dot + 1);
            cut.count += dot + 1 < cut.length ? 1 : 0;
        }
    }
    cut.starts[cut.count] = static_cast<uint16_t>(cut.length);
    return cut.length != 0;
}

[[nodiscard]] inline bool cutName(NameForm form, const char* name, uint32_t length,
                                  CutName& cut) noexcept {
    return form == NameForm::WIRE ? cutWireName(name, length, cut)
                                  : cutDottedName(name, length, cut);
}

struct NameWord {
    char bytes[8];
};

// A name of as many words takes no loop. Most names are no longer.
inline constexpr uint32_t USUAL_WORDS = 4;

// The words of a name, and the hashes of its suffixes. One pass makes both, and looks for capitals.
class SuffixHashes {
public:
    // Of 1 to 256 bytes. 8 bytes are read of a shorter name, too.
    SuffixHashes(const char* bytes, uint32_t length, const HashSeed& seed) noexcept
        : before_(LONGEST_WIRE_NAME - length), factor_(seed.right) {
        const uint64_t chainFactor = seed.left + seed.right;
        uint64_t hash = seed.left;
        const auto add = [&](uint32_t i) noexcept {
            const uint32_t end = WORD * (i + 1);
            const uint64_t word = readWord(bytes + (length > end ? length - end : 0));
            capitals_ |= word & ~(word << 1U);
            words_[WORDS - 1 - i] = word;
            hashes_[WORDS - 1 - i] = hash;
            hash = mixHash(hash ^ word, chainFactor);
        };
        for (uint32_t i = 0; i < USUAL_WORDS; ++i) {
            add(i);
        }
        for (uint32_t i = USUAL_WORDS; WORD * i < length; ++i) {
            add(i);
        }
        std::fill_n(words_ + WORDS, USUAL_WORDS - 1, 0);
        // Of the first word, some bytes are before the name.
        words_[before_ / WORD] = readWord(bytes) << before_ * 8 % 64;
    }

    explicit SuffixHashes(const CutName& cut, const HashSeed& seed) noexcept
        : SuffixHashes(cut.length < WORD ? cut.shortBytes : cut.bytes, cut.length, seed) {}

    // False for most names without capitals, and never for one with them: in ASCII these have bit 6 and not bit 5, and
    // so have '@', '[' to '_' and the lengths 64 to 95.
    [[nodiscard]] bool mayHaveCapitals() const noexcept {
        return (capitals_ & 0x4040404040404040) != 0;
    }

    // Of the suffix from start on.
    [[nodiscard]] uint64_t of(uint32_t start) const noexcept {
        const uint32_t place = before_ + start;
        return mixHash(hashes_[place / WORD] ^ firstWord(place), factor_ ^ place);
    }

    // Whether the suffix is the name that was written there by writeName, whose length it has. At least
    // USUAL_WORDS words are read there.
    [[nodiscard]] bool isSuffix(uint32_t start, const NameWord* text) const noexcept {
        const uint32_t place = before_ + start;
        const uint32_t first = place / WORD;
        uint64_t difference = firstWord(place) ^ readWord(text[0].bytes);
        for (uint32_t i = 1; i < USUAL_WORDS; ++i) {
            difference |= (words_[first + i] ^ readWord(text[i].bytes)) & WORDS_OF_NAME[first + i];
        }
        return difference == 0 && (first + USUAL_WORDS >= WORDS ||
                                   areLastWords(first + USUAL_WORDS, text + USUAL_WORDS));
    }

    // Writes the name as words, the first of which has zero bytes at its end.
    void writeName(NameWord* out) const noexcept {
        const uint64_t word = firstWord(before_);
        const uint32_t first = before_ / WORD;
        std::memcpy(out, &word, WORD);
        std::memcpy(out + 1, words_ + first + 1, size_t{WORDS - 1 - first} * WORD);
    }

private:
    static constexpr uint32_t WORD = sizeof(NameWord);
    static constexpr uint32_t WORDS = LONGEST_WIRE_NAME / WORD;

    // All bits of the words that a name has, 0 for those after its end.
    static constexpr std::array<uint64_t, WORDS + USUAL_WORDS - 1> WORDS_OF_NAME = [] {
        std::array<uint64_t, WORDS + USUAL_WORDS - 1> words{};
        std::fill_n(words.begin(), WORDS, UINT64_MAX);
        return words;
    }();

    static uint64_t readWord(const char* bytes) noexcept {
        uint64_t word = 0;
        std::memcpy(&word, bytes, WORD);
        return word;
    }

    // Of the word with this place, the bytes from there on.
    [[nodiscard]] uint64_t firstWord(uint32_t place) const noexcept {
        return words_[place / WORD] >> place * 8 % 64;
    }

    // Whether the words from that one on are the text's.
    [[nodiscard, gnu::noinline]] bool areLastWords(uint32_t first,
                                                   const NameWord* text) const noexcept {
        return std::memcmp(words_ + first, text, size_t{WORDS - first} * WORD) == 0;
    }

    uint32_t before_;  // bytes of the words before the name
    uint64_t capitals_ = 0;
    uint64_t factor_;
    // The words end where the name ends. Those after it are 0.
    uint64_t words_[WORDS + USUAL_WORDS - 1];
    uint64_t hashes_[WORDS];  // of what comes after the word
};

// The bytes of a name of SuffixHashes::writeName.
inline void readName(const NameWord* words, uint32_t length, char* out) noexcept {
    const uint32_t firstLength = (length - 1) % sizeof(NameWord) + 1;
    std::memcpy(out, words, firstLength);
    std::memcpy(out + firstLength, words + 1, length - firstLength);
}

// The hash of the whole of a cut name, or of its longest suffix that a table may have.
[[nodiscard]] inline uint64_t hashCutName(const CutName& cut, const HashSeed& seed) noexcept {
    return SuffixHashes(cut, seed).of(0);
}

}  // namespace rs
