// Says from one thread to the others that they shall end, also to one that waits for input.
#pragma once

#include <atomic>

#include "input_file.h"

namespace cli {

// Threads: all operations may be called from any thread.
class StopSignal {
public:
    // Throws std::system_error when the system has no descriptor left.
    StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;
    ~StopSignal();

    // Cannot be taken back.
    void request() noexcept;

    // Waits until the file has bytes to read or has ended. False when the signal came, before or
    // meanwhile.
    [[nodiscard]] bool waitForInput(const InputFile& file) const;

private:
    std::atomic<bool> isRequested_ = false;
    int descriptor_;  // an event, which polling sees once the signal is requested
};

}  // namespace cli
