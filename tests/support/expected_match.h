// Answers of the library next to those of the reference.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "support/match_result.h"
#include "support/reference_ip.h"
#include "syntax/address128.h"

namespace rs::test {

inline MatchResult expectedResult(const ReferenceRule* winner) {
    return winner == nullptr ? UNTOUCHED
                             : MatchResult{winner->ruleIndex, winner->ruleValue, winner->ruleId,
                                           winner->userData};
}

// Whether a lookup that started from UNTOUCHED reports the winner, null for none.
inline bool isExpectedMatch(const ReferenceRule* winner, int32_t status,
                            const MatchResult& result) {
    return status == (winner == nullptr ? 0 : 1) && result == expectedResult(winner);
}

inline Address128 wordsOf(Number128 address) {
    return {{static_cast<uint32_t>(address >> 96U), static_cast<uint32_t>(address >> 64U),
             static_cast<uint32_t>(address >> 32U), static_cast<uint32_t>(address)}};
}

}  // namespace rs::test
