#include "ip/ip_match_bulk.h"

#include <bit>
#include <cstring>

#include "core/slab.h"
#include "ip/ip_match.h"
#include "lookup/flat_hosts.h"
#include "lookup/flat_range_tree.h"
#include "lookup/flat_ranges.h"

namespace rs {

namespace {

// Asks for the answer that the first candidate of a bucket names.
template <typename Address>
void prefetchAnswer(HostProbe probe, const HostAnswer<Address>* answers) noexcept {
    const uint32_t candidates = hostCandidates(*probe.bucket, probe.tag);
    if (candidates != 0) {
        const HostAnswer<Address>* answer =
            answers + firstHostCandidate(probe.bucket->firstRank, candidates);
        __builtin_prefetch(answer);
        __builtin_prefetch(&answer->userData);  // an answer may be in two lines
    }
}

// Asks for the entry of a number that a flat lookup has found.
template <typename Address>
void prefetchEntry(const Slab<RangeEntry<Address>>& entries, uint32_t number) noexcept {
    if (number != NO_RECORD) {
        const RangeEntry<Address>* entry = &recordAt(entries, number);
        __builtin_prefetch(entry);
        __builtin_prefetch(&entry->userData);
    }
}

struct BulkAddress {
    HostProbe probe;
    uint32_t range;  // the number of its entry
};

// The halves of a key as numbers.
uint64_t numberOf(uint64_t half) noexcept {
    return std::endian::native == std::endian::little ? __builtin_bswap64(half) : half;
}

AddressHalves readKey(const std::array<uint8_t, 16>& address) noexcept {
    AddressHalves key{};
    std::memcpy(&key, address.data(), sizeof key);
    return key;
}

// A lookup of IPv4 addresses; its parts are the ways of different tables.
class Ipv4Bulk {
public:
    Ipv4Bulk(const IpRuleTable& table, const uint32_t* addresses, size_t count,
             const BulkAnswers& answers) noexcept
        : table_(table), addresses_(addresses), count_(count), answers_(answers) {}

    void inHosts(const FlatHosts<uint32_t>& hosts) const noexcept {
        takeSteps<HostProbe>(
            count_,
            [&](size_t i, HostProbe& probe) noexcept {
                probe = prepareFlatHost(hosts, addresses_[i]);
                prefetchHostBucket(probe);
            },
            [&](size_t, HostProbe& probe) noexcept { prefetchAnswer(probe, table_.ipv4Answers); },
            [&](size_t i, HostProbe&) noexcept { lookUp(i); });
    }

    void inRanges(const FlatRanges32& ranges) const noexcept {
        takeSteps<uint32_t>(
            count_, [&](size_t i, uint32_t&) noexcept { prefetchFlatRoot(ranges, addresses_[i]); },
            [&](size_t i, uint32_t&) noexcept { prefetchAfterFlatRoot(ranges, addresses_[i]); },
            [&](size_t i, uint32_t& number) noexcept {
                number = findFlatRange(ranges, addresses_[i]);
                prefetchEntry(table_.ipv4RangeEntries, number);
            },
            [&](size_t i, uint32_t& number) noexcept {
                answers_.answer(i, [&](MatchResult& result) noexcept {
                    return reportRange(table_.ipv4RangeEntries, number, result);
                });
            });
    }

    // Either of the flat lookups may be null.
    void inBoth(const FlatHosts<uint32_t>* hosts, const FlatRanges32* ranges) const noexcept {
        takeSteps<HostProbe>(
            count_,
            [&](size_t i, HostProbe& probe) noexcept {
                if (hosts != nullptr) {
                    probe = prepareFlatHost(*hosts, addresses_[i]);
                    prefetchHostBucket(probe);
                }
                if (ranges != nullptr) {
                    prefetchFlatRoot(*ranges, addresses_[i]);
                }
            },
            [&](size_t i, HostProbe& probe) noexcept {
                if (hosts != nullptr) {
                    prefetchAnswer(probe, table_.ipv4Answers);
                }
                if (ranges != nullptr) {
                    prefetchAfterFlatRoot(*ranges, addresses_[i]);
                }
            },
            [&](size_t i, HostProbe&) noexcept {
                if (ranges != nullptr) {
                    prefetchEntry(table_.ipv4RangeEntries, findFlatRange(*ranges, addresses_[i]));
                }
            },
            [&](size_t i, HostProbe&) noexcept { lookUp(i); });
    }

    void oneByOne() const noexcept {
        for (size_t i = 0; i < count_; ++i) {
            lookUp(i);
        }
    }

private:
    void lookUp(size_t i) const noexcept {
        answers_.answer(i, [&](MatchResult& result) noexcept {
            return matchIpv4(table_, addresses_[i], result);
        });
    }

    const IpRuleTable& table_;
    const uint32_t* addresses_;
    size_t count_;
    const BulkAnswers& answers_;
};

}  // namespace

void matchIpv4Many(const IpRuleTable& table, const uint32_t* addresses, size_t count,
                   const BulkAnswers& answers) noexcept {
    const Ipv4Bulk bulk(table, addresses, count, answers);
    if (table.onlyIpv4Hosts != nullptr) {
        bulk.inHosts(*table.onlyIpv4Hosts);
    } else if (table.onlyIpv4Ranges != nullptr) {
        bulk.inRanges(*table.onlyIpv4Ranges);
    } else if (table.flatIpv4Hosts != nullptr || table.flatIpv4Ranges != nullptr) {
        bulk.inBoth(table.flatIpv4Hosts, table.flatIpv4Ranges);
    } else {
        bulk.oneByOne();
    }
}

void matchIpv6Many(const IpRuleTable& table, const std::array<uint8_t, 16>* addresses, size_t count,
                   const BulkAnswers& answers) noexcept {
    const auto lookUp = [&](size_t i) noexcept {
        answers.answer(i, [&](MatchResult& result) noexcept {
            return matchIpv6(table, readKey(addresses[i]), result);
        });
    };
    const FlatHosts<Address128>* hosts = table.flatIpv6Hosts;
    const FlatRanges128* ranges = table.flatIpv6Ranges;
    if (hosts == nullptr && ranges == nullptr) {
        for (size_t i = 0; i < count; ++i) {
            lookUp(i);
        }
        return;
    }
    takeSteps<BulkAddress>(
        count,
        [&](size_t i, BulkAddress& state) noexcept {
            const AddressHalves key = readKey(addresses[i]);
            if (hosts != nullptr) {
                state.probe = prepareFlatHost(*hosts, key);
                prefetchHostBucket(state.probe);
            }
            if (ranges != nullptr) {
                state.range = prefetchFlatLeaf(*ranges, numberOf(key.first));
            }
        },
        [&](size_t i, BulkAddress& state) noexcept {
            if (hosts != nullptr) {
                prefetchAnswer(state.probe, table.ipv6Answers);
            }
            if (ranges != nullptr) {
                const AddressHalves key = readKey(addresses[i]);
                state.range = finishFlatRange(*ranges, state.range, numberOf(key.first),
                                              numberOf(key.second));
                prefetchEntry(table.ipv6RangeEntries, state.range);
            }
        },
        [&](size_t i, BulkAddress& state) noexcept {
            if (table.onlyIpv6Ranges == nullptr) {
                lookUp(i);
                return;
            }
            answers.answer(i, [&](MatchResult& result) noexcept {
                return reportRange(table.ipv6RangeEntries, state.range, result);
            });
        });
}

}  // namespace rs
