#include "dpdk_tables.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <rte_eal.h>
#include <rte_errno.h>
#include <rte_fib.h>
#include <rte_fib6.h>
#include <rte_lpm6.h>
#include <rte_malloc.h>
#include <rte_memory.h>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <vector>

#include "contest.h"
#include "handles.h"
#include "memory_pages.h"
#include "prefixes.h"

// The environment layer takes a memory file where it gets one, and such files have small pages. Where it gets none, it
// takes anonymous memory.
extern "C" int memfd_create(const char* /*name*/, unsigned int /*flags*/) noexcept {
    errno = ENOSYS;
    return -1;
}

namespace bench {
namespace {

constexpr uint32_t SPARE_GROUPS = 64;
constexpr int SOCKET = 0;

bool isStarted = false;

int askForHugePages(const rte_memseg_list* list, void* /*argument*/) {
    if (usesHugePages) {
        madvise(list->base_va, list->len, MADV_HUGEPAGE);
    }
    return 0;
}

void startEnvironment() {
    if (isStarted) {
        return;
    }
    std::string core = "0@" + std::to_string(sched_getcpu());
    std::array<std::string, 14> words = {"peer_bench",
                                         "--no-huge",
                                         "--no-pci",
                                         "--no-shconf",
                                         "--no-telemetry",
                                         "--no-hpet",
                                         "--log-level",
                                         "error",
                                         "-m",
                                         "8192",
                                         "--lcores",
                                         core,
                                         "--force-max-simd-bitwidth",
                                         "512"};
    std::array<char*, words.size()> arguments{};
    std::transform(words.begin(), words.end(), arguments.begin(),
                   [](std::string& word) { return word.data(); });
    require(rte_eal_init(static_cast<int>(arguments.size()), arguments.data()) >= 0,
            "DPDK does not start");
    rte_memseg_list_walk(askForHugePages, nullptr);
    isStarted = true;
}

void requireTable(const void* table) {
    if (table == nullptr) {
        std::fprintf(stderr, "DPDK: %s\n", rte_strerror(rte_errno));
    }
    require(table != nullptr, "no table of DPDK");
}

uint8_t depthOf(uint32_t length) {
    return static_cast<uint8_t>(length);
}

// Adds the shortest prefix first, which is what these tables are fastest with.
template <typename Address, typename Add>
void addPrefixes(const Intervals<Address>& rules, const Add& add) {
    for (size_t i = rules.size(); i > 0; --i) {
        const int status =
            add(rules[i - 1].first, depthOf(prefixLength(rules[i - 1])), static_cast<uint32_t>(i));
        require(status == 0, "DPDK refuses a prefix");
    }
}

}  // namespace

uint64_t dpdkBytes() {
    rte_malloc_socket_stats stats{};
    const bool isKnown = isStarted && rte_malloc_get_socket_stats(SOCKET, &stats) == 0;
    return isKnown ? stats.heap_allocsz_bytes : 0;
}

template <typename Address>
uint64_t dpdkGroups(const Intervals<Address>& rules) {
    uint64_t groups = 0;
    std::vector<Address> places;
    for (uint32_t bits = 24; bits < addressBits(Address{}); bits += 8) {
        places.clear();
        for (const Interval<Address>& rule : rules) {
            if (prefixLength(rule) > bits) {
                places.push_back(firstBits(rule.first, bits));
            }
        }
        std::sort(places.begin(), places.end());
        groups += static_cast<uint64_t>(std::unique(places.begin(), places.end()) - places.begin());
    }
    return groups;
}

template uint64_t dpdkGroups(const Intervals<Ipv4>& rules);
template uint64_t dpdkGroups(const Intervals<Ipv6>& rules);

uint64_t reservedGroups(const Intervals<Ipv6>& rules) {
    uint64_t groups = 0;
    for (const Interval<Ipv6>& rule : rules) {
        const uint32_t length = prefixLength(rule);
        groups += length > 24 ? (length - 24 + 7) / 8 : 0;
    }
    return groups;
}

// ------------------------------------------------------------------------------------------------ rte_fib

Fib4::Fib4(const Intervals<Ipv4>& rules, uint64_t groups) {
    startEnvironment();
    rte_fib_conf conf{};
    conf.type = RTE_FIB_DIR24_8;
    conf.max_routes = static_cast<int>(rules.size()) + 1;
    conf.dir24_8.nh_sz = RTE_FIB_DIR24_8_4B;
    conf.dir24_8.num_tbl8 = static_cast<uint32_t>(groups) + SPARE_GROUPS;
    rte_fib* fib = rte_fib_create("peer_fib4", SOCKET, &conf);
    requireTable(fib);
    fib_ = {fib, [](void* made) { rte_fib_free(static_cast<rte_fib*>(made)); }};
    addPrefixes(rules, [fib](Ipv4 address, uint8_t depth, uint32_t rule) {
        return rte_fib_add(fib, address, depth, rule);
    });
}

void Fib4::find(std::span<const Ipv4> keys, uint32_t* answers) const {
    std::array<uint64_t, BLOCK_KEYS> hops;
    // The call only reads the keys.
    rte_fib_lookup_bulk(static_cast<rte_fib*>(fib_.get()), const_cast<Ipv4*>(keys.data()),
                        hops.data(), static_cast<int>(keys.size()));
    for (size_t i = 0; i < keys.size(); ++i) {
        answers[i] = static_cast<uint32_t>(hops[i]);
    }
}

// ------------------------------------------------------------------------------------------------ rte_fib6

namespace {

using Ipv6Pointer = uint8_t (*)[16];

Ipv6Pointer bytesOf(std::span<const Ipv6Bytes> keys) {
    return reinterpret_cast<Ipv6Pointer>(const_cast<Ipv6Bytes*>(keys.data()));
}

}  // namespace

Fib6::Fib6(const Intervals<Ipv6>& rules, uint64_t groups) {
    startEnvironment();
    rte_fib6_conf conf{};
    conf.type = RTE_FIB6_TRIE;
    conf.max_routes = static_cast<int>(rules.size()) + 1;
    conf.trie.nh_sz = RTE_FIB6_TRIE_4B;
    conf.trie.num_tbl8 = static_cast<uint32_t>(groups) + SPARE_GROUPS;
    rte_fib6* fib = rte_fib6_create("peer_fib6", SOCKET, &conf);
    requireTable(fib);
    fib_ = {fib, [](void* made) { rte_fib6_free(static_cast<rte_fib6*>(made)); }};
    addPrefixes(rules, [fib](const Ipv6& address, uint8_t depth, uint32_t rule) {
        return rte_fib6_add(fib, bench::bytesOf(address).data(), depth, rule);
    });
}

void Fib6::find(std::span<const Ipv6Bytes> keys, uint32_t* answers) const {
    std::array<uint64_t, BLOCK_KEYS> hops;
    rte_fib6_lookup_bulk(static_cast<rte_fib6*>(fib_.get()), bytesOf(keys), hops.data(),
                         static_cast<int>(keys.size()));
    for (size_t i = 0; i < keys.size(); ++i) {
        answers[i] = static_cast<uint32_t>(hops[i]);
    }
}

// ------------------------------------------------------------------------------------------------ rte_lpm6

Lpm6::Lpm6(const Intervals<Ipv6>& rules, uint64_t groups) {
    startEnvironment();
    rte_lpm6_config config{};
    config.max_rules = static_cast<uint32_t>(rules.size()) + 1;
    config.number_tbl8s = static_cast<uint32_t>(groups) + SPARE_GROUPS;
    rte_lpm6* lpm = rte_lpm6_create("peer_lpm6", SOCKET, &config);
    requireTable(lpm);
    lpm_ = {lpm, [](void* made) { rte_lpm6_free(static_cast<rte_lpm6*>(made)); }};
    addPrefixes(rules, [lpm](const Ipv6& address, uint8_t depth, uint32_t rule) {
        return rte_lpm6_add(lpm, bench::bytesOf(address).data(), depth, rule);
    });
}

void Lpm6::find(std::span<const Ipv6Bytes> keys, uint32_t* answers) const {
    std::array<int32_t, BLOCK_KEYS> hops;
    rte_lpm6_lookup_bulk_func(static_cast<rte_lpm6*>(lpm_.get()), bytesOf(keys), hops.data(),
                              static_cast<unsigned>(keys.size()));
    for (size_t i = 0; i < keys.size(); ++i) {
        answers[i] = static_cast<uint32_t>(std::max(hops[i], 0));  // -1 without a rule
    }
}

}  // namespace bench
