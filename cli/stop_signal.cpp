#include "stop_signal.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace cli {

StopSignal::StopSignal() : descriptor_(eventfd(0, EFD_CLOEXEC)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

StopSignal::~StopSignal() {
    close(descriptor_);
}

void StopSignal::request() noexcept {
    if (!isRequested_.exchange(true)) {
        eventfd_write(descriptor_, 1);
    }
}

bool StopSignal::waitForInput(const InputFile& file) const {
    pollfd events[] = {{file.descriptor(), POLLIN, 0}, {descriptor_, POLLIN, 0}};
    while (!isRequested_ && poll(events, 2, -1) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), file.path());
        }
    }
    return !isRequested_;
}

}  // namespace cli
