// A normalizer in a buffer that grows: the definition of which texts are too long, run step by step
// for comparison with one run in the largest buffer.
#pragma once

#include <ruleset.h>

#include <cstdint>
#include <string>
#include <vector>

namespace rs::test {

struct GrowingRun {
    int32_t status = RULE_OK;
    std::string text;             // with RULE_OK
    std::vector<uint64_t> sizes;  // of the buffers, in their order
    std::vector<char> buffer;     // the last one, to which what parse has read may point
};

// Calls parse(buffer, &inOutLength), capacity in and length out, with one size after the other. A
// text that no size is enough for has the status of adding such a rule.
template <typename Parse>
GrowingRun parseIntoGrowingText(uint32_t inputLength, const Parse& parse) {
    GrowingRun run;
    uint64_t size = uint64_t{inputLength} + 16;
    do {
        run.sizes.push_back(size);
        run.buffer = std::vector<char>(size);  // on the heap, where sanitizers watch its end
        auto length = static_cast<uint32_t>(size);
        run.status = parse(run.buffer.data(), &length);
        if (run.status == RULE_OK) {
            run.text.assign(run.buffer.data(), length);
        }
        size += 16;
    } while (run.status == RULE_ERR_BUFFER_SMALL && size <= 8191);
    if (run.status == RULE_ERR_BUFFER_SMALL) {
        run.status = RULE_ERR_NO_MEMORY;
    }
    return run;
}

}  // namespace rs::test
