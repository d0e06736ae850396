// Punycode against an independent encoder, that of libidn2, where that is installed.
#include <ruleset.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <idn2.h>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "domain/punycode.h"
#include "support/random_source.h"
#include "support/reference_host.h"

namespace rs::test {

namespace {

struct Letters {
    uint32_t first;
    uint32_t last;
};

// Letters that need no mapping, so that the peer encodes them as they are; read from left to right,
// for it refuses labels of mixed direction.
const std::vector<Letters> SCRIPTS{
    {'a', 'z'},       {'0', '9'},       {0xE0, 0xF6},     {0x101, 0x101},     {0x3B1, 0x3C9},
    {0x430, 0x45F},   {0x561, 0x586},   {0xE01, 0xE2E},   {0x10D0, 0x10F0},   {0x1200, 0x1246},
    {0x3041, 0x3096}, {0x4E00, 0x9FA5}, {0xAC00, 0xD7A3}, {0x10428, 0x1044F}, {0x20000, 0x2A6D6},
};

std::vector<uint32_t> randomCodePoints(RandomSource& random) {
    std::vector<uint32_t> codePoints;
    const uint64_t count = random.between(1, random.oneIn(4) ? 63 : 12);
    const Letters script = random.pick(SCRIPTS);
    const uint64_t strangers = random.between(1, 10);
    while (codePoints.size() < count) {
        const Letters letters = random.oneIn(strangers) ? random.pick(SCRIPTS) : script;
        codePoints.push_back(static_cast<uint32_t>(random.between(letters.first, letters.last)));
    }
    return codePoints;
}

struct PeerLabel {
    int status;
    std::string text;
};

PeerLabel encodeByPeer(const std::vector<uint32_t>& codePoints) {
    std::vector<uint32_t> terminated = codePoints;
    terminated.push_back(0);
    char* label = nullptr;
    const int status = idn2_to_ascii_4z(terminated.data(), &label, IDN2_NO_TR46);
    const PeerLabel result{status, status == IDN2_OK ? label : ""};
    idn2_free(label);
    return result;
}

}  // namespace

TEST(PunycodePeerProperty, AgreesWithLibidn2) {
    uint64_t cases = 0;
    uint64_t compared = 0;
    forEachCase(120000, [&](RandomSource& random) {
        const std::vector<uint32_t> codePoints = randomCodePoints(random);
        SCOPED_TRACE(::testing::PrintToString(codePoints));
        std::array<char, 1024> out{};
        auto length = static_cast<uint32_t>(out.size());
        const int32_t status =
            punycodeEncode(codePoints.data(), static_cast<uint32_t>(codePoints.size()), out.data(),
                           &length, true, false);
        const PeerLabel peer = encodeByPeer(codePoints);
        ++cases;
        if (peer.status == IDN2_TOO_BIG_LABEL) {
            ++compared;
            EXPECT_EQ(RULE_ERR_BAD_RULE, status);
        } else if (peer.status == IDN2_OK) {
            ++compared;
            EXPECT_EQ(RULE_OK, status);
            EXPECT_EQ(peer.text, std::string(out.data(), length));
            EXPECT_EQ(peer.text, encodePunycode(codePoints));
        }
    });
    // The peer refuses few: letters of which it wants a composed form, and those that came later than its tables.
    EXPECT_LT(cases * 4 / 5, compared);
}

}  // namespace rs::test
