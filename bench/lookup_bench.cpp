// Lookups of the library beside those of its peers, in one program and run: a line of JSON for each kind of key, as
// README.md explains them. session.h has the options.
#include <ruleset.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "doors.h"
#include "flat_switch.h"
#include "handles.h"
#include "keys.h"
#include "lookup_timer.h"
#include "peers.h"
#include "session.h"
#include "url/url_match_key.h"

namespace {

using namespace bench;

// At these sizes and below, a table of rule numbers alone is the faster peer, as it stays in a near cache.
constexpr size_t SMALL_VALUES_UP_TO = 100'000;

constexpr size_t KEY_COUNT = size_t{1} << 20U;
constexpr size_t URL_KEY_COUNT = size_t{1} << 19U;

struct Scene {
    const Options& options;
    const ListKind& kind;
    const RuleList& list;
    GroupHandle group;

    size_t rules() const { return list.rules.size(); }
};

// What is measured with every set of keys, whether the peers have small values, too, or the ordered structures are
// asked, too. Others is a pack of further candidates.
template <typename Ours, typename Peer, typename... Others>
void measureKeys(const Scene& scene, const char* name, const char* keys, size_t keyCount,
                 const Ours& ours, const Peer& peer, const Candidate<Others>&... others) {
    const int32_t answer = std::string_view(keys) == "hit" ? 1 : 0;
    const Candidate oursCandidate{"ours", true, ours};
    const Candidate peerCandidate{"peer", true, peer};
    LookupTimer(scene.options, keyCount, oursCandidate, peerCandidate, others...)
        .measure(name, scene.rules(), keys, answer);
}

// With the small peer where it is of use.
template <typename Ours, typename Peer, typename Small>
void measureBoth(const Scene& scene, const char* name, const char* keys, size_t keyCount,
                 const Ours& ours, const Peer& peer, const Small& small) {
    if (scene.rules() <= SMALL_VALUES_UP_TO) {
        measureKeys(scene, name, keys, keyCount, ours, peer, Candidate{"peer_small", false, small});
    } else {
        measureKeys(scene, name, keys, keyCount, ours, peer);
    }
}

// ------------------------------------------------------------------------------------------------ addresses

// A key of a map: the bytes as they are.
Ipv4 hashKeyOf(Ipv4 key) {
    return key;
}
Ipv6 hashKeyOf(const Ipv6Bytes& key) {
    Ipv6 words{};
    std::memcpy(&words, key.data(), sizeof(words));
    return words;
}
Ipv4 hashKeyOfNumber(Ipv4 number) {
    return number;
}
Ipv6 hashKeyOfNumber(Ipv6 number) {
    return hashKeyOf(bytesOf(number));
}

template <typename Address>
void measureHosts(const Scene& scene, const Intervals<Address>& rules) {
    HashPeer<Address, MatchResult> whole;
    HashPeer<Address, RuleNumber> small;
    whole.reserve(rules.size());
    small.reserve(rules.size());
    for (size_t i = 0; i < rules.size(); ++i) {
        whole.add(hashKeyOfNumber(rules[i].first), i);
        small.add(hashKeyOfNumber(rules[i].first), i);
    }
    const auto isCovered = [&](Address key) {
        MatchResult result{};
        return small.find(hashKeyOfNumber(key), result) == 1;
    };
    const auto measure = [&](const char* which, const auto& keys) {
        measureBoth(
            scene, scene.kind.name, which, keys.size(),
            [&, group = scene.group.get()](size_t i, MatchResult& result) {
                return lookUp(group, keys[i], result);
            },
            [&](size_t i, MatchResult& result) { return whole.find(hashKeyOf(keys[i]), result); },
            [&](size_t i, MatchResult& result) { return small.find(hashKeyOf(keys[i]), result); });
    };
    measure("hit", lookupForm(addressHits(rules, KEY_COUNT)));
    measure("miss", lookupForm(addressMisses(rules, KEY_COUNT, isCovered)));
}

// The group without flat lookups is asked, too, where there is such a choice.
template <typename Address>
void measureRanges(const Scene& scene, const Intervals<Address>& rules) {
    const Flattening<Address> intervals(rules);
    const IntervalPeer<Address, MatchResult> whole(intervals);
    const IntervalPeer<Address, RuleNumber> small(intervals);
    GroupHandle ordered;
    if (HAS_FLAT_LOOKUPS) {
        [[maybe_unused]] const WithoutFlatLookups without;
        ordered = buildGroup(fillSet(scene.list));
    }
    const auto isCovered = [&](Address key) {
        MatchResult result{};
        return small.find(key, result) == 1;
    };
    const auto measure = [&](const char* which, const auto& keys) {
        const auto ask = [&](const GroupHandle& group) {
            return [&keys, handle = group.get()](size_t i, MatchResult& result) {
                return lookUp(handle, keys[i], result);
            };
        };
        const Candidate smallPeer{"peer_small", false, [&](size_t i, MatchResult& result) {
                                      return small.find(numberOfKey(keys[i]), result);
                                  }};
        const auto peer = [&](size_t i, MatchResult& result) {
            return whole.find(numberOfKey(keys[i]), result);
        };
        const Candidate orderedAlone{"ordered", true, ask(ordered ? ordered : scene.group)};
        measureKeys(scene, scene.kind.name, which, keys.size(), ask(scene.group), peer, smallPeer,
                    orderedAlone);
    };
    measure("hit", lookupForm(addressHits(rules, KEY_COUNT)));
    measure("miss", lookupForm(addressMisses(rules, KEY_COUNT, isCovered)));
}

// ------------------------------------------------------------------------------------------------ endpoints

template <typename Address>
void measureEndpoints(const Scene& scene, const Intervals<Address>& rules) {
    EndpointPeer<Address> peer;
    peer.reserve(rules.size());
    for (size_t i = 0; i < rules.size(); ++i) {
        peer.add(rules[i].first, i);
    }
    const auto isCovered = [&](Address key) {
        MatchResult result{};
        return peer.find(key, PORT, MASK, result) == 1;
    };
    const auto measure = [&](const char* which, const auto& keys) {
        measureKeys(
            scene, scene.kind.name, which, keys.size(),
            [&, group = scene.group.get(), type = scene.list.type](size_t i, MatchResult& result) {
                return lookUpPair(type, group, keys[i], result);
            },
            [&](size_t i, MatchResult& result) {
                return peer.find(numberOfKey(keys[i]), PORT, MASK, result);
            });
    };
    measure("hit", endpointForm(addressHits(rules, KEY_COUNT)));
    measure("miss", endpointForm(addressMisses(rules, KEY_COUNT, isCovered)));
}

void measureEndpointRanges(const Scene& scene) {
    const IntervalPeer<Ipv6, MatchResult> peer{Flattening<Ipv6>(scene.list.ipv6)};
    const auto isCovered = [&](Ipv6 key) {
        MatchResult result{};
        return peer.find(key, result) == 1;
    };
    const auto measure = [&](const char* which, const auto& keys) {
        measureKeys(
            scene, scene.kind.name, which, keys.size(),
            [&, group = scene.group.get()](size_t i, MatchResult& result) {
                return lookUpPair(RULE_TYPE_IP_PORT, group, keys[i], result);
            },
            [&](size_t i, MatchResult& result) { return peer.find(numberOfKey(keys[i]), result); });
    };
    measure("hit", endpointForm(addressHits(scene.list.ipv6, KEY_COUNT)));
    measure("miss", endpointForm(addressMisses(scene.list.ipv6, KEY_COUNT, isCovered)));
}

// ------------------------------------------------------------------------------------------------ names

struct NamePeers {
    SuffixPeer<MatchResult> whole;
    SuffixPeer<RuleNumber> small;
};

// Names as users write them, through the exported function.
void measureNameTexts(const Scene& scene, const NamePeers& peers, const char* which,
                      const TextList& names) {
    const TextList keys = asWritten(names);
    const auto askPeer = [&keys](const auto& peer) {
        return [&](size_t i, MatchResult& result) {
            char buffer[LONGEST_NAME];
            const std::string_view key = keys[i];
            return key.size() > LONGEST_NAME ? 0 : peer.find(lowered(key, buffer), result);
        };
    };
    measureBoth(
        scene, scene.kind.name, which, keys.size(),
        [&keys, group = scene.group.get()](size_t i, MatchResult& result) {
            return lookUpName(group, keys[i], result);
        },
        askPeer(peers.whole), askPeer(peers.small));
}

// Canonical names: the library's lookup takes the wire form, the peer the name itself.
void measureCanonicalNames(const Scene& scene, const NamePeers& peers, const char* which,
                           const TextList& names) {
    const TextList wire = inWireForm(names);
    const auto askPeer = [&names](const auto& peer) {
        return [&](size_t i, MatchResult& result) { return peer.find(names[i], result); };
    };
    const std::string name = std::string(scene.kind.name) + "_wire";
    measureBoth(
        scene, name.c_str(), which, names.size(),
        [&wire, group = scene.group.get()](size_t i, MatchResult& result) {
            return lookUpWireName(group, wire[i], result);
        },
        askPeer(peers.whole), askPeer(peers.small));
}

void measureNames(const Scene& scene) {
    const NamePeers peers{SuffixPeer<MatchResult>(scene.list.rules),
                          SuffixPeer<RuleNumber>(scene.list.rules)};
    const TextList benign = scene.kind.isReal
                                ? readLines(scene.options.directory, "hosts-benign-from-urls.txt")
                                : TextList();
    const TextList hits = nameHits(scene.list.rules, KEY_COUNT);
    const TextList misses =
        withoutCovered(nameMissCandidates(benign, KEY_COUNT), [&](std::string_view name) {
            MatchResult result{};
            return peers.whole.find(name, result) == 1;
        });
    for (const auto& [which, keys] : {std::pair{"hit", &hits}, std::pair{"miss", &misses}}) {
        measureNameTexts(scene, peers, which, *keys);
        measureCanonicalNames(scene, peers, which, *keys);
    }
}

// ------------------------------------------------------------------------------------------------ URLs

struct UrlPeers {
    UrlPeer<MatchResult> whole;
    UrlPeer<RuleNumber> small;
};

void measureUrlTexts(const Scene& scene, const UrlPeers& peers, const char* which,
                     const TextList& keys) {
    const auto askPeer = [&keys](const auto& peer) {
        return [&](size_t i, MatchResult& result) {
            char buffer[rs::MAX_URL_SCRATCH];
            const std::string_view key = keys[i];
            if (key.size() > sizeof(buffer)) {
                return 0;
            }
            const auto [host, path] = splitUrl(lowered(key, buffer));
            return peer.find(host, path, result);
        };
    };
    measureBoth(
        scene, scene.kind.name, which, keys.size(),
        [&keys, group = scene.group.get()](size_t i, MatchResult& result) {
            return lookUpUrl(group, keys[i], result);
        },
        askPeer(peers.whole), askPeer(peers.small));
}

void measureSplitUrls(const Scene& scene, const UrlPeers& peers, const char* name,
                      const char* which, const TextList& keys) {
    const auto askPeer = [&keys](const auto& peer) {
        return [&](size_t i, MatchResult& result) {
            const auto [host, path] = splitUrl(keys[i]);
            return peer.find(host, path, result);
        };
    };
    measureBoth(
        scene, name, which, keys.size(),
        [&keys, group = scene.group.get()](size_t i, MatchResult& result) {
            return lookUpSplitUrl(group, keys[i], result);
        },
        askPeer(peers.whole), askPeer(peers.small));
}

void measureUrls(const Scene& scene) {
    const TextList& rules = scene.list.rules;
    const UrlPeers peers{UrlPeer<MatchResult>(rules), UrlPeer<RuleNumber>(rules)};
    const TextList hits = urlHits(rules, URL_KEY_COUNT);
    const TextList misses =
        withoutCovered(urlMissCandidates(rules, URL_KEY_COUNT), [&](std::string_view key) {
            const auto [host, path] = splitUrl(key);
            MatchResult result{};
            return peers.whole.find(host, path, result) == 1;
        });
    for (const auto& [which, keys] : {std::pair{"hit", &hits}, std::pair{"miss", &misses}}) {
        measureUrlTexts(scene, peers, which, *keys);
        measureSplitUrls(scene, peers, "urls_split", which, *keys);
    }
}

// As many hosts with a path or two as the crowded host has paths.
void measureCrowdedUrls(const Scene& scene) {
    const TextList& rules = scene.list.rules;
    const UrlPeers peers{UrlPeer<MatchResult>(rules), UrlPeer<RuleNumber>(rules)};
    TextList crowded;
    TextList others;
    for (uint32_t i = 0; i < CROWDED_HOST_PATHS; ++i) {
        crowded.add(rules[i]);
        others.add(rules[CROWDED_HOST_PATHS + i]);
    }
    measureSplitUrls(scene, peers, "urls_of_crowded_host", "hit", urlHits(crowded, URL_KEY_COUNT));
    measureSplitUrls(scene, peers, "urls_of_other_hosts", "hit", urlHits(others, URL_KEY_COUNT));
}

// ------------------------------------------------------------------------------------------------ lists

void measureAddresses(const Scene& scene) {
    const RuleList& list = scene.list;
    if (isOneAddress(list)) {
        list.ipv4.empty() ? measureHosts(scene, list.ipv6) : measureHosts(scene, list.ipv4);
    } else {
        list.ipv4.empty() ? measureRanges(scene, list.ipv6) : measureRanges(scene, list.ipv4);
    }
}

void measureList(const Options& options, const ListKind& kind, const RuleList& list) {
    const Scene scene{options, kind, list, buildGroup(fillSet(list))};
    switch (list.type) {
        case RULE_TYPE_IP:
            return measureAddresses(scene);
        case RULE_TYPE_FQDN:
            return measureNames(scene);
        case RULE_TYPE_URL:
            return std::string_view(kind.name) == "urls_crowded" ? measureCrowdedUrls(scene)
                                                                 : measureUrls(scene);
        default:
            if (!isOneAddress(list)) {
                return measureEndpointRanges(scene);
            }
            return list.ipv4.empty() ? measureEndpoints(scene, list.ipv6)
                                     : measureEndpoints(scene, list.ipv4);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    return runForEachList("lookup", readOptions(argumentCount, arguments), measureList);
}
