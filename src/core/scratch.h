// Bytes for the time of one call: on the stack if they fit there, else from the allocator.
//
// Ownership:  a Scratch owns its bytes and frees them when it ends.
// Cost:       ordinary sizes allocate nothing; stackSize bytes of stack are taken in any case.
#pragma once

#include <cstddef>

#include "core/memory.h"

namespace rs {

template <size_t stackSize>
class Scratch {
public:
    // At least size bytes that live as long as the scratch; null when memory is out. Called once.
    char* reserve(size_t size) noexcept {
        if (size <= stackSize) {
            return stack_;
        }
        heap_.reset(allocateBytes(size));
        return heap_.get();
    }

private:
    char stack_[stackSize];
    OwnedMemory<char[]> heap_;
};

}  // namespace rs
