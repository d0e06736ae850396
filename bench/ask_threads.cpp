// How many lookups a second do one and two threads make in one group?
//
// Each thread runs on a core of its own and looks up keys of its own. Times are processor time of the thread: so the
// figure says what the threads take from each other, by writing to memory that both read, and not what other programs
// take. The rate of two threads is the sum of theirs.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "contest.h"
#include "doors.h"
#include "handles.h"
#include "keys.h"
#include "questions.h"

namespace bench {
namespace {

constexpr size_t KEY_COUNT = size_t{1} << 20U;
constexpr size_t MOST_THREADS = 2;

void stayOnCore(size_t core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    require(sched_setaffinity(0, sizeof(cores), &cores) == 0, "no second core");
}

// Lookups a second of each of several threads, which begin together, added up. Each has a part of the keys.
template <typename LookUpAll>
double lookupsPerSecond(size_t threadCount, size_t keyCount, const LookUpAll& lookUpAll) {
    std::vector<double> rates(threadCount);
    std::atomic<size_t> waiting{threadCount};
    std::vector<std::thread> threads;
    const size_t part = keyCount / MOST_THREADS;
    for (size_t i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            stayOnCore(i);
            --waiting;
            while (waiting != 0) {
                std::this_thread::yield();
            }
            const double start = threadNanoseconds();
            lookUpAll(i * part, part);
            rates[i] = static_cast<double>(part) * 1e9 / (threadNanoseconds() - start);
        });
    }
    double sum = 0;
    for (size_t i = 0; i < threadCount; ++i) {
        threads[i].join();
        sum += rates[i];
    }
    return sum;
}

template <typename Keys, typename LookUp>
void measureThreads(const Options& options, const ListKind& kind, const RuleList& list,
                    const Keys& keys, const LookUp& lookUpKey) {
    const GroupHandle group = buildGroup(fillSet(list));
    const auto lookUpAll = [&](size_t first, size_t count) {
        MatchResult result{};
        for (size_t i = first; i < first + count; ++i) {
            int32_t answer = lookUpKey(group.get(), keys[i], result);
            asm volatile("" : "+r"(answer) : "r"(&result) : "memory");
        }
    };
    std::vector<double> rates[MOST_THREADS];
    for (uint32_t pass = 0; pass < options.passes; ++pass) {
        for (size_t threads = 1; threads <= MOST_THREADS; ++threads) {
            rates[threads - 1].push_back(lookupsPerSecond(threads, keys.size(), lookUpAll) / 1e6);
        }
    }
    JsonLine line;
    line.add("bench", "threads").add("case", kind.name).add("rules", uint64_t{list.rules.size()});
    line.add("one", median(rates[0])).add("two", median(rates[1]));
}

}  // namespace

void askThreads(const Options& options, const ListKind& kind, const RuleList& list) {
    const auto lookUpAddress = [](const RuleGroup* group, const auto& key, MatchResult& result) {
        return lookUp(group, key, result);
    };
    if (!list.ipv4.empty()) {
        measureThreads(options, kind, list, lookupForm(addressHits(list.ipv4, KEY_COUNT)),
                       lookUpAddress);
    } else if (!list.ipv6.empty()) {
        measureThreads(options, kind, list, lookupForm(addressHits(list.ipv6, KEY_COUNT)),
                       lookUpAddress);
    } else if (list.type == RULE_TYPE_FQDN) {
        measureThreads(options, kind, list, nameHits(list.rules, KEY_COUNT), lookUpName);
    } else {
        measureThreads(options, kind, list, urlHits(list.rules, KEY_COUNT), lookUpUrl);
    }
}

}  // namespace bench
