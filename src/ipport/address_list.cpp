#include "ipport/address_list.h"

#include <ruleset.h>

#include <utility>

#include "syntax/fields.h"
#include "syntax/ip_range.h"
#include "syntax/items.h"

namespace rs {

namespace {

Address128 ipv4FormOf(const Address128& mapped) noexcept {
    return ipv4Form(mapped.words[3]);
}

bool push(const Address128& low, const Address128& high, OwnedAddressList& list) noexcept {
    AddressRange* node = makeRange(low, high);
    if (node == nullptr) {
        return false;
    }
    node->next = list.release();
    list.reset(node);
    return true;
}

bool parseItem(Text text, bool isWide, OwnedAddressList& list) noexcept {
    AddressSpec item{};
    if (parseIPv4Range(text, &item) == RULE_OK) {
        return isWide ? push(item.startAddress, item.endAddress, list)
                      : push(ipv4FormOf(item.startAddress), ipv4FormOf(item.endAddress), list);
    }
    return isWide && parseIPv6Range(text, &item) == RULE_OK &&
           push(item.startAddress, item.endAddress, list);
}

}  // namespace

bool parseAddressList(const char* text, uint32_t length, bool isWide,
                      OwnedAddressList& out) noexcept {
    if (isStar({text, length})) {
        return push(FIRST_ADDRESS, LAST_ADDRESS, out);
    }
    OwnedAddressList list;
    const int32_t status = forEachItem({text, length}, [&](Text item) noexcept {
        return parseItem(item, isWide, list) ? RULE_OK : RULE_ERR_FAILED;
    });
    out = std::move(list);
    return status == RULE_OK;
}

bool copyAsIpv4List(const AddressRange* first, bool takeAll, OwnedAddressList& out) noexcept {
    AddressRange* copies = nullptr;
    const bool isWhole = copyRanges(first, copies, [takeAll](AddressRange& node) noexcept {
        const bool isTaken = takeAll || (isIpv4Mapped(node.low) && isIpv4Mapped(node.high));
        node.low = ipv4FormOf(node.low);
        node.high = ipv4FormOf(node.high);
        return isTaken;
    });
    out.reset(copies);
    return isWhole;
}

void convertToMapped(AddressRange* first) noexcept {
    for (AddressRange* node = first; node != nullptr; node = node->next) {
        node->low = mappedFromIpv4Form(node->low);
        node->high = mappedFromIpv4Form(node->high);
    }
}

}  // namespace rs
