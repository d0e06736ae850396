// The library and its peers asked the same questions in one program and run: lines of JSON, of which
// scripts/performance_page.py makes docs/performance.md. questions.h names the files that say what is asked.
//
//     peer_bench [OPTION...]                         all questions
//     peer_bench --questions routes,urls [OPTION...] those whose names begin so; session.h has the other options
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "handles.h"
#include "lists.h"
#include "prefixes.h"
#include "public_suffixes.h"
#include "questions.h"
#include "session.h"

namespace {

using namespace bench;

constexpr uint32_t THREADS_LIST = 1'000'000;

struct Question {
    const char* name;
    ListKind list;
    Ask* ask;
    uint32_t
        mostRules;  // 0 for all sizes, else the one size, or the largest that is wanted if that is smaller
};

RuleList oneRule(uint32_t /*count*/, const std::string& /*directory*/) {
    RuleList list{RULE_TYPE_FQDN, {}, {}, {}};
    list.rules.add("example.com");
    return list;
}

ListKind listOf(const char* name) {
    const ListKind* kind = findListKind(name);
    require(kind != nullptr, "no such list");
    return *kind;
}

// A list of one size of its own is marked as a real one.
std::vector<Question> allQuestions() {
    return {
        {"hosts_ipv4", listOf("ipv4_hosts"), askHosts, 0},
        {"hosts_ipv6", listOf("ipv6_hosts"), askHosts, 0},
        {"routes_ipv4", {"ipv4_routes", makeIpv4Routes, false}, askRoutes, 0},
        {"routes_ipv6", {"ipv6_routes", makeIpv6Routes, false}, askRoutes, 0},
        {"names", listOf("names"), askNames, 0},
        {"suffixes", {"public_suffixes", makePublicSuffixes, true}, askSuffixes, 0},
        {"urls", listOf("urls"), askUrls, 0},
        {"texts", {"texts", oneRule, true}, askTexts, 0},
        {"threads_ipv4", listOf("ipv4_hosts"), askThreads, THREADS_LIST},
        {"threads_ipv6", listOf("ipv6_hosts"), askThreads, THREADS_LIST},
        {"threads_ranges", listOf("ipv4_overlapping"), askThreads, THREADS_LIST},
        {"threads_names", listOf("names"), askThreads, THREADS_LIST},
        {"threads_urls", listOf("urls"), askThreads, THREADS_LIST},
    };
}

// Takes --questions and its value out of the arguments.
std::string takeQuestions(std::vector<char*>& arguments) {
    const auto found = std::find_if(arguments.begin(), arguments.end(), [](const char* argument) {
        return argument != nullptr && std::string_view(argument) == "--questions";
    });
    if (found == arguments.end() || found + 1 == arguments.end()) {
        return "";
    }
    std::string questions = *(found + 1);
    arguments.erase(found, found + 2);
    return questions;
}

bool isWanted(std::string_view name, const std::string& questions) {
    for (size_t begin = 0; begin <= questions.size();) {
        const size_t end = std::min(questions.find(',', begin), questions.size());
        if (name.starts_with(std::string_view(questions).substr(begin, end - begin))) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

int ask(const Question& question, Options options) {
    options.kinds = {&question.list};
    if (question.mostRules != 0) {
        const uint32_t largest = *std::max_element(options.sizes.begin(), options.sizes.end());
        options.sizes = {std::min(question.mostRules, largest)};
    }
    return runForEachList("peers", options, question.ask);
}

}  // namespace

int main(int argumentCount, char** argumentList) {
    std::vector<char*> arguments(argumentList, argumentList + argumentCount);
    const std::string questions = takeQuestions(arguments);
    const Options options = readOptions(static_cast<int>(arguments.size()), arguments.data());
    int worst = EXIT_SUCCESS;
    for (const Question& question : allQuestions()) {
        if (isWanted(question.name, questions)) {
            worst = std::max(worst, ask(question, options));
        }
    }
    return worst;
}
