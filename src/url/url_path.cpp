#include "url/url_path.h"

#include <ruleset.h>

#include "syntax/percent.h"

namespace rs {

void UrlPathCopier::enterState(char byte) noexcept {
    if (byte == '#') {
        state_ = State::FRAGMENT;
    } else if (byte == '?' && state_ == State::PATH) {
        state_ = State::QUERY;
    }
}

int32_t UrlPathCopier::begin(Text piece) noexcept {
    const char first = *piece.text;
    if (first != '/') {
        if (first != '?' && first != '#') {
            return RULE_ERR_BAD_RULE;
        }
        if (!out_.put('/')) {
            return RULE_ERR_BUFFER_SMALL;
        }
    }
    return append(piece);
}

int32_t UrlPathCopier::append(Text piece) noexcept {
    const uint32_t rawFlag = keepCase_ ? PERCENT_KEEP_CASE : 0;
    while (!piece.isEmpty()) {
        const char byte = *piece.text;
        const PercentByte next = readPercentByte(piece.text, piece.length, rawFlag);
        const bool isSpace = byte == '+' && state_ == State::QUERY;
        if (!out_.put(isSpace ? ' ' : next.byte)) {
            return RULE_ERR_BUFFER_SMALL;
        }
        // The byte as it is in the URL: a decoded '?' begins no query.
        enterState(byte);
        piece = piece.from(next.length);
    }
    return RULE_OK;
}

int32_t normalizeUrlPath(const char* rest, uint32_t length, char* out, uint32_t* inOutCapacity,
                         bool keepCase) noexcept {
    if (rest == nullptr || length == 0 || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    TextWriter writer(out, *inOutCapacity);
    const int32_t status = UrlPathCopier(writer, keepCase).begin({rest, length});
    if (status == RULE_OK) {
        *inOutCapacity = writer.length();
    }
    return status;
}

}  // namespace rs
