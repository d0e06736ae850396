#include "explain.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <vector>

#include "exit_status.h"
#include "rule_handles.h"

namespace cli {

namespace {

using RuleIndexes = std::vector<uint32_t>;

void addRules(RuleSet& set, const RuleBook& book, const RuleIndexes& rules) {
    for (const uint32_t ruleIndex : rules) {
        const std::string_view rule = book.text(ruleIndex);
        // Each rule of the book was accepted once, so the only failure left is memory.
        if (rs_addRuleToRuleSet(&set, rule.data(), static_cast<uint32_t>(rule.size()), 0, 1) !=
            RULE_OK) {
            throw std::bad_alloc();
        }
    }
}

// Finds the rules that cover a key by removing the winner and rebuilding until nothing matches.
// Returns them in rule order. Rules before a winner stay in the set: where a lookup walks ranges
// instead of rules, a later rule may win first.
RuleIndexes coveringRules(const MatchOptions& options, const RuleBook& book, std::string_view key) {
    const RuleType& type = *options.type;
    RuleIndexes left(book.ruleCount());
    std::iota(left.begin(), left.end(), 1U);
    RuleIndexes covering;
    for (;;) {
        const RuleSetHandle set = newRuleSet(type.number);
        addRules(*set, book, left);
        // The number of paths of a host decides how they are searched. So a removed URL rule stays
        // in the set, after all others, where it wins only when no other rule does.
        if (type.number == RULE_TYPE_URL) {
            addRules(*set, book, covering);
        }
        MatchResult hit{};
        if (type.match(buildRuleGroup(*set).get(), key, options.lookup, &hit) != 1 ||
            hit.ruleIndex > left.size()) {
            break;
        }
        const auto winner = left.begin() + (hit.ruleIndex - 1);
        covering.push_back(*winner);
        left.erase(winner);
    }
    std::sort(covering.begin(), covering.end());
    return covering;
}

void printRule(const char* label, const RuleBook& book, uint32_t ruleIndex, Output& output) {
    const RulePlace place = book.place(ruleIndex);
    output.write(label);
    output.write('\t');
    output.write(book.text(ruleIndex));
    output.write('\t');
    output.write(place.file);
    output.write(':');
    output.writeNumber(place.line);
    output.endLine();
}

}  // namespace

int explainKey(const MatchOptions& options, const RuleGroup& group, const RuleBook& book,
               std::string_view key, Output& output) {
    const RuleType& type = *options.type;
    MatchResult winner{};
    const int32_t status = type.match(&group, key, options.lookup, &winner);
    if (status < 0) {
        printMessage("error: " + type.whyBadKey(key, status) + ": " + shownText(key));
        return EXIT_TROUBLE;
    }
    output.write("key\t");
    output.write(type.canonicalKey(key));
    output.endLine();
    if (status == 1) {
        for (const uint32_t ruleIndex : coveringRules(options, book, key)) {
            printRule("covers", book, ruleIndex, output);
        }
        printRule("winner", book, winner.ruleIndex, output);
    } else {
        output.write("winner\tnone");
        output.endLine();
    }
    return status == 1 ? EXIT_YES : EXIT_NO;
}

}  // namespace cli
