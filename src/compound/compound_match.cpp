#include "compound/compound_match.h"

#include "core/byte_order.h"
#include "core/entry.h"

namespace rs {

namespace {

// Bits of numberA.
constexpr uint32_t WRITES_LIST_VALUE = 1;
constexpr uint32_t TESTS_RANGE_LIST_B = 2;
constexpr uint32_t WRITES_MARK = 4;

constexpr uint32_t LARGEST_12_BITS = 4095;
constexpr uint32_t NO_VALUE_12 = 4096;

uint32_t hostOrder(const uint32_t& networkWord) noexcept {
    return readBigEndian32(reinterpret_cast<const uint8_t*>(&networkWord));
}

// The address of a flow as the lists hold it. False for an unknown family.
bool readAddress(int32_t family, const AddressWords& words, Address128& out) noexcept {
    if (family == 4) {
        out = mappedAddress(hostOrder(words[0]));
        return true;
    }
    out = {{hostOrder(words[0]), hostOrder(words[1]), hostOrder(words[2]), hostOrder(words[3])}};
    return family == 6;
}

bool coversAddress(const CompoundEntry& entry, const CompoundFlow& flow) noexcept {
    Address128 first{};
    Address128 second{};
    return readAddress(flow.family, flow.firstAddress, first) &&
           readAddress(flow.family, flow.secondAddress, second) &&
           (holds(entry.addressList, first) || holds(entry.addressList, second));
}

// Which value of the flow field 2 covers, if the rule tests field 2 at all.
enum class ListTest : uint8_t { NOT_MADE, BY_VALUE_16, BY_VALUE_12, FAILED };

ListTest testRangeListB(const CompoundEntry& entry, const CompoundFlow& flow) noexcept {
    if ((entry.numberA & TESTS_RANGE_LIST_B) == 0) {
        return ListTest::NOT_MADE;
    }
    if (holds(entry.rangeListB, uint32_t{flow.listValue16})) {
        return ListTest::BY_VALUE_16;
    }
    const bool hasValue12 = flow.listValue12 <= LARGEST_12_BITS;
    return hasValue12 && holds(entry.rangeListB, uint32_t{flow.listValue12}) ? ListTest::BY_VALUE_12
                                                                             : ListTest::FAILED;
}

void writeListValue(CompoundFlow& flow, ListTest listTest) noexcept {
    if (flow.listValue12 == NO_VALUE_12) {
        flow.outListValue = LARGEST_12_BITS;
    } else if (listTest == ListTest::BY_VALUE_16 && flow.listValue16 == flow.outListValue) {
        flow.outListValue = flow.listValue12;
    }
}

}  // namespace

int32_t testCompoundEntry(const CompoundEntry& entry, CompoundFlow& flow,
                          bool wantsListValue) noexcept {
    if (!holds(entry.rangeList16, flow.firstValue16) &&
        !holds(entry.rangeList16, flow.secondValue16)) {
        return RULE_ERR_FAILED;
    }
    if (!holds(entry.rangeListA, flow.value32) || !coversAddress(entry, flow)) {
        return RULE_ERR_FAILED;
    }
    const ListTest listTest = testRangeListB(entry, flow);
    if (listTest == ListTest::FAILED) {
        return RULE_ERR_FAILED;
    }
    // No test comes after this line: a flow that an entry does not cover stays as it was.
    flow.outNumber = entry.numberB;
    if ((entry.numberA & WRITES_LIST_VALUE) != 0 && wantsListValue) {
        writeListValue(flow, listTest);
    }
    if ((entry.numberA & WRITES_MARK) != 0) {
        flow.outMark = 1;
    }
    return RULE_OK;
}

int32_t matchCompound(const CompoundTable& table, CompoundFlow& flow, bool wantsListValue,
                      MatchResult& result) noexcept {
    const CompoundEntry* entry = table.entries;
    while (entry != nullptr && testCompoundEntry(*entry, flow, wantsListValue) != RULE_OK) {
        entry = entry->next;
    }
    return reportEntry(entry, result);
}

}  // namespace rs
