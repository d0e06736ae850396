// The same work in several threads at once.
#pragma once

#include <cstdint>
#include <thread>
#include <vector>

namespace rs::test {

// Runs work(thread number) in so many threads and waits for all of them.
template <typename Work>
void runInThreads(uint32_t threadCount, const Work& work) {
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&work, i] { work(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace rs::test
