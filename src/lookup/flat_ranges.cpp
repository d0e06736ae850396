#include "lookup/flat_ranges.h"

#include <array>
#include <bit>
#include <utility>

#include "core/growing_array.h"
#include "core/lines.h"

namespace rs {

namespace {

// An index has a word for two to four starts, and up to four times as many where at least one word in eight then leads to
// starts. 470,000 starts of real IPv4 ranges have an index of 19 bits so: a lookup in a loop is 9.9 times as fast as a
// binary search, and takes 14 bytes a start. With 18 bits it is 9.1 times as fast and takes 11 bytes, with more it is
// no faster.
constexpr uint32_t STARTS_OF_WORD = 4;
constexpr uint32_t MORE_BITS = 2;
constexpr uint32_t WORDS_OF_PLACE = 8;
constexpr uint32_t ADDRESS_BITS = 32;
constexpr uint32_t MOST_ROOT_BITS = 22;

// The addresses whose bits after the first ones are 0 to 2^left - 1, and the starts among them but for the first address.
struct Place {
    uint32_t first;
    uint32_t left;
    uint32_t begin;  // of the starts
    uint32_t end;
    uint32_t word;  // the answer of the first address

    [[nodiscard]] uint32_t count() const noexcept { return end - begin; }
};

class FlatRangeBuild {
public:
    explicit FlatRangeBuild(const FlatRangeStarts<uint32_t>& starts) noexcept
        : starts_(starts.starts()), startCount_(starts.count()) {}

    FlatRanges32* build() noexcept {
        OwnedMemory<FlatRanges32> ranges(allocateRecord<FlatRanges32>());
        const Place all{0, ADDRESS_BITS, 1, startCount_, wordAt(0)};
        const uint32_t rootBits = indexBits(all, placesOf(all), MOST_ROOT_BITS);
        fillIndex(all, rootBits, takeIndex(rootBits));
        // What a lookup compares at once may go beyond the last node.
        takeLines(1);
        if (!ranges || isFailed_ || !trimWords()) {
            return nullptr;
        }
        *ranges = {words_.release(), usedWords_ * sizeof(uint32_t), rootBits};
        return ranges.release();
    }

private:
    // The keys of a node before it is made: a word and where it begins. That of the first is not used.
    struct Entry {
        int16_t key;
        uint32_t word;
    };

    static constexpr uint32_t LANE_BITS = 8 * sizeof(int16_t);
    static constexpr uint32_t MOST_WORDS = KEY_LANES;  // of a node, which has a key less
    static constexpr uint32_t MOST_BITS = std::max(LANE_BITS, MOST_ROOT_BITS);
    static constexpr uint64_t MOST_STORAGE = uint64_t{1} << (FLAT_INDEX_SHIFT + 4U);  // in words

    uint32_t wordAt(uint32_t i) const noexcept { return starts_[i].word | FLAT_ANSWER; }
    uint32_t startAt(uint32_t i) const noexcept { return starts_[i].first; }

    // For each number of a place's next bits, the places with starts that they lead to.
    using Places = std::array<uint32_t, MOST_BITS + 1>;

    Places placesOf(const Place& place) const noexcept {
        Places places{};
        for (uint32_t i = place.begin + 1; i < place.end; ++i) {
            const uint32_t common = commonBits(place, i);
            if (common < MOST_BITS) {
                ++places[common + 1];
            }
        }
        places[0] = 1;
        for (uint32_t bits = 1; bits <= MOST_BITS; ++bits) {
            places[bits] += places[bits - 1];
        }
        return places;
    }

    // How many bits an index of a place has: so many that a word has a few starts, and more where that parts them.
    static uint32_t indexBits(const Place& place, const Places& places, uint32_t most) noexcept {
        const auto usual = static_cast<uint32_t>(std::bit_width(place.count() / STARTS_OF_WORD));
        uint32_t bits = std::min({std::max(usual, LEAST_INDEX_BITS), most, place.left});
        const uint32_t largest = std::min({usual + MORE_BITS, MOST_INDEX_BITS, place.left});
        while (bits < largest && places[bits + 1] >= (uint32_t{1} << (bits + 1)) / WORDS_OF_PLACE) {
            ++bits;
        }
        return bits;
    }

