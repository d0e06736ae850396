// The pieces of URLs as strings.
#pragma once

#include <optional>
#include <string>

#include "syntax/text.h"

namespace rs::test {

// Nothing for an absent piece.
inline std::optional<std::string> textOf(Text piece) {
    return piece.text == nullptr ? std::nullopt
                                 : std::optional(std::string(piece.text, piece.length));
}

// Rules and keys know no difference between an absent piece and an empty one.
inline std::string bytesOf(Text piece) {
    return piece.length == 0 ? std::string() : textOf(piece).value();
}

}  // namespace rs::test
