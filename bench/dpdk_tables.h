// DPDK's tables of prefixes, asked through their own bulk calls: rte_fib (DIR-24-8), rte_fib6 (a trie with strides of 24
// and 8 bits) and rte_lpm6. They return the number of a rule, 0 without one.
//
// The environment layer runs without huge page files and without a device. It takes its memory as anonymous memory,
// which asks for huge pages as the tables of all contenders do. Vector code of 512 bits is allowed.
//
// Threads: one, which stays on its core.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "addresses.h"

namespace bench {

// The memory that the tables of the process hold; 0 before the first one.
uint64_t dpdkBytes();

// What is known before a table is made: its groups of 256 entries for the bits after the first 24.
template <typename Address>
uint64_t dpdkGroups(const Intervals<Address>& rules);

// rte_fib6 counts the groups of each prefix anew, and refuses one when a table has not as many, filled or not.
uint64_t reservedGroups(const Intervals<Ipv6>& rules);

inline constexpr uint64_t DPDK_GROUP_BYTES = 256 * sizeof(uint32_t);

// rte_lpm6 counts groups in 21 bits.
inline constexpr uint64_t MOST_LPM6_GROUPS = (uint64_t{1} << 21U) - 1;

// At most as many keys as a block of a contest.
class Fib4 {
public:
    Fib4(const Intervals<Ipv4>& rules, uint64_t groups);
    void find(std::span<const Ipv4> keys, uint32_t* answers) const;

private:
    std::shared_ptr<void> fib_;
};

class Fib6 {
public:
    Fib6(const Intervals<Ipv6>& rules, uint64_t groups);
    void find(std::span<const Ipv6Bytes> keys, uint32_t* answers) const;

private:
    std::shared_ptr<void> fib_;
};

class Lpm6 {
public:
    Lpm6(const Intervals<Ipv6>& rules, uint64_t groups);
    void find(std::span<const Ipv6Bytes> keys, uint32_t* answers) const;

private:
    std::shared_ptr<void> lpm_;
};

}  // namespace bench
