#include "lookup/flat_hosts.h"

#include <algorithm>
#include <tuple>

namespace rs {

namespace {

// Half of the places are taken: one bucket in a hundred overflows. With eight addresses a bucket it is one in fifteen,
// and a lookup in a near cache takes a tenth longer.
constexpr uint32_t ADDRESSES_PER_BUCKET = 6;

constexpr auto BUCKET_PLACES = static_cast<uint32_t>(std::tuple_size_v<decltype(HostBucket::tags)>);

// Each attempt after the first has a quarter more.
uint64_t bucketsFor(uint64_t count, uint32_t attempt) noexcept {
    return (count / ADDRESSES_PER_BUCKET + 1) * (4 + attempt) / 4;
}

}  // namespace

template <typename Address>
HostPlace findHostPlace(const FlatHosts<Address>& hosts, const Address& address) noexcept {
    return searchFlatHost(prepareFlatHost(hosts, address), [&](size_t rank) noexcept {
        return isSameHost(hosts.keys[rank], address);
    });
}

template <typename Address>
void dropHostKeys(FlatHosts<Address>& hosts) noexcept {
    freeLines(hosts.keys);
    hosts.keys = nullptr;
}

template <typename Address>
void dropHostNumbers(FlatHosts<Address>& hosts) noexcept {
    freeLines(hosts.numbers);
    hosts.numbers = nullptr;
}

template <typename Address>
void freeFlatHosts(FlatHosts<Address>* hosts) noexcept {
    if (hosts != nullptr) {
        dropHostKeys(*hosts);
        dropHostNumbers(*hosts);
        freeLines(hosts->buckets);
        freeMemory(hosts);
    }
}

template <typename Address>
bool FlatHostsBuild<Address>::start(uint64_t count, uint32_t attempt,
                                    const HashSeed& seed) noexcept {
    if (count > HOST_RANK) {
        return false;
    }
    hosts_.reset(allocateRecord<FlatHosts<Address>>());
    if (!hosts_) {
        return false;
    }
    hosts_->bucketCount = bucketsFor(count, attempt);
    hosts_->seed = seed;
    hosts_->buckets = allocateLines<HostBucket>(hosts_->bucketCount + MAX_HOST_STEPS);
    hosts_->keys = allocateLines<Address>(std::max(count, uint64_t{1}));
    hosts_->numbers = allocateLines<uint32_t>(std::max(count, uint64_t{1}));
    return hosts_->buckets != nullptr && hosts_->keys != nullptr && hosts_->numbers != nullptr;
}

// The number of addresses of each bucket becomes the position of its first one.
template <typename Address>
void FlatHostsBuild<Address>::endCounting() noexcept {
    uint32_t position = 0;
    for (uint64_t i = 0; i < hosts_->bucketCount; ++i) {
        const uint32_t count = hosts_->buckets[i].firstRank;
        hosts_->buckets[i].firstRank = position;
        position += count;
    }
}

// Adding has left the end of each bucket's addresses in the bucket. Kept addresses move to the front of the arrays, and
// from there, in their order, into the buckets:
//
//     keys   | in buckets ... | without a place yet | free ... | to come ...
//            0                rank                  count      end of this bucket's
template <typename Address>
FlatHosts<Address>* FlatHostsBuild<Address>::finish() noexcept {
    const uint64_t lastBucket = hosts_->bucketCount + MAX_HOST_STEPS - 1;
    uint32_t begin = 0;
    uint32_t rank = 0;
    uint32_t overflowing = 0;  // buckets one after the other
    uint32_t marks = 0;
    for (uint64_t i = 0; i <= lastBucket; ++i) {
        HostBucket& bucket = hosts_->buckets[i];
        const uint32_t end = i < hosts_->bucketCount ? bucket.firstRank : begin;
        marks |= keepFirstOfEqual(begin, end) ? HOST_HAS_MORE : 0;
        begin = end;
        const uint32_t firstRank = rank;
        rank = fillBucket(bucket, rank);
        if (rank == hosts_->count) {
            bucket.firstRank = firstRank | marks;
            overflowing = 0;
            marks = 0;
        } else if (overflowing++ < MAX_HOST_STEPS && i < lastBucket) {
            bucket.firstRank = firstRank | marks | HOST_OVERFLOW;
        } else {
            return nullptr;
        }
    }
    return hosts_.release();
}

// Keeps the addresses at these positions that are not equal to one before them. They are those of one bucket, so all
// that are equal are among them. True when some are. What would not fit into the next buckets is not looked at, so that
// no address is compared with many; finish gives up there.
template <typename Address>
bool FlatHostsBuild<Address>::keepFirstOfEqual(uint32_t begin, uint32_t end) noexcept {
    constexpr uint32_t MOST_KEPT = BUCKET_PLACES * (MAX_HOST_STEPS + 1) + 1;
    Address* keys = hosts_->keys;
    const uint32_t firstKept = hosts_->count;
    uint32_t kept = firstKept;
    for (uint32_t i = begin; i < end && kept - firstKept < MOST_KEPT; ++i) {
        const Address address = keys[i];
        const bool isKept = std::none_of(keys + firstKept, keys + kept, [&](const Address& key) {
            return isSameHost(key, address);
        });
        if (isKept) {
            keys[kept] = address;
            hosts_->numbers[kept++] = hosts_->numbers[i];
        }
    }
    hosts_->count = kept;
    return kept - firstKept < end - begin;
}

// Gives the addresses without a place those of a bucket. Returns the rank of the next one without.
template <typename Address>
uint32_t FlatHostsBuild<Address>::fillBucket(HostBucket& bucket, uint32_t firstRank) noexcept {
    const uint32_t taken = std::min(BUCKET_PLACES, hosts_->count - firstRank);
    for (uint32_t i = 0; i < taken; ++i) {
        bucket.tags[i] = hostTagOf(hashHost(hosts_->seed, hosts_->keys[firstRank + i]));
    }
    return firstRank + taken;
}

template HostPlace findHostPlace<uint32_t>(const FlatHosts<uint32_t>&, const uint32_t&) noexcept;
template HostPlace findHostPlace<Address128>(const FlatHosts<Address128>&,
                                             const Address128&) noexcept;
template HostPlace findHostPlace<NameHash>(const FlatHosts<NameHash>&, const NameHash&) noexcept;
template void dropHostKeys<uint32_t>(FlatHosts<uint32_t>&) noexcept;
template void dropHostKeys<Address128>(FlatHosts<Address128>&) noexcept;
template void dropHostKeys<NameHash>(FlatHosts<NameHash>&) noexcept;
template void dropHostNumbers<uint32_t>(FlatHosts<uint32_t>&) noexcept;
template void dropHostNumbers<Address128>(FlatHosts<Address128>&) noexcept;
template void dropHostNumbers<NameHash>(FlatHosts<NameHash>&) noexcept;
template void freeFlatHosts<uint32_t>(FlatHosts<uint32_t>*) noexcept;
template void freeFlatHosts<Address128>(FlatHosts<Address128>*) noexcept;
template void freeFlatHosts<NameHash>(FlatHosts<NameHash>*) noexcept;
template class FlatHostsBuild<uint32_t>;
template class FlatHostsBuild<Address128>;
template class FlatHostsBuild<NameHash>;

}  // namespace rs
