// Rule texts and keys that an input decides on. Most are well formed and much alike, so that rules
// overlap and keys meet them; some are lines of the input as they stand.
#pragma once

#include <cstdint>
#include <string>

#include "byte_reader.h"
#include "support/reference_ip.h"

namespace rs::fuzz {

// A text for a rule of one of the types 1 to 7.
std::string takeRuleText(int32_t ruleType, ByteReader& input);

test::Number128 takeAddress(ByteReader& input);
std::string takeHostName(ByteReader& input);
std::string takeUrl(ByteReader& input);

}  // namespace rs::fuzz
