// Texts are read in blocks of sixteen bytes: each byte that means something at each place of texts whose lengths are
// those of whole blocks, one less and one more, against the references and in blocks of memory of exactly their size.
#include <ruleset.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "domain/host_name.h"
#include "domain/plain_name.h"
#include "support/group_shapes.h"
#include "support/reference_host.h"
#include "support/reference_ip.h"
#include "support/reference_url_text.h"
#include "support/text.h"
#include "support/url_piece_text.h"
#include "syntax/byte_block.h"
#include "syntax/ip_address.h"
#include "url/url_path.h"
#include "url/url_split.h"

namespace rs::test {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::array<size_t, 17> LENGTHS = {1,  2,  7,  8,  15, 16, 17, 31, 32,
                                            33, 47, 48, 49, 62, 63, 64, 65};

// Calls use(text) with texts of each length and one of the bytes at each place.
template <typename Use>
void forEachEdge(char filler, std::string_view bytes, const Use& use) {
    for (const size_t length : LENGTHS) {
        for (size_t at = 0; at < length && !::testing::Test::HasFailure(); ++at) {
            for (const char byte : bytes) {
                std::string text(length, filler);
                text[at] = byte;
                use(text);
            }
        }
    }
}

// At the capacities around what is needed, around the length of the text, and around that of a block.
template <typename Operation>
void expectOutcome(const Outcome& expected, std::string_view name, const Operation& operation) {
    const ExactText text(name);
    std::set<size_t> capacities = {0, 15, 16, 17};
    for (const size_t size : {expected.room, name.size(), name.size() + 16}) {
        capacities.insert({size == 0 ? 0 : size - 1, size, size + 1});
    }
    for (const size_t capacity : capacities) {
        const auto out = std::make_unique<char[]>(capacity);
        auto length = static_cast<uint32_t>(capacity);
        const int32_t status = operation(text.data(), text.size(), out.get(), &length);
        ASSERT_EQ(expected.statusAt(capacity), status) << name << " into " << capacity;
        if (status == RULE_OK) {
            ASSERT_EQ(expected.text, std::string_view(out.get(), length)) << capacity;
        } else {
            ASSERT_EQ(capacity, length) << name;
        }
    }
}

// Letters, digits, '-', '_' and single dots between them, of 63 bytes at most: what needs no more than one pass.
bool isPlainName(std::string_view name) {
    constexpr std::string_view BYTES = "abcdefghijklmnopqrstuvwxyz0123456789-_.";
    return name.size() <= LONGEST_PLAIN_NAME && name.front() != '.' &&
           lowerBytes(name).find_first_not_of(BYTES) == std::string::npos &&
           name.find("..") == std::string_view::npos;
}

template <typename Block>
void checkPlainWireName(std::string_view name) {
    const ExactText text(name);
    const auto out = std::make_unique<char[]>(plainNameRoom(text.size()) + 2);
    const uint32_t length = writePlainWireName<Block>(text.data(), text.size(), out.get());
    ASSERT_EQ(isPlainName(name), length != 0) << name;
    if (length != 0) {
        ASSERT_EQ(wireNameOf(matchHost(name).text), std::string_view(out.get(), length)) << name;
        ASSERT_EQ(0, out[length]) << name;
    }
}

void checkName(const std::string& name) {
    checkPlainWireName<ByteBlock>(name);
    checkPlainWireName<PortableBlock>(name);
    expectOutcome(strictHost(name), name, normalizeHostName);
    expectOutcome(ruleHost(name), name, normalizeRuleHost);
    expectOutcome(matchHost(name), name, normalizeMatchHost);
}

TEST(BlockEdges, OfNames) {
    constexpr std::string_view BYTES = ".-_@AZ[`az{/09:%# \0\x7F\x80\xC3\xFF"sv;
    forEachEdge('Q', BYTES, checkName);
    // Two dots: neighbours, at both ends, and far from each other.
    for (const size_t length : LENGTHS) {
        for (size_t first = 0; first < length; ++first) {
            for (const size_t second : {first + 1, first + 15, first + 16, first + 17}) {
                std::string name(length, 'q');
                name[first] = '.';
                name[second % length] = '.';
                checkName(name);
                checkName(name + "%41");
            }
        }
    }
}

void checkPath(const std::string& rest) {
    for (const bool keepCase : {false, true}) {
        expectOutcome(
            urlPath(rest, keepCase), rest,
            [keepCase](const char* text, uint32_t length, char* out, uint32_t* inOutCapacity) {
                return normalizeUrlPath(text, length, out, inOutCapacity, keepCase);
            });
    }
}

TEST(BlockEdges, OfPaths) {
    forEachEdge('Q', "%+?#/@AZ[`az{\x80\xFF"sv, [](const std::string& text) {
        checkPath('/' + text);
        checkPath('?' + text);
        checkPath('#' + text);
        checkPath('/' + text + "?a+b#c+d");
    });
    for (const std::string_view piece : {"%41", "%4", "%2f", "%3F", "%%41", "?+", "#+"}) {
        for (size_t before = 0; before <= 50; ++before) {
            std::string path = '/' + std::string(before, 'Q');
            path += piece;
            checkPath(path);
            checkPath(path + std::string(20, 'Q'));
        }
    }
}

// A seam goes through no escape in this test, as one does not reach over it.
TEST(BlockEdges, OfPathsInTwoPieces) {
    const std::string path = "/aQ" + std::string(20, 'R') + "?b+c" + std::string(20, 'S') + "#d+e";
    const std::string expected = urlPath(path, false).text;
    for (uint32_t seam = 1; seam <= path.size(); ++seam) {
        const ExactText first(path.substr(0, seam));
        const ExactText second(path.substr(seam));
        const auto out = std::make_unique<char[]>(path.size());
        TextWriter writer(out.get(), size32(path));
        UrlPathCopier copier(writer, false);
        ASSERT_EQ(RULE_OK, copier.begin({first.data(), first.size()}));
        ASSERT_EQ(RULE_OK, copier.append({second.data(), second.size()}));
        ASSERT_EQ(expected, std::string_view(out.get(), writer.length())) << seam;
    }
}

void checkSplit(const std::string& url) {
    const ExactText text(url);
    const SplitUrl expected = splitUrlText(url);
    const UrlParts parts = splitUrl({text.data(), text.size()});
    ASSERT_EQ(expected.scheme, textOf(parts.scheme)) << url;
    ASSERT_EQ(expected.userInfo, textOf(parts.userInfo)) << url;
    ASSERT_EQ(expected.host, textOf(parts.host)) << url;
    ASSERT_EQ(expected.portText, textOf(parts.portText)) << url;
    ASSERT_EQ(expected.port, parts.port) << url;
    ASSERT_EQ(expected.rest, textOf(parts.rest)) << url;
    ASSERT_EQ(expected.portColon ? text.data() + *expected.portColon : nullptr, parts.portColon)
        << url;
}

TEST(BlockEdges, OfUrls) {
    constexpr std::string_view BYTES = ":/@?#[].%\x80"sv;
    for (const std::string_view beginning :
         {"", "http://", "https://", "HTTP://", "//", "u:p@", "https://u@", "http:/", "[", "/"}) {
        forEachEdge('1', BYTES, [beginning](const std::string& text) {
            const std::string url = std::string(beginning) + text;
            checkSplit(url);
            checkSplit(url + "://x");
            checkSplit(url + "@[::1]:80/");
        });
    }
    // The beginnings that need no walk, and texts that are shorter than these.
    constexpr std::string_view BEGINNING = "https://a:1/";
    for (size_t length = 1; length <= BEGINNING.size(); ++length) {
        for (const std::string_view text : {BEGINNING, "http://a:1/b"sv, "http:///////"sv}) {
            checkSplit(std::string(text.substr(0, length)));
        }
    }
}

void checkIpv4(const std::string& address) {
    const ExactText text(address);
    const std::optional<uint32_t> expected = readIpv4Address(address);
    constexpr uint32_t BEFORE = 0xDEADBEEF;
    uint32_t value = BEFORE;
    ASSERT_EQ(expected ? RULE_OK : RULE_ERR_BAD_RULE,
              parseIPv4Address({text.data(), text.size()}, &value))
        << address;
    ASSERT_EQ(expected.value_or(BEFORE), value) << address;
}

void checkIpv6(const std::string& address) {
    const ExactText text(address);
    const std::optional<Number128> expected = readIpv6Address(address);
    Ipv6Groups groups{};
    ASSERT_EQ(expected ? RULE_OK : RULE_ERR_FAILED,
              parseIPv6Address({text.data(), text.size()}, &groups))
        << address;
    Number128 value = 0;
    for (const uint16_t group : groups) {
        value = value << 16U | group;
    }
    ASSERT_TRUE(value == expected.value_or(0)) << address;
}

// Calls use(text) with the text, and with each byte at each place: in place of the one there, and before it.
template <typename Use>
void forEachChange(std::string_view text, const Use& use) {
    use(std::string(text));
    for (size_t at = 0; at <= text.size() && !::testing::Test::HasFailure(); ++at) {
        for (uint32_t byte = 0; byte < 256; ++byte) {
            std::string longer(text);
            longer.insert(at, 1, static_cast<char>(byte));
            use(longer);
            if (at < text.size()) {
                std::string changed(text);
                changed[at] = static_cast<char>(byte);
                use(changed);
            }
        }
        if (at < text.size()) {
            std::string shorter(text);
            shorter.erase(at, 1);
            use(shorter);
        }
    }
}

TEST(BlockEdges, OfAddresses) {
    for (const std::string_view text :
         {"0.0.0.0", "1.2.3.4", "10.0.0.1", "255.255.255.255", "192.168.100.20", "249.250.1.99"}) {
        forEachChange(text, checkIpv4);
        forEachChange("::ffff:" + std::string(text), checkIpv6);
    }
    for (const std::string_view text :
         {"::", "::1", "1::", "2001:db8::1", "1:2:3:4:5:6:7:8",
          "1:2:3:4:5:6:7::", "FFFF:ffff:FfFf:0000:1234:5678:9abc:DEF0", "1:2:3:4:5:6:1.2.3.4"}) {
        forEachChange(text, checkIpv6);
    }
}

// Every field of every number of digits, in each of the four places.
TEST(BlockEdges, OfFieldsOfAddresses) {
    for (uint32_t field = 0; field < 1100; ++field) {
        for (uint32_t place = 0; place < 4; ++place) {
            for (const std::string_view zeros : {"", "0", "00"}) {
                std::string address;
                for (uint32_t i = 0; i < 4; ++i) {
                    address += i == 0 ? "" : ".";
                    address += i == place ? std::string(zeros) + std::to_string(field) : "7";
                }
                checkIpv4(address);
            }
        }
    }
}

}  // namespace

}  // namespace rs::test
