// Host names in rules and keys: what is wrong with a bad one.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// What is wrong with a text that is no host name.
std::string whyBadHostName(std::string_view host);

// What is wrong with the host of a domain or URL rule, which may be a pattern.
std::string whyBadHostPattern(std::string_view host);

// What is wrong with a domain or URL rule that the library has no buffer for.
std::string whyCanonicalFormTooLong();

}  // namespace cli
