// A MaxMind DB file with a number for each prefix, written here and asked through libmaxminddb.
//
// Debian ships the library, and this file is made of the rules that all contenders have: so the answers can be compared.
//
//   nodes      two records of 32 bits for each: the next node, or the end without data, or a place in the data
//   16 zeros
//   data       the numbers of the rules, each once
//   metadata   what the format asks for
//
// Longer prefixes win, which the writer sees to: prefixes come in the order of their rules, the longest first, and one
// takes only what is still free.
#pragma once

#include <cstdint>
#include <memory>

#include "addresses.h"

namespace bench {

class MaxMindDatabase {
public:
    explicit MaxMindDatabase(const Intervals<Ipv4>& rules);
    explicit MaxMindDatabase(const Intervals<Ipv6>& rules);

    // The number of the rule, 0 without one.
    uint32_t find(Ipv4 key) const;
    uint32_t find(const Ipv6Bytes& key) const;

private:
    std::shared_ptr<void> database_;
};

}  // namespace bench
