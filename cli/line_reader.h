// Lines of a file or of standard input, read as a stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cli {

// An open file, or standard input for "-". Closed at the end of its life, but for standard input.
class InputFile {
public:
    // Throws std::system_error, which names the file, when it cannot be opened for reading.
    explicit InputFile(const std::string& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
    int descriptor_;
};

class LineReader {
public:
    explicit LineReader(const InputFile& file) : file_(file) {}

    // The next line without its end, LF or CRLF; a byte order mark at the start of the file is
    // dropped. The bytes stay valid until the next call. False at the end of the file. Throws
    // std::system_error when reading fails.
    bool next(std::string_view& line);

    // Of the line that next returned last, counted from 1.
    [[nodiscard]] uint64_t lineNumber() const { return lineNumber_; }

private:
    bool fill();
    std::string_view cleaned(std::string_view line) const;

    const InputFile& file_;
    std::string buffer_;
    size_t start_ = 0;  // of what is not yet returned
    size_t end_ = 0;    // of what is read
    bool atEnd_ = false;
    uint64_t lineNumber_ = 0;
};

}  // namespace cli
