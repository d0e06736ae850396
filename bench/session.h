// What the measuring programs have in common: their options, one processor core, and a process for each list.
//
//     lookup_bench [--sizes 1000,10000] [--kinds names,urls] [--data DIR] [--passes 3] [--seconds 600] [--core N]
//                  [--small-pages]
//
//     --sizes        numbers of rules; the real lists and urls_crowded have one size of their own
//     --kinds        see lists.h; all when it is left out
//     --data         the directory of the real lists; without it they are left out
//     --passes       how often each figure is measured; the median counts
//     --seconds      processor time of one list, all in all; one that takes longer is stopped
//     --core         the core to run on; the last one that is allowed when it is left out
//     --small-pages  the peers' tables do not ask for huge pages
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lists.h"

namespace bench {

struct Options {
    std::vector<uint32_t> sizes;
    std::vector<const ListKind*> kinds;
    std::string directory;
    uint32_t passes;
    uint32_t seconds;
    int32_t core;  // -1 for the last one
};

// Ends the program with a message when the options are wrong.
Options readOptions(int argumentCount, char** arguments);

// Calls work for each list that is wanted, each in a process of its own on one core. What it prints is the program's
// output. For a list that is stopped, prints a line that says so. Returns the exit status of the program: not 0 when
// work failed.
int runForEachList(const char* bench, const Options& options,
                   void (*work)(const Options& options, const ListKind& kind,
                                const RuleList& list));

double median(std::vector<double> numbers);

// The fields of a line of JSON, printed one after the other.
class JsonLine {
public:
    JsonLine() = default;
    ~JsonLine();
    JsonLine(const JsonLine&) = delete;
    JsonLine& operator=(const JsonLine&) = delete;

    JsonLine& add(const char* name, const char* text);
    JsonLine& add(const char* name, uint64_t number);
    JsonLine& add(const char* name, double number);

private:
    const char* comma_ = "";
};

}  // namespace bench
