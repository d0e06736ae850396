// Compiled IP rules + many addresses -> their answers.
//
//     step 1    the bucket of a single address            the root of the ranges
//     step 2    the answer that the bucket names          what the root names
//     step 3                                              the entry of the range
//     step 4    the answer, as by a single lookup
//
// All addresses of a block take a step before any takes the next: see core/bulk.h.
//
// Threads:    lookups only read.
// Cost:       that of single lookups, less most of their waits for memory.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/bulk.h"
#include "ip/ip_index.h"

namespace rs {

// Addresses in host order.
void matchIpv4Many(const IpRuleTable& table, const uint32_t* addresses, size_t count,
                   const BulkAnswers& answers) noexcept;

// Addresses in network order.
void matchIpv6Many(const IpRuleTable& table, const std::array<uint8_t, 16>* addresses, size_t count,
                   const BulkAnswers& answers) noexcept;

}  // namespace rs
