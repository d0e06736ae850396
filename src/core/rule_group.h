// The compiled form of a rule set: one compiled structure, in the slot of its type.
//
//     RuleGroup  refCount  ipTable --------> IpRuleTable  refCount ...
//                          urlIndex          null, like every slot of another type
//
// Invariants: only the slot of the set's type is ever filled. The types of the slots are known here
//             by name only.
// Ownership:  a group holds one reference to each structure in its slots. Several groups may share
//             a structure; the group that drops the last reference frees it.
// Threads:    read-only once built; afterwards only reference counts change, atomically.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

struct IpRuleTable;
struct UrlIndex;
struct DomainIndex;
struct PacketFilterTable;
struct IpPortIndex;
struct CompoundTable;

}  // namespace rs

struct RuleGroup {
    uint32_t reservedWords[2];  // 0
    uint32_t refCount;
    rs::IpRuleTable* ipTable;                  // shared, like every slot; types 1 and 4
    rs::UrlIndex* urlIndex;                    // type 3
    rs::DomainIndex* domainIndex;              // type 2
    rs::PacketFilterTable* packetFilterTable;  // type 5
    rs::IpPortIndex* ipPortIndex;              // type 6
    rs::CompoundTable* compoundTable;          // type 7
    RuleReleaseCallback releaseCallback;       // the set's at the time of the build
    void* releaseContext;                      // borrowed from the host
    uint64_t reserved;                         // 0
    uint8_t nonEmpty;                          // 1 when the set held a rule at the build
};
