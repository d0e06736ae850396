// Texts of URLs and URL rules, taken apart and normalized piece by piece, sharing no code with the library.
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "support/reference_host.h"

namespace rs::test {

inline constexpr uint32_t HTTP_PORT = 80;
inline constexpr uint32_t HTTPS_PORT = 443;

// A port without a leading zero; 0 for anything else.
uint32_t readUrlPort(std::string_view text);

// Whether path, query or fragment begin with the byte.
bool beginsRest(char byte);

struct SplitUrl {
    std::optional<std::string> scheme;    // with "://"; or "//"
    std::optional<std::string> userInfo;  // with '@'
    std::optional<std::string> host;      // never empty
    std::optional<std::string> portText;  // ':' and digits
    std::optional<std::string> rest;      // from its '/', '?' or '#' on
    uint32_t port = 0;
    std::optional<size_t> portColon;  // where the port colon is, with a valid port or without
};

SplitUrl splitUrlText(std::string_view text);

// A bracketed IPv6 literal in its canonical form.
Outcome ipLiteralHost(std::string_view host);

// A path with query and fragment.
Outcome urlPath(std::string_view rest, bool keepCase);

// What rs_normalize_URL answers when its buffers have these capacities.
struct UrlCapacities {
    size_t scheme;
    size_t host;
    size_t path;
};

struct NormalizedFields {
    int32_t status;
    uint8_t shortField = 0;  // with RULE_ERR_BUFFER_SMALL; all others with RULE_OK
    std::string scheme;
    std::string host;
    std::string path;
    uint32_t port = 0;
};

NormalizedFields normalizeUrlText(std::string_view text, bool keepCase,
                                  const UrlCapacities& capacities, bool ipv6Enabled = true);

struct UrlRuleForm {
    int32_t status;
    std::string scheme;  // "https", or empty
    std::string host;    // as stored, "*." included
    bool isWildcardHost = false;
    std::string path;  // empty without one
    size_t wildcardOffset = 0;
    uint32_t portLow = 0;
    uint32_t portHigh = 0;

    std::string stored() const { return scheme + host + path; }
};

UrlRuleForm readUrlRule(std::string_view text, size_t capacity, bool ipv6Enabled = true);

struct UrlKey {
    int32_t status;
    std::string scheme;  // with "://"; empty for "//"
    std::string userInfo;
    std::string host;
    std::string portText;
    std::string path;
};

UrlKey readUrlKey(std::string_view url, size_t capacity);

// With the room that lookups give it.
UrlKey readUrlKey(std::string_view url);

}  // namespace rs::test