    // How many bits lead to so few places that one node tells them apart.
    static uint32_t nodeBits(const Place& place, const Places& places) noexcept {
        uint32_t bits = std::min(LANE_BITS, place.left);
        // Each place is two words: its own, and that of what comes after it.
        while (2 * places[bits] >= MOST_WORDS) {
            --bits;
        }
        return bits;
    }

    // The word of a place: its one answer, or an index or a node, which is made.
    uint32_t makePlace(const Place& place) noexcept {
        if (place.count() == 0 || isFailed_) {
            return place.word;
        }
        if (place.count() < MOST_WORDS) {
            return makeNodes(place, std::min(LANE_BITS, place.left));
        }
        const Places places = placesOf(place);
        const uint32_t ofNode = nodeBits(place, places);
        const uint32_t bits = indexBits(place, places, MOST_INDEX_BITS);
        if (ofNode >= bits) {
            return makeNodes(place, ofNode);
        }
        const uint32_t at = takeIndex(bits);
        fillIndex(place, bits, at);
        return FLAT_INDEX | (bits - LEAST_INDEX_BITS) << FLAT_INDEX_SHIFT | at / LINE_WORDS;
    }

    // How many of a place's bits a start has in common with the one before.
    uint32_t commonBits(const Place& place, uint32_t i) const noexcept {
        return place.left - static_cast<uint32_t>(std::bit_width(startAt(i) ^ startAt(i - 1)));
    }

    // The part of a place that begins at first and at start number begin, whose end is set here; word is the answer
    // before first.
    Place part(const Place& place, uint32_t first, uint32_t left, uint32_t begin,
               uint32_t word) const noexcept {
        Place result{first, left, begin, begin, word};
        if (begin < place.end && startAt(begin) == first) {
            result.word = wordAt(begin);
            result.begin = result.end = begin + 1;
        }
        while (result.end < place.end && (startAt(result.end) - first) >> left == 0) {
            ++result.end;
        }
        return result;
    }

    // The answer of the last address of a place.
    uint32_t lastWord(const Place& place) const noexcept {
        return place.count() == 0 ? place.word : wordAt(place.end - 1);
    }

    void fillIndex(const Place& place, uint32_t bits, uint32_t at) noexcept {
        const uint32_t left = place.left - bits;
        uint32_t begin = place.begin;
        uint32_t word = place.word;
        for (uint32_t i = 0; i < uint32_t{1} << bits && !isFailed_; ++i) {
            const uint32_t first = place.first + (static_cast<uint32_t>(i) << left);
            const Place piece = part(place, first, left, begin, word);
            const uint32_t made = makePlace(piece);
            if (!isFailed_) {
                words_.get()[at + i] = made;
            }
            begin = piece.end;
            word = lastWord(piece);
        }
    }

    // A node of all starts of a place, or a tree of nodes.
    uint32_t makeNodes(const Place& place, uint32_t bits) noexcept {
        const uint32_t left = place.left - bits;
        const uint32_t mask = (static_cast<uint32_t>(1) << left) - 1;
        const uint32_t firstEntry = entries_.count();
        push(firstEntry, 0, place.word);
        uint32_t word = place.word;
        for (uint32_t i = place.begin; i < place.end && !isFailed_;) {
            const uint32_t first = startAt(i) & ~mask;
            const Place piece = part(place, first, left, i, word);
            push(firstEntry, laneOf(first >> left), makePlace(piece));
            i = piece.end;
            word = lastWord(piece);
            // What comes after the piece, unless that is another piece or out of the place.
            const uint32_t next = first + mask + 1;
            if ((next - place.first) >> place.left == 0 &&
                (i == place.end || (startAt(i) & ~mask) != next)) {
                push(firstEntry, laneOf(next >> left), word);
            }
        }
        const uint32_t made = joinEntries(firstEntry, left);
        entries_.shorten(firstEntry);
        return made;
    }

    void push(uint32_t firstEntry, int16_t key, uint32_t word) noexcept {
        if (isFailed_ ||
            (entries_.count() > firstEntry && entries_[entries_.count() - 1].word == word)) {
            return;
        }
        if (!entries_.reserveOne()) {
            isFailed_ = true;
            return;
        }
        entries_.append({key, word});
    }

