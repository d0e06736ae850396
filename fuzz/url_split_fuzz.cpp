// The splitter, and the key that a lookup makes of a URL: capacity byte, URL.
#include "url/url_split.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz_check.h"
#include "support/reference_url_text.h"
#include "support/text.h"
#include "support/url_piece_text.h"
#include "url/url_match_key.h"

namespace {

std::string portTextOf(uint32_t port) {
    return port == 0 ? "" : ":" + std::to_string(port);
}

void checkSplit(const rs::test::ExactText& text, std::string_view url) {
    const rs::test::SplitUrl expected = rs::test::splitUrlText(url);
    const rs::UrlParts parts = rs::splitUrl({text.data(), text.size()});
    rs::fuzz::check(expected.scheme == rs::test::textOf(parts.scheme), "the scheme");
    rs::fuzz::check(expected.userInfo == rs::test::textOf(parts.userInfo), "the user information");
    rs::fuzz::check(expected.host == rs::test::textOf(parts.host), "the host");
    rs::fuzz::check(expected.portText == rs::test::textOf(parts.portText), "the port text");
    rs::fuzz::check(expected.port == parts.port, "the port");
    rs::fuzz::check(expected.rest == rs::test::textOf(parts.rest), "the rest");
    rs::fuzz::check(
        parts.portColon == (expected.portColon ? text.data() + *expected.portColon : nullptr),
        "the port colon");
}

void checkKey(const rs::test::ExactText& text, std::string_view url, size_t capacity) {
    const rs::test::UrlKey expected = rs::test::readUrlKey(url, capacity);
    rs::fuzz::Output scratch(capacity);
    rs::UrlMatchKey key{};
    const int32_t status =
        rs::parseUrlForMatch(text.data(), text.size(), scratch.data(), scratch.inOutLength(), &key);
    rs::fuzz::check(status == expected.status, "the status of the key", capacity);
    rs::fuzz::check(status != RULE_OK || (expected.scheme == rs::test::bytesOf(key.scheme) &&
                                          expected.userInfo == rs::test::bytesOf(key.userInfo) &&
                                          expected.host == rs::test::bytesOf(key.host) &&
                                          expected.portText == portTextOf(key.port) &&
                                          expected.path == rs::test::bytesOf(key.path)),
                    "the key", capacity);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) {
        return 0;
    }
    std::string_view url = rs::fuzz::viewOf(data, size);
    const size_t capacity = rs::fuzz::takeCapacity(url);
    const rs::test::ExactText text(url);
    checkSplit(text, url);
    checkKey(text, url, capacity);
    checkKey(text, url, rs::urlScratchSize(text.size()));
    return 0;
}
