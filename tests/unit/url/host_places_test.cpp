#include "url/host_places.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

// Names "host0", "host1" ... whose places are their numbers.
class Hosts {
public:
    explicit Hosts(uint32_t count) {
        EXPECT_TRUE(reserveHostPlaces(hosts_, count));
        for (uint32_t i = 0; i < count; ++i) {
            const std::string name = nameAt(i);
            addHostPlace(hosts_, name.data(), size32(name), i);
        }
    }
    Hosts(const Hosts&) = delete;
    Hosts& operator=(const Hosts&) = delete;
    ~Hosts() { freeHostPlaces(hosts_); }

    static std::string nameAt(uint32_t number) { return "host" + std::to_string(number); }

    // How many places it was asked for goes into asked.
    uint32_t find(const std::string& name, uint32_t& asked) const {
        const ExactText text(name);
        return findHostPlace(hosts_, text.data(), text.size(), [&](uint32_t place) {
            ++asked;
            return nameAt(place) == name;
        });
    }

private:
    HostPlaces hosts_{};
};

TEST(HostPlaces, OfNoHostsFindNone) {
    HostPlaces hosts{};
    EXPECT_EQ(NO_RECORD, findHostPlace(hosts, "a", 1, [](uint32_t) { return true; }));
    freeHostPlaces(hosts);
}

TEST(HostPlaces, FindEachHostAndNoOther) {
    for (const uint32_t count : {1U, 2U, 8U, 9U, 100U, 5000U}) {
        SCOPED_TRACE(count);
        const Hosts hosts(count);
        uint32_t asked = 0;
        for (uint32_t i = 0; i < count; ++i) {
            EXPECT_EQ(i, hosts.find(Hosts::nameAt(i), asked));
        }
        for (uint32_t i = count; i < 2 * count; ++i) {
            EXPECT_EQ(NO_RECORD, hosts.find(Hosts::nameAt(i), asked));
        }
        EXPECT_EQ(NO_RECORD, hosts.find("", asked));
    }
}

TEST(HostPlaces, SeldomAskForAHostThatIsNotThere) {
    constexpr uint32_t COUNT = 20000;
    const Hosts hosts(COUNT);
    uint32_t asked = 0;
    for (uint32_t i = COUNT; i < 2 * COUNT; ++i) {
        static_cast<void>(hosts.find(Hosts::nameAt(i), asked));
    }
    EXPECT_GT(COUNT / 20, asked);
}

}  // namespace

}  // namespace rs::test
