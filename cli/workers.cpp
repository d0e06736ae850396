#include "workers.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <sched.h>
#include <system_error>
#include <thread>
#include <vector>

namespace cli {

uint32_t availableCores() {
    cpu_set_t cores;
    // The call fails on machines with more cores than the set has room for.
    const uint32_t count = sched_getaffinity(0, sizeof cores, &cores) == 0
                               ? static_cast<uint32_t>(CPU_COUNT(&cores))
                               : std::thread::hardware_concurrency();
    return std::max(count, 1U);
}

void runWorkers(uint32_t count, const std::function<void()>& work) {
    std::mutex mutex;
    std::exception_ptr failure;
    const auto run = [&mutex, &failure, &work] {
        try {
            work();
        } catch (...) {
            const std::lock_guard lock(mutex);
            failure = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> threads;
        try {
            for (uint32_t i = 1; i < count; ++i) {
                threads.emplace_back(run);
            }
        } catch (const std::system_error&) {
            // The threads that have started, and this one, do the work.
        }
        run();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace cli
