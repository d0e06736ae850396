#include "session.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "handles.h"
#include "memory_pages.h"

namespace bench {
namespace {

[[noreturn]] void refuse(std::string_view what) {
    std::fprintf(stderr,
                 "%.*s\nusage: [--sizes N,...] [--kinds KIND,...] [--data DIR] [--passes N] "
                 "[--seconds N] [--core N] [--small-pages]\n",
                 static_cast<int>(what.size()), what.data());
    std::exit(2);
}

std::vector<std::string_view> itemsOf(std::string_view text) {
    std::vector<std::string_view> items;
    for (;;) {
        const size_t comma = std::min(text.find(','), text.size());
        items.push_back(text.substr(0, comma));
        if (comma == text.size()) {
            return items;
        }
        text.remove_prefix(comma + 1);
    }
}

uint32_t readNumber(std::string_view text) {
    uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, status] = std::from_chars(text.data(), end, number);
    if (status != std::errc() || stop != end || text.empty()) {
        refuse("no number: " + std::string(text));
    }
    return number;
}

void readOption(Options& options, std::string_view name, std::string_view value) {
    if (name == "--sizes") {
        options.sizes.clear();
        for (const std::string_view item : itemsOf(value)) {
            options.sizes.push_back(readNumber(item));
        }
    } else if (name == "--kinds") {
        for (const std::string_view item : itemsOf(value)) {
            const ListKind* kind = findListKind(item);
            if (kind == nullptr) {
                refuse("no kind: " + std::string(item));
            }
            options.kinds.push_back(kind);
        }
    } else if (name == "--data") {
        options.directory = value;
    } else if (name == "--passes") {
        options.passes = std::max(readNumber(value), 1U);
    } else if (name == "--seconds") {
        options.seconds = readNumber(value);
    } else if (name == "--core") {
        options.core = static_cast<int32_t>(readNumber(value));
    } else {
        refuse("no option: " + std::string(name));
    }
}

void pinToCore(int32_t core) {
    cpu_set_t allowed;
    require(sched_getaffinity(0, sizeof(allowed), &allowed) == 0, "no list of cores");
    for (int32_t i = CPU_SETSIZE - 1; core < 0 && i >= 0; --i) {
        core = CPU_ISSET(i, &allowed) ? i : core;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(core, &one);
    require(sched_setaffinity(0, sizeof(one), &one) == 0, "the core cannot be chosen");
}

std::vector<uint32_t> sizesOf(const Options& options, const ListKind& kind) {
    if (std::string_view(kind.name) == "urls_crowded") {
        return {CROWDED_LIST};
    }
    return kind.isReal ? std::vector<uint32_t>{0} : options.sizes;
}

}  // namespace

Options readOptions(int argumentCount, char** arguments) {
    Options options{{1'000, 10'000, 100'000, 1'000'000, 10'000'000}, {}, "", 3, 600, -1};
    for (int i = 1; i < argumentCount; ++i) {
        const std::string_view name = arguments[i];
        if (name == "--small-pages") {
            usesHugePages = false;
        } else if (i + 1 == argumentCount) {
            refuse("no value, or no option: " + std::string(name));
        } else {
            readOption(options, name, arguments[++i]);
        }
    }
    if (options.kinds.empty()) {
        for (const ListKind& kind : listKinds()) {
            options.kinds.push_back(&kind);
        }
    }
    return options;
}

int runForEachList(const char* bench, const Options& options,
                   void (*work)(const Options& options, const ListKind& kind,
                                const RuleList& list)) {
    int worst = EXIT_SUCCESS;
    for (const ListKind* kind : options.kinds) {
        for (const uint32_t size : sizesOf(options, *kind)) {
            std::fflush(stdout);
            const pid_t child = fork();
            if (child == 0) {
                pinToCore(options.core);
                const rlimit limit{options.seconds, options.seconds};
                setrlimit(RLIMIT_CPU, &limit);
                const RuleList list = kind->make(size, options.directory);
                if (list.rules.size() != 0) {
                    work(options, *kind, list);
                }
                std::fflush(stdout);
                _exit(EXIT_SUCCESS);
            }
            int status = 0;
            require(child > 0 && waitpid(child, &status, 0) == child, "no process");
            if (WIFSIGNALED(status) &&
                (WTERMSIG(status) == SIGKILL || WTERMSIG(status) == SIGXCPU)) {
                JsonLine()
                    .add("bench", bench)
                    .add("case", kind->name)
                    .add("rules", uint64_t{size})
                    .add("stopped", uint64_t{1});
            } else if (status != 0) {
                worst = EXIT_FAILURE;
            }
        }
    }
    return worst;
}

double median(std::vector<double> numbers) {
    std::sort(numbers.begin(), numbers.end());
    const size_t middle = numbers.size() / 2;
    return numbers.size() % 2 == 1 ? numbers[middle] : (numbers[middle - 1] + numbers[middle]) / 2;
}

JsonLine::~JsonLine() {
    std::printf("}\n");
    std::fflush(stdout);
}

JsonLine& JsonLine::add(const char* name, const char* text) {
    std::printf("%s\"%s\": \"%s\"", *comma_ == '\0' ? "{" : comma_, name, text);
    comma_ = ", ";
    return *this;
}

JsonLine& JsonLine::add(const char* name, uint64_t number) {
    std::printf("%s\"%s\": %llu", *comma_ == '\0' ? "{" : comma_, name,
                static_cast<unsigned long long>(number));
    comma_ = ", ";
    return *this;
}

JsonLine& JsonLine::add(const char* name, double number) {
    std::printf("%s\"%s\": %.2f", *comma_ == '\0' ? "{" : comma_, name, number);
    comma_ = ", ";
    return *this;
}

}  // namespace bench
