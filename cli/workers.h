// Work that several threads do together.
#pragma once

#include <cstdint>
#include <functional>

namespace cli {

// The cores that the process may run on, at least 1.
uint32_t availableCores();

// Calls work in count threads, of which the calling one is the first, and returns when all calls have.
// Then throws what one of them threw. With fewer threads than asked for, where the system gives no
// more, the work is done all the same: work takes its parts from a common store.
void runWorkers(uint32_t count, const std::function<void()>& work);

}  // namespace cli
