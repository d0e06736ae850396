// std::unordered_map as a peer of peers.h, with the hash that the standard library has for the key, or absl's. And what
// maps are called that have whole rules as values.
#pragma once

#include <absl/hash/hash.h>
#include <functional>
#include <type_traits>
#include <unordered_map>

#include "addresses.h"

namespace bench {

inline constexpr const char* WHOLE_RULES = "absl, whole rules";

template <typename Key>
using StandardHash = std::conditional_t<std::is_same_v<Key, Ipv6>, absl::Hash<Key>, std::hash<Key>>;

template <typename Key, typename Value>
using StandardMap = std::unordered_map<Key, Value, StandardHash<Key>>;

}  // namespace bench
