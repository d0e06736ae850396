// The texts and places of loaded rules, by their ruleIndex: what to print of a rule that won.
//
//     files_   "a.rules"  its bytes  firstRule 1  positions of its rules      one per file
//              "b.rules"  ...        firstRule 412000
//
// A rule's text goes from its position to the next tab or line end, without blanks before them.
//
// Ownership: the book owns the bytes of the files and their paths, and the views that it returns are
//            into them.
// Threads:   any number may ask; one at a time adds.
// Cost:      the bytes of the files, and about 2.25 bytes per rule. An answer takes a binary search over
//            the files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "file_text.h"
#include "rule_positions.h"

namespace cli {

struct RulePlace {
    std::string_view file;
    uint32_t line;
};

class RuleBook {
public:
    // Rules added from now on are from this file, of which at most so many are added.
    void startFile(const std::string& path, FileText&& bytes, uint32_t largestRuleCount);

    // A rule whose text starts at a position in the text of the file. The positions and lines of a
    // file rise. The ruleIndex of the new rule is ruleCount() after the call.
    void add(uint64_t position, uint64_t line);

    [[nodiscard]] uint32_t ruleCount() const;

    // All three take a ruleIndex from 1 to ruleCount(). To ask for many rules, prefetch all of them
    // first: then their texts come from memory at the same time.
    void prefetch(uint32_t ruleIndex) const;
    [[nodiscard]] std::string_view text(uint32_t ruleIndex) const;
    [[nodiscard]] RulePlace place(uint32_t ruleIndex) const;

private:
    struct File {
        std::string path;
        FileText bytes;
        uint32_t firstRule;  // ruleIndex
        RulePositions positions;
    };

    [[nodiscard]] const File& fileOf(uint32_t ruleIndex) const;
    [[nodiscard]] std::string_view textFrom(uint32_t ruleIndex) const;

    std::vector<File> files_;
};

}  // namespace cli
