#include "url/host_places.h"

#include "core/lines.h"

namespace rs {

namespace {

// Five slots in eight are taken on average: one name in fifteen is not in its own word.
constexpr uint64_t NAMES_PER_GROUP = 5;

}  // namespace

bool reserveHostPlaces(HostPlaces& hosts, uint64_t count) noexcept {
    hosts = {newHashSeed(), count / NAMES_PER_GROUP + 1, nullptr, nullptr};
    hosts.tags = allocateLines<uint64_t>(hosts.groupCount);
    hosts.places = allocateLines<uint32_t>(hosts.groupCount * HOST_GROUP);
    return hosts.tags != nullptr && hosts.places != nullptr;
}

void addHostPlace(HostPlaces& hosts, const char* name, uint32_t length, uint32_t place) noexcept {
    const HostProbe probe = probeOf(hosts, name, length);
    uint64_t group = probe.group;
    while (hosts.tags[group] >> (8 * (HOST_GROUP - 1)) != 0) {
        group = group + 1 == hosts.groupCount ? 0 : group + 1;
    }
    const auto takenBits = static_cast<uint32_t>(std::bit_width(hosts.tags[group]));
    const uint32_t slot = (takenBits + 7) / 8;
    hosts.tags[group] |= probe.tag << (8 * slot);
    hosts.places[group * HOST_GROUP + slot] = place;
}

void freeHostPlaces(HostPlaces& hosts) noexcept {
    freeLines(hosts.tags);
    freeLines(hosts.places);
    hosts = {};
}

}  // namespace rs
