// Batches of keys that the library takes as texts.
#pragma once

#include <ruleset_static.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "rule_type.h"
#include "text_input.h"

namespace cli {

// The matchBatch of types whose keys are looked up as they are, but for the blanks around them.
template <auto matchBulk>
void matchTexts(const RuleGroup* group, const LookupOptions& /*options*/, KeyBatch& batch) {
    std::array<rs::TextKey, KeyBatch::CAPACITY> texts;
    std::transform(batch.keys.begin(), batch.keys.begin() + batch.count, texts.begin(),
                   [](std::string_view key) {
                       key = trimmed(key);
                       return rs::TextKey{key.data(), static_cast<uint32_t>(key.size())};
                   });
    std::array<uint32_t, KeyBatch::CAPACITY> ruleIndexes;
    matchBulk(group, texts.data(), batch.count, ruleIndexes.data(), batch.statuses.data(),
              batch.results.data());
}

}  // namespace cli
