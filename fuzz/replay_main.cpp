// Runs a fuzz entry once for every file of a folder, in the order of their names. Any compiler
// builds it, so that inputs once found are tried in every build.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    // A block of exactly its size, as the fuzzer hands it over.
    const std::unique_ptr<uint8_t[]> bytes = std::make_unique<uint8_t[]>(content.size());
    std::copy(content.begin(), content.end(), bytes.get());
    // Where an entry ends the program, the last name is the input to look at.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(bytes.get(), content.size());
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", arguments[0]);
        return 2;
    }
    std::error_code error;
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1], error)) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path());
        }
    }
    // A folder that is gone or empty would pass without a test.
    if (error || paths.empty()) {
        std::fprintf(stderr, "%s: no inputs in %s\n", arguments[0], arguments[1]);
        return 1;
    }
    std::sort(paths.begin(), paths.end());
    for (const std::filesystem::path& path : paths) {
        replay(path);
    }
    std::printf("%zu inputs\n", paths.size());
    return 0;
}
