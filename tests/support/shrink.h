// Small counter-examples out of large ones.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace rs::test {

// What is left of a failing sequence when no more of it can be left out: first halves, then quarters, down to single
// elements, each for good when stillFails(the rest). The order stays.
template <typename Sequence, typename StillFails>
Sequence shrink(Sequence sequence, const StillFails& stillFails) {
    for (size_t part = (sequence.size() + 1) / 2; part > 0; part /= 2) {
        for (size_t at = 0; at < sequence.size();) {
            Sequence shorter = sequence;
            const size_t end = std::min(at + part, sequence.size());
            shorter.erase(std::next(shorter.begin(), static_cast<std::ptrdiff_t>(at)),
                          std::next(shorter.begin(), static_cast<std::ptrdiff_t>(end)));
            if (stillFails(shorter)) {
                sequence = std::move(shorter);
            } else {
                at += part;
            }
        }
    }
    return sequence;
}

}  // namespace rs::test
