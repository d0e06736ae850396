// ruleset normalize: the canonical scheme, host, port and path of URLs.
#pragma once

#include <string>
#include <vector>

namespace cli {

struct NormalizeOptions {
    std::vector<std::string> urls;  // empty: lines of standard input
    bool asJson = false;
    bool keepCase = false;
};

// Returns EXIT_YES, or EXIT_TROUBLE when a URL has no canonical form. Throws std::exception when
// standard input cannot be read or memory is out.
int runNormalize(const NormalizeOptions& options);

}  // namespace cli
