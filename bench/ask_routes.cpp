// Which is the longest prefix that holds this address? Prefixes are nested, as those of a routing table are.
//
//   ruleset         the longest prefixes are the first rules, and the first rule that covers wins
//   ruleset, bulk   likewise, through its bulk calls
//   sorted array    the prefixes flattened into intervals, std::upper_bound
//   rte_fib ...     the longest prefix, through their bulk calls
//   nDPI patricia   the longest prefix
//   libmaxminddb    a file in which shorter prefixes have what longer ones leave
//
// Ranges, and rules in another order than by length, are asked of the library alone: the others have no such rules.
#include <memory>
#include <vector>

#include "contest.h"
#include "doors.h"
#include "keys.h"
#include "ours.h"
#include "peers.h"
#include "prefix_contenders.h"
#include "questions.h"

namespace bench {
namespace {

constexpr size_t KEY_COUNT = size_t{1} << 20U;

template <typename Address>
void askFamily(const Options& options, const ListKind& kind, const RuleList& list,
               const Intervals<Address>& rules) {
    using Keys = decltype(lookupForm(std::vector<Address>()));
    using Key = typename Keys::value_type;
    Contest<Keys> contest(options, kind.name, rules.size());
    addOurAddresses<Key>(contest, list);
    const auto sorted = contest.build("sorted array", [&] {
        return std::make_shared<IntervalPeer<Address, RuleNumber>>(Flattening<Address>(rules));
    });
    contest.add("sorted array", oneByOne<Keys>([sorted](const Keys& keys, size_t i) {
                    return ruleFound([&](MatchResult& result) {
                        return sorted->find(numberOfKey(keys[i]), result);
                    });
                }));
    addPrefixContenders(contest, rules);

    const auto isCovered = [&](const Address& key) {
        MatchResult result{};
        return sorted->find(key, result) == 1;
    };
    contest.measure("hit", lookupForm(addressHits(rules, KEY_COUNT)));
    contest.measure("miss", lookupForm(addressMisses(rules, KEY_COUNT, isCovered)));
}

}  // namespace

void askRoutes(const Options& options, const ListKind& kind, const RuleList& list) {
    list.ipv4.empty() ? askFamily(options, kind, list, list.ipv6)
                      : askFamily(options, kind, list, list.ipv4);
}

}  // namespace bench
