// Sharing the compiled structures of a group.
#pragma once

#include "core/rule_group.h"

namespace rs {

// A new group record, with a reference of its own to every structure of group. The caller frees it
// with rs_delRuleGroup, in any order with the original and from any thread. Null for a null group
// or when memory is out.
//
// Deliberate: the copy holds no release callback. Of the records that share a structure the one
// dropped last decides through which callback, if any, the userData of single IPv4 addresses goes
// back; the trees keep the callback that they were built with.
RuleGroup* retainRuleGroup(const RuleGroup* group) noexcept;

}  // namespace rs
