// Rules and keys out of one input, in a set of the library and in its twin.
#pragma once

#include <cstdint>

#include "byte_reader.h"

namespace rs::fuzz {

// Adds rules, builds two groups, one with flat lookups and one without, looks keys up in both of them
// while there is input, and compares every answer and every userData that comes back.
//
//     input   number of rules, rules, keys
void runMatches(int32_t ruleType, ByteReader& input);

}  // namespace rs::fuzz
