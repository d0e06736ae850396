// Measuring time, and a line on standard error that shows how far a long step has come:
//
//     1,234,567 rules, 456,000 per second
//
// The line is shown on a terminal only, and only after the step has taken half a second.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

namespace cli {

// Measures the time since it was made.
class Stopwatch {
public:
    [[nodiscard]] double seconds() const;

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Shows the line, and removes it at the end of its life. unit is the plural of what is counted; its
// text must live as long.
class Progress {
public:
    explicit Progress(const char* unit, bool isWanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // Says that count more units are done, from any thread. Cheap enough to be called for every few
    // hundred units.
    void add(uint64_t count);

private:
    void show(uint64_t count);

    const char* unit_;
    bool isShown_;
    Stopwatch stopwatch_;
    std::atomic<uint64_t> count_ = 0;
    std::mutex mutex_;    // of the line and the time
    double shownAt_ = 0;  // in seconds; 0 before the line is first shown
};

}  // namespace cli
