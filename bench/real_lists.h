// Real lists of a directory, which is given by an option: files of lines that may be compressed by xz.
//
//   ip4-asn-ranges.csv, ip4-country-ranges.csv     1.0.0.0,1.0.0.255,13335        first, last, a word
//   ip6-asn-ranges.csv, ip6-country-ranges.csv     2001::,2001::ffff,6939
//   hosts-*.txt                                    one host name a line; those of hosts-benign* are looked up as misses
//
// A list of which the directory has no file is empty, and has no rows.
#pragma once

#include <cstdint>
#include <string>

#include "lists.h"

namespace bench {

// The ranges of both files, shuffled together.
RuleList makeRealIpv4Overlapping(uint32_t count, const std::string& directory);

// The prefixes that the ranges of both files consist of, shuffled.
RuleList makeRealIpv6Prefixes(uint32_t count, const std::string& directory);

// All names, each with "*." before it.
RuleList makeRealNames(uint32_t count, const std::string& directory);

}  // namespace bench
