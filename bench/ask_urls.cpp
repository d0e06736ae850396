// Which rule covers this URL? Rules are a host and the beginning of a path. Keys are in canonical form, with the scheme
// http and without port, as most URLs are.
//
//   ruleset                  rs_matchUrlWithRuleGroup
//   ruleset, bulk            matchUrlsBulk
//   absl::flat_hash_map      lower case into a buffer, cut at the first slash, then a map from the host to its paths
//   absl, whole rules        likewise, with what the library returns as values
//   std::unordered_map       likewise, with numbers
//   uriparser and map        uriParseSingleUriExA cuts host and path out, which are brought into lower case
//   libcurl and map          curl_url_set, and host, path and query asked for
//
// The maps alone read no URL: they know no escapes, users, ports or blanks. With a parser in front, they do what a
// program does that has no library for it.
#include <array>
#include <curl/curl.h>
#include <memory>
#include <string>
#include <string_view>
#include <uriparser/Uri.h>
#include <utility>

#include "contest.h"
#include "keys.h"
#include "map_peers.h"
#include "ours.h"
#include "peers.h"
#include "questions.h"
#include "url_readers.h"

namespace bench {
namespace {

constexpr size_t KEY_COUNT = size_t{1} << 19U;

using Map = UrlPeer<RuleNumber>;

uint32_t ruleOf(const auto& map, std::string_view host, std::string_view path) {
    return ruleFound([&](MatchResult& result) { return map.find(host, path, result); });
}

template <typename Peer>
std::shared_ptr<Peer> addMap(Contest<TextList>& contest, const char* name, const RuleList& list) {
    auto map = contest.build(name, [&] { return std::make_shared<Peer>(list.rules); });
    const auto buffer = std::make_shared<std::array<char, rs::MAX_URL_SCRATCH>>();
    contest.add(name, oneByOne<TextList>([map, buffer](const TextList& keys, size_t i) {
                    if (keys[i].size() > buffer->size()) {
                        return 0U;
                    }
                    const auto [host, path] = splitUrl(lowered(keys[i], buffer->data()));
                    return ruleOf(*map, host, path);
                }));
    return map;
}

template <typename Reader>
void addReader(Contest<TextList>& contest, const char* name, const std::shared_ptr<Map>& map) {
    const auto reader = std::make_shared<Reader>();
    contest.add(name, oneByOne<TextList>([map, reader](const TextList& keys, size_t i) {
                    char host[rs::MAX_URL_SCRATCH];
                    char path[rs::MAX_URL_SCRATCH];
                    const std::string_view key = keys[i];
                    if (key.size() > sizeof(host) || !reader->read(key)) {
                        return 0U;
                    }
                    return ruleOf(*map, lowered(reader->host(), host),
                                  lowered(reader->path(), path));
                }));
}

}  // namespace

void askUrls(const Options& options, const ListKind& kind, const RuleList& list) {
    Contest<TextList> contest(options, kind.name, list.rules.size());
    addOurUrls(contest, list);
    const auto map = addMap<Map>(contest, "absl::flat_hash_map", list);
    addMap<UrlPeer<MatchResult>>(contest, WHOLE_RULES, list);
    addMap<UrlPeer<RuleNumber, StandardMap>>(contest, "std::unordered_map", list);
    addReader<UriparserReader>(contest, "uriparser and map", map);
    addReader<CurlReader>(contest, "libcurl and map", map);

    const TextList misses =
        withoutCovered(urlMissCandidates(list.rules, KEY_COUNT), [&](std::string_view key) {
            const auto [host, path] = splitUrl(key);
            return ruleOf(*map, host, path) != 0;
        });
    contest.measure("hit", urlHits(list.rules, KEY_COUNT));
    contest.measure("miss", misses);
}

}  // namespace bench
