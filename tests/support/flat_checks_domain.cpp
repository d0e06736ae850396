#include "support/flat_checks_domain.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "domain/domain_match.h"
#include "lookup/chain_blocks.h"
#include "support/text.h"

namespace rs::test {

namespace {

constexpr size_t MOST_CHECKED = 5000;

std::vector<std::string> namesOf(const HashTable* table) {
    std::vector<std::string> names;
    forEachBucket(table, [&names](const HashBucket& bucket) noexcept {
        forEachBlock(static_cast<const DomainEntry*>(bucket.chain),
                     [&names](const ChainBlock<const DomainEntry>& block) noexcept {
                         for (uint32_t i = 0; i < block.count; ++i) {
                             const DomainEntry& entry = block.first[i];
                             names.emplace_back(entry.name, entry.nameLength);
                         }
                     });
    });
    return names;
}

void checkName(const DomainIndex& index, const std::string& wireName) {
    const ExactText text(wireName);
    EXPECT_EQ(findDomainOrdered(index, text.data(), text.size()),
              findDomainFlat(index, text.data(), text.size()))
        << ::testing::PrintToString(wireName);
}

void checkNear(const DomainIndex& index, std::string wireName) {
    checkName(index, wireName);
    checkName(index, "\1x" + wireName);
    checkName(index, "\1x\3www" + wireName);
    const auto label =
        std::min(static_cast<size_t>(static_cast<uint8_t>(wireName[0])) + 1, wireName.size() - 1);
    checkName(index, wireName.substr(label));
    checkName(index, wireName.substr(1));
    ++wireName.back();
    checkName(index, wireName);
    checkName(index, "\1x" + wireName);
}

}  // namespace

void checkFlatDomainNames(const DomainIndex& index) {
    if (index.flatNames == nullptr) {
        return;
    }
    for (const HashTable* table : {index.exactTable, index.wildcardTable}) {
        const std::vector<std::string> names = namesOf(table);
        const size_t step = names.size() / MOST_CHECKED + 1;
        for (size_t i = 0; i < names.size() && !::testing::Test::HasFailure(); i += step) {
            checkNear(index, names[i]);
        }
    }
}

}  // namespace rs::test
