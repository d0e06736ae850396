// The mutable, ordered collection of parsed rules that groups are compiled from.
//
//     RuleSet
//       ipRules        ruleCount  head <-> record <-> record <-> head     types 1 and 4
//       domainRules    0          head <-> head                           type 2
//       ...                                                               one list per kind of rule
//
// Invariants: only the list of the set's type is ever filled. A rule's ruleIndex is its position in
//             that list, counted from 1. Every record begins with its ListLink, and all records of a
//             list are of one type.
// Ownership:  the set owns its records. It borrows userData and never gives it back.
// Threads:    one at a time; the host serialises all use of one set, builds included.
// Cost:       adding a rule is one step beside its parsing; freeing visits every record.
#pragma once

#include <ruleset.h>

#include <cstdint>

#include "core/list.h"

namespace rs {

struct RuleList {
    uint32_t ruleCount;
    ListLink head;  // of records; the set owns them
};

// What a host attaches to a rule.
struct RuleValues {
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;  // borrowed
};

}  // namespace rs

struct RuleSet {
    uint32_t type;  // 1 to 7
    rs::RuleList ipRules;
    rs::RuleList domainRules;
    rs::RuleList urlRules;
    rs::RuleList packetFilterRules;
    rs::RuleList ipPortRules;
    rs::RuleList compoundRules;
    uint8_t hasUserData;  // 1 once a rule with userData was added; never cleared
    RuleReleaseCallback releaseCallback;
    void* releaseContext;  // borrowed
};
