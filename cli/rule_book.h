// The texts and places of loaded rules, by ruleIndex, held compactly: one block of text, and sixteen
// bytes a rule.
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

    // The rule's index is one more than the number of rules before.
    void add(std::string_view rule, uint64_t line);

    [[nodiscard]] uint32_t ruleCount() const { return static_cast<uint32_t>(rules_.size()); }

    // Of a rule by its ruleIndex, from 1 to ruleCount().
    [[nodiscard]] std::string_view text(uint32_t ruleIndex) const;
    [[nodiscard]] RulePlace place(uint32_t ruleIndex) const;

private:
    struct Rule {
        uint64_t textEnd;  // in texts_; the text begins where the one before ends
        uint32_t line;
    };
    struct File {
        std::string path;
        uint32_t firstRule;  // ruleIndex
    };

    std::string texts_;
    std::vector<Rule> rules_;
    std::vector<File> files_;
};

}  // namespace cli
