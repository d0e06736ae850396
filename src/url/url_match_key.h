// URL -> UrlMatchKey: a URL in the canonical forms that rules are stored in.
//
//     HTTPS://User@WEB.Example.COM:8080/A%41?X+Y
//     scheme     https://               lower case; empty for "//" and for none
//     userInfo   User@                  as written; not used by lookups
//     host       web.example.com        as names are matched; a bracketed literal in its one form
//     port       8080                   0 without a valid port
//     path       /aa?x y                empty without one
//
//     scratch  [ https:// | User@ | web.example.com | :8080 | /aa?x y ]
//
// Ownership:  the texts of a key borrow from the scratch that it was parsed into.
// Threads:    none of its own: bytes in, bytes out.
// Cost:       linear in the length of the URL. Nothing is allocated.
#pragma once

#include <cstdint>

#include "syntax/text.h"

namespace rs {

struct UrlMatchKey {
    Text scheme;
    Text userInfo;
    Text host;
    Text path;
    uint16_t port;
};

inline constexpr uint32_t MAX_URL_SCRATCH = 4096;

// The scratch bytes that a URL of length bytes gets.
constexpr uint32_t urlScratchSize(uint32_t length) noexcept {
    return length <= MAX_URL_SCRATCH / 4 ? 4 * length : MAX_URL_SCRATCH;
}

// Splits a URL and writes its canonical pieces into scratch. RULE_ERR_INVALID_ARG for null
// arguments and a zero length; RULE_ERR_BUFFER_SMALL when they do not fit; RULE_ERR_BAD_RULE for a
// URL with neither host nor path, and for one without host that has a scheme or a port. Blanks are
// not trimmed.
[[nodiscard]] int32_t parseUrlForMatch(const char* url, uint32_t length, char* scratch,
                                       uint32_t* inOutCapacity, UrlMatchKey* key) noexcept;

}  // namespace rs
