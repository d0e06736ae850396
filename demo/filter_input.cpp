// Writes URL rules from lists of network filters, and URLs to ask for.
//
//     usage: filter_input FOLDER LIST...
//
//     LIST             ||ads.example^          the host and all below it, any scheme, port and path
//                      ||ads.example/banner    the same, for paths that begin so; one '*' may stand in them
//                      anything else cannot be said in URL rules, and is counted with its reason
//
//     url_rules.txt    four rules for each filter, with the number of the filter, counted from 1, as value:
//
//                          ads.example:*/banner*       *.ads.example:*/banner*
//                          https://ads.example:*/...   https://*.ads.example:*/...
//
//     filters.txt      the filters that were taken, one a line
//     url_keys.txt     one URL a line
//     refused.txt      count TAB reason
//
// Prints the numbers of filters taken, of rules and of URLs.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "input.h"

namespace {

constexpr uint32_t KEY_COUNT = 200'000;

struct Filter {
    std::string text;
    std::string host;
    std::string path;  // empty for every path
};

struct Filters {
    std::vector<Filter> taken;
    std::map<std::string, uint32_t> refused;  // by reason
};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

// Why the part of a filter behind its "||" cannot be said; null when it can.
const char* refusalOfPattern(const std::string& host, const std::string& rest) {
    if (contains(host, "*")) {
        return "'*' inside the host";
    }
    if (contains(host, ":")) {
        return "a port";
    }
    if (host.find_first_of("?=&|") != std::string::npos || rest.empty()) {
        return "a host that is left open";
    }
    if (rest == "^") {
        return nullptr;
    }
    if (rest[0] == '^' || contains(rest, "^")) {
        return "'^' before or in the path";
    }
    if (contains(rest, "|")) {
        return "the end of the URL ('|')";
    }
    if (contains(rest, "%")) {
        return "an escape in the path";
    }
    return std::count(rest.begin(), rest.end(), '*') > 1 ? "more than one '*'" : nullptr;
}

// Why a line is no filter that can be said, null when it can; comments are no lines.
const char* refusalOf(const std::string& line) {
    for (const char* mark : {"##", "#@#", "#?#", "#$#", "#@$#"}) {
        if (contains(line, mark)) {
            return "hides elements of a page";
        }
    }
    if (line.compare(0, 2, "@@") == 0) {
        return "an exception (@@)";
    }
    if (line.compare(0, 2, "||") != 0) {
        return "not bound to a host (||)";
    }
    return contains(line, "$") ? "options ($)" : nullptr;
}

void readFilters(const std::string& path, Filters& filters) {
    std::ifstream file = demo::open(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '!' || line[0] == '[') {
            continue;
        }
        const char* reason = refusalOf(line);
        if (reason == nullptr) {
            const size_t end = std::min(line.find_first_of("/^", 2), line.size());
            const std::string host = line.substr(2, end - 2);
            const std::string rest = line.substr(end);
            reason = refusalOfPattern(host, rest);
            if (reason == nullptr) {
                filters.taken.push_back({line, host, rest == "^" ? "" : rest});
                continue;
            }
        }
        ++filters.refused[reason];
    }
}

void writeRules(const std::vector<Filter>& filters, std::ofstream& rules, std::ofstream& texts) {
    uint32_t number = 0;
    for (const Filter& filter : filters) {
        ++number;
        texts << filter.text << '\n';
        // A path with a '*' of its own is open at its end without another one.
        const std::string path =
            filter.path.empty() || contains(filter.path, "*") ? filter.path : filter.path + "*";
        for (const char* before : {"", "*.", "https://", "https://*."}) {
            rules << before << filter.host << ":*" << path << '\t' << number << '\n';
        }
    }
}

std::string nextHost(const std::string& host, demo::Random& random) {
    switch (random.next() % 8) {
        case 0:
            return demo::randomWord(random) + host;  // not at a label's border
        case 1:
            return host + "." + demo::randomWord(random);
        case 2:
            return demo::randomWord(random) + "." + host;
        case 3:
            return demo::randomWord(random) + "." + demo::randomWord(random) + "." + host;
        default:
            return host;
    }
}

std::string nextPath(std::string path, demo::Random& random) {
    if (path.empty()) {
        return random.oneIn(3) ? "" : "/" + demo::randomWord(random);
    }
    const size_t star = path.find('*');
    if (star != std::string::npos) {
        path.replace(star, 1, random.oneIn(2) ? demo::randomWord(random) : "");
    }
    switch (random.next() % 5) {
        case 0:
            path.resize(1 + random.next() % path.size());  // may fall short
            return path;
        case 1:
            return path + demo::randomWord(random);
        case 2:
            return path + "?" + demo::randomWord(random) + "=1#x";
        case 3:
            return "/" + demo::randomWord(random) + path;
        default:
            return demo::mixedCase(path, random);
    }
}

std::string nextUrl(const std::vector<Filter>& filters, demo::Random& random) {
    static const std::vector<std::string> SCHEMES{"http://", "https://", "https://", "HTTPS://",
                                                  ""};
    static const std::vector<std::string> PORTS{"", "", "", ":80", ":443", ":8080"};
    const Filter& filter = random.pick(filters);
    return random.pick(SCHEMES) + demo::mixedCase(nextHost(filter.host, random), random) +
           random.pick(PORTS) + nextPath(filter.path, random);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        demo::fail("usage: filter_input FOLDER LIST...");
    }
    Filters filters;
    for (int i = 2; i < argc; ++i) {
        readFilters(argv[i], filters);
    }
    const std::string folder = argv[1];
    std::ofstream rules = demo::create(folder + "/url_rules.txt");
    std::ofstream texts = demo::create(folder + "/filters.txt");
    writeRules(filters.taken, rules, texts);
    demo::finish(rules, folder + "/url_rules.txt");
    demo::finish(texts, folder + "/filters.txt");

    std::ofstream refused = demo::create(folder + "/refused.txt");
    for (const auto& [reason, count] : filters.refused) {
        refused << count << '\t' << reason << '\n';
    }
    demo::finish(refused, folder + "/refused.txt");

    std::ofstream keys = demo::create(folder + "/url_keys.txt");
    demo::Random random;
    for (uint32_t left = KEY_COUNT; left > 0; --left) {
        keys << nextUrl(filters.taken, random) << '\n';
    }
    demo::finish(keys, folder + "/url_keys.txt");
    std::printf("%zu %zu %u\n", filters.taken.size(), 4 * filters.taken.size(), KEY_COUNT);
    return 0;
}
