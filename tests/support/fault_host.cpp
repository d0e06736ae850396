#include "support/fault_host.h"

#include <ruleset_static.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>

#include "core/byte_order.h"
#include "core/rule_group.h"
#include "core/rule_set.h"
#include "domain/domain_index.h"
#include "lookup/chain_blocks.h"
#include "support/address_words.h"
#include "support/text.h"
#include "url/url_index.h"

namespace rs::test {

namespace {

constexpr uint32_t valueAt(size_t position) {
    return static_cast<uint32_t>(7 * position);
}

constexpr uint32_t idAt(size_t position) {
    return static_cast<uint32_t>(1000 + position);
}

const RuleList& listOf(const RuleSet& set) {
    switch (set.type) {
        case RULE_TYPE_FQDN:
            return set.domainRules;
        case RULE_TYPE_URL:
            return set.urlRules;
        case RULE_TYPE_PACKET_FILTER:
            return set.packetFilterRules;
        case RULE_TYPE_IP_PORT:
            return set.ipPortRules;
        case RULE_TYPE_COMPOUND:
            return set.compoundRules;
        default:
            return set.ipRules;
    }
}

// What groups of endpoint and compound rules are asked.

constexpr uint32_t ADDRESSES4[] = {0x0A000001, 0x0A0000C8, 0x0A010203, 0x0A030000, 0xC0A80001, 0};
constexpr uint32_t SECOND_ADDRESSES4[] = {0x0A000001, 0xC0A80001};
constexpr AddressWords OWN_ADDRESSES6[] = {
    {0x20010DB8, 0, 0, 1}, {0x20010DB8, 0, 0, 0xFFFF}, {0xFE800000, 0, 0, 1}};
constexpr uint32_t PORTS[] = {80, 443, 5000};

std::vector<AddressWords> addresses6() {
    std::vector<AddressWords> addresses(std::begin(OWN_ADDRESSES6), std::end(OWN_ADDRESSES6));
    for (const uint32_t address : ADDRESSES4) {
        addresses.push_back(mapped(address));
    }
    return addresses;
}

// Calls ask(first address, first port, second address, second port) for all of them.
template <typename Addresses, typename SecondAddresses, typename Ask>
void forEachPair(const Addresses& addresses, const SecondAddresses& secondAddresses,
                 const Ask& ask) {
    for (const auto& first : addresses) {
        for (const auto& second : secondAddresses) {
            for (const uint32_t firstPort : PORTS) {
                for (const uint32_t secondPort : PORTS) {
                    ask(first, firstPort, second, secondPort);
                }
            }
        }
    }
}

template <typename Ask4, typename Ask6>
void forEachPairOfBothFamilies(const Ask4& ask4, const Ask6& ask6) {
    static const std::vector<AddressWords> FIRST_ADDRESSES6 = addresses6();
    constexpr std::array SECOND_ADDRESSES6 = {mapped(SECOND_ADDRESSES4[0]),
                                              mapped(SECOND_ADDRESSES4[1]), OWN_ADDRESSES6[0]};
    forEachPair(ADDRESSES4, SECOND_ADDRESSES4, ask4);
    forEachPair(FIRST_ADDRESSES6, SECOND_ADDRESSES6, ask6);
}

AddressWords networkWords(const AddressWords& address) {
    AddressWords words{};
    for (size_t i = 0; i < words.size(); ++i) {
        writeBigEndian32(reinterpret_cast<uint8_t*>(&words[i]), address[i]);
    }
    return words;
}

std::vector<CompoundFlow> flows() {
    std::vector<CompoundFlow> all;
    for (const uint16_t value16 : {uint16_t{80}, uint16_t{443}}) {
        for (const uint32_t value32 : {1U, 5U, 70U, 100000U}) {
            for (const uint16_t listValue : {uint16_t{5}, uint16_t{900}}) {
                CompoundFlow flow{};
                flow.firstValue16 = value16;
                flow.value32 = value32;
                flow.listValue16 = listValue;
                flow.listValue12 = listValue;
                for (const uint32_t address : {0x0A000001U, 0xC0A80001U}) {
                    flow.family = 4;
                    flow.firstAddress = networkWords({address, 0, 0, 0});
                    flow.secondAddress = flow.firstAddress;
                    all.push_back(flow);
                }
                flow.family = 6;
                flow.firstAddress = networkWords(OWN_ADDRESSES6[0]);
                flow.secondAddress = flow.firstAddress;
                all.push_back(flow);
            }
        }
    }
    return all;
}

void storeDomainChains(const HashTable* table, StoredRules& rules) {
    for (uint32_t i = 0; table != nullptr && i < table->bucketCount; ++i) {
        auto* head = static_cast<DomainEntry*>(table->buckets[i].chain);
        for (auto block = firstBlock(head); block.first != nullptr; block = nextBlock(block)) {
            for (uint32_t j = 0; j < block.count; ++j) {
                rules.stored.push_back(block.first[j].ruleIndex);
            }
            rules.handingBack.push_back(block.first->ruleIndex);
        }
    }
}

void storeUrlHost(const UrlHostNode& node, Positions& stored) {
    for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
        stored.push_back(entry->ruleIndex);
    }
    for (const UrlPathBlock* block = node.pathBlocks; block != nullptr; block = block->next) {
        for (int32_t i = 0; i < block->count; ++i) {
            stored.push_back(entriesOf(block)[i].ruleIndex);
        }
    }
}

void storeUrlChains(const HashTable* table, Positions& stored) {
    for (uint32_t i = 0; table != nullptr && i < table->bucketCount; ++i) {
        auto* head = static_cast<UrlHostNode*>(table->buckets[i].chain);
        for (auto block = firstBlock(head); block.first != nullptr; block = nextBlock(block)) {
            for (uint32_t j = 0; j < block.count; ++j) {
                storeUrlHost(block.first[j], stored);
            }
        }
    }
}

StoredRules storedDomainRules(const DomainIndex& index) {
    StoredRules rules;
    if (index.matchAll != nullptr) {
        rules.stored.push_back(index.matchAll->ruleIndex);
    }
    storeDomainChains(index.exactTable, rules);
    storeDomainChains(index.wildcardTable, rules);
    return rules;
}

StoredRules storedUrlRules(const UrlIndex& index) {
    StoredRules rules;
    if (index.anyHost != nullptr) {
        storeUrlHost(*index.anyHost, rules.stored);
    }
    storeUrlChains(index.exactHosts, rules.stored);
    storeUrlChains(index.wildcardHosts, rules.stored);
    rules.handingBack = rules.stored;
    return rules;
}

// The other types leave no rule out.
StoredRules allRules(size_t count) {
    Positions positions(count);
    std::iota(positions.begin(), positions.end(), 1U);
    return {positions, positions};
}

StoredRules sort(StoredRules rules, const FaultRules& from) {
    std::erase_if(rules.handingBack,
                  [&from](uint32_t position) { return !from.rules.at(position - 1).hasUserData; });
    std::sort(rules.stored.begin(), rules.stored.end());
    std::sort(rules.handingBack.begin(), rules.handingBack.end());
    return rules;
}

StoredRules storedRulesOf(const RuleGroup& group, const FaultRules& rules, uint32_t ruleCount) {
    if (group.domainIndex != nullptr) {
        return sort(storedDomainRules(*group.domainIndex), rules);
    }
    if (group.urlIndex != nullptr) {
        return sort(storedUrlRules(*group.urlIndex), rules);
    }
    return sort(allRules(ruleCount), rules);
}

}  // namespace

