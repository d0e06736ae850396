#include "ipport/address_list.h"

#include <ruleset.h>

#include <utility>

#include "syntax/ip_range.h"
#include "syntax/items.h"

namespace rs {

namespace {

Address128 ipv4Form(const Address128& mapped) noexcept {
    return {{mapped.words[3], 0, 0, 0}};
}

bool push(const Address128& low, const Address128& high, OwnedAddressList& list) noexcept {
    auto* node = allocateRecord<AddressRangeNode>();
    if (node == nullptr) {
        return false;
    }
    *node = {low, high, list.release()};
    list.reset(node);
    return true;
}

bool parseItem(const char* text, uint32_t length, bool isWide, OwnedAddressList& list) noexcept {
    AddressSpec item{};
    if (parseIPv4Range(text, length, &item) == RULE_OK) {
        return isWide ? push(item.startAddress, item.endAddress, list)
                      : push(ipv4Form(item.startAddress), ipv4Form(item.endAddress), list);
    }
    return isWide && parseIPv6Range(text, length, &item) == RULE_OK &&
           push(item.startAddress, item.endAddress, list);
}

// Appends converted copies of nodes at the tail of a list.
template <typename Convert>
bool copyNodes(const AddressRangeNode* first, OwnedAddressList& out,
               const Convert& convert) noexcept {
    OwnedAddressList list;
    AddressRangeNode* last = nullptr;
    for (const AddressRangeNode* node = first; node != nullptr; node = node->next) {
        AddressRangeNode copy = *node;
        if (!convert(copy)) {
            continue;
        }
        auto* made = allocateRecord<AddressRangeNode>();
        if (made == nullptr) {
            return false;
        }
        *made = {copy.low, copy.high, nullptr};
        if (last == nullptr) {
            list.reset(made);
        } else {
            last->next = made;
        }
        last = made;
    }
    out = std::move(list);
    return true;
}

}  // namespace

void freeAddressList(AddressRangeNode* first) noexcept {
    while (first != nullptr) {
        AddressRangeNode* next = first->next;
        freeMemory(first);
        first = next;
    }
}

bool parseAddressList(const char* text, uint32_t length, bool isWide,
                      OwnedAddressList& out) noexcept {
    OwnedAddressList list;
    if (length == 1 && text[0] == '*') {
        return push(FIRST_ADDRESS, LAST_ADDRESS, out);
    }
    const int32_t status =
        forEachItem(text, length, [&](const char* item, uint32_t itemLength) noexcept {
            return parseItem(item, itemLength, isWide, list) ? RULE_OK : RULE_ERR_FAILED;
        });
    out = std::move(list);
    return status == RULE_OK;
}

bool copyAddressList(const AddressRangeNode* first, OwnedAddressList& out) noexcept {
    return copyNodes(first, out, [](AddressRangeNode&) noexcept { return true; });
}

bool copyAsIpv4List(const AddressRangeNode* first, bool takeAll, OwnedAddressList& out) noexcept {
    return copyNodes(first, out, [takeAll](AddressRangeNode& node) noexcept {
        const bool isTaken = takeAll || (isIpv4Mapped(node.low) && isIpv4Mapped(node.high));
        node.low = ipv4Form(node.low);
        node.high = ipv4Form(node.high);
        return isTaken;
    });
}

void convertToMapped(AddressRangeNode* first) noexcept {
    for (AddressRangeNode* node = first; node != nullptr; node = node->next) {
        node->low = mappedFromIpv4Form(node->low);
        node->high = mappedFromIpv4Form(node->high);
    }
}

}  // namespace rs
