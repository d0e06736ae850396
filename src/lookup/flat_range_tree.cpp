#include "lookup/flat_range_tree.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "core/lines.h"

namespace rs {

namespace {

constexpr uint64_t linesFor(uint64_t count) noexcept {
    return (count + LINE_WAYS - 1) / LINE_WAYS;
}

// The lines that trees have.
struct LineCounts {
    uint64_t leaves;
    uint64_t inner;
};

// What a tree of so many starts has.
LineCounts countLines(uint64_t startCount) noexcept {
    LineCounts counts{linesFor(startCount), 0};
    for (uint64_t level = counts.leaves; level > 1;) {
        level = linesFor(level);
        counts.inner += level;
    }
    return counts;
}

struct Root {
    uint64_t line;
    uint32_t levels;
};

// Where the key of a way is among the keys of its line.
constexpr uint32_t keyPlace(uint32_t way) noexcept {
    const auto zeros = static_cast<uint32_t>(std::countr_zero(way));
    return (way | LINE_WAYS) >> (zeros + 1);
}

// The memory of a flat lookup while trees are written to it.
class TreeWriter {
public:
    [[nodiscard]] bool reserve(const LineCounts& counts) noexcept {
        lines_.reset(allocateLines<uint64_t>((counts.leaves + counts.inner) * LINE_WAYS));
        words_.reset(allocateLines<uint32_t>(counts.leaves * LINE_WAYS));
        nextInner_ = counts.leaves;
        return lines_ != nullptr && words_ != nullptr;
    }

    // The first leaf of a tree of so many starts.
    uint64_t takeLeaves(uint64_t startCount) noexcept {
        nextLeaf_ += linesFor(startCount);
        return nextLeaf_ - linesFor(startCount);
    }

    // Start number i of a tree.
    void put(uint64_t firstLeaf, uint64_t i, uint64_t first, uint32_t word) noexcept {
        const auto way = static_cast<uint32_t>(i % LINE_WAYS);
        uint64_t* line = lineAt(firstLeaf + i / LINE_WAYS);
        if (way == 0) {
            std::fill_n(line, LINE_WAYS, std::numeric_limits<uint64_t>::max());
            line[0] = first;
        } else {
            line[keyPlace(way)] = first - 1;
        }
        words_.get()[firstLeaf * LINE_WAYS + i] = word;
    }

    // Makes the inner lines of a tree whose starts are put.
    Root join(uint64_t firstLeaf, uint64_t startCount) noexcept {
        Root root{firstLeaf, 1};
        for (uint64_t count = linesFor(startCount); count > 1; count = linesFor(count)) {
            root = {joinLevel(root.line, count, root.levels), root.levels + 1};
        }
        return root;
    }

    [[nodiscard]] uint64_t* releaseLines() noexcept { return lines_.release(); }
    [[nodiscard]] uint32_t* releaseWords() noexcept { return words_.release(); }

private:
    uint64_t* lineAt(uint64_t number) const noexcept { return lines_.get() + number * LINE_WAYS; }

    // The first address that is looked up in a line of a level.
    uint64_t firstOf(uint64_t line, uint32_t level) const noexcept {
        for (; level > 1; --level) {
            line = lineAt(line)[0];
        }
        return lineAt(line)[0];
    }

    // Makes the parents of the count lines of a level, and returns the first.
    uint64_t joinLevel(uint64_t firstLine, uint64_t count, uint32_t level) noexcept {
        const uint64_t firstParent = nextInner_;
        for (uint64_t begin = 0; begin < count; begin += LINE_WAYS) {
            uint64_t* line = lineAt(nextInner_++);
            std::fill_n(line, LINE_WAYS, std::numeric_limits<uint64_t>::max());
            line[0] = firstLine + begin;
            const auto ways = static_cast<uint32_t>(std::min(uint64_t{LINE_WAYS}, count - begin));
            for (uint32_t way = 1; way < ways; ++way) {
                line[keyPlace(way)] = firstOf(firstLine + begin + way, level) - 1;
            }
        }
        return firstParent;
    }

