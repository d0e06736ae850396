// Lists of port ranges, as rules with endpoints hold them.
//
//     field     '*' | item { ',' item }
//     item      port | port '-' port
//
//     80,443,1000-2000   ->   1000-2000, 443-443, 80-80      a list runs in reverse text order
//     *                  ->   1-65535                        port 0 is never covered
//
// Ownership:  whoever holds the first node owns the list; nodes of a slab are the slab's.
// Cost:       parsing makes one node for each item; a test walks the list.
#pragma once

#include <cstdint>

#include "core/range_node.h"

namespace rs {

using PortRange = RangeNode<uint16_t>;

// Parses a whole field into a new list, which the caller frees with freeRangeList. *out is written
// on success only. RULE_ERR_INVALID_ARG for a null argument or an empty text, RULE_ERR_BAD_RULE for
// a bad one, RULE_ERR_NO_MEMORY.
[[nodiscard]] int32_t parsePortList(const char* text, uint32_t length, PortRange** out) noexcept;

// The same with nodes of a slab. Those of a field that is bad remain in it, unused.
[[nodiscard]] int32_t parsePortList(const char* text, uint32_t length, Slab<PortRange>& nodes,
                                    PortRange** out) noexcept;

// Parses one item and pushes its node at the front of *head; null, with the list left alone, when
// the text is bad or memory is out.
[[nodiscard]] PortRange* parsePortListItem(const char* text, uint32_t length,
                                           PortRange** head) noexcept;

// The part of a port that a lookup uses: its low 16 bits.
constexpr uint16_t lookupPort(uint32_t port) noexcept {
    return static_cast<uint16_t>(port & 0xFFFFU);
}

}  // namespace rs
