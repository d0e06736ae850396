// Checks what the command answered for URLs against the network filters themselves, by walking them from the first to
// the last. It shares no code with the library nor with what turned the filters into rules.
//
//     usage: filter_check FILTERS KEYS ANSWERS COUNT
//
// The value of an answer is the number of a line of FILTERS: the first that covers the URL. A filter "||host^" covers
// every URL of the host and of those below it; "||host/path" the URLs whose path, query included, begins so in any
// letter case, where a '*' stands for any text.
#include <cstdint>
#include <string>
#include <vector>

#include "answers.h"

namespace {

struct Pattern {
    std::string host;
    std::string begin;   // of the path, up to a '*'
    std::string within;  // somewhere behind it
};

std::string lower(std::string text) {
    for (char& byte : text) {
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
    }
    return text;
}

std::vector<Pattern> readFilters(const char* path) {
    std::ifstream file = demo::openAnswers(path);
    std::vector<Pattern> patterns;
    for (std::string line; std::getline(file, line);) {
        line = lower(line);
        Pattern pattern;
        const size_t slash = line.find('/');
        if (slash == std::string::npos) {
            pattern.host = line.substr(2, line.size() - 3);  // without "||" and "^"
        } else {
            pattern.host = line.substr(2, slash - 2);
            const std::vector<std::string> parts = demo::split(line.substr(slash), '*');
            pattern.begin = parts[0];
            pattern.within = parts.size() > 1 ? parts[1] : "";
        }
        patterns.push_back(pattern);
    }
    return patterns;
}

struct Url {
    std::string host;
    std::string path;
};

Url readUrl(const std::string& text) {
    std::string rest = lower(text);
    const size_t scheme = rest.find("://");
    if (scheme != std::string::npos) {
        rest.erase(0, scheme + 3);
    }
    const size_t hostEnd = rest.find_first_of(":/");
    Url url;
    url.host = rest.substr(0, hostEnd);
    const size_t path = rest.find('/');
    url.path = path == std::string::npos ? "/" : rest.substr(path);
    return url;
}

bool coversHost(const std::string& pattern, const std::string& host) {
    if (host.size() <= pattern.size()) {
        return host == pattern;
    }
    const size_t before = host.size() - pattern.size();
    return host[before - 1] == '.' && host.compare(before, pattern.size(), pattern) == 0;
}

bool coversPath(const Pattern& pattern, const std::string& path) {
    return path.compare(0, pattern.begin.size(), pattern.begin) == 0 &&
           path.find(pattern.within, pattern.begin.size()) != std::string::npos;
}

demo::Answer scan(const std::vector<Pattern>& patterns, const std::string& key) {
    const Url url = readUrl(key);
    for (size_t i = 0; i < patterns.size(); ++i) {
        if (coversHost(patterns[i].host, url.host) && coversPath(patterns[i], url.path)) {
            return {key, i + 1, 1};
        }
    }
    return {key, 0, 0};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        demo::stop("usage: filter_check FILTERS KEYS ANSWERS COUNT");
    }
    const std::vector<Pattern> patterns = readFilters(argv[1]);
    std::ifstream keys = demo::openAnswers(argv[2]);
    std::ifstream answers = demo::openAnswers(argv[3]);
    return demo::report(demo::compareAnswers(
                            keys, answers, static_cast<uint32_t>(std::stoul(argv[4])),
                            [&patterns](const std::string& key) { return scan(patterns, key); },
                            demo::hasSameValue),
                        "URLs");
}
