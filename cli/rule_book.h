// The texts and places of loaded rules, by their ruleIndex: what to print of a rule that won.
//
//     texts_   10.0.0.0/8www.example.com...     all texts without separators
//     rules_   textEnd 10, line 1               one per rule; a text starts where the last one ends
//              textEnd 25, line 4
//     files_   "a.rules", firstRule 1           one per file
//
// Ownership: the book owns all texts and paths. The views that it returns are valid until the next
//            call of add or startFile.
// Cost:      16 bytes per rule beside its text; a place takes a binary search over the files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

struct RulePlace {
    std::string_view file;
    uint32_t line;
};

class RuleBook {
public:
    // Rules added from now on are from this file.
    void startFile(const std::string& path);

    // The ruleIndex of the new rule is ruleCount() after the call.
    void add(std::string_view rule, uint64_t line);

    [[nodiscard]] uint32_t ruleCount() const { return static_cast<uint32_t>(rules_.size()); }

    // Both take a ruleIndex from 1 to ruleCount().
    [[nodiscard]] std::string_view text(uint32_t ruleIndex) const;
    [[nodiscard]] RulePlace place(uint32_t ruleIndex) const;

private:
    struct Rule {
        uint64_t textEnd;
        uint32_t line;
    };
    static_assert(sizeof(Rule) == 16);
    struct File {
        std::string path;
        uint32_t firstRule;  // ruleIndex
    };

    std::string texts_;
    std::vector<Rule> rules_;
    std::vector<File> files_;
};

}  // namespace cli
