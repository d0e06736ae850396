#include "support/plain_ip_table.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <utility>

#include "core/entry.h"
#include "core/structure.h"
#include "ip/ip_rule.h"
#include "lookup/address_hash.h"
#include "support/tree_insertion.h"
#include "support/tree_text.h"

namespace rs::test {

namespace {

std::string textOf(uint32_t address) {
    return dottedQuad(address);
}

std::string textOf(const Address128& address) {
    std::string text;
    for (const uint32_t word : address.words) {
        text += (text.empty() ? "" : ":") + dottedQuad(word);
    }
    return text;
}

template <typename Address>
std::string textOf(const IntervalKey<Address>& key) {
    return textOf(key.low) + '-' + textOf(key.high);
}

template <typename Entry>
std::string valuesOf(const Entry& entry) {
    return describeRuleOf(entry) + ' ' + std::to_string(entry.ruleValue) + ' ' +
           std::to_string(entry.ruleId) + (entry.userData == nullptr ? "" : " data");
}

std::string entryText(const AddressEntry& entry) {
    return valuesOf(entry);
}

template <typename Address>
std::string entryText(const RangeEntry<Address>& entry) {
    return valuesOf(entry) + ' ' + textOf(entry.low) + '-' + textOf(entry.high);
}

template <typename Key, typename Entry>
void describe(const TreeNode* node, const std::string& place, std::vector<std::string>& lines) {
    if (node == nullptr) {
        return;
    }
    std::string line = place + (node->colour == COLOUR_RED ? " red " : " black ") +
                       textOf(*static_cast<const Key*>(node->key));
    for (auto* entry = static_cast<const Entry*>(node->entries); entry != nullptr;
         entry = entry->next) {
        line += ", " + entryText(*entry);
    }
    lines.push_back(line);
    describe<Key, Entry>(node->left, place + 'L', lines);
    describe<Key, Entry>(node->right, place + 'R', lines);
}

template <typename Key, typename Entry>
std::vector<std::string> describeTree(const SearchTree* tree) {
    std::vector<std::string> lines;
    if (tree != nullptr) {
        describe<Key, Entry>(tree->root, "", lines);
    }
    return lines;
}

std::string hostText(const HostEntry& entry) {
    return textOf(entry.address) + ": " + valuesOf(entry);
}

// A tree with its records.
template <typename Node, typename Entry>
class PlainTree {
public:
    explicit PlainTree(TreeCompare compare) { tree_.compare = compare; }

    const SearchTree* tree() const { return &tree_; }

    template <typename Key>
    TreePlace find(const Key& key) const {
        return findTreePlace(tree_, &key);
    }

    Entry& newEntry() { return entries_.emplace_back(); }

    template <typename Key>
    void insert(const TreePlace& place, const Key& key, Entry& entry) {
        Node& record = nodes_.emplace_back();
        record.key = key;
        record.node.key = &record.key;
        record.node.entries = &entry;
        insertTreeNode(tree_, place, record.node);
    }

private:
    SearchTree tree_{};
    std::deque<Node> nodes_;
    std::deque<Entry> entries_;
};

class PlainBuild {
public:
    explicit PlainBuild(RuleSet& set)
        : set_(set),
          buckets_(std::min(set.ipRules.ruleCount + 1, 4095U)),
          claims_(set.ipRules.ruleCount) {}

    IpTableContent build() {
        forRules([this](const IpRule& rule) { return enterIpv4View(rule); });
        forRules([this](const IpRule& rule) { return enterIpv6View(rule); });
        IpTableContent content;
        for (const auto& bucket : buckets_) {
            for (const HostEntry& entry : bucket) {
                content.hosts.push_back(hostText(entry));
            }
        }
        content.ipv4Ranges =
            describeTree<IntervalKey<uint32_t>, RangeEntry<uint32_t>>(ranges4_.tree());
        content.ipv6Hosts = describeTree<Address128, AddressEntry>(hosts6_.tree());
        content.ipv6Ranges =
            describeTree<IntervalKey<Address128>, RangeEntry<Address128>>(ranges6_.tree());
        content.givenBack = givenBack_;
        return content;
    }

private:
    // enter answers whether the rule added anything.
    template <typename Enter>
    void forRules(const Enter& enter) {
        EXPECT_TRUE(forEachRule<IpRule>(set_.ipRules, [&](IpRule& rule, uint32_t ruleIndex) {
            ruleIndex_ = ruleIndex;
            if (!enter(rule) && rule.userData != nullptr && claims_[ruleIndex - 1] == 0) {
                claims_[ruleIndex - 1] = 1;
                givenBack_.push_back(rule.userData);
            }
            return true;
        }));
    }

    template <typename Entry>
    void fill(const IpRule& rule, Entry& entry) {
        fillEntry(rule, ruleIndex_, entry);
        markRuleReleased(claims_.data(), rule.userData, ruleIndex_ - 1, &entry.entryFlags);
    }

    bool enterIpv4View(const IpRule& rule) {
        const AddressSpec& addresses = rule.addresses;
        const bool isHost = (addresses.addressFlags & ADDRESS_FLAG_SINGLE) != 0;
        if ((addresses.addressFlags & ADDRESS_FLAG_IPV6) != 0 &&
            !(isIpv4Mapped(addresses.startAddress) &&
              (isHost || isIpv4Mapped(addresses.endAddress)))) {
            return true;
        }
        const uint32_t low = addresses.startAddress.words[3];
        return isHost ? enterHost(low, rule)
                      : enterInterval<uint32_t>(ranges4_, low, addresses.endAddress.words[3], rule);
    }

