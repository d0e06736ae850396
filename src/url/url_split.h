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
// The port colon is the last ':' seen that neither belongs to "://" nor stands before a ']'; an '@'
// does not make it forgotten. A port is digits without a leading zero, up to 65535; what follows the
// colon is a port only as a whole.
#pragma once

#include <cstdint>

namespace rs {

struct UrlPiece {
    const char* text;  // null when the piece is absent
    uint32_t length;
};

struct UrlParts {
    UrlPiece scheme;    // with "://"; or "//"
    UrlPiece userInfo;  // with '@'
    UrlPiece host;      // with brackets; never empty
    UrlPiece portText;  // ':' and digits of a valid port
    uint32_t port;      // 0 without one
    UrlPiece rest;      // path, query and fragment, from its '/', '?' or '#' on
};

// *portColon is the port colon, or null; it is reported also when no valid port follows it.
// RULE_ERR_INVALID_ARG for null or zero arguments, otherwise RULE_OK.
int32_t splitUrl(const char* text, uint32_t length, UrlParts* parts,
                 const char** portColon) noexcept;

}  // namespace rs
