// Answers of the library next to those of the reference.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "support/reference_ip.h"
#include "syntax/address128.h"

namespace rs::test {

inline constexpr uint32_t UNTOUCHED_FIELD = 0xDEADBEEF;

// What a result holds before a lookup, and still holds after one that finds nothing.
inline MatchResult untouchedResult() {
    return {UNTOUCHED_FIELD, UNTOUCHED_FIELD, UNTOUCHED_FIELD, nullptr};
}

inline MatchResult expectedResult(const ReferenceRule* winner) {
    return winner == nullptr ? untouchedResult()
                             : MatchResult{winner->ruleIndex, winner->ruleValue, winner->ruleId,
                                           winner->userData};
}

// Whether a lookup that started from untouchedResult() reports the winner, null for none.
inline bool isExpectedMatch(const ReferenceRule* winner, int32_t status,
                            const MatchResult& result) {
    const MatchResult expected = expectedResult(winner);
    return status == (winner == nullptr ? 0 : 1) && result.ruleIndex == expected.ruleIndex &&
           result.ruleValue == expected.ruleValue && result.ruleId == expected.ruleId &&
           result.userData == expected.userData;
}

inline Address128 wordsOf(Number128 address) {
    return {{static_cast<uint32_t>(address >> 96U), static_cast<uint32_t>(address >> 64U),
             static_cast<uint32_t>(address >> 32U), static_cast<uint32_t>(address)}};
}

}  // namespace rs::test
