// The canonical form of the path, query and fragment of a URL.
//
//     /A%41?X+Y#Z+W   ->   /aa?x y#z+w      lower case, escapes decoded, '+' a space in the query
//     ?q              ->   /?q              a path begins with '/'
//
// Segments "." and ".." and repeated slashes stay. Decoded bytes are not looked at again: "%3F" is a
// '?' that begins no query.
//
// Threads:    none of its own: bytes in, bytes out.
// Cost:       linear in the length of the path. Nothing is allocated.
#pragma once

#include <cstdint>

#include "syntax/text_writer.h"

namespace rs {

// Copies a path piece by piece: the state, path, query or fragment, goes on from one piece to the
// next.
class UrlPathCopier {
public:
    UrlPathCopier(TextWriter& out, bool keepCase) noexcept : out_(out), keepCase_(keepCase) {}

    // Copies the first piece, which has a byte at least: '/', or '?' or '#', before which a '/' is
    // written. RULE_ERR_BAD_RULE for any other first byte, RULE_ERR_BUFFER_SMALL.
    [[nodiscard]] int32_t begin(Text piece) noexcept;

    // Copies a further piece. RULE_ERR_BUFFER_SMALL.
    [[nodiscard]] int32_t append(Text piece) noexcept;

private:
    enum class State : uint8_t { PATH, QUERY, FRAGMENT };

    uint32_t copyPlainBytes(Text piece) noexcept;
    void enterState(char byte) noexcept;

    TextWriter& out_;
    bool keepCase_;
    State state_ = State::PATH;
};

// Copies a whole path. keepCase keeps letters and decoded bytes as they are. *inOutCapacity is the
// capacity in and the length out. RULE_ERR_INVALID_ARG for null or zero arguments, otherwise as
// UrlPathCopier::begin.
[[nodiscard]] int32_t normalizeUrlPath(const char* rest, uint32_t length, char* out,
                                       uint32_t* inOutCapacity, bool keepCase) noexcept;

}  // namespace rs
