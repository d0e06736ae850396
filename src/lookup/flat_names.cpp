#include "lookup/flat_names.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace rs {

namespace {

// Of 100 names, two thirds of the slots are taken: one name in fifteen is not in its own line.
constexpr uint64_t NAMES_PER_100_LINES = 264;
constexpr uint64_t FILTER_BITS = 16;  // a name: one suffix in 80 passes that is not there

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

uint64_t filterBitsOf(uint64_t hash) noexcept {
    return uint64_t{1} << (hash & 63U) | uint64_t{1} << (hash >> 6U & 63U) |
           uint64_t{1} << (hash >> 12U & 63U);
}

bool mayHave(const FlatNames& names, uint64_t hash) noexcept {
    const uint64_t bits = filterBitsOf(hash);
    return (names.filter[scaleHash(hash, names.filterCount)] & bits) == bits;
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
    for (uint64_t line = scaleHash(hash, names.lineCount);;) {
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

// A suffix that passes the filter.
struct Candidate {
    uint64_t hash;
    uint32_t suffix;
};

// The slot of the longest suffix that is known, of those that come after the first skipped ones.
const NameSlot* findLongest(const FlatNames& names, const CutName& cut, uint32_t skipped,
                            bool& isWhole) noexcept {
    const SuffixHashes hashes(cut, names.seed);
    Candidate candidates[MOST_SUFFIXES];
    uint32_t count = 0;
    const uint32_t end = cut.count + 1 - std::min(names.fewestSuffixes, cut.count + 1);
    for (uint32_t i = skipped; i < end; ++i) {
        const uint64_t hash = hashes.of(cut.starts[i]);
        candidates[count] = {hash, i};
        // Of a big table, a line takes longer than the filter.
        __builtin_prefetch(names.slots + scaleHash(hash, names.lineCount) * NAME_LINE_SLOTS);
        count += mayHave(names, hash) ? 1 : 0;
    }
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t suffix = candidates[i].suffix;
        const uint32_t start = cut.starts[suffix];
        const NameSlot* slot =
            findSlot(names, candidates[i].hash, cut.bytes + start, cut.length - start);
        if (slot != nullptr) {
            isWhole = suffix == 0 && cut.isWhole != 0;
            return slot;
        }
    }
    return nullptr;
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
    CutName cut;
    if (!cutName(names.form, name, length, cut)) {
        return NO_RECORD;
    }
    bool isWhole = false;
    const NameSlot* slot = findLongest(names, cut, 0, isWhole);
    if (slot == nullptr) {
        return NO_RECORD;
    }
    return isWhole ? slot->whole : slot->below;
}

bool FlatNamesBuild::begin(NameForm form, uint64_t nameCount) noexcept {
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
    names_->filterCount = nameCount * FILTER_BITS / 64 + 1;
    names_->slots = allocateLines<NameSlot>(names_->lineCount * NAME_LINE_SLOTS);
    names_->filter = allocateLines<uint64_t>(names_->filterCount);
    // Chunks are half as large as the bytes of usual names together, so that huge pages fit into them.
    constexpr uint32_t USUAL_WORDS = 3;
    sizeSlab(names_->texts, nameCount * USUAL_WORDS * 4, LONGEST_WIRE_NAME / sizeof(NameWord));
    return names_->slots != nullptr && names_->filter != nullptr;
}

// The slot of a name, or the free one that it gets; null when there is none near.
NameSlot* FlatNamesBuild::placeOf(uint64_t hash, const char* bytes, uint32_t length) noexcept {
    const uint32_t key = keyOf(hash, length);
    uint64_t line = scaleHash(hash, names_->lineCount);
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
    names_->filter[scaleHash(hash, names_->filterCount)] |= filterBitsOf(hash);
    names_->fewestSuffixes = std::min(names_->fewestSuffixes, cut.count);
    added_[addedCount_++] = {slot.text, static_cast<uint16_t>(cut.length),
                             static_cast<uint16_t>(cut.count)};
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

bool FlatNamesBuild::cutAdded(const AddedName& name, CutName& cut) const noexcept {
    return cutName(names_->form, recordAt(names_->texts, name.text).bytes, name.length, cut);
}

bool FlatNamesBuild::hasKnownSuffix(const AddedName& name) const noexcept {
    CutName cut;
    bool isWhole = false;
    return cutAdded(name, cut) && findLongest(*names_, cut, 1, isWhole) != nullptr;
}

void FlatNamesBuild::inherit(const AddedName& name, Combine combine, void* context) noexcept {
    CutName cut;
    bool isWhole = false;
    if (!cutAdded(name, cut)) {
        return;
    }
    const NameSlot* parent = findLongest(*names_, cut, 1, isWhole);
    NameSlot* own = placeOf(hashCutName(cut, names_->seed), cut.bytes, cut.length);
    if (parent != nullptr && own != nullptr) {
        own->whole = combined(own->whole, parent->below, combine, context);
        own->below = combined(own->below, parent->below, combine, context);
    }
}

FlatNames* FlatNamesBuild::finish(Combine combine, void* context) noexcept {
    AddedName* first = added_.get();
    AddedName* last =
        std::remove_if(first, first + addedCount_,
                       [this](const AddedName& name) noexcept { return !hasKnownSuffix(name); });
    // A name has fewer suffixes than the names under it, and what it inherits is carried on to them.
    std::sort(first, last, [](const AddedName& left, const AddedName& right) noexcept {
        return left.suffixCount < right.suffixCount;
    });
    std::for_each(first, last,
                  [&](const AddedName& name) noexcept { inherit(name, combine, context); });
    return names_.release();
}

}  // namespace rs
