#include "domain/domain_match.h"

#include <algorithm>
#include <cstring>

#include "core/entry.h"
#include "core/scratch.h"
#include "core/text_buffer.h"
#include "domain/host_name.h"
#include "domain/plain_name.h"
#include "lookup/chain_blocks.h"
#include "lookup/flat_names.h"
#include "syntax/ascii.h"

namespace rs {

namespace {

// Names of ordinary length are handled on the stack.
using NameScratch = Scratch<size_t{MAX_TEXT_BUFFER} + 2>;
using WireScratch = Scratch<512>;

// The entry of a sorted block for a name, of the earliest rule if there are several.
const DomainEntry* findInBlock(const ChainBlock<DomainEntry>& block,
                               const HashedName& name) noexcept {
    const DomainEntry* entry = lowerBound(block, [&name](const DomainEntry& node) noexcept {
        return compareHashedNames(nameOf(node), name);
    });
    const DomainEntry* best = nullptr;
    for (; entry != nullptr && entry != block.first + block.count &&
           compareHashedNames(nameOf(*entry), name) == 0;
         ++entry) {
        best = earlier(best, entry);
    }
    return best;
}

void* findInDomainBucket(HashBucket* bucket, uint32_t /*hash*/, const void* key) noexcept {
    const auto& name = *static_cast<const HashedName*>(key);
    for (auto block = firstBlock(static_cast<DomainEntry*>(bucket->chain)); block.first != nullptr;
         block = nextBlock(block)) {
        const DomainEntry* found = findInBlock(block, name);
        if (found != nullptr) {
            return const_cast<DomainEntry*>(found);
        }
    }
    return nullptr;
}

// No rule's name is longer than MAX_HOST_LENGTH: suffixes that are need not be hashed, which would cost
// the square of the length of a name of many labels.
const DomainEntry* findName(const HashTable* table, const char* wireName,
                            uint32_t wireLength) noexcept {
    if (table == nullptr || wireLength > MAX_HOST_LENGTH + 1) {
        return nullptr;
    }
    const HashedName name{wireName, wireLength, hashWireName(wireName, wireLength)};
    return static_cast<const DomainEntry*>(hashLookup(table, name.hash, &name, findInDomainBucket));
}

// The earliest wildcard rule for any suffix of a name but the name itself.
const DomainEntry* findSuffix(const HashTable* table, const char* wireName,
                              uint32_t wireLength) noexcept {
    const DomainEntry* best = nullptr;
    if (table == nullptr) {
        return best;
    }
    for (;;) {
        const uint32_t firstLabel = static_cast<uint8_t>(wireName[0]) + 1U;
        if (firstLabel + 2 > wireLength || wireName[firstLabel] == 0) {
            return best;
        }
        wireName += firstLabel;
        wireLength -= firstLabel;
        best = earlier(best, findName(table, wireName, wireLength));
    }
}

// Bits that are set when a byte of the word may be a capital: in ASCII these have bit 6 and not bit 5, and so have
// '@', '[' to '_' and the lengths 64 to 95.
uint64_t capitalBits(const char* bytes) noexcept {
    constexpr uint64_t BIT_6 = 0x4040404040404040;
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word & ~(word << 1U) & BIT_6;
}

// False for most names without capitals, and never for one with them.
bool mayHaveCapitals(const char* wireName, uint32_t wireLength) noexcept {
    constexpr uint32_t WORD = sizeof(uint64_t);
    if (wireLength < WORD) {
        return true;
    }
    // Names of ordinary length take no loop.
    const uint32_t last = wireLength - WORD;
    uint64_t bits = capitalBits(wireName) | capitalBits(wireName + std::min(WORD, last)) |
                    capitalBits(wireName + std::min(2 * WORD, last)) | capitalBits(wireName + last);
    for (uint32_t i = 3 * WORD; i < last; i += WORD) {
        bits |= capitalBits(wireName + i);
    }
    return bits != 0;
}

// Finds the first upper-case letter inside a label, or the end.
const char* findUpperCase(const char* wireName, uint32_t wireLength) noexcept {
    if (!mayHaveCapitals(wireName, wireLength)) {
        return wireName + wireLength;
    }
    uint32_t labelEnd = 0;
    for (uint32_t i = 0; i < wireLength; ++i) {
        if (i == labelEnd) {
            labelEnd += static_cast<uint8_t>(wireName[i]) + 1U;
        } else if (wireName[i] != lowerAscii(wireName[i])) {
            return wireName + i;
        }
    }
    return wireName + wireLength;
}

void lowerWireName(const char* wireName, uint32_t wireLength, char* out) noexcept {
    uint32_t labelEnd = 0;
    for (uint32_t i = 0; i < wireLength; ++i) {
        if (i == labelEnd) {
            labelEnd += static_cast<uint8_t>(wireName[i]) + 1U;
            out[i] = wireName[i];
        } else {
            out[i] = lowerAscii(wireName[i]);
        }
    }
}

int32_t lookupLowerCase(const DomainIndex& index, const char* wireName, uint32_t wireLength,
                        MatchResult& result) noexcept {
    const DomainEntry* best = index.flatNames != nullptr
                                  ? findDomainFlat(index, wireName, wireLength)
                                  : findDomainOrdered(index, wireName, wireLength);
    return reportEntry(earlier(best, index.matchAll), result);
}

int32_t lookupUpperCase(const DomainIndex& index, const char* wireName, uint32_t wireLength,
                        MatchResult& result) noexcept {
    WireScratch scratch;
    char* lowered = scratch.reserve(wireLength);
    if (lowered == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    lowerWireName(wireName, wireLength, lowered);
    return lookupLowerCase(index, lowered, wireLength, result);
}

// In any letter case, and of any length.
int32_t lookupUnusual(const DomainIndex& index, const char* wireName, uint32_t wireLength,
                      MatchResult& result) noexcept {
    return findUpperCase(wireName, wireLength) == wireName + wireLength
               ? lookupLowerCase(index, wireName, wireLength, result)
               : lookupUpperCase(index, wireName, wireLength, result);
}

// A name that is not plain.
[[gnu::noinline]] int32_t matchOtherName(const DomainIndex& index, const char* name,
                                         uint32_t length, MatchResult& result) noexcept {
    const uint64_t capacity = largestTextBuffer(length);
    if (capacity > UINT32_MAX) {
        return RULE_ERR_NO_MEMORY;
    }
    NameScratch scratch;
    // The wire form is made in place: a length byte goes before the name and a zero byte after it.
    char* buffer = scratch.reserve(capacity + 2);
    if (buffer == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    auto nameLength = static_cast<uint32_t>(capacity);
    const int32_t status = normalizeMatchHost(name, length, buffer + 1, &nameLength);
    if (status != RULE_OK) {
        return status;
    }
    if (!makeWireName(buffer, nameLength)) {
        return RULE_ERR_INVALID_ARG;
    }
    return lookupDomainWire(index, buffer, nameLength + 1, result);
}

}  // namespace

const DomainEntry* findDomainOrdered(const DomainIndex& index, const char* wireName,
                                     uint32_t wireLength) noexcept {
    return earlier(findName(index.exactTable, wireName, wireLength),
                   findSuffix(index.wildcardTable, wireName, wireLength));
}

const DomainEntry* findDomainFlat(const DomainIndex& index, const char* wireName,
                                  uint32_t wireLength) noexcept {
    const uint32_t number = findFlatName(*index.flatNames, wireName, wireLength);
    return number == NO_RECORD ? nullptr : &recordAt(index.entries, number);
}

int32_t lookupDomainWire(const DomainIndex& index, const char* wireName, uint32_t wireLength,
                         MatchResult& result) noexcept {
    result.ruleIndex = 0;
    if (index.flatNames == nullptr || !isUsualWireName(wireLength)) {
        return lookupUnusual(index, wireName, wireLength, result);
    }
    const FlatNames& names = *index.flatNames;
    const SuffixHashes hashes(wireName, wireLength, names.seed);
    if (hashes.mayHaveCapitals()) [[unlikely]] {
        return lookupUnusual(index, wireName, wireLength, result);
    }
    const uint32_t number = findUsualName(names, wireName, wireLength, hashes);
    const DomainEntry* best = number == NO_RECORD ? nullptr : &recordAt(index.entries, number);
    return reportEntry(earlier(best, index.matchAll), result);
}

int32_t matchDomainName(const DomainIndex& index, const char* name, uint32_t length,
                        MatchResult& result) noexcept {
    if (length <= LONGEST_PLAIN_NAME) {
        char wireName[plainNameRoom(LONGEST_PLAIN_NAME) + 2];
        const uint32_t wireLength = writePlainWireName(name, length, wireName);
        if (wireLength != 0) [[likely]] {
            return lookupDomainWire(index, wireName, wireLength, result);
        }
    }
    return matchOtherName(index, name, length, result);
}

}  // namespace rs
