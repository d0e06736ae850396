// nDPI's patricia tree with a number for each prefix.
#pragma once

#include <cstdint>
#include <memory>

#include "addresses.h"

namespace bench {

class PatriciaTree {
public:
    explicit PatriciaTree(const Intervals<Ipv4>& rules);
    explicit PatriciaTree(const Intervals<Ipv6>& rules);

    // The number of the rule that is the longest prefix, 0 without one.
    uint32_t find(Ipv4 key) const;
    uint32_t find(const Ipv6Bytes& key) const;

private:
    std::shared_ptr<void> tree_;
};

}  // namespace bench
