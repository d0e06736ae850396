#include "url/url_path.h"

#include <ruleset.h>

#include "syntax/percent.h"

namespace rs {

bool UrlPathCopier::put(char byte) noexcept {
    if (length_ == capacity_) {
        return false;
    }
    out_[length_++] = byte;
    return true;
}

void UrlPathCopier::enterState(char byte) noexcept {
    if (byte == '#') {
        state_ = State::FRAGMENT;
    } else if (byte == '?' && state_ == State::PATH) {
        state_ = State::QUERY;
    }
}

int32_t UrlPathCopier::begin(const char* text, uint32_t length) noexcept {
    if (text[0] != '/') {
        if (text[0] != '?' && text[0] != '#') {
            return RULE_ERR_BAD_RULE;
        }
        if (!put('/')) {
            return RULE_ERR_BUFFER_SMALL;
        }
    }
    return append(text, length);
}

int32_t UrlPathCopier::append(const char* text, uint32_t length) noexcept {
    const uint32_t rawFlag = keepCase_ ? PERCENT_KEEP_CASE : 0;
    for (uint32_t i = 0; i < length;) {
        const PercentByte next = readPercentByte(text + i, length - i, rawFlag);
        const bool isSpace = text[i] == '+' && state_ == State::QUERY;
        if (!put(isSpace ? ' ' : next.byte)) {
            return RULE_ERR_BUFFER_SMALL;
        }
        enterState(text[i]);
        i += next.length;
    }
    return RULE_OK;
}

int32_t normalizeUrlPath(const char* rest, uint32_t length, char* out, uint32_t* inOutCapacity,
                         bool keepCase) noexcept {
    if (rest == nullptr || length == 0 || out == nullptr || inOutCapacity == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    UrlPathCopier copier(out, *inOutCapacity, keepCase);
    const int32_t status = copier.begin(rest, length);
    if (status == RULE_OK) {
        *inOutCapacity = copier.length();
    }
    return status;
}

}  // namespace rs
