// URL -> UrlMatchKey.
#include <ruleset.h>

#include <algorithm>

#include "domain/host_name.h"
#include "syntax/ascii.h"
#include "url/ip_literal_host.h"
#include "url/url_match.h"
#include "url/url_path.h"

namespace rs {

namespace {

// The scratch buffer, filled from its start.
class KeyWriter {
public:
    KeyWriter(char* out, uint32_t capacity) noexcept : out_(out), capacity_(capacity) {}

    [[nodiscard]] char* end() const noexcept { return out_ + length_; }
    [[nodiscard]] uint32_t room() const noexcept { return capacity_ - length_; }
    [[nodiscard]] uint32_t length() const noexcept { return length_; }

    // The length bytes behind the end become a piece.
    UrlPiece take(uint32_t length) noexcept {
        const UrlPiece piece{end(), length};
        length_ += length;
        return piece;
    }

private:
    char* out_;
    uint32_t capacity_;
    uint32_t length_ = 0;
};

int32_t copyPiece(const UrlPiece& piece, bool lowerCase, KeyWriter& writer,
                  UrlPiece& out) noexcept {
    if (piece.length > writer.room()) {
        return RULE_ERR_BUFFER_SMALL;
    }
    if (lowerCase) {
        std::transform(piece.text, piece.text + piece.length, writer.end(), lowerAscii);
    } else {
        std::copy_n(piece.text, piece.length, writer.end());
    }
    out = writer.take(piece.length);
    return RULE_OK;
}

int32_t writeScheme(const UrlPiece& scheme, KeyWriter& writer, UrlMatchKey& key) noexcept {
    // "//" is shorter than the shortest scheme, "://".
    return scheme.length <= 2 ? RULE_OK : copyPiece(scheme, true, writer, key.scheme);
}

int32_t writeHost(const UrlParts& parts, KeyWriter& writer, UrlMatchKey& key) noexcept {
    if (parts.host.length == 0) {
        const bool isPathOnly =
            parts.rest.length != 0 && parts.scheme.length == 0 && parts.portText.length == 0;
        return isPathOnly ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    uint32_t length = writer.room();
    int32_t status =
        normalizeIpLiteralHost(parts.host.text, parts.host.length, writer.end(), &length);
    if (status != RULE_OK) {
        status = normalizeMatchHost(parts.host.text, parts.host.length, writer.end(), &length);
    }
    if (status != RULE_OK) {
        return status;
    }
    key.host = writer.take(length);
    return copyPiece(parts.portText, false, writer, key.portText);
}

int32_t writePath(const UrlPiece& rest, KeyWriter& writer, UrlMatchKey& key) noexcept {
    if (rest.length == 0) {
        return RULE_OK;
    }
    uint32_t length = writer.room();
    const int32_t status = normalizeUrlPath(rest.text, rest.length, writer.end(), &length, false);
    if (status == RULE_OK) {
        key.path = writer.take(length);
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
    UrlParts parts{};
    const char* portColon = nullptr;
    if (splitUrl(url, length, &parts, &portColon) != RULE_OK) {
        return RULE_ERR_INVALID_ARG;
    }
    *key = {};
    KeyWriter writer(scratch, *inOutCapacity);
    int32_t status = writeScheme(parts.scheme, writer, *key);
    if (status == RULE_OK) {
        status = copyPiece(parts.userInfo, false, writer, key->userInfo);
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
