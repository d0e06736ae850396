// The public suffixes as rules.
//
//     !www.ck         www.ck, *.www.ck        the suffix is ck: one label less than the line has
//     *.ck            *.ck                    any label and ck: two
//                     ck                      ck itself: one, as libpsl reads such a line
//     co.uk           co.uk, *.co.uk          two
//
// Exceptions come first, then the lines with most labels, and the first rule that covers wins.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lists.h"

namespace bench {

inline constexpr const char* SUFFIX_LIST = "/usr/share/publicsuffix/public_suffix_list.dat";
inline constexpr const char* SUFFIX_DAFSA = "/usr/share/publicsuffix/public_suffix_list.dafsa";

RuleList makePublicSuffixes(uint32_t count, const std::string& directory);

// For each rule, in order, how many labels of a name are the suffix.
std::vector<uint32_t> suffixLabels();

// Names of no to two labels below a suffix, and a few below none. Each ends with a zero byte.
TextList suffixKeys(size_t count);

}  // namespace bench
