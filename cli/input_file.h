// A file to read from, or standard input.
#pragma once

#include <cstddef>
#include <string>

namespace cli {

// An open file, or standard input for "-". The object owns the descriptor and closes it at its end,
// but leaves standard input open.
class InputFile {
public:
    // Throws std::system_error, which names the file, when it cannot be opened for reading.
    explicit InputFile(const std::string& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    // Waits for bytes and reads at most size of them, which is not 0. Returns how many; 0 at the end.
    // Throws std::system_error, which names the file.
    size_t read(char* out, size_t size) const;

    // Whether read would return at once.
    [[nodiscard]] bool isReady() const;

    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
    int descriptor_;
};

}  // namespace cli
