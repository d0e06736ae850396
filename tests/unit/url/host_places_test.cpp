#include "url/host_places.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text.h"

namespace rs::test {

namespace {

// Names "host0", "host1" ... with these numbers.
class Hosts {
public:
    explicit Hosts(uint32_t count) {
        EXPECT_TRUE(buildHostPlaces(hosts_, count, [count](const auto& add) {
            for (uint32_t i = 0; i < count; ++i) {
                const std::string name = nameAt(i);
                add(name.data(), size32(name), i);
            }
        }));
        EXPECT_EQ(count, countHosts(hosts_));
    }
    Hosts(const Hosts&) = delete;
    Hosts& operator=(const Hosts&) = delete;
    ~Hosts() { freeHostPlaces(hosts_); }

    static std::string nameAt(uint32_t number) { return "host" + std::to_string(number); }

    // How many places it was asked for goes into asked.
    uint32_t find(const std::string& name, uint32_t& asked) const {
        const ExactText text(name);
        const uint32_t rank = findHostRank(hosts_, text.data(), text.size(), [&](size_t candidate) {
            ++asked;
            return nameAt(numberOfRank(hosts_, static_cast<uint32_t>(candidate))) == name;
        });
        return rank == NO_RECORD ? NO_RECORD : numberOfRank(hosts_, rank);
    }

private:
    HostPlaces hosts_{};
};

TEST(HostPlaces, OfNoHostsFindNone) {
    HostPlaces hosts{};
    EXPECT_EQ(0U, countHosts(hosts));
    EXPECT_EQ(NO_RECORD, findHostRank(hosts, "a", 1, [](size_t) { return true; }));
    dropNumbers(hosts);
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

// The one seed after the other is tried; a name that is there twice has one hash with each.
TEST(HostPlaces, AreNotBuiltForEqualNames) {
    HostPlaces hosts{};
    EXPECT_FALSE(buildHostPlaces(hosts, 2, [](const auto& add) {
        add("a", 1, 0);
        add("a", 1, 1);
    }));
    EXPECT_EQ(0U, countHosts(hosts));
}

}  // namespace

}  // namespace rs::test
