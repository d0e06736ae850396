// An entry with the least that endpoint structures ask of one, and what insertions and walks take.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/memory.h"
#include "endpoint/endpoint_summary.h"

namespace rs::test {

struct PlainEntry {
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
    PlainEntry* next;
};

// Covers first ports up to its rule, and nothing else is known of it.
inline EntryHulls hullsOf(const PlainEntry& entry, bool /*isOf32Bits*/) {
    const auto port = static_cast<uint16_t>(entry.ruleIndex);
    return {true, true, {{0, port}, {0, UINT16_MAX}, {0, UINT32_MAX}, 1}};
}

inline std::string plainEntryText(const PlainEntry& entry) {
    return "#" + std::to_string(entry.ruleIndex);
}

inline PlainEntry* makePlainEntry(uint32_t ruleIndex) {
    auto* entry = allocateRecord<PlainEntry>();
    *entry = {ruleIndex, 10 * ruleIndex, 100 * ruleIndex, nullptr, nullptr};
    return entry;
}

// The maker of an insertion: as many entries of one rule as it may.
class PlainMaker {
public:
    explicit PlainMaker(uint32_t ruleIndex, uint32_t most = UINT32_MAX)
        : ruleIndex_(ruleIndex), left_(most) {}

    PlainEntry* operator()() const {
        if (left_ == 0) {
            return nullptr;
        }
        --left_;
        return makePlainEntry(ruleIndex_);
    }
    bool made(const PlainEntry& entry) const { return entry.ruleIndex == ruleIndex_; }

private:
    uint32_t ruleIndex_;
    mutable uint32_t left_;
};

inline PlainMaker making(uint32_t ruleIndex) {
    return PlainMaker(ruleIndex);
}

// Of no rule.
inline const PlainMaker MAKES_NOTHING(0, 0);

// Takes every entry, whatever its rule.
inline int32_t takeAny(const PlainEntry& /*entry*/) {
    return 1;
}

// Takes the entries of one rule.
inline auto taking(uint32_t ruleIndex) {
    return [ruleIndex](const PlainEntry& entry) { return entry.ruleIndex == ruleIndex ? 1 : 0; };
}

// Fails at the entries of one rule, and takes those of later ones.
inline auto failingAt(uint32_t ruleIndex) {
    return [ruleIndex](const PlainEntry& entry) {
        return entry.ruleIndex == ruleIndex ? RULE_ERR_FAILED
                                            : int32_t{entry.ruleIndex > ruleIndex};
    };
}

// Frees the entries that a walk tests, walk(test), and returns their rules in the order of the walk.
template <typename Walk>
std::vector<uint32_t> freeEntriesOf(const Walk& walk) {
    std::vector<const PlainEntry*> visited;
    static_cast<void>(walk([&visited](const PlainEntry& entry) {
        visited.push_back(&entry);
        return 0;
    }));
    std::vector<uint32_t> rules;
    for (const PlainEntry* entry : visited) {
        rules.push_back(entry->ruleIndex);
        freeMemory(const_cast<PlainEntry*>(entry));
    }
    return rules;
}

}  // namespace rs::test
