#include "lookup/flat_names.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace rs {

namespace {

// Of 100 names, two thirds of the slots are taken: one name in fifteen is not in its own line.
constexpr uint64_t NAMES_PER_100_LINES = 264;

// As many suffixes are asked for at once. More labels are rare, and a name among nested ones ends with the first.
constexpr uint32_t SUFFIXES_AT_ONCE = 8;

// A search that is as long does not happen unless somebody knows the seed.
constexpr uint32_t LONGEST_SEARCH = 64;

// The place of a hash among count ones.
uint64_t scaleHash(uint64_t hash, uint64_t count) noexcept {
    __extension__ using Product = unsigned __int128;
    return static_cast<uint64_t>((static_cast<Product>(hash) * count) >> 64U);
}

// The places come from the highest bits of a hash, the key from those below, the filter bits from the lowest.
uint32_t keyOf(uint64_t hash, uint32_t length) noexcept {
    return (static_cast<uint32_t>(hash >> 18U) & 0xFFFFFE00U) | 0x100U | (length - 1);
}

// Of a line's word of the filter, two bits for each name: one suffix in 100 passes that is not there.
uint64_t filterBitsOf(uint64_t hash) noexcept {
    return uint64_t{1} << (hash & 63U) | uint64_t{1} << (hash >> 6U & 63U);
}

uint64_t lineOf(const FlatNames& names, uint64_t hash) noexcept {
    return scaleHash(hash, names.lineCount);
}

// 1 when a name with the hash may be there, 0 when none is. Of a big table, a line takes longer than the filter: it is
// fetched meanwhile.
uint32_t mayHave(const FlatNames& names, uint64_t hash) noexcept {
    const uint64_t line = lineOf(names, hash);
    __builtin_prefetch(names.slots + line * NAME_LINE_SLOTS);
    const uint64_t bits = names.filter[line];
    return static_cast<uint32_t>(bits >> (hash & 63U) & bits >> (hash >> 6U & 63U) & 1U);
}

bool isName(const FlatNames& names, const NameSlot& slot, const char* bytes,
            uint32_t length) noexcept {
    return std::memcmp(recordAt(names.texts, slot.text).bytes, bytes, length) == 0;
}

// Bit i is set when slot i of a line has the key. Which one it is costs no branch, for nobody could foresee it.
uint32_t sameKeys(const NameSlot* slots, uint32_t key) noexcept {
    uint32_t same = 0;
    for (uint32_t i = 0; i < NAME_LINE_SLOTS; ++i) {
        same |= (slots[i].key == key ? 1U : 0U) << i;
    }
    return same;
}

const NameSlot* findSlot(const FlatNames& names, uint64_t hash, const char* bytes,
                         uint32_t length) noexcept {
    const uint32_t key = keyOf(hash, length);
    for (uint64_t line = lineOf(names, hash);;) {
        const NameSlot* slots = names.slots + line * NAME_LINE_SLOTS;
        for (uint32_t same = sameKeys(slots, key); same != 0; same &= same - 1) {
            const NameSlot& slot = slots[std::countr_zero(same)];
            if (isName(names, slot, bytes, length)) {
                return &slot;
            }
        }
        if (slots[NAME_LINE_SLOTS - 1].key == 0) {
            return nullptr;
        }
        line = line + 1 == names.lineCount ? 0 : line + 1;
    }
}

struct FoundSuffix {
    const NameSlot* slot;  // null without one
    uint32_t suffix;
};

// The longest suffix that is known, of those that come after the first skipped ones.
FoundSuffix findLongest(const FlatNames& names, const CutName& cut, uint32_t skipped) noexcept {
    const SuffixHashes hashes(cut, names.seed);
    const uint32_t end = cut.count + 1 - std::min(names.fewestSuffixes, cut.count + 1);
    for (uint32_t first = skipped; first < end; first += SUFFIXES_AT_ONCE) {
        uint32_t passed = 0;
        for (uint32_t i = std::min(first + SUFFIXES_AT_ONCE, end); i-- > first;) {
            passed = passed << 1U | mayHave(names, hashes.of(cut.starts[i]));
        }
        for (; passed != 0; passed &= passed - 1) {
            const uint32_t suffix = first + static_cast<uint32_t>(std::countr_zero(passed));
            const uint32_t start = cut.starts[suffix];
            const NameSlot* slot =
                findSlot(names, hashes.of(start), cut.bytes + start, cut.length - start);
            if (slot != nullptr) {
                return {slot, suffix};
            }
        }
    }
    return {nullptr, 0};
}

uint32_t findCutName(const FlatNames& names, const char* name, uint32_t length) noexcept {
    CutName cut;
    if (!cutName(names.form, name, length, cut)) {
        return NO_RECORD;
    }
    const FoundSuffix found = findLongest(names, cut, 0);
    if (found.slot == nullptr) {
        return NO_RECORD;
    }
    return found.suffix == 0 && cut.isWhole != 0 ? found.slot->whole : found.slot->below;
}

// A name of the wire form and of usual length. It is not cut first: each suffix is asked for as soon as its start is
// known, so that the number of labels, which nobody can foresee, ends one loop and not two.
uint32_t findUsualName(const FlatNames& names, const char* name, uint32_t length) noexcept {
    const UsualSuffixHashes hashes(name, length, names.seed);
    std::array<uint32_t, SUFFIXES_AT_ONCE> starts;
    uint32_t count = 0;
    uint32_t passed = 0;  // the last suffix is the lowest bit
    uint32_t start = 0;
    uint32_t emptyLabels = 0;  // the highest bit is 1 when there is one
    do {
        const uint32_t label = static_cast<uint8_t>(name[start]);
        starts[count++] = start;
        passed = 2 * passed + mayHave(names, hashes.of(start));
        emptyLabels |= label - 1;
        start += label + 1;
    } while (start < length && count < SUFFIXES_AT_ONCE);
    if (start != length || (emptyLabels >> 31U) != 0) [[unlikely]] {
        return findCutName(names, name, length);
    }
    while (passed != 0) {
        const auto suffix = count - static_cast<uint32_t>(std::bit_width(passed));
        start = starts[suffix];
        const NameSlot* slot = findSlot(names, hashes.of(start), name + start, length - start);
        if (slot != nullptr) {
            return suffix == 0 ? slot->whole : slot->below;
        }
        passed -= std::bit_floor(passed);
    }
    return NO_RECORD;
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
        freeLines(names->slots);
        freeLines(names->filter);
        freeSlab(names->texts);
        freeMemory(names);
    }
}

