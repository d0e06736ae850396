#include "support/random_compound.h"

#include <algorithm>

namespace rs::test {

namespace {

std::string blanksAround(const std::string& text, RandomSource& random) {
    std::string blanks[2];
    for (std::string& some : blanks) {
        while (random.oneIn(8)) {
            some += random.pick<char>({' ', '\t', '\r', '\n'});
        }
    }
    return blanks[0] + text + blanks[1];
}

std::string randomDigits(std::string_view alphabet, uint64_t count, RandomSource& random) {
    std::string digits;
    for (; count > 0; --count) {
        digits += alphabet[static_cast<size_t>(random.below(alphabet.size()))];
    }
    return digits;
}

void appendItem(std::string& list, const std::string& item) {
    list += (list.empty() ? "" : ",") + item;
}

}  // namespace

std::string randomCompoundNumber(RandomSource& random) {
    std::string text;
    if (random.oneIn(2)) {
        text = random.oneIn(16) ? "00x" : random.oneIn(2) ? "0x" : "0X";
        text +=
            randomDigits("0123456789abcdefABCDEF", random.below(random.oneIn(2) ? 4 : 13), random);
    } else {
        text = randomDigits("0123456789", random.below(random.oneIn(2) ? 4 : 13), random);
    }
    text = blanksAround(text, random);
    return random.oneIn(10) ? mutateCompoundText(text, random) : text;
}

RandomCompound::RandomCompound(uint64_t errorShare, RandomSource& random)
    : errorShare_(errorShare), random_(random), addresses_(random) {}

uint32_t RandomCompound::nextNumber(Field field) {
    if (!random_.oneIn(3)) {
        return random_.below32(20);
    }
    switch (field) {
        case Field::VALUES_32:
            return random_.pick<uint32_t>({61, 62, 63, 64, 70, 65535, 65536, INT32_MAX, UINT32_MAX,
                                           UINT32_MAX - 1, random_.bits32()});
        case Field::LIST_VALUES:
            return random_.pick<uint32_t>({4094, 4095, 4096, 4097, 65535, 65536, UINT32_MAX});
        default:
            return random_.pick<uint32_t>({80, 443, 6553, 6554, 32768, 65534, 65535});
    }
}

std::string RandomCompound::writeNumber(uint32_t number) {
    uint64_t written = number;
    if (random_.oneIn(4 * errorShare_)) {
        // One that runs over, noticed or not.
        written += random_.between(1, 99) << (random_.oneIn(2) ? 16U : 32U);
    }
    return std::string(random_.oneIn(8) ? random_.below(4) : 0, '0') + std::to_string(written);
}

std::string RandomCompound::nextBrokenRange() {
    const std::string number = writeNumber(nextNumber(Field::VALUES_16));
    return random_.pick<std::string>({"", " ", number + "-", "-" + number, number + " -" + number,
                                      number + "- " + number, number + "*-" + number, "*-*", "***",
                                      number + "-*", "0x" + number, number + " " + number, "9-8",
                                      number + "-" + number + "*", number + "\v", "*" + number});
}

std::string RandomCompound::nextRange(Field field) {
    if (random_.oneIn(errorShare_)) {
        return nextBrokenRange();
    }
    const uint32_t low = nextNumber(field);
    const uint32_t largest = field == Field::VALUES_16 ? UINT16_MAX : UINT32_MAX;
    switch (random_.below(12)) {
        case 0:
            return "*";
        case 1:
            return writeNumber(low) + "*";
        case 2:
            return "*-" + writeNumber(low);
        case 3:
            return random_.oneIn(4) ? "**" : writeNumber(low);
        case 4:
        case 5:
        case 6: {
            const uint32_t length = random_.below32(random_.oneIn(4) ? 5000 : 5);
            const std::string written = writeNumber(low) + "-";
            return written + writeNumber(low + std::min(length, largest - low));
        }
        default:
            return writeNumber(low);
    }
}

std::string RandomCompound::nextRanges(Field field) {
    std::string list;
    const uint64_t count = random_.oneIn(2) ? 1 : random_.between(2, 4);
    for (uint64_t i = 0; i < count; ++i) {
        appendItem(list, blanksAround(nextRange(field), random_));
    }
    return list;
}

std::string RandomCompound::nextAddresses() {
    std::string list;
    const uint64_t count = random_.oneIn(2) ? 1 : random_.between(2, 4);
    for (uint64_t i = 0; i < count; ++i) {
        const std::string item = random_.oneIn(5) ? "*" : addresses_.nextText();
        appendItem(
            list, random_.oneIn(errorShare_) ? mutate(item, random_) : blanksAround(item, random_));
    }
    return list;
}

std::string RandomCompound::nextSteeringNumber() {
    if (random_.oneIn(errorShare_)) {
        return randomCompoundNumber(random_);
    }
    static const std::vector<std::string> FORMS{"0x", "0X", "", "00"};
    std::string text = random_.pick(FORMS);
    text += std::to_string(random_.below(10));
    return blanksAround(random_.oneIn(10) ? "0xfFd" : text, random_);
}

// A rule without conditions but on field 4, or nearly.
std::string RandomCompound::nextAnythingRule() {
    static const std::vector<std::string> NUMBERS{"*", "**", "0*", "0-4294967295", "*-4294967295"};
    static const std::vector<std::string> ADDRESSES{"*", " *",
                                                    "::-ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"};
    std::string fields[6] = {random_.pick(NUMBERS),
                             random_.pick(NUMBERS),
                             random_.pick(ADDRESSES),
                             nextRanges(Field::VALUES_16),
                             "0",
                             random_.oneIn(2) ? "0x0" : "0"};
    if (random_.oneIn(2)) {
        static const std::vector<std::string> ODD_ONES{
            "1", "*,*", "1*", "*-4294967294", "::/1", "0.0.0.0-255.255.255.255", "0xA", "0x1"};
        fields[random_.below(6)] = random_.pick(ODD_ONES);
    }
    std::string rule = fields[0];
    for (size_t i = 1; i < 6; ++i) {
        rule += ";" + fields[i];
    }
    return rule;
}

std::string RandomCompound::nextRule() {
    if (random_.oneIn(10)) {
        return nextAnythingRule();
    }
    std::string rule = nextRanges(Field::VALUES_32);
    rule += ";" + nextRanges(Field::LIST_VALUES);
    rule += ";" + nextAddresses();
    rule += ";" + nextRanges(Field::VALUES_16);
    rule += ";" + nextSteeringNumber();
    rule += ";" + (random_.oneIn(2) ? nextSteeringNumber() : writeNumber(random_.bits32()));
    if (random_.oneIn(errorShare_)) {
        rule += random_.oneIn(2) ? ";" : ";0";
    }
    return blanksAround(rule, random_);
}

std::string RandomCompound::nextLongRule(size_t length) {
    std::string rest = ";" + nextRanges(Field::LIST_VALUES) + ";*;";
    rest += nextRanges(Field::VALUES_16) + ";0;1";
    std::string list = nextRange(Field::VALUES_32);
    while (list.size() + rest.size() + 20 < length) {
        appendItem(list, nextRange(Field::VALUES_32));
    }
    std::string rule = list + rest;
    if (rule.size() < length) {
        rule.insert(rule.size() - 1, length - rule.size(), '0');
    }
    return blanksAround(rule, random_);
}

// An edge of a range of the list, or a number beside it, or one from nowhere.
uint32_t RandomCompound::numberNear(const std::vector<NumberRange>& list, Field field) {
    if (random_.oneIn(8)) {
        return nextNumber(field);
    }
    const NumberRange& range = random_.pick(list);
    const uint32_t edge = random_.oneIn(2) ? range.low : range.high;
    if (random_.oneIn(6)) {
        return edge + (random_.oneIn(2) ? 1U : UINT32_MAX);
    }
    return random_.oneIn(3) ? range.low + (range.high - range.low) / 2 : edge;
}

Number128 RandomCompound::addressNear(const std::vector<AddressRange>& list) {
    if (random_.oneIn(8)) {
        return addresses_.nextAddress();
    }
    const AddressRange& range = random_.pick(list);
    return random_.oneIn(6) ? random_.pick(edgesOf(range))
                            : random_.pick<Number128>({range.low, range.high});
}

ReferenceFlow RandomCompound::nextFlow(const CompoundRuleText& rule) {
    ReferenceFlow flow{};
    const auto near16 = [this](const std::vector<NumberRange>& list, Field field) {
        return static_cast<uint16_t>(numberNear(list, field));
    };
    for (uint16_t& value : flow.values16) {
        value = near16(rule.rangeList16, Field::VALUES_16);
    }
    flow.value32 = numberNear(rule.rangeListA, Field::VALUES_32);
    const Number128 addresses[] = {addressNear(rule.addressList), addresses_.nextAddress()};
    const size_t first = random_.below(2);
    const bool areMapped = isMappedNumber(addresses[0]);
    flow.family = random_.oneIn(50)                ? random_.pick<int32_t>({0, 5, 7, -4, 10})
                  : areMapped && !random_.oneIn(4) ? 4
                                                   : 6;
    for (size_t i = 0; i < 2; ++i) {
        AddressBytes bytes = bytesOf(addresses[i]);
        if (flow.family == 4) {
            // An IPv4 address is the end of the mapped one; what follows it is for nobody.
            std::rotate(bytes.begin(), bytes.begin() + 12, bytes.end());
        }
        flow.addresses[i ^ first] = bytes;
    }
    flow.listValue16 = near16(rule.rangeListB, Field::LIST_VALUES);
    flow.listValue12 = random_.oneIn(4) ? 4096 : near16(rule.rangeListB, Field::LIST_VALUES);
    flow.outNumber = random_.bits32();
    flow.outListValue = random_.oneIn(2) ? flow.listValue16 : random_.bits32();
    flow.outMark = random_.below32(3);
    return flow;
}

std::string mutateCompoundText(std::string_view text, RandomSource& random) {
    constexpr std::string_view BYTES = "0123456789;;,,--**xXafAFgG.:/ \t\r\n\v\f+\x80\xFF";
    std::string mutated(text);
    for (uint64_t count = random.between(1, random.oneIn(4) ? 4 : 1); count > 0; --count) {
        const size_t at = random.below(mutated.size() + 1);
        const char byte =
            random.oneIn(40) ? '\0' : BYTES[static_cast<size_t>(random.below(BYTES.size()))];
        switch (random.below(4)) {
            case 0:
                mutated.insert(at, 1, byte);
                break;
            case 1:
                mutated.replace(at, 1, 1, byte);
                break;
            case 2:
                mutated.insert(at, mutated.substr(random.below(mutated.size() + 1), 4));
                break;
            default:
                mutated.erase(at, random.between(1, 3));
                break;
        }
    }
    return mutated;
}

}  // namespace rs::test
