// What lists of rules cost to add, build and free, and how much memory they take: a line of JSON for each list, as
// README.md explains them. session.h has the options.
#include <ruleset.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <unistd.h>
#include <vector>

#include "allocation_count.h"
#include "flat_switch.h"
#include "handles.h"
#include "session.h"

namespace {

using namespace bench;

// Seconds of each step, of several rounds.
struct Times {
    std::vector<double> add;
    std::vector<double> build;
    std::vector<double> freeGroup;
    std::vector<double> freeSet;
};

struct Memory {
    uint64_t set;
    uint64_t group;
    uint64_t peak;  // of the group while it is built
    uint64_t allocations;
    uint64_t resident;  // by how much the process grew
};

template <typename Step>
double secondsOf(const Step& step) {
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

uint64_t residentBytes() {
    unsigned long long pages = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "re");
    require(file != nullptr && std::fscanf(file, "%*u %llu", &pages) == 1, "no /proc/self/statm");
    std::fclose(file);
    return pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

// Times of one round. Memory is that of the last round, of which the C allocator has kept blocks of those before:
// so the growth of the process is that of the first.
void measureRound(const RuleList& list, Times& times, Memory& memory) {
    AllocationCount& count = *allocationCount;
    const uint64_t before = count.liveBytes;
    SetHandle set;
    times.add.push_back(secondsOf([&] { set = fillSet(list); }));
    const uint64_t withSet = count.liveBytes;
    const uint64_t allocationsBefore = count.allocations;
    const uint64_t residentBefore = residentBytes();
    count.peakBytes = count.liveBytes;
    GroupHandle group;
    times.build.push_back(secondsOf([&] { group = buildGroup(set); }));
    const uint64_t resident = residentBytes() - residentBefore;
    memory = {withSet - before, count.liveBytes - withSet, count.peakBytes - withSet,
              count.allocations - allocationsBefore,
              times.build.size() == 1 ? resident : memory.resident};
    times.freeGroup.push_back(secondsOf([&] { group.reset(); }));
    times.freeSet.push_back(secondsOf([&] { set.reset(); }));
}

// A build without flat lookups: its seconds, and the bytes of the group.
struct OrderedBuild {
    double seconds;
    uint64_t bytes;
};

OrderedBuild measureOrderedBuild(const RuleList& list) {
    [[maybe_unused]] const WithoutFlatLookups without;
    const SetHandle set = fillSet(list);
    const uint64_t before = allocationCount->liveBytes;
    GroupHandle group;
    const double seconds = secondsOf([&] { group = buildGroup(set); });
    return {seconds, allocationCount->liveBytes - before};
}

void measureList(const Options& options, const ListKind& kind, const RuleList& list) {
    Times times;
    Memory memory{};
    for (uint32_t pass = 0; pass < options.passes; ++pass) {
        measureRound(list, times, memory);
    }
    const OrderedBuild ordered = measureOrderedBuild(list);
    const auto rules = static_cast<double>(list.rules.size());
    const auto perMillion = [rules](double seconds) { return seconds * 1e6 / rules; };
    const auto perRule = [rules](uint64_t bytes) { return static_cast<double>(bytes) / rules; };
    JsonLine line;
    line.add("bench", "build").add("case", kind.name).add("rules", uint64_t{list.rules.size()});
    line.add("add", perMillion(median(times.add))).add("build", perMillion(median(times.build)));
    line.add("free_group", perMillion(median(times.freeGroup)));
    line.add("free_set", perMillion(median(times.freeSet)));
    line.add("ordered_build", perMillion(ordered.seconds));
    line.add("set_bytes", perRule(memory.set)).add("group_bytes", perRule(memory.group));
    line.add("ordered_bytes", perRule(ordered.bytes)).add("peak_bytes", perRule(memory.peak));
    line.add("resident_bytes", perRule(memory.resident)).add("allocations", memory.allocations);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    return runForEachList("build", readOptions(argumentCount, arguments), measureList);
}
