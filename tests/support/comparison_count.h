// How many answers of the library were held against a reference.
#pragma once

#include <cstdint>

namespace rs::test {

// Counts comparisons of what this operation answered. When RULESET_PROPERTY_CASES is set, the program ends with a
// line for each operation and one for all.
void countComparisons(const char* operation, uint64_t count = 1);

}  // namespace rs::test
