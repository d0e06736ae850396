#include "lookup/flat_names.h"

#include <algorithm>
#include <cstring>

namespace rs {

namespace {

// Of 100 names, two thirds of the slots are taken: one name in fifteen is not in its own line.
constexpr uint64_t NAMES_PER_100_LINES = 264;

// As many suffixes are asked for at once. A name among nested ones ends with the first ones.
constexpr uint32_t SUFFIXES_AT_ONCE = 8;

// A search that is as long does not happen unless somebody knows the seed: one in 10^33 lines begins a thousand names
// that have no room.
constexpr uint32_t LONGEST_SEARCH = 256;

constexpr uint32_t LONGEST_NAME_WORDS = LONGEST_WIRE_NAME / sizeof(NameWord);

// A lookup reads as many words of a shorter name, too.
constexpr uint32_t WORDS_READ_AFTER_NAME = USUAL_WORDS - 1;

NameLine& lineOfSlot(const FlatNames& names, uint32_t slot) noexcept {
    return names.lines[slot / NAME_LINE_SLOTS];
}

uint32_t& keyOfSlot(const FlatNames& names, uint32_t slot) noexcept {
    return lineOfSlot(names, slot).keys[slot % NAME_LINE_SLOTS];
}

uint32_t& wholeOfSlot(const FlatNames& names, uint32_t slot) noexcept {
    return lineOfSlot(names, slot).numbers[1][slot % NAME_LINE_SLOTS];
}

uint32_t& belowOfSlot(const FlatNames& names, uint32_t slot) noexcept {
    return lineOfSlot(names, slot).numbers[0][slot % NAME_LINE_SLOTS];
}

const NameWord* textOfSlot(const FlatNames& names, uint32_t slot) noexcept {
    return &recordAt(names.texts, lineOfSlot(names, slot).texts[slot % NAME_LINE_SLOTS]);
}

struct FoundSuffix {
    uint32_t slot;  // NO_RECORD without one
    uint32_t suffix;
};

// The longest suffix that is known, of those that come after the first skipped ones.
FoundSuffix findLongest(const FlatNames& names, const CutName& cut, uint32_t skipped) noexcept {
    const SuffixHashes hashes(cut, names.seed);
    const uint32_t end = cut.count + 1 - std::min(names.fewestSuffixes, cut.count + 1);
    for (uint32_t first = skipped; first < end; first += SUFFIXES_AT_ONCE) {
        uint64_t passed = 0;
        for (uint32_t i = std::min(first + SUFFIXES_AT_ONCE, end); i-- > first;) {
            passed = passed << 1U | mayHaveName(names, hashes.of(cut.starts[i]));
        }
        for (; passed != 0; passed &= passed - 1) {
            const uint32_t suffix = first + static_cast<uint32_t>(std::countr_zero(passed));
            const uint32_t start = cut.starts[suffix];
            const uint32_t slot =
                findNameSlot(names, hashes, hashes.of(start), start, cut.length - start);
            if (slot != NO_RECORD) {
                return {slot, suffix};
            }
        }
    }
    return {NO_RECORD, 0};
}

uint32_t combined(uint32_t own, uint32_t inherited, FlatNamesBuild::Combine combine,
                  void* context) noexcept {
    if (own == NO_RECORD || inherited == NO_RECORD) {
        return own == NO_RECORD ? inherited : own;
    }
    return combine(context, own, inherited);
}

}  // namespace

void freeFlatNames(FlatNames* names) noexcept {
    if (names != nullptr) {
        freeLines(names->lines);
        freeLines(names->filter);
        freeSlab(names->texts);
        freeMemory(names);
    }
}

uint32_t findNameSlot(const FlatNames& names, const SuffixHashes& hashes, uint64_t hash,
                      uint32_t start, uint32_t length) noexcept {
    const uint32_t key = nameKeyOf(hash, length);
    for (uint64_t number = nameLineOf(names, hash);;) {
        const NameLine& line = names.lines[number];
        for (uint32_t same = matchKeys(line.keys, key); same != 0; same &= same - 1) {
            const auto i = static_cast<uint32_t>(std::countr_zero(same));
            if (hashes.isSuffix(start, &recordAt(names.texts, line.texts[i]))) {
                return static_cast<uint32_t>(number * NAME_LINE_SLOTS + i);
            }
        }
        if (line.keys[NAME_LINE_SLOTS - 1] == 0) {
            return NO_RECORD;
        }
        number = number + 1 == names.lineCount ? 0 : number + 1;
    }
}

uint32_t findCutName(const FlatNames& names, const char* name, uint32_t length) noexcept {
    CutName cut;
    if (!cutName(names.form, name, length, cut)) {
        return NO_RECORD;
    }
    const FoundSuffix found = findLongest(names, cut, 0);
    if (found.slot == NO_RECORD) {
        return NO_RECORD;
    }
    return found.suffix == 0 && cut.isWhole != 0 ? wholeOfSlot(names, found.slot)
                                                 : belowOfSlot(names, found.slot);
}

uint32_t findFlatName(const FlatNames& names, const char* name, uint32_t length) noexcept {
    return names.form == NameForm::WIRE && isUsualWireName(length)
               ? findUsualName(names, name, length, SuffixHashes(name, length, names.seed))
               : findCutName(names, name, length);
}

bool FlatNamesBuild::begin(NameForm form, uint64_t nameCount) noexcept {
    // Slots, of which there are half as many again, have numbers of 32 bits.
    if (nameCount > NO_RECORD / 2) {
        return false;
    }
    names_.reset(allocateRecord<FlatNames>());
    added_.reset(allocateArray<AddedName>(nameCount));
    if (!names_ || !added_) {
        return false;
    }
    capacity_ = nameCount;
    names_->seed = newHashSeed();
    names_->form = form;
    names_->fewestSuffixes = MOST_SUFFIXES;
    names_->lineCount = nameCount * 100 / NAMES_PER_100_LINES + 1;
    names_->lines = allocateLines<NameLine>(names_->lineCount);
    names_->filter = allocateLines<uint64_t>(names_->lineCount / LINES_PER_FILTER_WORD + 1);
    // Chunks are half as large as the bytes of usual names together, so that huge pages fit into them.
    constexpr uint32_t NAME_WORDS = 3;
    sizeSlab(names_->texts, nameCount * NAME_WORDS * 4, LONGEST_NAME_WORDS + WORDS_READ_AFTER_NAME);
    return names_->lines != nullptr && names_->filter != nullptr;
}

// The slot of a name, or the free one that it gets; NO_RECORD when there is none near.
uint32_t FlatNamesBuild::placeOf(const SuffixHashes& hashes, uint64_t hash,
                                 uint32_t length) const noexcept {
    const uint32_t key = nameKeyOf(hash, length);
    uint64_t number = nameLineOf(*names_, hash);
    for (uint32_t searched = 0; searched < LONGEST_SEARCH; ++searched) {
        const NameLine& line = names_->lines[number];
        for (uint32_t i = 0; i < NAME_LINE_SLOTS; ++i) {
            if (line.keys[i] == 0 ||
                (line.keys[i] == key &&
                 hashes.isSuffix(0, &recordAt(names_->texts, line.texts[i])))) {
                return static_cast<uint32_t>(number * NAME_LINE_SLOTS + i);
            }
        }
        number = number + 1 == names_->lineCount ? 0 : number + 1;
    }
    return NO_RECORD;
}

bool FlatNamesBuild::fill(uint32_t slot, const SuffixHashes& hashes, uint64_t hash,
                          const CutName& cut) noexcept {
    const auto wordCount =
        static_cast<uint32_t>((cut.length + sizeof(NameWord) - 1) / sizeof(NameWord));
    NameWord* text = addedCount_ == capacity_
                         ? nullptr
                         : newRecords(names_->texts, wordCount + WORDS_READ_AFTER_NAME);
    if (text == nullptr) {
        return false;
    }
    names_->texts.count -= WORDS_READ_AFTER_NAME;
    hashes.writeName(text);
    keyOfSlot(*names_, slot) = nameKeyOf(hash, cut.length);
    lineOfSlot(*names_, slot).texts[slot % NAME_LINE_SLOTS] = names_->texts.count - wordCount;
    wholeOfSlot(*names_, slot) = NO_RECORD;
    belowOfSlot(*names_, slot) = NO_RECORD;
    nameFilterWordOf(*names_, nameLineOf(*names_, hash)) |= nameFilterBitsOf(hash);
    names_->fewestSuffixes = std::min(names_->fewestSuffixes, cut.count);
    added_[addedCount_++] = {slot, NO_RECORD, static_cast<uint16_t>(cut.length),
                             static_cast<uint16_t>(cut.count)};
    return true;
}

bool FlatNamesBuild::add(const FlatName& name) noexcept {
    CutName cut;
    if (!cutName(names_->form, name.bytes, name.length, cut) || cut.isWhole == 0) {
        return true;
    }
    const SuffixHashes hashes(cut, names_->seed);
    const uint64_t hash = hashes.of(0);
    const uint32_t slot = placeOf(hashes, hash, cut.length);
    if (slot == NO_RECORD || (keyOfSlot(*names_, slot) == 0 && !fill(slot, hashes, hash, cut))) {
        return false;
    }
    uint32_t& whole = wholeOfSlot(*names_, slot);
    uint32_t& below = belowOfSlot(*names_, slot);
    whole = whole == NO_RECORD ? name.whole : whole;
    below = below == NO_RECORD ? name.below : below;
    return true;
}

// The number of the slot of the longest known suffix of a name but itself; NO_RECORD without one.
uint32_t FlatNamesBuild::findParent(const AddedName& name) const noexcept {
    char bytes[LONGEST_WIRE_NAME];
    readName(textOfSlot(*names_, name.slot), name.length, bytes);
    CutName cut;
    return cutName(names_->form, bytes, name.length, cut) ? findLongest(*names_, cut, 1).slot
                                                          : NO_RECORD;
}

FlatNames* FlatNamesBuild::finish(Combine combine, void* context) noexcept {
    AddedName* first = added_.get();
    AddedName* last = first;
    for (uint64_t i = 0; i < addedCount_; ++i) {
        AddedName name = added_[i];
        name.parent = findParent(name);
        if (name.parent != NO_RECORD) {
            *last++ = name;
        }
    }
    // A name has fewer suffixes than the names under it, and what it inherits is carried on to them.
    std::sort(first, last, [](const AddedName& left, const AddedName& right) noexcept {
        return left.suffixCount < right.suffixCount;
    });
    std::for_each(first, last, [&](const AddedName& name) noexcept {
        uint32_t& whole = wholeOfSlot(*names_, name.slot);
        uint32_t& below = belowOfSlot(*names_, name.slot);
        const uint32_t inherited = belowOfSlot(*names_, name.parent);
        whole = combined(whole, inherited, combine, context);
        below = combined(below, inherited, combine, context);
    });
    return names_.release();
}

}  // namespace rs
