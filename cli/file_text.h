// All bytes of a file, read once.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "input_file.h"

namespace cli {

// Owns the bytes.
class FileText {
public:
    // Reads to the end. Throws std::system_error when reading fails, std::length_error for a line that
    // is too long, and std::bad_alloc.
    explicit FileText(const InputFile& file);

    // Without a byte order mark at its start.
    [[nodiscard]] std::string_view text() const { return text_; }

private:
    struct Freeing {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    void resize(size_t capacity);
    void checkLines(const std::string& path);

    std::unique_ptr<char, Freeing> bytes_;
    size_t capacity_ = 0;
    size_t length_ = 0;
    size_t checked_ = 0;  // where a line starts; none before it is too long
    std::string_view text_;
};

}  // namespace cli
