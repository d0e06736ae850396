#include "url/url_match_key.h"

#include <ruleset.h>

#include "domain/host_name.h"
#include "syntax/text_writer.h"
#include "url/ip_literal_host.h"
#include "url/url_path.h"
#include "url/url_split.h"

namespace rs {

namespace {

int32_t writeUserInfo(Text userInfo, TextWriter& writer, UrlMatchKey& key) noexcept {
    const uint32_t start = writer.length();
    if (!writer.put(userInfo)) {
        return RULE_ERR_BUFFER_SMALL;
    }
    key.userInfo = writer.from(start);
    return RULE_OK;
}

int32_t writeScheme(Text scheme, TextWriter& writer, UrlMatchKey& key) noexcept {
    if (scheme.length <= 2) {
        return RULE_OK;  // "//" is shorter than the shortest scheme, "://"
    }
    if (!writer.putLower(scheme)) {
        return RULE_ERR_BUFFER_SMALL;
    }
    key.scheme = writer.from(0);
    return RULE_OK;
}

int32_t writeHost(const UrlParts& parts, TextWriter& writer, UrlMatchKey& key) noexcept {
    if (parts.host.isEmpty()) {
        const bool isPathOnly =
            !parts.rest.isEmpty() && parts.scheme.isEmpty() && parts.portText.isEmpty();
        return isPathOnly ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    const Text host = parts.host;
    const uint32_t start = writer.length();
    const int32_t status = writer.append([host](char* out, uint32_t* inOutCapacity) noexcept {
        // Deliberate: a literal without room for its canonical form is taken as it is written.
        return normalizeIpLiteralHost(host.text, host.length, out, inOutCapacity) == RULE_OK
                   ? RULE_OK
                   : normalizeMatchHost(host.text, host.length, out, inOutCapacity);
    });
    if (status != RULE_OK) {
        return status;
    }
    key.host = writer.from(start);
    key.port = static_cast<uint16_t>(parts.port);
    // Deliberate: the digits take their room although lookups read the number. Whether a URL is too
    // long for its scratch depends on all of its pieces.
    return writer.put(parts.portText) ? RULE_OK : RULE_ERR_BUFFER_SMALL;
}

int32_t writePath(Text rest, TextWriter& writer, UrlMatchKey& key) noexcept {
    if (rest.isEmpty()) {
        return RULE_OK;
    }
    const uint32_t start = writer.length();
    const int32_t status = UrlPathCopier(writer, false).begin(rest);
    if (status == RULE_OK) {
        key.path = writer.from(start);
    }
    return status;
}

}  // namespace

int32_t parseUrlForMatch(const char* url, uint32_t length, char* scratch, uint32_t* inOutCapacity,
                         UrlMatchKey* key) noexcept {
    if (url == nullptr || scratch == nullptr || inOutCapacity == nullptr || key == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (*inOutCapacity == 0) {
        return RULE_ERR_BUFFER_SMALL;
    }
    if (length == 0) {
        return RULE_ERR_INVALID_ARG;
    }
    const UrlParts parts = splitUrl({url, length});
    *key = {};
    TextWriter writer(scratch, *inOutCapacity);
    int32_t status = writeScheme(parts.scheme, writer, *key);
    if (status == RULE_OK) {
        status = writeUserInfo(parts.userInfo, writer, *key);
    }
    if (status == RULE_OK) {
        status = writeHost(parts, writer, *key);
    }
    if (status == RULE_OK) {
        status = writePath(parts.rest, writer, *key);
    }
    if (status == RULE_OK) {
        *inOutCapacity = writer.length();
    }
    return status;
}

}  // namespace rs
