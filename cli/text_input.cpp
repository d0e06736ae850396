#include "text_input.h"

#include "syntax/ascii.h"

namespace cli {

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && rs::isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && rs::isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace cli
