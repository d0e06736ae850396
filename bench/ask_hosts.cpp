// Which rule is for this address? All rules are single addresses.
//
//   ruleset               rs_matchIPRuleGroup, rs_matchIPRuleGroupEx
//   ruleset, bulk         matchIpv4Bulk, matchIpv6Bulk
//   absl::flat_hash_map   from the address to the number of the rule
//   absl, whole rules     from the address to what the library returns
//   std::unordered_map    likewise
//   sorted array          std::lower_bound over addresses, the numbers of the rules beside them
//   rte_fib ...           each address as a prefix of all its bits
//   nDPI patricia         likewise
//   libmaxminddb          likewise, with the numbers as data
//
// All have the same rules and keys. The library returns the whole rule, the others its number alone unless they say so.
#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "contest.h"
#include "doors.h"
#include "keys.h"
#include "map_peers.h"
#include "ours.h"
#include "peers.h"
#include "prefix_contenders.h"
#include "questions.h"

namespace bench {
namespace {

constexpr size_t KEY_COUNT = size_t{1} << 20U;

template <typename Address>
class SortedHosts {
public:
    explicit SortedHosts(const Intervals<Address>& rules) {
        std::vector<std::pair<Address, uint32_t>> sorted;
        sorted.reserve(rules.size());
        for (size_t i = 0; i < rules.size(); ++i) {
            sorted.emplace_back(rules[i].first, static_cast<uint32_t>(i + 1));
        }
        std::sort(sorted.begin(), sorted.end());
        addresses_.reserve(rules.size());
        numbers_.reserve(rules.size());
        for (const auto& [address, number] : sorted) {
            addresses_.push_back(address);
            numbers_.push_back(number);
        }
    }

    uint32_t find(const Address& address) const {
        const auto place = std::lower_bound(addresses_.begin(), addresses_.end(), address);
        return place != addresses_.end() && *place == address
                   ? numbers_[static_cast<size_t>(place - addresses_.begin())]
                   : 0;
    }

private:
    HugeVector<Address> addresses_;
    HugeVector<uint32_t> numbers_;
};

template <template <typename, typename> typename Map, typename Value, typename Address,
          typename Key>
auto addMap(Contest<std::vector<Key>>& contest, const char* name, const Intervals<Address>& rules) {
    using Peer = HashPeer<Address, Value, Map>;
    auto map = contest.build(name, [&] {
        auto made = std::make_shared<Peer>();
        made->reserve(rules.size());
        for (size_t i = 0; i < rules.size(); ++i) {
            made->add(rules[i].first, i);
        }
        return made;
    });
    contest.add(name, oneByOne<std::vector<Key>>([map](const std::vector<Key>& keys, size_t i) {
                    return ruleFound([&](MatchResult& result) {
                        return map->find(numberOfKey(keys[i]), result);
                    });
                }));
    return map;
}

template <typename Address>
void askFamily(const Options& options, const ListKind& kind, const RuleList& list,
               const Intervals<Address>& rules) {
    using Keys = decltype(lookupForm(std::vector<Address>()));
    using Key = typename Keys::value_type;
    Contest<Keys> contest(options, kind.name, rules.size());
    addOurAddresses<Key>(contest, list);
    const auto map = addMap<HugeMap, RuleNumber>(contest, "absl::flat_hash_map", rules);
    addMap<HugeMap, MatchResult>(contest, WHOLE_RULES, rules);
    addMap<StandardMap, RuleNumber>(contest, "std::unordered_map", rules);
    const auto sorted = contest.build(
        "sorted array", [&] { return std::make_shared<SortedHosts<Address>>(rules); });
    contest.add("sorted array", oneByOne<Keys>([sorted](const Keys& keys, size_t i) {
                    return sorted->find(numberOfKey(keys[i]));
                }));
    addPrefixContenders(contest, rules);

    const auto isCovered = [&](const Address& key) {
        MatchResult result{};
        return map->find(key, result) == 1;
    };
    contest.measure("hit", lookupForm(addressHits(rules, KEY_COUNT)));
    contest.measure("miss", lookupForm(addressMisses(rules, KEY_COUNT, isCovered)));
}

}  // namespace

void askHosts(const Options& options, const ListKind& kind, const RuleList& list) {
    list.ipv4.empty() ? askFamily(options, kind, list, list.ipv6)
                      : askFamily(options, kind, list, list.ipv4);
}

}  // namespace bench
