// URL -> canonical scheme, host, port and path.
//
//     HTTPS://User@WEB.Example.COM:8080/A%41?X+Y
//     scheme     https
//     host       web.example.com
//     port       8080
//     path       /aa?x y
//
// Ownership:  the caller owns the record and its buffers.
// Threads:    none of its own: bytes in, bytes out.
// Cost:       linear in the length of the text. Nothing is allocated.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// rs_normalize_URL of <ruleset.h>, which says what it returns.
[[nodiscard]] int32_t normalizeUrl(const char* text, uint32_t length,
                                   NormalizedUrl* record) noexcept;

}  // namespace rs
