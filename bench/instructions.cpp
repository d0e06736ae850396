// A fixed set of lookups whose instructions valgrind counts: those of a call of countedLookups and nothing else.
//
//     instructions                      the names of the rows, one a line
//     instructions names_wire/hit       makes the lookups of one row, KEY_COUNT of them
//
// scripts/bench_instructions.py runs it.
#include <ruleset.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "doors.h"
#include "handles.h"
#include "keys.h"
#include "lists.h"

namespace {

using namespace bench;

constexpr uint32_t RULE_COUNT = 10'000;
constexpr size_t KEY_COUNT = 4096;  // scripts/bench_instructions.py divides by it

struct Row {
    const char* name;
    const char* list;  // of lists.h
};

constexpr std::array ROWS = {
    Row{"ipv4_hosts/hit", "ipv4_hosts"},
    Row{"ipv4_hosts/miss", "ipv4_hosts"},
    Row{"ipv6_hosts/hit", "ipv6_hosts"},
    Row{"ipv6_hosts/miss", "ipv6_hosts"},
    Row{"ipv4_ranges/hit", "ipv4_ranges"},
    Row{"ipv4_ranges/miss", "ipv4_ranges"},
    Row{"ipv6_prefixes/hit", "ipv6_prefixes"},
    Row{"ipv6_prefixes/miss", "ipv6_prefixes"},
    Row{"ip_port_ipv4/hit", "ip_port_ipv4"},
    Row{"ip_port_ipv4/miss", "ip_port_ipv4"},
    Row{"packet_filter_ipv6/hit", "packet_filter_ipv6"},
    Row{"packet_filter_ipv6/miss", "packet_filter_ipv6"},
    Row{"names/hit", "names"},
    Row{"names/miss", "names"},
    Row{"names_wire/hit", "names"},
    Row{"names_wire/miss", "names"},
    Row{"urls/hit", "urls"},
    Row{"urls/miss", "urls"},
    Row{"urls_split/hit", "urls"},
    Row{"urls_split/miss", "urls"},
};

template <typename Ask>
__attribute__((noinline)) void countedLookups(const Ask& ask, size_t count) {
    MatchResult result{};
    for (size_t i = 0; i < count; ++i) {
        int32_t answer = ask(i, result);
        asm volatile("" : "+r"(answer) : : "memory");
    }
}

template <typename Keys, typename LookUp>
void count(const RuleGroup* group, const Keys& keys, bool isHit, const LookUp& lookUpKey) {
    require(keys.size() >= KEY_COUNT, "too few keys");
    const auto ask = [&](size_t i, MatchResult& result) {
        return lookUpKey(group, keys[i], result);
    };
    MatchResult result{};
    for (size_t i = 0; i < KEY_COUNT; ++i) {
        require(ask(i, result) == (isHit ? 1 : 0), "a key has the wrong answer");
    }
    countedLookups(ask, KEY_COUNT);
}

// Keys in the form of the lookup. Coverage is told by the library: lookup_bench has compared that with its peers.
template <typename Address, typename Form, typename LookUp>
void countAddresses(const RuleGroup* group, const Intervals<Address>& rules, bool isHit,
                    const Form& form, const LookUp& lookUpKey) {
    const auto isCovered = [&](Address key) {
        MatchResult result{};
        return lookUpKey(group, form(std::vector<Address>{key})[0], result) == 1;
    };
    count(group,
          form(isHit ? addressHits(rules, KEY_COUNT) : addressMisses(rules, KEY_COUNT, isCovered)),
          isHit, lookUpKey);
}

template <typename Form, typename LookUp>
void countAddresses(const RuleGroup* group, const RuleList& list, bool isHit, const Form& form,
                    const LookUp& lookUpKey) {
    list.ipv4.empty() ? countAddresses(group, list.ipv6, isHit, form, lookUpKey)
                      : countAddresses(group, list.ipv4, isHit, form, lookUpKey);
}

template <typename LookUp>
TextList uncovered(const RuleGroup* group, const TextList& candidates, const LookUp& lookUpText) {
    return withoutCovered(candidates, [&](std::string_view key) {
        MatchResult result{};
        return lookUpText(group, key, result) == 1;
    });
}

void countTexts(const RuleGroup* group, const RuleList& list, std::string_view row, bool isHit) {
    // Some of the candidates are covered.
    constexpr size_t CANDIDATES = 2 * KEY_COUNT;
    if (list.type == RULE_TYPE_FQDN) {
        const TextList keys =
            isHit ? nameHits(list.rules, KEY_COUNT)
                  : uncovered(group, nameMissCandidates({}, CANDIDATES), lookUpName);
        row.starts_with("names_wire/") ? count(group, inWireForm(keys), isHit, lookUpWireName)
                                       : count(group, asWritten(keys), isHit, lookUpName);
        return;
    }
    const TextList keys =
        isHit ? urlHits(list.rules, KEY_COUNT)
              : uncovered(group, urlMissCandidates(list.rules, CANDIDATES), lookUpUrl);
    row.starts_with("urls_split/") ? count(group, keys, isHit, lookUpSplitUrl)
                                   : count(group, keys, isHit, lookUpUrl);
}

void countRow(const Row& row) {
    const RuleList list = findListKind(row.list)->make(RULE_COUNT, "");
    const GroupHandle group = buildGroup(fillSet(list));
    const bool isHit = std::string_view(row.name).ends_with("/hit");
    switch (list.type) {
        case RULE_TYPE_IP:
            return countAddresses(
                group.get(), list, isHit, [](const auto& keys) { return lookupForm(keys); },
                [](const RuleGroup* handle, const auto& key, MatchResult& result) {
                    return lookUp(handle, key, result);
                });
        case RULE_TYPE_IP_PORT:
        case RULE_TYPE_PACKET_FILTER:
            return countAddresses(
                group.get(), list, isHit, [](const auto& keys) { return endpointForm(keys); },
                [type = list.type](const RuleGroup* handle, const auto& key, MatchResult& result) {
                    return lookUpPair(type, handle, key, result);
                });
        default:
            return countTexts(group.get(), list, row.name, isHit);
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    for (const Row& row : ROWS) {
        if (argumentCount < 2) {
            std::puts(row.name);
        } else if (std::string_view(arguments[1]) == row.name) {
            countRow(row);
            return EXIT_SUCCESS;
        }
    }
    return argumentCount < 2 ? EXIT_SUCCESS : EXIT_FAILURE;
}
