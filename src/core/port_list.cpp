#include "core/port_list.h"

#include <ruleset.h>

#include "syntax/items.h"
#include "syntax/port.h"

namespace rs {

namespace {

// Where nodes come from: makeNode(ports) returns one, or null when memory is out.

PortRange* makeOwnNode(PortPair ports) noexcept {
    return makeRange(ports.low, ports.high);
}

template <typename MakeNode>
int32_t parseItem(Text text, const MakeNode& makeNode, PortRange** head) noexcept {
    PortPair ports{};
    if (parsePortPair(text, &ports) != RULE_OK) {
        return RULE_ERR_BAD_RULE;
    }
    PortRange* node = makeNode(ports);
    if (node == nullptr) {
        return RULE_ERR_NO_MEMORY;
    }
    pushToChain(*head, node);
    return RULE_OK;
}

// Parses a whole field into a list that begins with *head, which is null. A failure leaves the nodes
// made so far there.
template <typename MakeNode>
int32_t parseField(const char* text, uint32_t length, const MakeNode& makeNode,
                   PortRange** head) noexcept {
    if (text[0] != '*') {
        return forEachItem({text, length},
                           [&](Text item) noexcept { return parseItem(item, makeNode, head); });
    }
    if (length != 1) {
        return RULE_ERR_BAD_RULE;
    }
    *head = makeNode({1, 65535});
    return *head != nullptr ? RULE_OK : RULE_ERR_NO_MEMORY;
}

}  // namespace

int32_t parsePortList(const char* text, uint32_t length, PortRange** out) noexcept {
    if (text == nullptr || length == 0 || out == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    PortRange* head = nullptr;
    const int32_t status = parseField(text, length, makeOwnNode, &head);
    if (status == RULE_OK) {
        *out = head;
    } else {
        freeRangeList(&head);
    }
    return status;
}

int32_t parsePortList(const char* text, uint32_t length, Slab<PortRange>& nodes,
                      PortRange** out) noexcept {
    if (text == nullptr || length == 0 || out == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const auto makeNode = [&nodes](PortPair ports) noexcept {
        return makeRange(nodes, ports.low, ports.high);
    };
    PortRange* head = nullptr;
    const int32_t status = parseField(text, length, makeNode, &head);
    if (status == RULE_OK) {
        *out = head;
    }
    return status;
}

PortRange* parsePortListItem(const char* text, uint32_t length, PortRange** head) noexcept {
    return head != nullptr && parseItem({text, length}, makeOwnNode, head) == RULE_OK ? *head
                                                                                      : nullptr;
}

}  // namespace rs
