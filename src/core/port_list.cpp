#include "core/port_list.h"

#include <ruleset.h>

#include "syntax/items.h"
#include "syntax/port.h"

namespace rs {

namespace {

// Pushes a node for an item that is already parsed.
PortRange* pushRange(PortPair ports, PortRange** head) noexcept {
    PortRange* node = makeRange(ports.low, ports.high);
    if (node != nullptr) {
        pushToChain(*head, node);
    }
    return node;
}

int32_t parseItem(Text text, PortRange** head) noexcept {
    PortPair ports{};
    if (parsePortPair(text, &ports) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    return pushRange(ports, head) != nullptr ? RULE_OK : RULE_ERR_NO_MEMORY;
}

int32_t parseItems(Text list, PortRange** out) noexcept {
    PortRange* head = nullptr;
    const int32_t status =
        forEachItem(list, [&head](Text item) noexcept { return parseItem(item, &head); });
    if (status == RULE_OK) {
        *out = head;
    } else {
        freeRangeList(&head);
    }
    return status;
}

}  // namespace

int32_t parsePortList(const char* text, uint32_t length, PortRange** out) noexcept {
    if (text == nullptr || length == 0 || out == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    if (text[0] != '*') {
        return parseItems({text, length}, out);
    }
    if (length != 1) {
        return RULE_ERR_BAD_RULE;
    }
    PortRange* anyPort = nullptr;
    if (pushRange({1, 65535}, &anyPort) == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    *out = anyPort;
    return RULE_OK;
}

PortRange* parsePortListItem(const char* text, uint32_t length, PortRange** head) noexcept {
    return head != nullptr && parseItem({text, length}, head) == RULE_OK ? *head : nullptr;
}

}  // namespace rs
