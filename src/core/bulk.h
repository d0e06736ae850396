// Many lookups in one call.
//
//     keys     0 1 2 ... 31 | 32 33 ...        a block
//     steps    0 1 2 ... 31                    ask for the first memory that a lookup reads
//              0 1 2 ... 31                    read that, ask for the next
//              0 1 2 ... 31                    the answer
//
// All keys of a block take a step before any takes the next. What a step asks for is on its way while the other keys take
// theirs, so the keys of a block wait for memory at the same time.
//
// Threads:    none of its own.
#pragma once

#include <ruleset.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace rs {

// So many keys have what they wait for in flight: more than the memory of a core delivers at once, and few enough that
// what has come is still in the nearest cache.
inline constexpr size_t BULK_BLOCK = 32;

// Takes count keys through the steps. step(key, state) is called with the number of a key and with what the steps before
// it left of that key; a state is not initialized.
template <typename State, typename... Steps>
void takeSteps(size_t count, const Steps&... steps) noexcept {
    std::array<State, BULK_BLOCK> states;
    for (size_t first = 0; first < count; first += BULK_BLOCK) {
        const size_t length = std::min(count - first, BULK_BLOCK);
        const auto takeStep = [&](const auto& step) noexcept {
            for (size_t i = 0; i < length; ++i) {
                step(first + i, states[i]);
            }
        };
        (takeStep(steps), ...);
    }
}

// Where the answers of a bulk lookup go; statuses and results may be null.
struct BulkAnswers {
    uint32_t* ruleIndexes;
    int32_t* statuses;
    MatchResult* results;

    // The answers from that of a key on.
    [[nodiscard]] BulkAnswers from(size_t key) const noexcept {
        return {ruleIndexes + key, statuses == nullptr ? nullptr : statuses + key,
                results == nullptr ? nullptr : results + key};
    }

    // Stores what lookUp(result) returns for key i. It fills result when it returns 1.
    template <typename LookUp>
    void answer(size_t i, const LookUp& lookUp) const noexcept {
        MatchResult unasked;
        MatchResult& result = results == nullptr ? unasked : results[i];
        const int32_t status = lookUp(result);
        result.ruleIndex = status == 1 ? result.ruleIndex : 0;
        ruleIndexes[i] = result.ruleIndex;
        if (statuses != nullptr) {
            statuses[i] = status;
        }
    }
};

}  // namespace rs
