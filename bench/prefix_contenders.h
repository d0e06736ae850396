// The contenders that take prefixes: DPDK's tables, nDPI's patricia tree and a MaxMind DB. Single addresses are prefixes
// of all their bits.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "contest.h"
#include "dpdk_tables.h"
#include "maxmind_database.h"
#include "patricia_tree.h"
#include "prefixes.h"

namespace bench {

// With more rules, the trees and tables take gigabytes and minutes, and are left out.
inline constexpr size_t MOST_PREFIXES = 1'000'000;

// What a table of DPDK may take.
inline constexpr uint64_t MOST_TABLE_BYTES = uint64_t{3} << 30U;

template <typename Table, typename Address, typename Key>
void addTable(Contest<std::vector<Key>>& contest, const char* name, const Intervals<Address>& rules,
              uint64_t groups, uint64_t mostGroups) {
    if (groups > mostGroups) {
        contest.leaveOut(name, groups * DPDK_GROUP_BYTES);
        return;
    }
    const auto table =
        contest.build(name, [&] { return std::make_shared<const Table>(rules, groups); });
    contest.add(
        name, [table](const std::vector<Key>& keys, size_t first, size_t count, uint32_t* answers) {
            table->find({keys.data() + first, count}, answers);
        });
}

inline void addTables(Contest<std::vector<Ipv4>>& contest, const Intervals<Ipv4>& rules) {
    addTable<Fib4>(contest, "rte_fib", rules, dpdkGroups(rules),
                   MOST_TABLE_BYTES / DPDK_GROUP_BYTES);
}

inline void addTables(Contest<std::vector<Ipv6Bytes>>& contest, const Intervals<Ipv6>& rules) {
    addTable<Fib6>(contest, "rte_fib6", rules, reservedGroups(rules),
                   MOST_TABLE_BYTES / DPDK_GROUP_BYTES);
    addTable<Lpm6>(contest, "rte_lpm6", rules, dpdkGroups(rules), MOST_LPM6_GROUPS);
}

template <typename Tree, typename Address, typename Key>
void addTree(Contest<std::vector<Key>>& contest, const char* name,
             const Intervals<Address>& rules) {
    const auto tree = contest.build(name, [&] { return std::make_shared<const Tree>(rules); });
    contest.add(name, oneByOne<std::vector<Key>>([tree](const std::vector<Key>& keys, size_t i) {
                    return tree->find(keys[i]);
                }));
}

template <typename Address, typename Key>
void addPrefixContenders(Contest<std::vector<Key>>& contest, const Intervals<Address>& rules) {
    if (rules.size() > MOST_PREFIXES) {
        return;
    }
    addTables(contest, rules);
    addTree<PatriciaTree>(contest, "nDPI patricia", rules);
    addTree<MaxMindDatabase>(contest, "libmaxminddb", rules);
}

}  // namespace bench
