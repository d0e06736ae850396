// Host names in keys and rules: saying what is wrong with a bad one. These operations are called
// only for texts that the library has refused.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// What is wrong with a host name: the first bad label.
std::string whyBadHostName(std::string_view host);

// What is wrong with the host of a domain or URL rule: a host name, "*." and a host name, or "*".
std::string whyBadHostPattern(std::string_view host);

// What is wrong with a domain or URL rule that does not fit the library's largest buffer.
std::string whyCanonicalFormTooLong();

}  // namespace cli
