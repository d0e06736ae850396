// Testing the entries of endpoint structures, and making one answer of the answers of several
// structures.
//
//     list     #1 -> #4 -> #9      scan: the first entry that covers     #4  --+
//     table    #2                                                        #2  --+-> combineAnswers: #2
//     blocks   #3 -> #5                                                  none -+
//
// Entries are asked by test(entry), which returns 1 for an entry that covers what is looked up, 0
// for one that does not, or a negative status, which ends a walk.
//
// Invariants: a chain is in rule order, so its first entry that covers is its earliest rule.
// Ownership:  answers borrow the entry.
// Threads:    walks only read; any number of threads may walk.
// Cost:       a walk tests each entry once, up to the first that covers.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/entry.h"

namespace rs {

template <typename Entry>
struct EntryAnswer {
    int32_t status;      // 1 with the entry, 0, or negative
    const Entry* entry;  // null unless status is 1
};

// The first entry of a chain that covers.
template <typename Entry, typename Test>
[[nodiscard]] EntryAnswer<Entry> scanEntries(const Entry* first, const Test& test) noexcept {
    for (const Entry* entry = first; entry != nullptr; entry = entry->next) {
        const int32_t status = test(*entry);
        if (status != 0) {
            return {status, status == 1 ? entry : nullptr};
        }
    }
    return {0, nullptr};
}

// Puts the answer of a further structure into *result, unless what it holds is of an earlier rule.
// Of two answers of the same rule the one of the later structure counts.
template <typename Entry>
void keepEarlier(const EntryAnswer<Entry>& answer, int32_t& held, MatchResult& result) noexcept {
    if (answer.status == 1 && (held == 0 || result.ruleIndex >= answer.entry->ruleIndex)) {
        held = reportEntry(answer.entry, result);
    }
}

// Asks structures one after the other, each by an operation of its own: 1 with the earliest rule in
// *result, or 0. The first negative status is the answer, with whatever *result holds by then.
template <typename... Ask>
[[nodiscard]] int32_t combineAnswers(MatchResult& result, const Ask&... ask) noexcept {
    int32_t held = 0;
    int32_t status = 0;
    const auto askOne = [&](const auto& one) noexcept {
        const auto answer = one();
        status = answer.status;
        keepEarlier(answer, held, result);
        return status >= 0;
    };
    return (askOne(ask) && ...) ? held : status;
}

// Asks structures one after the other for a status only; the first one but 0 is the answer.
template <typename... Ask>
[[nodiscard]] int32_t firstStatus(const Ask&... ask) noexcept {
    int32_t status = 0;
    static_cast<void>(((status = ask(), status == 0) && ...));
    return status;
}

}  // namespace rs
