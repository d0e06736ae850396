// The peers of the library's lookups: what a good engineer builds in an afternoon from absl::flat_hash_map and the
// standard library.
//
//   HashPeer         one exact address          a map from the address
//   IntervalPeer     ranges, earliest wins      the flattened intervals, sorted, and std::upper_bound
//   SuffixPeer       host names                 a map from the name, asked for every suffix
//   UrlPeer          host and path              a map from the host to its paths, in rule order
//   EndpointPeer     first addresses            a map from the address to the rest of the rule
//
// The value is a whole MatchResult, which a hit copies out as the library does, or a RuleNumber alone: the smaller
// table is the faster one while it is in the nearest cache. Peers with a map take any with the interface of the standard
// ones.
//
// Memory: as memory_pages.h has it.
#pragma once

#include <ruleset.h>

#include <absl/container/flat_hash_map.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string_view>
#include <utility>
#include <vector>

#include "lists.h"
#include "memory_pages.h"

namespace bench {

template <typename Key, typename Value>
using HugeMap = absl::flat_hash_map<Key, Value, absl::container_internal::hash_default_hash<Key>,
                                    absl::container_internal::hash_default_eq<Key>,
                                    HugeAllocator<std::pair<const Key, Value>>>;

// ------------------------------------------------------------------------------------------------ values

using RuleNumber = uint32_t;  // counted from 1

inline MatchResult resultOf(size_t rule) {
    const auto number = static_cast<uint32_t>(rule + 1);
    return {number, static_cast<uint32_t>(rule % VALUE_COUNT), number, nullptr};
}

inline void setValue(RuleNumber& value, size_t rule) {
    value = static_cast<uint32_t>(rule + 1);
}
inline void setValue(MatchResult& value, size_t rule) {
    value = resultOf(rule);
}

inline uint32_t numberOf(RuleNumber value) {
    return value;
}
inline uint32_t numberOf(const MatchResult& value) {
    return value.ruleIndex;
}

inline void report(RuleNumber value, MatchResult& result) {
    result.ruleIndex = value;
}
inline void report(const MatchResult& value, MatchResult& result) {
    result = value;
}

// ------------------------------------------------------------------------------------------------ addresses

template <typename Key, typename Value, template <typename, typename> typename Map = HugeMap>
class HashPeer {
public:
    // Enters nothing for a key that is there: the earliest rule wins.
    void add(const Key& key, size_t rule) {
        const auto [entry, isNew] = map_.try_emplace(key);
        if (isNew) {
            setValue(entry->second, rule);
        }
    }
    void reserve(size_t count) { map_.reserve(count); }

    int32_t find(const Key& key, MatchResult& result) const {
        const auto entry = map_.find(key);
        if (entry == map_.end()) {
            return 0;
        }
        report(entry->second, result);
        return 1;
    }

private:
    Map<Key, Value> map_;
};

// The first rule of each elementary interval: rules are painted in their order, each on what is still free.
template <typename Address>
class Flattening {
public:
    explicit Flattening(const Intervals<Address>& rules) {
        collectBounds(rules);
        next_.resize(bounds_.size() + 1);
        std::iota(next_.begin(), next_.end(), 0);
        winners_.assign(bounds_.size(), 0);
        for (size_t rule = 0; rule < rules.size(); ++rule) {
            paint(rules[rule], static_cast<uint32_t>(rule + 1));
        }
    }

    // Calls add with the first address and the rule of each interval, 0 without a rule.
    template <typename Add>
    void forEach(Add add) const {
        for (size_t i = 0; i < bounds_.size(); ++i) {
            if (i == 0 || winners_[i] != winners_[i - 1]) {
                add(bounds_[i], winners_[i]);
            }
        }
    }

private:
    void collectBounds(const Intervals<Address>& rules) {
        bounds_.push_back(Address{});
        for (const Interval<Address>& rule : rules) {
            bounds_.push_back(rule.first);
            if (rule.last != lastAddress(Address{})) {
                bounds_.push_back(after(rule.last));
            }
        }
        std::sort(bounds_.begin(), bounds_.end());
        bounds_.erase(std::unique(bounds_.begin(), bounds_.end()), bounds_.end());
    }

    uint32_t placeOf(const Address& bound) const {
        return static_cast<uint32_t>(std::lower_bound(bounds_.begin(), bounds_.end(), bound) -
                                     bounds_.begin());
    }

    // The first interval from i on that no rule has.
    uint32_t firstFree(uint32_t i) {
        while (next_[i] != i) {
            next_[i] = next_[next_[i]];
            i = next_[i];
        }
        return i;
    }

    void paint(const Interval<Address>& rule, uint32_t number) {
        const auto end = rule.last == lastAddress(Address{}) ? static_cast<uint32_t>(bounds_.size())
                                                             : placeOf(after(rule.last));
        for (uint32_t i = firstFree(placeOf(rule.first)); i < end; i = firstFree(i)) {
            winners_[i] = number;
            next_[i] = i + 1;
        }
    }

    std::vector<Address> bounds_;
    std::vector<uint32_t> next_;
    std::vector<uint32_t> winners_;
};

template <typename Address, typename Value>
class IntervalPeer {
public:
    explicit IntervalPeer(const Flattening<Address>& intervals) {
        intervals.forEach([this](const Address& first, uint32_t number) {
            firsts_.push_back(first);
            values_.emplace_back();
            if (number != 0) {
                setValue(values_.back(), number - 1);
            }
        });
    }

