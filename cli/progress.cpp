#include "progress.h"

#include <cstdio>
#include <unistd.h>

#include "text_output.h"

namespace cli {

namespace {

constexpr double FIRST_SHOWN_AFTER = 0.5;
constexpr double SHOWN_EVERY = 0.1;

}  // namespace

double Stopwatch::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

Progress::Progress(const char* unit, bool isWanted)
    : unit_(unit), isShown_(isWanted && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (shownAt_ > 0) {
        std::fputs("\r\033[K", stderr);  // to the start of the line, and erase it
    }
}

void Progress::add(uint64_t count) {
    if (!isShown_) {
        return;
    }
    const uint64_t sum = count_ += count;
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock.owns_lock()) {
        show(sum);
    }
}

void Progress::show(uint64_t count) {
    const double seconds = stopwatch_.seconds();
    if (seconds < FIRST_SHOWN_AFTER || seconds - shownAt_ < SHOWN_EVERY) {
        return;
    }
    shownAt_ = seconds;
    std::fprintf(stderr, "\r%s %s, %s per second\033[K", withCommas(count).c_str(), unit_,
                 rateText(count, seconds).c_str());
    std::fflush(stderr);
}

}  // namespace cli
