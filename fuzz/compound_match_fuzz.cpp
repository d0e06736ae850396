// Lookups in groups of compound rules, with what comes back of their userData. The input is
// read by runMatches.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "byte_reader.h"
#include "match_run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    rs::fuzz::ByteReader input(data, size);
    rs::fuzz::runMatches(RULE_TYPE_COMPOUND, input);
    return 0;
}
