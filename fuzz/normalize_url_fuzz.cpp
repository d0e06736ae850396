// rs_normalize_URL: three capacity bytes, a byte whose bit 0 keeps the case of the path, URL.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_check.h"
#include "support/reference_url_text.h"
#include "support/text.h"

namespace {

void checkNormalized(std::string_view url, uint8_t keepPathCase,
                     const rs::test::UrlCapacities& capacities) {
    const rs::test::NormalizedFields expected =
        rs::test::normalizeUrlText(url, (keepPathCase & 1U) != 0, capacities);
    const rs::test::ExactText text(url);
    rs::fuzz::Output scheme(capacities.scheme);
    rs::fuzz::Output host(capacities.host);
    rs::fuzz::Output path(capacities.path);
    NormalizedUrl record{};
    record.scheme = scheme.data();
    record.schemeLength = scheme.length();
    record.host = host.data();
    record.hostLength = host.length();
    record.path = path.data();
    record.pathLength = path.length();
    record.keepPathCase = keepPathCase;
    const int32_t status = rs_normalize_URL(text.data(), text.size(), &record);
    rs::fuzz::check(status == expected.status, "the status");
    if (status == RULE_ERR_BUFFER_SMALL) {
        rs::fuzz::check(record.shortField == expected.shortField, "the short field");
    }
    if (status == RULE_OK) {
        rs::fuzz::check(std::string_view(record.scheme, record.schemeLength) == expected.scheme,
                        "the scheme");
        rs::fuzz::check(std::string_view(record.host, record.hostLength) == expected.host,
                        "the host");
        rs::fuzz::check(std::string_view(record.path, record.pathLength) == expected.path,
                        "the path");
        rs::fuzz::check(record.port == expected.port, "the port");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) {
        return 0;
    }
    std::string_view url = rs::fuzz::viewOf(data, size);
    rs::test::UrlCapacities capacities{};
    capacities.scheme = rs::fuzz::takeCapacity(url);
    capacities.host = rs::fuzz::takeCapacity(url);
    capacities.path = rs::fuzz::takeCapacity(url);
    const auto keepPathCase = static_cast<uint8_t>(url.front());
    url.remove_prefix(1);
    checkNormalized(url, keepPathCase, capacities);
    checkNormalized(url, keepPathCase, {8191, 8191, 8191});
    return 0;
}
