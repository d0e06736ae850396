// What does this text say? No rules are asked.
//
//   text_ipv4    a dotted quad as a number           ruleset: parseIPv4Address      inet_pton
//   text_ipv6    an IPv6 address as its bytes        ruleset: parseIPv6Address      inet_pton
//   text_names   a name in canonical form            ruleset: normalizeMatchHost    libidn2: idn2_lookup_u8
//   text_idn     likewise, with letters beyond ASCII
//   text_urls    host, and path with query, of a URL ruleset: parseUrlForMatch      uriparser, libcurl
//
// Each takes what its peers do: texts for inet_pton, libidn2 and libcurl end with a zero byte. uriparser cuts pieces out
// and does not bring them into canonical form; libcurl brings the scheme and the host into lower case. All keys are in a
// form that this leaves alone, and the answers are compared.
#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <cstring>
#include <idn2.h>
#include <memory>
#include <string>
#include <string_view>

#include "contest.h"
#include "domain/host_name.h"
#include "doors.h"
#include "keys.h"
#include "questions.h"
#include "syntax/ip_address.h"
#include "url/url_match_key.h"
#include "url_readers.h"

namespace bench {
namespace {

constexpr size_t KEY_COUNT = size_t{1} << 18U;
constexpr const char* READER = "ruleset";

// A number for a text, so that answers can be compared: eight bytes at a time, which costs little beside reading it.
uint32_t digestOf(std::string_view text, uint64_t digest = 0) {
    for (; text.size() >= sizeof(digest); text.remove_prefix(sizeof(digest))) {
        uint64_t word = 0;
        std::memcpy(&word, text.data(), sizeof(word));
        digest = (digest ^ word) * 0x9E3779B97F4A7C15;
    }
    uint64_t word = text.size();
    for (const char byte : text) {
        word = word << 8U | static_cast<uint8_t>(byte);
    }
    return static_cast<uint32_t>((digest ^ word) * 0x9E3779B97F4A7C15 >> 32U);
}

std::string_view withoutZero(std::string_view text) {
    return text.substr(0, text.size() - 1);
}

// read(text) has the text with the zero byte at its end.
template <typename Read>
void addReader(Contest<TextList>& contest, const char* name, Read read) {
    contest.add(
        name, oneByOne<TextList>([read](const TextList& keys, size_t i) { return read(keys[i]); }));
}

// ------------------------------------------------------------------------------------------------ addresses

TextList addressTexts(const auto& addressOfNumber) {
    Random random(9);
    TextList keys;
    for (size_t i = 0; i < KEY_COUNT; ++i) {
        keys.add(textOf(addressOfNumber(random)) + '\0');
    }
    return keys;
}

void askIpv4(const Options& options) {
    Contest<TextList> contest(options, "text_ipv4", 0);
    addReader(contest, READER, [](std::string_view text) {
        uint32_t address = 0;
        const int32_t status = rs::parseIPv4Address(textOf(withoutZero(text)), &address);
        return status == RULE_OK ? address : 0;
    });
    addReader(contest, "inet_pton", [](std::string_view text) {
        in_addr address{};
        return inet_pton(AF_INET, text.data(), &address) == 1 ? ntohl(address.s_addr) : 0;
    });
    contest.measure("all",
                    addressTexts([](Random& random) { return static_cast<Ipv4>(random.next()); }));
}

uint32_t digestOf(const Ipv6Bytes& bytes) {
    return digestOf({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void askIpv6(const Options& options) {
    Contest<TextList> contest(options, "text_ipv6", 0);
    addReader(contest, READER, [](std::string_view text) {
        rs::Ipv6Groups groups{};
        if (rs::parseIPv6Address(textOf(withoutZero(text)), &groups) != RULE_OK) {
            return 0U;
        }
        Ipv6Bytes bytes{};
        for (size_t i = 0; i < groups.size(); ++i) {
            const uint16_t group = htons(groups[i]);
            std::memcpy(&bytes[2 * i], &group, sizeof(group));
        }
        return digestOf(bytes);
    });
    addReader(contest, "inet_pton", [](std::string_view text) {
        Ipv6Bytes bytes{};
        return inet_pton(AF_INET6, text.data(), bytes.data()) == 1 ? digestOf(bytes) : 0;
    });
    // Half are full, half have "::" in the middle, as those of machines that somebody numbered.
    contest.measure("all", addressTexts([](Random& random) {
                        const uint64_t high = uint64_t{1} << 61U | random.next() >> 3U;
                        const uint64_t low = random.next();
                        return Ipv6{high, random.below(2) == 0 ? low : low >> 48U};
                    }));
}

// ------------------------------------------------------------------------------------------------ names

void askForm(const Options& options, const char* question, const TextList& keys) {
    Contest<TextList> contest(options, question, 0);
    addReader(contest, READER, [](std::string_view text) {
        std::array<char, rs::MAX_HOST_LENGTH> name;
        auto length = static_cast<uint32_t>(name.size());
        const auto given = static_cast<uint32_t>(text.size() - 1);
        return rs::normalizeMatchHost(text.data(), given, name.data(), &length) == RULE_OK
                   ? digestOf({name.data(), length})
                   : 0;
    });
    addReader(contest, "libidn2", [](std::string_view text) {
        uint8_t* form = nullptr;
        const int status = idn2_lookup_u8(reinterpret_cast<const uint8_t*>(text.data()), &form,
                                          IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL);
        const uint32_t digest =
            status == IDN2_OK ? digestOf(std::string_view(reinterpret_cast<char*>(form))) : 0;
        idn2_free(form);
        return digest;
    });
    contest.measure("all", keys);
}

TextList nameTexts() {
    TextList names;
    for (size_t i = 0; i < KEY_COUNT; ++i) {
        names.add("www." + makeName(i, 5));
    }
    const TextList written = asWritten(names);
    TextList keys;
    for (size_t i = 0; i < written.size(); ++i) {
        keys.add(std::string(written[i]) + '\0');
    }
    return keys;
}

TextList internationalTexts() {
    constexpr std::array<const char*, 6> WORDS = {
        "b\u00FCcher",  "\u043F\u0440\u0438\u043C\u0435\u0440", "\u4F8B\u5B50",
        "espa\u00F1ol", "\u03B4\u03BF\u03BA\u03B9\u03BC\u03AE", "caf\u00E9"};
    Random random(10);
    TextList keys;
    for (size_t i = 0; i < KEY_COUNT; ++i) {
        keys.add(std::string(WORDS[random.below(WORDS.size())]) +
                 std::to_string(random.below(100)) + "." + makeName(i, 5) + '\0');
    }
    return keys;
}

// ------------------------------------------------------------------------------------------------ URLs

template <typename Reader>
void addUrlReader(Contest<TextList>& contest, const char* name) {
    const auto reader = std::make_shared<Reader>();
    addReader(contest, name, [reader](std::string_view text) {
        return reader->read(withoutZero(text)) ? digestOf(reader->path(), digestOf(reader->host()))
                                               : 0;
    });
}

TextList urlTexts() {
    TextList rules;
    for (size_t i = 0; i < KEY_COUNT; ++i) {
        rules.add(makeName(i, 6) + makePath(i));
    }
    const TextList urls = urlHits(rules, KEY_COUNT);
    TextList keys;
    for (size_t i = 0; i < urls.size(); ++i) {
        keys.add(std::string(urls[i]) + '\0');
    }
    return keys;
}

void askUrlText(const Options& options) {
    Contest<TextList> contest(options, "text_urls", 0);
    addReader(contest, READER, [](std::string_view text) {
        std::array<char, rs::MAX_URL_SCRATCH> scratch;
        const auto length = static_cast<uint32_t>(text.size() - 1);
        uint32_t capacity = rs::urlScratchSize(length);
        rs::UrlMatchKey key{};
        const int32_t status =
            rs::parseUrlForMatch(text.data(), length, scratch.data(), &capacity, &key);
        return status == RULE_OK
                   ? digestOf(std::string_view(key.path.text, key.path.length),
                              digestOf(std::string_view(key.host.text, key.host.length)))
                   : 0;
    });
    addUrlReader<UriparserReader>(contest, "uriparser");
    addUrlReader<CurlReader>(contest, "libcurl");
    contest.measure("all", urlTexts());
}

}  // namespace

void askTexts(const Options& options, const ListKind& /*kind*/, const RuleList& /*list*/) {
    askIpv4(options);
    askIpv6(options);
    askForm(options, "text_names", nameTexts());
    askForm(options, "text_idn", internationalTexts());
    askUrlText(options);
}

}  // namespace bench
