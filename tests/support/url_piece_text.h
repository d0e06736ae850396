// The pieces of URLs as texts.
#pragma once

#include <optional>
#include <string>

#include "url/url_split.h"

namespace rs::test {

// Nothing for an absent piece.
inline std::optional<std::string> textOf(const UrlPiece& piece) {
    return piece.text == nullptr ? std::nullopt
                                 : std::optional(std::string(piece.text, piece.length));
}

// Rules and keys know no difference between an absent piece and an empty one.
inline std::string bytesOf(const UrlPiece& piece) {
    return piece.length == 0 ? std::string() : textOf(piece).value();
}

}  // namespace rs::test
