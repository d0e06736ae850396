#include "rule_book.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "rule_line.h"

namespace cli {

void RuleBook::startFile(const std::string& path, FileText&& bytes, uint32_t largestRuleCount) {
    files_.push_back({path, std::move(bytes), ruleCount() + 1, {}});
    files_.back().positions.reserve(largestRuleCount);
}

void RuleBook::add(uint64_t position, uint64_t line) {
    files_.back().positions.add(position, line);
}

uint32_t RuleBook::ruleCount() const {
    return files_.empty() ? 0 : files_.back().firstRule - 1 + files_.back().positions.count();
}

void RuleBook::prefetch(uint32_t ruleIndex) const {
    // Many a text is in two lines of the cache.
    constexpr size_t USUAL_LENGTH = 32;
    const std::string_view text = textFrom(ruleIndex);
    __builtin_prefetch(text.data());
    __builtin_prefetch(text.data() + std::min(USUAL_LENGTH, text.size() - 1));
}

std::string_view RuleBook::text(uint32_t ruleIndex) const {
    return firstField(textFrom(ruleIndex));
}

RulePlace RuleBook::place(uint32_t ruleIndex) const {
    const File& file = fileOf(ruleIndex);
    return {file.path, file.positions.line(ruleIndex - file.firstRule, file.bytes.text())};
}

// From the rule to the end of its file.
std::string_view RuleBook::textFrom(uint32_t ruleIndex) const {
    const File& file = fileOf(ruleIndex);
    return file.bytes.text().substr(file.positions.position(ruleIndex - file.firstRule));
}

const RuleBook::File& RuleBook::fileOf(uint32_t ruleIndex) const {
    // Files without rules have the same firstRule as the file after them, which is the one found.
    const auto next =
        std::upper_bound(files_.begin(), files_.end(), ruleIndex,
                         [](uint32_t index, const File& file) { return index < file.firstRule; });
    return *std::prev(next);
}

}  // namespace cli
