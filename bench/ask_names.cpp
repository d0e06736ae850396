// Which rule covers this host name? Rules are "*.example.com", and keys have a label or two in front. Keys are in the
// letters that users write: one in sixteen begins with a capital.
//
//   ruleset               rs_matchDomainNameWithRuleGroup
//   ruleset, bulk         matchDomainNamesBulk
//   absl::flat_hash_map   lower case into a buffer, then a map asked for every suffix
//   absl, whole rules     likewise, with what the library returns as values
//   std::unordered_map    likewise, with numbers
//
// The maps know no escapes, no letters beyond ASCII and no limits of labels, which the library reads and checks.
//
// And which part of this host name is a public suffix? The rules are the list that the package publicsuffix has.
//
//   ruleset               the lines of the list as rules, exceptions first, then those with most labels. The value of a
//                         rule is how many labels of the name are the suffix; without a rule it is one
//   libpsl, list          psl_unregistrable_domain on the list itself
//   libpsl, DAFSA         likewise on the compiled form of it, which the package has, too
//
// A contender answers with the place in the name at which the suffix begins, counted from 1.
#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <libpsl.h>
#include <memory>
#include <string>
#include <vector>

#include "contest.h"
#include "keys.h"
#include "map_peers.h"
#include "ours.h"
#include "peers.h"
#include "public_suffixes.h"
#include "questions.h"

namespace bench {
namespace {

constexpr size_t KEY_COUNT = size_t{1} << 19U;

template <template <typename, typename> typename Map, typename Value>
auto addSuffixMap(Contest<TextList>& contest, const char* name, const RuleList& list) {
    using Peer = SuffixPeer<Value, Map>;
    auto map = contest.build(name, [&] { return std::make_shared<Peer>(list.rules); });
    const auto buffer = std::make_shared<std::array<char, LONGEST_NAME>>();
    contest.add(name, oneByOne<TextList>([map, buffer](const TextList& keys, size_t i) {
                    const std::string_view key = keys[i];
                    if (key.size() > buffer->size()) {
                        return 0U;
                    }
                    const std::string_view lower = lowered(key, buffer->data());
                    return ruleFound([&](MatchResult& result) { return map->find(lower, result); });
                }));
    return map;
}

// ------------------------------------------------------------------------------------------------ public suffixes

// The keys of libpsl end with a zero byte.
std::string_view nameOf(const TextList& keys, size_t i) {
    std::string_view key = keys[i];
    key.remove_suffix(1);
    return key;
}

uint32_t placeOfLabel(std::string_view name, uint32_t labels) {
    size_t end = name.size();
    for (; labels > 0; --labels) {
        const size_t dot = end == 0 ? std::string_view::npos : name.rfind('.', end - 1);
        if (dot == std::string_view::npos) {
            return 1;
        }
        end = dot;
    }
    return static_cast<uint32_t>(end + 2);
}

void addLibpsl(Contest<TextList>& contest, const char* name, const char* file) {
    const auto list = contest.build(
        name, [&] { return std::shared_ptr<psl_ctx_t>(psl_load_file(file), psl_free); });
    require(list != nullptr, "libpsl cannot read the list");
    contest.add(name, oneByOne<TextList>([list](const TextList& keys, size_t i) {
                    const char* key = keys[i].data();
                    const char* suffix = psl_unregistrable_domain(list.get(), key);
                    return suffix == nullptr ? 0 : static_cast<uint32_t>(suffix - key + 1);
                }));
}

}  // namespace

void askNames(const Options& options, const ListKind& kind, const RuleList& list) {
    Contest<TextList> contest(options, kind.name, list.rules.size());
    addOurNames(contest, list);
    const auto map = addSuffixMap<HugeMap, RuleNumber>(contest, "absl::flat_hash_map", list);
    addSuffixMap<HugeMap, MatchResult>(contest, WHOLE_RULES, list);
    addSuffixMap<StandardMap, RuleNumber>(contest, "std::unordered_map", list);
    const TextList misses =
        withoutCovered(nameMissCandidates({}, KEY_COUNT), [&](std::string_view name) {
            return ruleFound([&](MatchResult& result) { return map->find(name, result); }) != 0;
        });
    contest.measure("hit", asWritten(nameHits(list.rules, KEY_COUNT)));
    contest.measure("miss", asWritten(misses));
}

void askSuffixes(const Options& options, const ListKind& kind, const RuleList& list) {
    Contest<TextList> contest(options, kind.name, list.rules.size());
    const std::vector<uint32_t> labels = suffixLabels();
    addOurSuffixes(contest, list, [labels](const TextList& keys, size_t i, uint32_t rule) {
        return placeOfLabel(nameOf(keys, i), rule == 0 ? 1 : labels[rule - 1]);
    });
    addLibpsl(contest, "libpsl, list", SUFFIX_LIST);
    addLibpsl(contest, "libpsl, DAFSA", SUFFIX_DAFSA);
    contest.measure("all", suffixKeys(KEY_COUNT));
}

}  // namespace bench
