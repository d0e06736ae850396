// The reader of domain rules against the plain one of the reference, with every room that it may be
// given.
#include "domain/domain_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/random_names.h"
#include "support/random_source.h"
#include "support/reference_domain.h"
#include "support/text.h"

namespace rs::test {

namespace {

void expectForm(const DomainForm& expected, const ExactText& text, size_t capacity) {
    const std::unique_ptr<char[]> out = std::make_unique<char[]>(capacity);
    auto length = static_cast<uint32_t>(capacity);
    DomainRuleText record{};
    const int32_t status = parseDomainRule(text.data(), text.size(), out.get(), &length, &record);
    ASSERT_EQ(expected.outcome.statusAt(capacity), status) << "capacity " << capacity;
    if (status == RULE_OK) {
        ASSERT_EQ(expected.outcome.text, std::string(out.get(), length));
        ASSERT_EQ(out.get(), record.text);
        ASSERT_EQ(length, record.length);
        ASSERT_EQ(expected.isWildcard ? DOMAIN_RULE_WILDCARD : 0U, record.flags);
    }
}

void checkRule(std::string_view rule) {
    SCOPED_TRACE(::testing::PrintToString(std::string(rule)));
    const ExactText text(rule);
    const DomainForm expected = readDomainRule(rule);
    for (size_t capacity = 0; capacity <= expected.outcome.room + 2; ++capacity) {
        expectForm(expected, text, capacity);
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
    EXPECT_EQ(statusOfValidating(expected.outcome.statusAt(4095)),
              rs_validateRule_FQDN(text.data(), text.size()));
}

}  // namespace

TEST(DomainRuleProperty, AgreesWithReferenceAtEveryCapacity) {
    forEachCase(20000, [](RandomSource& random) {
        const std::string rule = randomDomainRule(random);
        checkRule(rule);
        checkRule(mutateText(rule, random));
    });
}

}  // namespace rs::test
