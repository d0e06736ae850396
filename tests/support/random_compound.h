// Random compound rules and flows near them: of few numbers and addresses, so that rules cover flows
// and flows miss them by one; in every form in which ranges and numbers can be written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/reference_compound.h"

namespace rs::test {

// Decimal or hexadecimal, of any length, with blanks around; at times not well formed.
std::string randomCompoundNumber(RandomSource& random);

class RandomCompound {
public:
    // Of errorShare items about one is not well formed.
    RandomCompound(uint64_t errorShare, RandomSource& random);

    std::string nextRule();

    // A rule whose trimmed text has about this many characters.
    std::string nextLongRule(size_t length);

    // A flow that the rule covers, or comes near to covering.
    ReferenceFlow nextFlow(const CompoundRuleText& rule);

private:
    enum class Field { VALUES_32, LIST_VALUES, VALUES_16 };

    uint32_t nextNumber(Field field);
    std::string writeNumber(uint32_t number);
    std::string nextRange(Field field);
    std::string nextBrokenRange();
    std::string nextRanges(Field field);
    std::string nextAddresses();
    std::string nextSteeringNumber();
    std::string nextAnythingRule();
    uint32_t numberNear(const std::vector<NumberRange>& list, Field field);
    Number128 addressNear(const std::vector<AddressRange>& list);

    uint64_t errorShare_;
    RandomSource& random_;
    RandomIpRules addresses_;
};

// text with a few bytes changed, added or taken away.
std::string mutateCompoundText(std::string_view text, RandomSource& random);

}  // namespace rs::test
