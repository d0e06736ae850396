#include "ipport/ip_port_compile.h"

#include "endpoint/endpoint_build.h"
#include "ipport/address_list.h"

namespace rs {

namespace {

using Build = EndpointBuild<CompiledIpPortRule>;
using Source = EntrySource<const IpPortRule>;

bool isWide(const IpPortRule& rule) noexcept {
    return rule.fields.firstAddressWide != 0;
}

bool hasAnyFirst(const IpPortRule& rule) noexcept {
    return (rule.fields.wildcardFlags & WILDCARD_FIRST_ADDRESS) != 0;
}

bool hasAnySecond(const IpPortRule& rule) noexcept {
    return (rule.fields.wildcardFlags & WILDCARD_SECOND_ADDRESS) != 0;
}

// Second addresses of a rule, with the first entry that has them.
struct SecondAddresses {
    AddressRange* list;              // borrowed; null for none
    CompiledIpPortRule* firstEntry;  // borrowed; null until there is one
};

// The makeEntry of insertions: the rule's entries with one list of second addresses.
auto entryMaker(Build& build, const Source& source, SecondAddresses& second) noexcept {
    const auto makeFirst = [&records = build.records, &source, list = second.list]() noexcept {
        return makeIpPortEntry(records, source, list);
    };
    return EntryMaker(build.records.entries, second.firstEntry, makeFirst);
}

// The second addresses of a rule, for its entries in the IPv4 structures.
struct SecondLists {
    SecondAddresses asRead;    // as the rule's form reads them
    SecondAddresses ipv4Form;  // those of them that have an IPv4 form
};

bool enterAnyFirst4(const Source& source, SecondLists& second, Build& build) noexcept {
    const bool isPlain = !hasAnySecond(source.rule) && !isWide(source.rule);
    if (isPlain) {
        return insertIntoList(build.anyFirst4, entryMaker(build, source, second.asRead));
    }
    if (second.ipv4Form.list != nullptr &&
        !insertIntoList(build.anyFirst4, entryMaker(build, source, second.ipv4Form))) {
        return false;
    }
    // Deliberate: a rule with "*" twice is entered twice, with lists of its own for each, which
    // changes no answer.
    return !hasAnySecond(source.rule) ||
           insertIntoList(build.anyFirst4, entryMaker(build, source, second.asRead));
}

bool enterWideFirst4(const AddressRange& first, const Source& source, SecondLists& second,
                     Build& build) noexcept {
    if (!isIpv4Mapped(first.low) || !isIpv4Mapped(first.high) || second.ipv4Form.list == nullptr) {
        return true;
    }
    return enterAddresses(build, first.low.words[3], first.high.words[3],
                          entryMaker(build, source, second.ipv4Form));
}

bool enterFirst4(const AddressRange& first, const Source& source, SecondLists& second,
                 Build& build) noexcept {
    if (hasAnyFirst(source.rule)) {
        return enterAnyFirst4(source, second, build);
    }
    if (isWide(source.rule)) {
        return enterWideFirst4(first, source, second, build);
    }
    const uint32_t low = first.low.words[0];
    const uint32_t high = first.high.words[0];
    const auto makeEntry = entryMaker(build, source, second.asRead);
    return isWholeSpace(low, high) ? insertIntoList(build.anyFirst4, makeEntry)
                                   : enterAddresses(build, low, high, makeEntry);
}

// Converts second on the way, for entries with lists of their own. That harms no other item: a rule
// with "*" as its first address has no further one.
bool enterAnyFirst6(const AddressRange& first, const Source& source, SecondAddresses& second,
                    Build& build) noexcept {
    const bool isForEveryAddress = hasAnySecond(source.rule) || isWide(source.rule);
    if (isForEveryAddress && !insertIntoList(build.anyFirst6, entryMaker(build, source, second))) {
        return false;
    }
    if (isForEveryAddress && !hasAnySecond(source.rule)) {
        return true;
    }
    convertToMapped(second.list);
    second.firstEntry = nullptr;
    return enterRange(build, mappedFromIpv4Form(first.low), mappedFromIpv4Form(first.high),
                      entryMaker(build, source, second));
}

bool enterFirst6(const AddressRange& first, const Source& source, SecondAddresses& second,
                 Build& build) noexcept {
    if (hasAnyFirst(source.rule)) {
        return enterAnyFirst6(first, source, second, build);
    }
    const auto makeEntry = entryMaker(build, source, second);
    if (!isWide(source.rule)) {
        return enterAddresses(build, mappedFromIpv4Form(first.low), mappedFromIpv4Form(first.high),
                              makeEntry);
    }
    return isWholeSpace(first.low, first.high)
               ? insertIntoList(build.anyFirst6, makeEntry)
               : enterAddresses(build, first.low, first.high, makeEntry);
}

struct RuleAddresses {
    OwnedAddressList first;
    OwnedAddressList second;
};

bool parseAddresses(const IpPortRule& rule, RuleAddresses& out) noexcept {
    const IpPortRuleFields& fields = rule.fields;
    return parseAddressList(rule.text + fields.firstAddressOffset, fields.firstAddressLength,
                            fields.firstAddressWide != 0, out.first) &&
           parseAddressList(rule.text + fields.secondAddressOffset, fields.secondAddressLength,
                            fields.secondAddressWide != 0, out.second);
}

bool enterIpv4View(const Source& source, Build& build) noexcept {
    RuleAddresses addresses;
    OwnedAddressList ipv4Second;
    if (!parseAddresses(source.rule, addresses) ||
        !copyAsIpv4List(addresses.second.get(), hasAnySecond(source.rule), ipv4Second)) {
        return false;
    }
    SecondLists second{{addresses.second.get(), nullptr}, {ipv4Second.get(), nullptr}};
    for (const auto* first = addresses.first.get(); first != nullptr; first = first->next) {
        if (!enterFirst4(*first, source, second, build)) {
            return false;
        }
    }
    return true;
}

bool enterIpv6View(const Source& source, Build& build) noexcept {
    const IpPortRule& rule = source.rule;
    RuleAddresses addresses;
    if (!parseAddresses(rule, addresses)) {
        return false;
    }
    if (!hasAnyFirst(rule) && !hasAnySecond(rule) && !isWide(rule)) {
        convertToMapped(addresses.second.get());
    }
    SecondAddresses second{addresses.second.get(), nullptr};
    for (const auto* first = addresses.first.get(); first != nullptr; first = first->next) {
        if (!enterFirst6(*first, source, second, build)) {
            return false;
        }
    }
    return true;
}

Build startBuild(IpPortIndex& index) noexcept {
    return {index.anyFirst4, index.exact4,  index.blocks4, index.anyFirst6,
            index.exact6,    index.ranges6, index.records, index.lookups};
}

}  // namespace

IpPortIndex* buildIpPortIndex(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    return buildEndpointStructure<releaseIpPortIndex>(*set, set->ipPortRules, group->ipPortIndex,
                                                      startBuild, enterIpv4View, enterIpv6View);
}

}  // namespace rs