    // Makes nodes of entries, nodes of those nodes, and so on, and returns the word of the last one.
    uint32_t joinEntries(uint32_t firstEntry, uint32_t left) noexcept {
        uint32_t count = entries_.count() - firstEntry;
        while (count > 1 && !isFailed_) {
            const uint32_t nodes = (count + MOST_WORDS - 1) / MOST_WORDS;
            for (uint32_t i = 0; i < nodes && !isFailed_; ++i) {
                const auto begin = static_cast<uint32_t>(uint64_t{count} * i / nodes);
                const auto end = static_cast<uint32_t>(uint64_t{count} * (i + 1) / nodes);
                const int16_t key = entries_[firstEntry + begin].key;
                entries_[firstEntry + i] = {key, makeNode(firstEntry + begin, end - begin, left)};
            }
            count = nodes;
        }
        return isFailed_ ? NO_RECORD : entries_[firstEntry].word;
    }

    uint32_t makeNode(uint32_t firstEntry, uint32_t wordCount, uint32_t left) noexcept {
        const uint32_t keyCount = wordCount - 1;
        const uint32_t wordsAt = nodeWordsAt(keyCount);
        const uint32_t size = wordsAt + wordCount;
        const uint32_t at = takeNode(size);
        if (isFailed_) {
            return NO_RECORD;
        }
        std::array<int16_t, MOST_WORDS> lanes{};
        lanes[0] = static_cast<int16_t>(left << NODE_COUNT_BITS | keyCount);
        uint32_t* node = words_.get() + at;
        for (uint32_t i = 0; i < wordCount; ++i) {
            const Entry& entry = entries_[firstEntry + i];
            lanes[i] = i == 0 ? lanes[0] : entry.key;
            node[wordsAt + i] = entry.word;
        }
        std::memcpy(node, lanes.data(), sizeof(int16_t) * wordCount);
        return (size - 1) / LINE_WORDS << FLAT_NODE_SHIFT | at / QUARTER_WORDS;
    }

    uint32_t takeIndex(uint32_t bits) noexcept {
        return takeLines(((uint32_t{1} << bits) + LINE_WORDS - 1) / LINE_WORDS);
    }

    uint32_t takeLines(uint32_t lines) noexcept {
        usedWords_ = (usedWords_ + LINE_WORDS - 1) / LINE_WORDS * LINE_WORDS;
        return takeWords(lines * LINE_WORDS);
    }

    // A node begins at a quarter of a line, and is in one line when it fits.
    uint32_t takeNode(uint32_t size) noexcept {
        const uint32_t room = LINE_WORDS - usedWords_ % LINE_WORDS;
        if (size > room) {
            usedWords_ += room % LINE_WORDS;
        }
        return takeWords((size + QUARTER_WORDS - 1) / QUARTER_WORDS * QUARTER_WORDS);
    }

    uint32_t takeWords(uint32_t size) noexcept {
        if (isFailed_ || !reserveWords(usedWords_ + size)) {
            isFailed_ = true;
            return 0;
        }
        usedWords_ += size;
        return static_cast<uint32_t>(usedWords_ - size);
    }

    bool reserveWords(uint64_t size) noexcept {
        return size <= capacity_ ||
               (size <= MOST_STORAGE && moveWords(std::max(2 * capacity_, size)));
    }

    bool moveWords(uint64_t capacity) noexcept {
        OwnedLines<uint32_t> moved(allocateLines<uint32_t>(capacity));
        if (!moved) {
            return false;
        }
        // What is skipped before a line may already be counted as used.
        std::copy_n(words_.get(), std::min(usedWords_, capacity_), moved.get());
        words_ = std::move(moved);
        capacity_ = capacity;
        return true;
    }

    // Gives back room that is not used.
    bool trimWords() noexcept { return usedWords_ == capacity_ || moveWords(usedWords_); }

    const FlatRangeStarts<uint32_t>::Start* starts_;
    uint32_t startCount_;
    GrowingArray<Entry> entries_;  // of the nodes that are being made, those of inner ones above
    OwnedLines<uint32_t> words_;
    uint64_t usedWords_ = 0;
    uint64_t capacity_ = 0;
    bool isFailed_ = false;
};

}  // namespace

FlatRanges32* buildFlatRanges(const FlatRangeStarts<uint32_t>& starts) noexcept {
    return starts.hasTooBigRecord() ? nullptr : FlatRangeBuild(starts).build();
}

void freeFlatRanges(FlatRanges32* ranges) noexcept {
    if (ranges != nullptr) {
        freeLines(ranges->words);
        freeMemory(ranges);
    }
}

}  // namespace rs
