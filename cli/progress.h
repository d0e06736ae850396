// A line on standard error that tells how far a long step has come; shown only on a terminal, and
// only once the step has taken half a second.
#pragma once

#include <chrono>
#include <cstdint>

namespace cli {

class Stopwatch {
public:
    [[nodiscard]] double seconds() const;

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

class Progress {
public:
    explicit Progress(const char* unit, bool isWanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // Says that count units are done. Cheap enough for every unit.
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
    double shownAt_ = 0;
};

}  // namespace cli
