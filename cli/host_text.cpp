#include "host_text.h"

#include "core/text_buffer.h"
#include "domain/host_name.h"
#include "domain/punycode.h"
#include "text_output.h"

namespace cli {

std::string whyBadHostName(std::string_view host) {
    if (host.ends_with('.')) {
        host.remove_suffix(1);
    }
    for (;;) {
        const size_t dot = host.find('.');
        const std::string_view label = host.substr(0, dot);
        if (label.empty()) {
            return "empty label";
        }
        if (label.size() > rs::MAX_LABEL_LENGTH) {
            return "label over " + std::to_string(rs::MAX_LABEL_LENGTH) +
                   " bytes: " + shownText(label);
        }
        if (dot == std::string_view::npos) {
            return "not a host name";  // every label looks good: an escape or a code point is not
        }
        host.remove_prefix(dot + 1);
    }
}

std::string whyBadHostPattern(std::string_view host) {
    const size_t star = host.find('*');
    if (star != std::string_view::npos) {
        if (star != 0 || host.find('*', 1) != std::string_view::npos) {
            return "'*' only stands in front: \"*.\" and a host name, or alone";
        }
        if (host.size() > 1 && host[1] != '.') {
            return "'*' must be followed by '.'";
        }
        host.remove_prefix(host.size() > 1 ? 2 : 1);
    }
    const size_t forbidden = host.find_first_of("#/:?");
    if (forbidden != std::string_view::npos) {
        return std::string("'") + host[forbidden] + "' in a host name";
    }
    if (host.size() > rs::MAX_HOST_LENGTH) {
        return "host name over " + std::to_string(rs::MAX_HOST_LENGTH) + " bytes";
    }
    return whyBadHostName(host);
}

std::string whyCanonicalFormTooLong() {
    return "canonical form over " + std::to_string(rs::MAX_TEXT_BUFFER) + " bytes";
}

}  // namespace cli
