#include "explain.h"

#include <new>

namespace cli {

namespace {

// A group of the rules from first on. Their numbers do not matter here.
OwnedRuleGroup buildFrom(const RuleKind& kind, const RuleBook& book, uint32_t first) {
    const OwnedRuleSet set = newRuleSet(kind);
    for (uint32_t i = first; i <= book.ruleCount(); ++i) {
        const std::string_view rule = book.text(i);
        // Every rule of the book was accepted before.
        if (rs_addRuleToRuleSet(set.get(), rule.data(), static_cast<uint32_t>(rule.size()), 0, 1) !=
            RULE_OK) {
            throw std::bad_alloc();
        }
    }
    return buildRuleGroup(*set);
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
    const RuleKind& kind = *options.kind;
    MatchResult winner{};
    const int32_t status = kind.match(&group, key, options.lookup, &winner);
    if (status < 0) {
        printMessage("error: " + kind.whyBadKey(key, status) + ": " + shownText(key));
        return EXIT_TROUBLE;
    }
    output.write("key\t");
    output.write(kind.canonicalKey(key));
    output.endLine();
    MatchResult hit = winner;
    for (uint32_t first = 1; status == 1 && first <= book.ruleCount();) {
        const OwnedRuleGroup rest = buildFrom(kind, book, first);
        if (kind.match(rest.get(), key, options.lookup, &hit) != 1) {
            break;
        }
        const uint32_t ruleIndex = first + hit.ruleIndex - 1;
        printRule("covers", book, ruleIndex, output);
        first = ruleIndex + 1;
    }
    if (status == 1) {
        printRule("winner", book, winner.ruleIndex, output);
    } else {
        output.write("winner\tnone");
        output.endLine();
    }
    return status == 1 ? EXIT_SELECTED : EXIT_NONE_SELECTED;
}

}  // namespace cli
