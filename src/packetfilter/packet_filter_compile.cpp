#include "packetfilter/packet_filter_compile.h"

#include "endpoint/endpoint_build.h"
#include "syntax/ip_range.h"

namespace rs {

namespace {

using Build = EndpointBuild<FilterEntry>;
using Source = EntrySource<PacketFilterRule>;

// What an address field of a rule names.
enum class AddressKind : uint8_t { ANY, IPV4, IPV6 };

AddressKind kindOf(const PacketFilterRuleFields& fields, uint32_t wildcardFlag,
                   uint32_t addressFlags) noexcept {
    // Told by the flag and not by the ends, which an earlier build may have rewritten.
    if ((fields.wildcardFlags & wildcardFlag) != 0) {
        return AddressKind::ANY;
    }
    return (addressFlags & ADDRESS_FLAG_IPV6) != 0 ? AddressKind::IPV6 : AddressKind::IPV4;
}

AddressKind firstKind(const PacketFilterRuleFields& fields) noexcept {
    return kindOf(fields, FILTER_ANY_FIRST_ADDRESS, fields.firstAddressFlags);
}

AddressKind secondKind(const PacketFilterRuleFields& fields) noexcept {
    return kindOf(fields, FILTER_ANY_SECOND_ADDRESS, fields.secondAddressFlags);
}

bool isFirstMapped(const PacketFilterRuleFields& fields) noexcept {
    return isIpv4Mapped(fields.firstAddressStart) && isIpv4Mapped(fields.firstAddressEnd);
}

bool isSecondMapped(const PacketFilterRuleFields& fields) noexcept {
    return isIpv4Mapped(fields.secondAddressStart) && isIpv4Mapped(fields.secondAddressEnd);
}

// Puts an address range into the mapped block; its last words stay.
void rewriteToMapped(Address128& start, Address128& end) noexcept {
    start = mappedAddress(start.words[3]);
    end = mappedAddress(end.words[3]);
}

// The makeEntry of insertions. The entries carry the second address as it is in the record when the
// first of them is made; a pass does not rewrite it after that.
auto entryMaker(Build& build, const Source& source, FilterEntry*& first) noexcept {
    const auto makeFirst = [&records = build.records, &source]() noexcept {
        return makeFilterEntry(records, source);
    };
    return EntryMaker(build.records.entries, first, makeFirst);
}

bool enterIpv4View(const Source& source, Build& build) noexcept {
    FilterEntry* firstEntry = nullptr;
    const auto makeEntry = entryMaker(build, source, firstEntry);
    const PacketFilterRuleFields& fields = source.rule.fields;
    const AddressKind first = firstKind(fields);
    const uint32_t low = fields.firstAddressStart.words[3];
    const uint32_t high = fields.firstAddressEnd.words[3];
    if (first == AddressKind::IPV4) {
        return isWholeSpace(low, high) ? insertIntoList(build.anyFirst4, makeEntry)
                                       : enterAddresses(build, low, high, makeEntry);
    }
    if (secondKind(fields) == AddressKind::IPV6 && !isSecondMapped(fields)) {
        return true;
    }
    if (first == AddressKind::ANY) {
        return insertIntoList(build.anyFirst4, makeEntry);
    }
    return !isFirstMapped(fields) || enterAddresses(build, low, high, makeEntry);
}

bool enterAnyFirst6(const Source& source, Build& build) noexcept {
    FilterEntry* firstEntry = nullptr;
    const auto makeEntry = entryMaker(build, source, firstEntry);
    PacketFilterRuleFields& fields = source.rule.fields;
    const AddressKind second = secondKind(fields);
    if (second != AddressKind::IPV4 && !insertIntoList(build.anyFirst6, makeEntry)) {
        return false;
    }
    if (second == AddressKind::IPV6) {
        return true;
    }
    rewriteToMapped(fields.firstAddressStart, fields.firstAddressEnd);
    return enterRange(build, fields.firstAddressStart, fields.firstAddressEnd, makeEntry);
}

// Deliberate: addresses are rewritten in the rule set's own records.
bool enterIpv6View(const Source& source, Build& build) noexcept {
    FilterEntry* firstEntry = nullptr;
    const auto makeEntry = entryMaker(build, source, firstEntry);
    PacketFilterRuleFields& fields = source.rule.fields;
    const Address128& start = fields.firstAddressStart;
    const Address128& end = fields.firstAddressEnd;
    switch (firstKind(fields)) {
        case AddressKind::ANY:
            return enterAnyFirst6(source, build);
        case AddressKind::IPV6:
            if (isWholeSpace(start, end)) {
                return insertIntoList(build.anyFirst6, makeEntry);
            }
            break;
        case AddressKind::IPV4:
            if (start != end && !isWholeSpace(start.words[3], end.words[3])) {
                rewriteToMapped(fields.secondAddressStart, fields.secondAddressEnd);
            }
            break;
    }
    return enterAddresses(build, start, end, makeEntry);
}

Build startBuild(PacketFilterTable& table) noexcept {
    return {table.ipv4AnyList,   table.ipv4HostTable, table.ipv4BlockIndex, table.ipv6AnyList,
            table.ipv6HostTable, table.ipv6RangeList, table.records,        table.lookups};
}

}  // namespace

PacketFilterTable* buildPacketFilterTable(RuleSet* set, RuleGroup* group) noexcept {
    if (set == nullptr || group == nullptr) {
        return nullptr;
    }
    return buildEndpointStructure<releasePacketFilterTable>(*set, set->packetFilterRules,
                                                            group->packetFilterTable, startBuild,
                                                            enterIpv4View, enterIpv6View);
}

}  // namespace rs