void PrintTo(const BuildRecord& record, std::ostream* out) {
    *out << "answers " << ::testing::PrintToString(record.answers) << ", handed back at the build "
         << ::testing::PrintToString(record.atBuild) << " and at the deletion "
         << ::testing::PrintToString(record.atDelete) << ", stored "
         << ::testing::PrintToString(record.inside.stored) << ", to be handed back "
         << ::testing::PrintToString(record.inside.handingBack) << ", left out " << record.leftOut;
}

FaultHost::FaultHost(const FaultRules& rules, size_t count)
    : rules_(rules), tokens_(rules.rules.size()), set_(newRuleSet(rules.type)) {
    recorder_.registerOn(*set_);
    for (size_t position = 1; position <= count; ++position) {
        EXPECT_EQ(RULE_OK, add(position)) << rules_.rules[position - 1].text;
    }
}

void* FaultHost::userDataAt(size_t position) const {
    return rules_.rules.at(position - 1).hasUserData ? &tokens_[position - 1] : nullptr;
}

int32_t FaultHost::add(size_t position) {
    return addRule(*set_, rules_.rules.at(position - 1).text, valueAt(position), idAt(position),
                   userDataAt(position));
}

uint32_t FaultHost::positionIn(int32_t status, const MatchResult& result) const {
    if (status != 1) {
        EXPECT_EQ(0, status);
        return 0;
    }
    const uint32_t position = result.ruleIndex;
    EXPECT_EQ(valueAt(position), result.ruleValue);
    EXPECT_EQ(idAt(position), result.ruleId);
    EXPECT_EQ(userDataAt(position), result.userData);
    return position;
}

