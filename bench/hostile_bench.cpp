// What hostile inputs cost, beside random input of the same size: one line of JSON for each family and size.
//
//     hostile_bench [FILTER] > FILE       the rows whose name, as "IP rules/nested_values/4096", contains FILTER
//
// Each row is measured in a child process of its own, which is stopped at 5 seconds of processor time or 3 GiB of
// address space; larger sizes of a stopped family are not tried. Times are the best of up to fifteen rounds of adding,
// building, looking up and deleting. Memory is the most that the library's allocations take at one time, set and group
// together, counted where the linker sends its calls of the allocator.
#include <ruleset.h>
#include <ruleset_static.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "allocation_count.h"
#include "hostile_inputs.h"

namespace {

using bench::HostileEndpoint;
using bench::HostileFamily;
using bench::HostileGroup;
using bench::HostileInput;
using bench::HostileKey;

constexpr std::array<size_t, 3> SIZES = {size_t{4} << 10U, size_t{64} << 10U, size_t{1} << 20U};
constexpr rlim_t MOST_SECONDS = 5;
constexpr rlim_t MOST_BYTES = rlim_t{3} << 30U;
constexpr uint64_t MILLISECOND = 1'000'000;

// ------------------------------------------------------------------------------------------------ one row

enum Step : uint32_t { ADD, BUILD, LOOKUP, DELETE, STEPS };
constexpr std::array<const char*, STEPS> STEP_NAMES = {"add", "build", "lookup", "delete"};

// What a child tells its parent, in memory that they share.
struct Row {
    uint32_t step;  // under way; STEPS when all is measured
    bool isOutOfMemory;
    uint64_t rules;
    uint64_t refused;
    std::array<uint64_t, STEPS> nanoseconds;
    bench::AllocationCount memory;  // of the last round
};

uint64_t nanosecondsOf(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000 * MILLISECOND +
           static_cast<uint64_t>(time.tv_nsec);
}

// Processor time, which other programs do not disturb; but the clock for what is too short for it: some kernels count
// processor time in steps of milliseconds.
class Stopwatch {
public:
    uint64_t elapsed() const {
        const uint64_t processor = nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID) - processor_;
        const uint64_t wall = nanosecondsOf(CLOCK_MONOTONIC) - wall_;
        return processor >= 50 * MILLISECOND ? processor : wall;
    }

private:
    uint64_t processor_ = nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID);
    uint64_t wall_ = nanosecondsOf(CLOCK_MONOTONIC);
};

int32_t matchAddress(const RuleGroup* group, const HostileKey& key, MatchResult* result) {
    if (key.family == 4) {
        return rs_matchIPRuleGroup(group, key.first.address[0], result);
    }
    std::array<uint8_t, 16> bytes{};
    for (uint32_t i = 0; i < 16; ++i) {
        bytes[i] = static_cast<uint8_t>(key.first.address[i / 4] >> (24 - 8 * (i % 4)));
    }
    return rs_matchIPRuleGroupEx(group, 6, bytes.data(), result);
}

int32_t matchFilter(const RuleGroup* group, const HostileKey& key, MatchResult* result) {
    const HostileEndpoint& first = key.first;
    const HostileEndpoint& second = key.second;
    return key.family == 4 ? rs::matchPacketFilter4(group, first.address[0], first.port,
                                                    second.address[0], second.port, result)
                           : rs::matchPacketFilter6(group, first.address, first.port,
                                                    second.address, second.port, result);
}

int32_t matchPair(const RuleGroup* group, const HostileKey& key, MatchResult* result) {
    const HostileEndpoint& first = key.first;
    const HostileEndpoint& second = key.second;
    return key.family == 4 ? rs::matchIpPortPair4(group, first.address[0], first.port,
                                                  second.address[0], second.port, 1, result)
                           : rs::matchIpPortPair6(group, first.address, first.port, second.address,
                                                  second.port, 1, result);
}

int32_t matchFlow(const RuleGroup* group, const HostileKey& key, MatchResult* result) {
    rs::CompoundFlow flow{};
    flow.firstValue16 = 1;
    flow.secondValue16 = 2;
    flow.family = key.family;
    flow.firstAddress = key.first.address;
    flow.secondAddress = key.second.address;
    flow.listValue12 = 4096;
    flow.listValue16 = 1;
    return rs::matchCompound(group, &flow, false, result);
}

int32_t lookUp(int32_t type, const RuleGroup* group, const HostileKey& key) {
    MatchResult result{};
    const auto length = static_cast<uint32_t>(key.text.size());
    switch (type) {
        case RULE_TYPE_IP:
            return matchAddress(group, key, &result);
        case RULE_TYPE_FQDN:
            return rs_matchDomainNameWithRuleGroup(group, key.text.data(), length, &result);
        case RULE_TYPE_URL:
            return rs_matchUrlWithRuleGroup(group, key.text.data(), length, &result);
        case RULE_TYPE_PACKET_FILTER:
            return matchFilter(group, key, &result);
        case RULE_TYPE_IP_PORT:
            return matchPair(group, key, &result);
        case RULE_TYPE_COMPOUND:
            return matchFlow(group, key, &result);
        default:
            return RULE_ERR_INVALID_ARG;
    }
}

// The time of so many lookups.
class LookupTimer {
public:
    LookupTimer(int32_t type, const RuleGroup* group, const std::vector<HostileKey>& keys)
        : type_(type), group_(group), keys_(keys) {}

    uint64_t measure(uint64_t count) {
        const Stopwatch watch;
        for (uint64_t i = 0; i < count; ++i) {
            lookUp(type_, group_, keys_[next_]);
            next_ = next_ + 1 == keys_.size() ? 0 : next_ + 1;
        }
        return watch.elapsed();
    }

private:
    int32_t type_;
    const RuleGroup* group_;
    const std::vector<HostileKey>& keys_;
    size_t next_ = 0;
};

