// Measuring time, and a line on standard error that shows how far a long step has come:
//
//     1,234,567 rules, 456,000 per second
//
// The line is shown on a terminal only, and only after the step has taken half a second.
#pragma once

#include <chrono>
#include <cstdint>

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

    // Says that count units are done. Cheap enough to be called for every unit.
    void update(uint64_t count) {
        if (isShown_ && count % UNITS_PER_LOOK == 0) {
            show(count);
        }
    }

private:
    static constexpr uint64_t UNITS_PER_LOOK = 4096;

    void show(uint64_t count);

    const char* unit_;
    bool isShown_;
    Stopwatch stopwatch_;
    double shownAt_ = 0;  // in seconds; 0 before the line is first shown
};

}  // namespace cli