    OwnedLines<uint64_t> lines_;
    OwnedLines<uint32_t> words_;
    uint64_t nextLeaf_ = 0;
    uint64_t nextInner_ = 0;
};

FlatRanges128* finishRanges(TreeWriter& writer, const Root& root,
                            const LineCounts& counts) noexcept {
    auto* ranges = allocateRecord<FlatRanges128>();
    if (ranges != nullptr) {
        const uint64_t byteCount =
            64 * (counts.leaves + counts.inner) + sizeof(uint32_t) * LINE_WAYS * counts.leaves;
        *ranges = {writer.releaseLines(), writer.releaseWords(), byteCount,
                   static_cast<uint32_t>(root.line), root.levels};
    }
    return ranges;
}

using Start128 = FlatRangeStarts<Address128>::Start;

// Calls visitHalf(upper half, word) for each start of the upper tree, in order. visitGroup(starts, end, word before) is
// called for a half with starts of its own, and returns its word.
template <typename VisitHalf, typename VisitGroup>
void forEachHalf(const FlatRangeStarts<Address128>& starts, const VisitHalf& visitHalf,
                 const VisitGroup& visitGroup) noexcept {
    const Start128* end = starts.starts() + starts.count();
    uint32_t before = NO_RECORD;
    for (const Start128* start = starts.starts(); start < end;) {
        const uint64_t half = upperKey(start->first);
        const Start128* next = start + 1;
        while (next < end && upperKey(next->first) == half) {
            ++next;
        }
        const bool isWhole = next == start + 1 && lowerKey(start->first) == 0;
        visitHalf(half, isWhole ? start->word : visitGroup(start, next, before));
        before = (next - 1)->word;
        if (!isWhole && half != UINT64_MAX && (next == end || upperKey(next->first) != half + 1)) {
            visitHalf(half + 1, before);
        }
        start = next;
    }
}

// The starts of a tree of lower halves: those of its half, and address 0.
uint64_t groupSize(const Start128* start, const Start128* end) noexcept {
    return static_cast<uint64_t>(end - start) + (lowerKey(start->first) == 0 ? 0 : 1);
}

uint32_t writeGroup(TreeWriter& writer, const Start128* start, const Start128* end,
                    uint32_t before) noexcept {
    const uint64_t count = groupSize(start, end);
    const uint64_t firstLeaf = writer.takeLeaves(count);
    uint64_t i = 0;
    if (lowerKey(start->first) != 0) {
        writer.put(firstLeaf, i++, 0, before);
    }
    for (; start < end; ++start) {
        writer.put(firstLeaf, i++, lowerKey(start->first), start->word);
    }
    const Root root = writer.join(firstLeaf, count);
    return FLAT_SUBTREE | (root.levels - 1) << SUBTREE_LEVELS_SHIFT |
           static_cast<uint32_t>(root.line);
}

}  // namespace

FlatRanges128* buildFlatRanges(const FlatRangeStarts<Address128>& starts) noexcept {
    uint64_t halves = 0;
    LineCounts counts{0, 0};
    const auto addLines = [&counts](uint64_t startCount) noexcept {
        const LineCounts more = countLines(startCount);
        counts = {counts.leaves + more.leaves, counts.inner + more.inner};
    };
    forEachHalf(
        starts, [&halves](uint64_t, uint32_t) noexcept { ++halves; },
        [&addLines](const Start128* start, const Start128* end, uint32_t) noexcept {
            addLines(groupSize(start, end));
            return NO_RECORD;
        });
    addLines(halves);
    TreeWriter writer;
    if (starts.hasTooBigRecord() || counts.leaves + counts.inner > SUBTREE_ROOT_MASK ||
        !writer.reserve(counts)) {
        return nullptr;
    }
    const uint64_t firstLeaf = writer.takeLeaves(halves);
    uint64_t i = 0;
    forEachHalf(
        starts,
        [&](uint64_t half, uint32_t word) noexcept { writer.put(firstLeaf, i++, half, word); },
        [&writer](const Start128* start, const Start128* end, uint32_t before) noexcept {
            return writeGroup(writer, start, end, before);
        });
    return finishRanges(writer, writer.join(firstLeaf, halves), counts);
}

void freeFlatRanges(FlatRanges128* ranges) noexcept {
    if (ranges != nullptr) {
        freeLines(ranges->lines);
        freeLines(ranges->words);
        freeMemory(ranges);
    }
}

}  // namespace rs