Positions FaultHost::answersOf(const RuleGroup& group) const {
    Positions answers;
    MatchResult result{};
    const auto record = [&](int32_t status) { answers.push_back(positionIn(status, result)); };
    switch (rules_.type) {
        case RULE_TYPE_FQDN:
            for (const std::string& key : rules_.keys) {
                record(rs_matchDomainNameWithRuleGroup(&group, key.data(), size32(key), &result));
            }
            break;
        case RULE_TYPE_URL:
            for (const std::string& key : rules_.keys) {
                record(rs_matchUrlWithRuleGroup(&group, key.data(), size32(key), &result));
            }
            break;
        case RULE_TYPE_IP_PORT:
            forEachPairOfBothFamilies(
                [&](auto... pair) { record(matchIpPortPair4(&group, pair..., 1, &result)); },
                [&](auto... pair) { record(matchIpPortPair6(&group, pair..., 1, &result)); });
            break;
        case RULE_TYPE_PACKET_FILTER:
            forEachPairOfBothFamilies(
                [&](auto... pair) { record(matchPacketFilter4(&group, pair..., &result)); },
                [&](auto... pair) { record(matchPacketFilter6(&group, pair..., &result)); });
            break;
        case RULE_TYPE_COMPOUND:
            for (CompoundFlow flow : flows()) {
                record(matchCompound(&group, &flow, true, &result));
            }
            break;
        default:
            ADD_FAILURE() << "no lookups for type " << rules_.type;
    }
    return answers;
}

Positions FaultHost::takeHandedBack() {
    Positions positions;
    for (const void* userData : recorder_.order()) {
        const auto* token = static_cast<const char*>(userData);
        const ptrdiff_t index = token - tokens_.data();
        positions.push_back(static_cast<uint32_t>(index + 1));
        EXPECT_EQ(userData, userDataAt(positions.back()));
    }
    recorder_.clear();
    return positions;
}

BuildRecord FaultHost::recordAndDelete(RuleGroup* group) {
    BuildRecord record;
    record.atBuild = takeHandedBack();
    record.answers = answersOf(*group);
    record.inside = storedRulesOf(*group, rules_, listOf(*set_).ruleCount);
    record.leftOut = rulesLeftOut(group);
    EXPECT_EQ(Positions(), takeHandedBack()) << "lookups hand nothing back";
    EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
    EXPECT_EQ(nullptr, group);
    record.atDelete = takeHandedBack();
    std::sort(record.atDelete.begin(), record.atDelete.end());
    return record;
}

BuildRecord FaultHost::buildAndDelete() {
    RuleGroup* group = nullptr;
    const int32_t status = rs_buildRuleGroup(set_.get(), &group);
    EXPECT_EQ(RULE_OK, status);
    return status == RULE_OK ? recordAndDelete(group) : BuildRecord{};
}

SetState::SetState(const RuleSet& set)
    : ruleCount(listOf(set).ruleCount),
      first(listOf(set).head.next),
      last(listOf(set).head.prev),
      hasUserData(set.hasUserData),
      releaseCallback(set.releaseCallback),
      releaseContext(set.releaseContext) {}

void reportFailures(std::string_view operation, uint64_t failures) {
    ::testing::Test::RecordProperty(std::string(operation), std::to_string(failures));
    std::printf("[ FAULTS   ] %6llu allocations: %.*s\n", static_cast<unsigned long long>(failures),
                static_cast<int>(operation.size()), operation.data());
}

}  // namespace rs::test
