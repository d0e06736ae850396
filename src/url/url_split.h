// URL -> its pieces, borrowed from the text.
//
//     HTTP://user:pw@web.example.com:8080/a?b#c
//     scheme                                         HTTP://
//            userInfo                                user:pw@
//                    host                            web.example.com
//                                   portText, port   :8080
//                                        rest        /a?b#c
//
// The splitter finds boundaries and refuses nothing. A text without scheme is a host with what
// follows it ("a.example/x"), or a path ("/x"); "//" in front is an empty scheme.
//
// The port colon is the last ':' that is neither a part of "://" nor before a ']'. An '@' after it
// changes nothing. A port is digits without a leading zero, up to 65535. What follows the colon is
// a port only as a whole.
//
// Ownership:  the pieces borrow from the text.
// Threads:    none of its own: values in, values out.
// Cost:       one walk over the authority; the rest is not read.
#pragma once

#include <cstdint>

#include "syntax/text.h"

namespace rs {

// An absent part has a null text.
struct UrlParts {
    Text scheme;            // with "://"; or "//"
    Text userInfo;          // with '@'
    Text host;              // with brackets; never empty
    Text portText;          // ':' and digits of a valid port
    uint32_t port;          // 0 without one
    Text rest;              // path, query and fragment, from its '/', '?' or '#' on
    const char* portColon;  // null without one; set also when no valid port follows it
};

// An empty text has no parts.
[[nodiscard]] UrlParts splitUrl(Text url) noexcept;

}  // namespace rs