    int32_t find(const Address& address, MatchResult& result) const {
        const auto next = std::upper_bound(firsts_.begin(), firsts_.end(), address);
        const Value& value = values_[static_cast<size_t>(next - firsts_.begin()) - 1];
        if (numberOf(value) == 0) {
            return 0;
        }
        report(value, result);
        return 1;
    }

private:
    HugeVector<Address> firsts_;  // the first is the lowest address that there is
    HugeVector<Value> values_;
};

// ------------------------------------------------------------------------------------------------ endpoints

template <typename Key>
class EndpointPeer {
public:
    void add(const Key& key, size_t rule) { map_.try_emplace(key, Rest{443, 1, resultOf(rule)}); }
    void reserve(size_t count) { map_.reserve(count); }

    int32_t find(const Key& key, uint32_t port, uint32_t mask, MatchResult& result) const {
        const auto entry = map_.find(key);
        if (entry == map_.end() || entry->second.port != port || (entry->second.mask & mask) == 0) {
            return 0;
        }
        result = entry->second.result;
        return 1;
    }

private:
    struct Rest {
        uint32_t port;
        uint32_t mask;
        MatchResult result;
    };
    HugeMap<Key, Rest> map_;
};

// ------------------------------------------------------------------------------------------------ names and URLs

inline constexpr size_t LONGEST_NAME = 255;

// The texts of the rules stay their list's.
template <typename Value, template <typename, typename> typename Map = HugeMap>
class SuffixPeer {
public:
    explicit SuffixPeer(const TextList& rules) {
        map_.reserve(rules.size());
        for (size_t rule = 0; rule < rules.size(); ++rule) {
            const auto [entry, isNew] = map_.try_emplace(rules[rule].substr(2));  // without "*."
            if (isNew) {
                setValue(entry->second, rule);
            }
        }
    }

    // Of a name in lower case. The name itself is no suffix of it.
    int32_t find(std::string_view name, MatchResult& result) const {
        const Value* best = nullptr;
        for (size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.')) {
            name.remove_prefix(dot + 1);
            const auto entry = map_.find(name);
            if (entry != map_.end() &&
                (best == nullptr || numberOf(entry->second) < numberOf(*best))) {
                best = &entry->second;
            }
        }
        if (best == nullptr) {
            return 0;
        }
        report(*best, result);
        return 1;
    }

private:
    Map<std::string_view, Value> map_;
};

// The texts of the rules stay their list's.
template <typename Value, template <typename, typename> typename Map = HugeMap>
class UrlPeer {
public:
    explicit UrlPeer(const TextList& rules) {
        std::vector<std::pair<uint32_t, uint32_t>> order;  // the host's number, then the rule
        order.reserve(rules.size());
        hosts_.reserve(rules.size());
        for (size_t rule = 0; rule < rules.size(); ++rule) {
            const std::string_view host = rules[rule].substr(0, rules[rule].find('/'));
            Paths& paths = hosts_.try_emplace(host, Paths{lastHost_ + 1, 0}).first->second;
            lastHost_ = std::max(lastHost_, paths.first);
            ++paths.count;
            order.emplace_back(paths.first, static_cast<uint32_t>(rule));
        }
        std::sort(order.begin(), order.end());
        arrange(rules, order);
    }

    int32_t find(std::string_view host, std::string_view path, MatchResult& result) const {
        const auto entry = hosts_.find(host);
        if (entry == hosts_.end()) {
            return 0;
        }
        const Path* first = &paths_[entry->second.first];
        for (const Path* each = first; each != first + entry->second.count; ++each) {
            if (path.starts_with(each->text)) {
                report(each->value, result);
                return 1;
            }
        }
        return 0;
    }

private:
    struct Paths {
        uint32_t first;  // the host's number until the paths are arranged
        uint32_t count;
    };
    struct Path {
        std::string_view text;
        Value value;
    };

    // The paths of a host side by side, in rule order.
    void arrange(const TextList& rules, const std::vector<std::pair<uint32_t, uint32_t>>& order) {
        std::vector<uint32_t> firsts(lastHost_ + 1);
        uint32_t host = 0;
        for (const auto& [number, rule] : order) {
            if (number != host) {
                host = number;
                firsts[host] = static_cast<uint32_t>(paths_.size());
            }
            const std::string_view text = rules[rule];
            paths_.push_back({text.substr(text.find('/')), {}});
            setValue(paths_.back().value, rule);
        }
        for (auto& [name, paths] : hosts_) {
            paths.first = firsts[paths.first];
        }
    }

    Map<std::string_view, Paths> hosts_;
    HugeVector<Path> paths_;
    uint32_t lastHost_ = 0;
};

// Writes a text in lower case into a buffer, which has room for it.
inline std::string_view lowered(std::string_view text, char* buffer) {
    for (size_t i = 0; i < text.size(); ++i) {
        const char letter = text[i];
        buffer[i] = static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter | 0x20 : letter);
    }
    return {buffer, text.size()};
}

}  // namespace bench
