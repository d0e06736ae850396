#include "url/url_normalize.h"

#include <algorithm>
#include <string_view>

#include "core/library_option.h"
#include "domain/host_name.h"
#include "syntax/ascii.h"
#include "syntax/text.h"
#include "url/ip_literal_host.h"
#include "url/url_path.h"
#include "url/url_split.h"

namespace rs {

namespace {

// Values of shortField.
constexpr uint8_t SHORT_SCHEME = 1;
constexpr uint8_t SHORT_HOST = 2;
constexpr uint8_t SHORT_PATH = 3;

constexpr uint8_t KEEP_PATH_CASE = 1;
constexpr std::string_view SCHEME_END = "://";

int32_t reportShort(NormalizedUrl& record, uint8_t field, int32_t status) noexcept {
    if (status == RULE_ERR_BUFFER_SMALL) {
        record.shortField = field;
    }
    return status;
}

int32_t writeScheme(const UrlPiece& scheme, NormalizedUrl& record) noexcept {
    if (scheme.length <= SCHEME_END.size()) {
        record.schemeLength = 0;
        // Absent, or "//"; "://" has no name in front.
        return scheme.length == 0 || scheme.length == 2 ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    if (record.scheme == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const uint32_t length = scheme.length - static_cast<uint32_t>(SCHEME_END.size());
    if (length > record.schemeLength) {
        return reportShort(record, SHORT_SCHEME, RULE_ERR_BUFFER_SMALL);
    }
    std::transform(scheme.text, scheme.text + length, record.scheme, lowerAscii);
    record.schemeLength = length;
    return RULE_OK;
}

int32_t writeHostName(const UrlPiece& host, NormalizedUrl& record) noexcept {
    uint32_t length = record.hostLength;
    int32_t status = normalizeIpLiteralHost(host.text, host.length, record.host, &length);
    if (status == RULE_OK && ipv6Enabled == 0) {
        return RULE_ERR_BAD_RULE;
    }
    if (status == RULE_ERR_BAD_RULE) {
        status = normalizeRuleHost(host.text, host.length, record.host, &length);
    }
    if (status != RULE_OK) {
        return reportShort(record, SHORT_HOST, status);
    }
    if (length == 0 || length > MAX_HOST_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    record.hostLength = length;
    return RULE_OK;
}

int32_t writeHost(const UrlParts& parts, const char* portColon, NormalizedUrl& record) noexcept {
    if (parts.host.length == 0) {
        record.hostLength = 0;
        record.port = 0;
        return RULE_OK;
    }
    record.port = static_cast<uint16_t>(parts.port);
    if (parts.port == 0 && portColon != nullptr) {
        return RULE_ERR_BAD_RULE;
    }
    if (record.host == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return writeHostName(parts.host, record);
}

bool isFileScheme(const NormalizedUrl& record) noexcept {
    return std::string_view(record.scheme, record.schemeLength) == "file";
}

int32_t writePath(const UrlParts& parts, NormalizedUrl& record) noexcept {
    const bool hasHost = parts.host.length != 0;
    if (parts.rest.length == 0 && !hasHost) {
        record.pathLength = 0;
        return record.schemeLength == 0 ? RULE_ERR_BAD_RULE : RULE_OK;
    }
    if (parts.scheme.length != 0 && !hasHost && !isFileScheme(record)) {
        return RULE_ERR_BAD_RULE;
    }
    if (record.path == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const UrlPiece path = parts.rest.length != 0 ? parts.rest : UrlPiece{"/", 1};
    const bool keepCase = (record.keepPathCase & KEEP_PATH_CASE) != 0;
    const int32_t status =
        normalizeUrlPath(path.text, path.length, record.path, &record.pathLength, keepCase);
    return reportShort(record, SHORT_PATH, status);
}

}  // namespace

int32_t normalizeUrl(const char* text, uint32_t length, NormalizedUrl* record) noexcept {
    if (text == nullptr || length == 0 || record == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const Text url = trimBlanks({text, length});
    UrlParts parts{};
    const char* portColon = nullptr;
    if (url.isEmpty() || splitUrl(url.text, url.length, &parts, &portColon) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    int32_t status = writeScheme(parts.scheme, *record);
    if (status == RULE_OK) {
        status = writeHost(parts, portColon, *record);
    }
    return status == RULE_OK ? writePath(parts, *record) : status;
}

}  // namespace rs
