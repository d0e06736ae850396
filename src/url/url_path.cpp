#include "url/url_path.h"

#include <ruleset.h>

#include <algorithm>
#include <bit>
#include <cstdint>

#include "syntax/byte_block.h"
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

namespace {

// Whether a whole block at out would overwrite bytes that are still to be read: a caller may normalize in place.
bool overlapsBlock(const char* out, Text piece) noexcept {
    const auto at = reinterpret_cast<uintptr_t>(out);
    return at < reinterpret_cast<uintptr_t>(piece.end()) &&
           reinterpret_cast<uintptr_t>(piece.begin()) < at + BLOCK_BYTES;
}

}  // namespace

// Copies the bytes up to the first one that is more than a letter to be lowered, of the next 16; returns how many. There
// must be room for a whole block.
uint32_t UrlPathCopier::copyPlainBytes(Text piece) noexcept {
    const ByteBlock block = firstBlock(piece.text, piece.length);
    const ByteBlock special =
        block.equalTo('%') | block.equalTo('+') | block.equalTo('?') | block.equalTo('#');
    (keepCase_ ? block : block.lowered()).store(out_.end());
    const uint32_t most = std::min(piece.length, BLOCK_BYTES);
    const auto count =
        static_cast<uint32_t>(std::countr_zero(special.bits() | uint32_t{1} << most));
    out_.addWritten(count);
    return count;
}

int32_t UrlPathCopier::append(Text piece) noexcept {
    const uint32_t rawFlag = keepCase_ ? PERCENT_KEEP_CASE : 0;
    while (!piece.isEmpty()) {
        if (out_.room() >= BLOCK_BYTES && !overlapsBlock(out_.end(), piece)) {
            const uint32_t count = copyPlainBytes(piece);
            piece = piece.from(count);
            if (count == BLOCK_BYTES || piece.isEmpty()) {
                continue;
            }
        }
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
