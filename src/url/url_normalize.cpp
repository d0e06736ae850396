#include "url/url_normalize.h"

#include "core/library_option.h"
#include "domain/host_name.h"
#include "syntax/text_writer.h"
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
constexpr Text SCHEME_END = literalText("://");

int32_t reportShort(NormalizedUrl& record, uint8_t field, int32_t status) noexcept {
    if (status == RULE_ERR_BUFFER_SMALL) {
        record.shortField = field;
    }
    return status;
}

int32_t writeScheme(Text scheme, NormalizedUrl& record) noexcept {
    if (scheme.length <= SCHEME_END.length) {
        record.schemeLength = 0;
        // Absent, or "//"; "://" has no name in front.
        return scheme.length == 0 || scheme.length == 2 ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    if (record.scheme == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    TextWriter writer(record.scheme, record.schemeLength);
    if (!writer.putLower(scheme.first(scheme.length - SCHEME_END.length))) {
        return reportShort(record, SHORT_SCHEME, RULE_ERR_BUFFER_SMALL);
    }
    record.schemeLength = writer.length();
    return RULE_OK;
}

int32_t writeHostName(Text host, NormalizedUrl& record) noexcept {
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

int32_t writeHost(const UrlParts& parts, NormalizedUrl& record) noexcept {
    if (parts.host.length == 0) {
        record.hostLength = 0;
        record.port = 0;
        return RULE_OK;
    }
    record.port = static_cast<uint16_t>(parts.port);
    if (parts.port == 0 && parts.portColon != nullptr) {
        return RULE_ERR_BAD_RULE;
    }
    if (record.host == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    return writeHostName(parts.host, record);
}

bool isFileScheme(const NormalizedUrl& record) noexcept {
    return Text{record.scheme, record.schemeLength} == literalText("file");
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
    const Text path = parts.rest.length != 0 ? parts.rest : literalText("/");
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
    if (url.isEmpty()) {
        return RULE_ERR_BAD_RULE;
    }
    const UrlParts parts = splitUrl(url);
    int32_t status = writeScheme(parts.scheme, *record);
    if (status == RULE_OK) {
        status = writeHost(parts, *record);
    }
    return status == RULE_OK ? writePath(parts, *record) : status;
}

}  // namespace rs