uint32_t findFlatName(const FlatNames& names, const char* name, uint32_t length) noexcept {
    return names.form == NameForm::WIRE && UsualSuffixHashes::isUsual(length)
               ? findUsualName(names, name, length)
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
    names_->slots = allocateLines<NameSlot>(names_->lineCount * NAME_LINE_SLOTS);
    names_->filter = allocateLines<uint64_t>(names_->lineCount);
    // Chunks are half as large as the bytes of usual names together, so that huge pages fit into them.
    constexpr uint32_t NAME_WORDS = 3;
    sizeSlab(names_->texts, nameCount * NAME_WORDS * 4, LONGEST_WIRE_NAME / sizeof(NameWord));
    return names_->slots != nullptr && names_->filter != nullptr;
}

// The slot of a name, or the free one that it gets; null when there is none near.
NameSlot* FlatNamesBuild::placeOf(uint64_t hash, const char* bytes, uint32_t length) noexcept {
    const uint32_t key = keyOf(hash, length);
    uint64_t line = lineOf(*names_, hash);
    for (uint32_t searched = 0; searched < LONGEST_SEARCH; ++searched) {
        NameSlot* slots = names_->slots + line * NAME_LINE_SLOTS;
        for (uint32_t i = 0; i < NAME_LINE_SLOTS; ++i) {
            if (slots[i].key == 0 ||
                (slots[i].key == key && isName(*names_, slots[i], bytes, length))) {
                return slots + i;
            }
        }
        line = line + 1 == names_->lineCount ? 0 : line + 1;
    }
    return nullptr;
}

bool FlatNamesBuild::fill(NameSlot& slot, uint64_t hash, const CutName& cut) noexcept {
    const auto wordCount =
        static_cast<uint32_t>((cut.length + sizeof(NameWord) - 1) / sizeof(NameWord));
    NameWord* text = addedCount_ == capacity_ ? nullptr : newRecords(names_->texts, wordCount);
    if (text == nullptr) {
        return false;
    }
    std::memcpy(text->bytes, cut.bytes, cut.length);
    slot = {keyOf(hash, cut.length), names_->texts.count - wordCount, NO_RECORD, NO_RECORD};
    names_->filter[lineOf(*names_, hash)] |= filterBitsOf(hash);
    names_->fewestSuffixes = std::min(names_->fewestSuffixes, cut.count);
    added_[addedCount_++] = {static_cast<uint32_t>(&slot - names_->slots), NO_RECORD,
                             static_cast<uint16_t>(cut.length), static_cast<uint16_t>(cut.count)};
    return true;
}

bool FlatNamesBuild::add(const FlatName& name) noexcept {
    CutName cut;
    if (!cutName(names_->form, name.bytes, name.length, cut) || cut.isWhole == 0) {
        return true;
    }
    const uint64_t hash = hashCutName(cut, names_->seed);
    NameSlot* slot = placeOf(hash, cut.bytes, cut.length);
    if (slot == nullptr || (slot->key == 0 && !fill(*slot, hash, cut))) {
        return false;
    }
    slot->whole = slot->whole == NO_RECORD ? name.whole : slot->whole;
    slot->below = slot->below == NO_RECORD ? name.below : slot->below;
    return true;
}

// The number of the slot of the longest known suffix of a name but itself; NO_RECORD without one.
uint32_t FlatNamesBuild::findParent(const AddedName& name) const noexcept {
    CutName cut;
    const char* bytes = recordAt(names_->texts, names_->slots[name.slot].text).bytes;
    const NameSlot* parent = cutName(names_->form, bytes, name.length, cut)
                                 ? findLongest(*names_, cut, 1).slot
                                 : nullptr;
    return parent == nullptr ? NO_RECORD : static_cast<uint32_t>(parent - names_->slots);
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
        NameSlot& own = names_->slots[name.slot];
        const uint32_t inherited = names_->slots[name.parent].below;
        own.whole = combined(own.whole, inherited, combine, context);
        own.below = combined(own.below, inherited, combine, context);
    });
    return names_.release();
}

}  // namespace rs
