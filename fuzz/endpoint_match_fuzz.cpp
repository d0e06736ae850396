// Lookups in groups of IP:Port or packet filter rules, with what comes back of their userData.
// The first byte decides on the type; the rest of the input is read by runMatches.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>

#include "byte_reader.h"
#include "match_run.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    rs::fuzz::ByteReader input(data, size);
    rs::fuzz::runMatches(input.oneIn(2) ? RULE_TYPE_IP_PORT : RULE_TYPE_PACKET_FILTER, input);
    return 0;
}