// The time of one lookup: the best of several short spells, so that most are not interrupted.
uint64_t measureLookups(LookupTimer timer) {
    constexpr uint64_t SPELL = MILLISECOND / 5;
    constexpr uint64_t ENOUGH = 50 * MILLISECOND;
    uint64_t count = 1;
    uint64_t best = timer.measure(count);
    while (best < SPELL) {
        count *= 2;
        best = timer.measure(count);
    }
    const Stopwatch watch;
    for (uint32_t spell = 0; spell < 20 && best < ENOUGH && watch.elapsed() < ENOUGH; ++spell) {
        best = std::min(best, timer.measure(count));
    }
    return best / count;
}

uint64_t addRules(RuleSet* set, const HostileInput& input) {
    uint64_t refused = 0;
    for (const auto& [text, value] : input.rules()) {
        const auto length = static_cast<uint32_t>(text.size());
        refused += rs_addRuleToRuleSet(set, text.data(), length, value, 1) == RULE_OK ? 0 : 1;
    }
    return refused;
}

// Keeps the best of several rounds.
void note(Row& row, Step step, uint64_t time) {
    uint64_t& best = row.nanoseconds[step];
    best = best == 0 ? time : std::min(best, time);
}

// One round. False when the build ran out of memory.
bool measureRound(int32_t type, const HostileInput& input, Row& row) {
    row.memory = {};
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;

    row.step = ADD;
    const Stopwatch adding;
    rs_newRuleSet(type, &set);
    row.refused = addRules(set, input);
    note(row, ADD, adding.elapsed());

    row.step = BUILD;
    const Stopwatch building;
    if (rs_buildRuleGroup(set, &group) != RULE_OK) {
        return false;
    }
    note(row, BUILD, building.elapsed());

    row.step = LOOKUP;
    note(row, LOOKUP, measureLookups(LookupTimer(type, group, input.keys())));

    row.step = DELETE;
    const Stopwatch deleting;
    rs_delRuleGroup(&group);
    rs_delRuleSet(&set);
    note(row, DELETE, deleting.elapsed());
    return true;
}

void limit(__rlimit_resource resource, rlim_t most) {
    const rlimit limits{most, most};
    if (setrlimit(resource, &limits) != 0) {
        std::abort();
    }
}

// The work of the child.
void fillRow(const HostileGroup& group, const HostileFamily& family, size_t size, Row& row) {
    constexpr uint64_t ENOUGH = 300 * MILLISECOND;
    HostileInput input(size);
    family.make(input);
    row.rules = input.rules().size();
    limit(RLIMIT_CPU, MOST_SECONDS);
    limit(RLIMIT_AS, MOST_BYTES);
    limit(RLIMIT_CORE, 0);
    const Stopwatch watch;
    for (uint32_t round = 0; round < 15 && watch.elapsed() < ENOUGH; ++round) {
        if (!measureRound(group.type, input, row)) {
            row.isOutOfMemory = true;
            return;
        }
    }
    row.step = STEPS;
}

// False when the row was stopped.
bool measureRow(const HostileGroup& group, const HostileFamily& family, size_t size, Row& row) {
    row = {};
    const pid_t child = fork();
    if (child == 0) {
        fillRow(group, family, size, row);
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        std::abort();
    }
    return row.step == STEPS;
}

// ------------------------------------------------------------------------------------------------ output

void printText(const char* name, const char* text) {
    std::printf("\"%s\": \"", name);
    for (; *text != '\0'; ++text) {
        if (*text == '"' || *text == '\\') {
            std::putchar('\\');
        }
        std::putchar(*text);
    }
    std::printf("\", ");
}

void printNumber(const char* name, uint64_t number) {
    std::printf("\"%s\": %llu, ", name, static_cast<unsigned long long>(number));
}

void printRow(const HostileGroup& group, const HostileFamily& family, size_t size, const Row& row) {
    std::putchar('{');
    printText("group", group.name);
    printText("family", family.name);
    printText("how", family.how);
    printText("why", family.why);
    printNumber("bytes", size);
    printNumber("rules", row.rules);
    printNumber("refused", row.refused);
    printNumber("allocations", row.memory.allocations);
    printNumber("memory", row.memory.peakBytes);
    for (uint32_t step = 0; step < STEPS; ++step) {
        printNumber(STEP_NAMES[step], row.nanoseconds[step]);
    }
    if (row.step < STEPS) {
        printText("stopped_in", STEP_NAMES[row.step]);
        printText("stopped_by", row.isOutOfMemory ? "memory" : "time");
    }
    std::printf("\"unit\": \"ns\"}\n");
    std::fflush(stdout);
}

bool isWanted(const std::string& filter, const HostileGroup& group, const HostileFamily& family,
              size_t size) {
    const std::string name =
        std::string(group.name) + "/" + family.name + "/" + std::to_string(size);
    return name.find(filter) != std::string::npos;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const std::string filter = argumentCount > 1 ? arguments[1] : "";
    void* shared =
        mmap(nullptr, sizeof(Row), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        return EXIT_FAILURE;
    }
    Row& row = *static_cast<Row*>(shared);
    bench::allocationCount = &row.memory;
    for (const HostileGroup& group : bench::hostileGroups()) {
        for (const HostileFamily& family : group.families) {
            for (const size_t size : SIZES) {
                if (!isWanted(filter, group, family, size)) {
                    continue;
                }
                const bool isComplete = measureRow(group, family, size, row);
                printRow(group, family, size, row);
                if (!isComplete) {
                    break;
                }
            }
        }
    }
    return EXIT_SUCCESS;
}