    bool enterIpv6View(const IpRule& rule) {
        const AddressSpec& addresses = rule.addresses;
        return (addresses.addressFlags & ADDRESS_FLAG_SINGLE) != 0
                   ? enterAddress(addresses.startAddress, rule)
                   : enterInterval<Address128>(ranges6_, addresses.startAddress,
                                               addresses.endAddress, rule);
    }

    bool enterHost(uint32_t address, const IpRule& rule) {
        std::vector<HostEntry>& bucket = buckets_[hashIPv4(address) % buckets_.size()];
        for (const HostEntry& entry : bucket) {
            if (entry.address == address && entry.ruleValue == rule.ruleValue) {
                return false;
            }
        }
        HostEntry& entry = bucket.emplace_back();
        entry.address = address;
        fill(rule, entry);
        return true;
    }

    bool enterAddress(const Address128& address, const IpRule& rule) {
        const TreePlace place = hosts6_.find(address);
        AddressEntry** tail = nullptr;
        if (place.node != nullptr) {
            auto* entry = static_cast<AddressEntry*>(place.node->entries);
            for (; entry != nullptr; entry = entry->next) {
                if (entry->ruleValue == rule.ruleValue) {
                    return false;
                }
                tail = &entry->next;
            }
        }
        AddressEntry& entry = hosts6_.newEntry();
        fill(rule, entry);
        if (tail != nullptr) {
            *tail = &entry;
        } else {
            hosts6_.insert(place, address, entry);
        }
        return true;
    }

    // The work is done from the front; what sticks out of a node is queued directly after the part in it.
    template <typename Address, typename Tree>
    bool enterInterval(Tree& tree, const Address& low, const Address& high, const IpRule& rule) {
        using Key = IntervalKey<Address>;
        bool hasEntered = false;
        std::deque<Key> work{{low, high, nullptr}};
        while (!work.empty()) {
            const Key item = work.front();
            work.pop_front();
            const TreePlace place = tree.find(item);
            Key part = item;
            RangeEntry<Address>** tail = nullptr;
            if (place.node != nullptr) {
                const Key key = *static_cast<const Key*>(place.node->key);
                if (item.high > key.high) {
                    work.push_front({nextAddress(key.high), item.high, nullptr});
                }
                if (item.low < key.low) {
                    work.push_front({item.low, previousAddress(key.low), nullptr});
                }
                part = {std::max(item.low, key.low), std::min(item.high, key.high), nullptr};
                tail = tailUnlessCovered(*place.node, part, rule.ruleValue);
                if (tail == nullptr) {
                    continue;
                }
            }
            RangeEntry<Address>& entry = tree.newEntry();
            entry.low = part.low;
            entry.high = part.high;
            fill(rule, entry);
            hasEntered = true;
            if (tail != nullptr) {
                *tail = &entry;
            } else {
                tree.insert(place, part, entry);
            }
        }
        return hasEntered;
    }

    template <typename Address>
    static RangeEntry<Address>** tailUnlessCovered(const TreeNode& node,
                                                   const IntervalKey<Address>& part,
                                                   uint32_t ruleValue) {
        RangeEntry<Address>** tail = nullptr;
        for (auto* entry = static_cast<RangeEntry<Address>*>(node.entries); entry != nullptr;
             entry = entry->next) {
            if (entry->ruleValue == ruleValue && entry->low <= part.low &&
                entry->high >= part.high) {
                return nullptr;
            }
            tail = &entry->next;
        }
        return tail;
    }

    RuleSet& set_;
    uint32_t ruleIndex_ = 0;
    std::vector<std::vector<HostEntry>> buckets_;
    PlainTree<IntervalNode<uint32_t>, RangeEntry<uint32_t>> ranges4_{classifyInterval32};
    PlainTree<AddressNode, AddressEntry> hosts6_{compareAddressKey};
    PlainTree<IntervalNode<Address128>, RangeEntry<Address128>> ranges6_{classifyInterval128};
    std::vector<uint8_t> claims_;
    std::vector<void*> givenBack_;
};

}  // namespace

IpTableContent contentOf(const IpRuleTable& table, const std::vector<void*>& givenBack) {
    IpTableContent content;
    forEachBucket(table.hostTable, [&content](const HashBucket& bucket) {
        for (ListLink* link = bucket.list.next; link != &bucket.list; link = link->next) {
            content.hosts.push_back(hostText(*hostEntryOf(link)));
        }
    });
    content.ipv4Ranges =
        describeTree<IntervalKey<uint32_t>, RangeEntry<uint32_t>>(table.ipv4RangeTree);
    content.ipv6Hosts = describeTree<Address128, AddressEntry>(table.ipv6HostTree);
    content.ipv6Ranges =
        describeTree<IntervalKey<Address128>, RangeEntry<Address128>>(table.ipv6RangeTree);
    content.givenBack = givenBack;
    return content;
}

IpTableContent plainContentOf(RuleSet& set) {
    return PlainBuild(set).build();
}

}  // namespace rs::test
