// Results of lookups, comparable and printable. The operations are global, as MatchResult is, so that
// GoogleTest finds them.
#pragma once

#include <ruleset.h>

#include <ostream>

inline bool operator==(const MatchResult& left, const MatchResult& right) {
    return left.ruleIndex == right.ruleIndex && left.ruleValue == right.ruleValue &&
           left.ruleId == right.ruleId && left.userData == right.userData;
}

inline void PrintTo(const MatchResult& result, std::ostream* out) {
    *out << "rule " << result.ruleIndex << " value " << result.ruleValue << " id " << result.ruleId
         << " userData " << result.userData;
}

namespace rs::test {

inline char untouchedUserData = 0;

// What a result holds before a lookup; no lookup answers it.
inline constexpr MatchResult UNTOUCHED = {0xDEADBEEF, 0xDEADBEED, 0xDEADBEEB, &untouchedUserData};

}  // namespace rs::test
