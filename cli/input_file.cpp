#include "input_file.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace cli {

namespace {

[[noreturn]] void throwSystemError(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace

InputFile::InputFile(const std::string& path)
    : path_(path),
      descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) {
        throwSystemError(path_);
    }
}

InputFile::~InputFile() {
    if (descriptor_ != STDIN_FILENO) {
        close(descriptor_);
    }
}

size_t InputFile::read(char* out, size_t size) const {
    for (;;) {
        const ssize_t count = ::read(descriptor_, out, size);
        if (count >= 0) {
            return static_cast<size_t>(count);
        }
        if (errno != EINTR) {
            throwSystemError(path_);
        }
    }
}

bool InputFile::isReady() const {
    pollfd input{descriptor_, POLLIN, 0};
    return poll(&input, 1, 0) == 1;
}

}  // namespace cli
