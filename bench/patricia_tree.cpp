#include "patricia_tree.h"

#include <cstring>
#include <ndpi_api.h>

#include "handles.h"
#include "prefixes.h"

namespace bench {
namespace {

ndpi_prefix_t prefixOf(Ipv4 address, uint32_t length) {
    const in_addr bytes{htonl(address)};
    ndpi_prefix_t prefix{};
    ndpi_fill_prefix_v4(&prefix, &bytes, static_cast<int>(length), 32);
    return prefix;
}

ndpi_prefix_t prefixOf(const Ipv6Bytes& address, uint32_t length) {
    in6_addr bytes{};
    std::memcpy(&bytes, address.data(), address.size());
    ndpi_prefix_t prefix{};
    ndpi_fill_prefix_v6(&prefix, &bytes, static_cast<int>(length), 128);
    return prefix;
}

ndpi_prefix_t prefixOf(const Ipv6& address, uint32_t length) {
    return prefixOf(bytesOf(address), length);
}

template <typename Address>
std::shared_ptr<void> makeTree(const Intervals<Address>& rules) {
    ndpi_patricia_tree_t* tree = ndpi_patricia_new(addressBits(Address{}));
    require(tree != nullptr, "no patricia tree");
    const auto destroy = [](void* made) {
        ndpi_patricia_destroy(static_cast<ndpi_patricia_tree_t*>(made), nullptr);
    };
    std::shared_ptr<void> owner(tree, destroy);
    for (size_t i = 0; i < rules.size(); ++i) {
        ndpi_prefix_t prefix = prefixOf(rules[i].first, prefixLength(rules[i]));
        ndpi_patricia_node_t* node = ndpi_patricia_lookup(tree, &prefix);  // which makes one
        require(node != nullptr, "the patricia tree refuses a prefix");
        ndpi_patricia_set_node_u64(node, i + 1);
    }
    return owner;
}

uint32_t bestIn(const std::shared_ptr<void>& tree, ndpi_prefix_t prefix) {
    ndpi_patricia_node_t* node =
        ndpi_patricia_search_best(static_cast<ndpi_patricia_tree_t*>(tree.get()), &prefix);
    return node == nullptr ? 0 : static_cast<uint32_t>(ndpi_patricia_get_node_u64(node));
}

}  // namespace

PatriciaTree::PatriciaTree(const Intervals<Ipv4>& rules) : tree_(makeTree(rules)) {}
PatriciaTree::PatriciaTree(const Intervals<Ipv6>& rules) : tree_(makeTree(rules)) {}

uint32_t PatriciaTree::find(Ipv4 key) const {
    return bestIn(tree_, prefixOf(key, 32));
}

uint32_t PatriciaTree::find(const Ipv6Bytes& key) const {
    return bestIn(tree_, prefixOf(key, 128));
}

}  // namespace bench
