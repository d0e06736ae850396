#include "rule_book.h"

#include <algorithm>
#include <iterator>

namespace cli {

void RuleBook::startFile(const std::string& path) {
    files_.push_back({path, ruleCount() + 1});
}

void RuleBook::add(std::string_view rule, uint64_t line) {
    texts_ += rule;
    rules_.push_back({texts_.size(), static_cast<uint32_t>(std::min<uint64_t>(line, UINT32_MAX))});
}

std::string_view RuleBook::text(uint32_t ruleIndex) const {
    const uint64_t start = ruleIndex == 1 ? 0 : rules_[ruleIndex - 2].textEnd;
    return std::string_view(texts_).substr(start, rules_[ruleIndex - 1].textEnd - start);
}

RulePlace RuleBook::place(uint32_t ruleIndex) const {
    // Files without rules have the same firstRule as the file after them, which is the one found.
    const auto next =
        std::upper_bound(files_.begin(), files_.end(), ruleIndex,
                         [](uint32_t index, const File& file) { return index < file.firstRule; });
    return {std::prev(next)->path, rules_[ruleIndex - 1].line};
}

}  // namespace cli
