#include "domain/domain_match_bulk.h"

#include <ruleset.h>

#include "core/slab.h"
#include "domain/domain_match.h"
#include "domain/plain_name.h"
#include "lookup/flat_names.h"
#include "lookup/flat_names_ahead.h"

namespace rs {

namespace {

// A name between the steps.
struct BulkName {
    uint32_t wireLength;  // 0 for a name that is looked up as it is
    char wireName[plainNameRoom(LONGEST_PLAIN_NAME) + 2];
    NameAhead ahead;
};

void begin(const FlatNames& names, Text text, BulkName& name) noexcept {
    name.ahead.skip();
    name.wireLength =
        text.isEmpty() ? 0 : writePlainWireName(text.text, text.length, name.wireName);
    if (isUsualWireName(name.wireLength)) {
        name.ahead.prefetchFilter(names, name.wireName, name.wireLength);
    }
}

int32_t lookUp(const DomainIndex& index, Text text, const BulkName& name,
               MatchResult& result) noexcept {
    if (name.wireLength != 0) {
        return lookupDomainWire(index, name.wireName, name.wireLength, result);
    }
    return text.isEmpty() ? RULE_ERR_INVALID_ARG
                          : matchDomainName(index, text.text, text.length, result);
}

}  // namespace

void matchDomainNames(const DomainIndex& index, const Text* names, size_t count,
                      const BulkAnswers& answers) noexcept {
    if (index.flatNames == nullptr) {
        for (size_t i = 0; i < count; ++i) {
            answers.answer(i, [&](MatchResult& result) noexcept {
                return lookUp(index, names[i], BulkName{}, result);
            });
        }
        return;
    }
    const FlatNames& flatNames = *index.flatNames;
    takeSteps<BulkName>(
        count, [&](size_t i, BulkName& name) noexcept { begin(flatNames, names[i], name); },
        [&](size_t, BulkName& name) noexcept { name.ahead.prefetchLine(flatNames); },
        [&](size_t, BulkName& name) noexcept {
            name.ahead.prefetchText(flatNames, [&](uint32_t number) noexcept {
                const DomainEntry* entry = &recordAt(index.entries, number);
                __builtin_prefetch(entry);
                __builtin_prefetch(&entry->userData);
            });
        },
        [&](size_t i, BulkName& name) noexcept {
            answers.answer(i, [&](MatchResult& result) noexcept {
                return lookUp(index, names[i], name, result);
            });
        });
}

}  // namespace rs
