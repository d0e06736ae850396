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
// each.
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
#include <bit>
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

// Most names have at most as many words: that these take no branch is worth more than the words not taken.
inline constexpr uint32_t USUAL_WORDS = 4;

// The hashes of the suffixes of a name of at most WordCount words.
template <uint32_t WordCount>
class WordHashes {
public:
    static constexpr uint32_t WORD = 8;

    // bytesFrom(start) is the word that begins there.
    template <typename BytesFrom>
    WordHashes(uint32_t length, const HashSeed& seed, const BytesFrom& bytesFrom) noexcept
        : length_(length), factor_(seed.right) {
        const uint64_t chainFactor = seed.left + seed.right;
        uint64_t hash = seed.left;
        const auto add = [&](uint32_t i) noexcept {
            const uint32_t end = WORD * (i + 1);
            const uint64_t word = bytesFrom(length > end ? length - end : 0);
            words_[i] = {word, hash};
            hash = mixHash(hash ^ word, chainFactor);
        };
        for (uint32_t i = 0; i < USUAL_WORDS; ++i) {
            add(i);
        }
        for (uint32_t i = USUAL_WORDS; i < WordCount && WORD * i < length; ++i) {
            add(i);
        }
        // Of the first word, some bytes are before the name.
        words_[(length - 1) / WORD].bytes = bytesFrom(0) << ((0U - length) % WORD * 8);
    }

    // Of the suffix from start on.
    [[nodiscard]] uint64_t of(uint32_t start) const noexcept {
        const uint32_t length = length_ - start;
        const Word& word = words_[(length - 1) / WORD];
        // Of its first word, the bytes that are in the suffix are the highest.
        const uint64_t first = word.bytes >> (0U - length * 8) % 64;
        return mixHash(word.hashAfter ^ first, factor_ ^ length);
    }

private:
    struct Word {
        uint64_t bytes;
        uint64_t hashAfter;  // of the words after it
    };

    uint32_t length_;
    uint64_t factor_;
    Word words_[WordCount];  // of the name, the last first
};

// The hashes of the suffixes of a cut name.
class SuffixHashes : public WordHashes<LONGEST_WIRE_NAME / 8> {
public:
    SuffixHashes(const CutName& cut, const HashSeed& seed) noexcept
        : WordHashes(cut.length, seed, [words = NameWords(cut)](uint32_t start) noexcept {
              return words.bytesFrom(start);
          }) {}
};

// The same of a name that is not cut, and has as many bytes as most names have: all of its words are read without a
// branch.
class UsualSuffixHashes : public WordHashes<USUAL_WORDS> {
public:
    [[nodiscard]] static bool isUsual(uint32_t length) noexcept {
        return length - WORD <= WORD * (USUAL_WORDS - 1);
    }

    UsualSuffixHashes(const char* name, uint32_t length, const HashSeed& seed) noexcept
        : WordHashes(length, seed, [name](uint32_t start) noexcept {
              uint64_t word = 0;
              std::memcpy(&word, name + start, sizeof word);
              return word;
          }) {}
};

// The hash of the whole of a cut name, or of its longest suffix that a table may have.
[[nodiscard]] inline uint64_t hashCutName(const CutName& cut, const HashSeed& seed) noexcept {
    return SuffixHashes(cut, seed).of(0);
}

}  // namespace rs
