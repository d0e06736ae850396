#include "url/path_index.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>

#include "core/lines.h"
#include "domain/host_name.h"
#include "lookup/chain_blocks.h"
#include "lookup/flat_names.h"
#include "url/path_table.h"
#include "url/text_words.h"

namespace rs {

namespace {

// Of a header.
constexpr uint8_t SECTION_NO_SCHEME = 1;  // one of these three
constexpr uint8_t SECTION_HTTPS = 2;
constexpr uint8_t SECTION_ANY_SCHEME = 4;
constexpr uint8_t SECTION_HAS_NEXT = 8;     // the place has another section, which follows this one
constexpr uint8_t SECTION_HAS_TABLES = 16;  // a cell for its tables follows the header

struct SectionHeader {
    uint32_t above;          // place; NO_RECORD without one
    uint32_t earliestAbove;  // rule of all places above
    uint32_t firstEntry;     // of the list, in the array of packed paths
    uint8_t headCount;
    uint8_t flags;
    uint8_t hostLength;  // of the host's name, when it is here; 0 otherwise
    uint8_t textCells;   // after the heads: the name, and what the heads leave of their prefixes
};

struct SectionTables {
    uint32_t list;      // the cell of its table; NO_RECORD without one
    uint32_t blocks;    // the same
    uint32_t earliest;  // rule of both
    uint32_t reserved;
};

// Of a head.
constexpr uint8_t HEAD_PLAIN = 1;
constexpr uint8_t HEAD_PORT_80 = 2;  // covers the port
constexpr uint8_t HEAD_PORT_443 = 4;
constexpr uint8_t HEAD_ASKS_ENTRY = 8;  // for more than is in the place

struct PathHead {
    uint32_t ruleIndex;
    uint16_t prefixLength;
    uint8_t skippedBits;  // of firstBytes, which are not of the prefix
    uint8_t flags;
    uint64_t firstBytes;
};

static_assert(sizeof(SectionHeader) == sizeof(PathCell) &&
              sizeof(SectionTables) == sizeof(PathCell) && sizeof(PathHead) == sizeof(PathCell));

constexpr uint32_t LINE_CELLS = CACHE_LINE / sizeof(PathCell);

// Of a front, beside the scheme of its first section.
constexpr uint8_t FRONT_ONE_RULE = 32;  // the place is this rule
constexpr uint8_t FRONT_ALONE = 64;     // and no place above covers the host as well

// A longer rest of a prefix is not copied to its place.
constexpr uint32_t LONGEST_REST = 56;
static_assert((MAX_HOST_LENGTH + (CROWDED_LIST - 1) * LONGEST_REST) / sizeof(PathCell) < UINT8_MAX);

SectionHeader& headerAt(const PathIndex& index, uint32_t cell) noexcept {
    return reinterpret_cast<SectionHeader&>(index.cells[cell]);
}

SectionTables& tablesAt(const PathIndex& index, uint32_t cell) noexcept {
    return reinterpret_cast<SectionTables&>(index.cells[cell]);
}

PathTable& tableAt(const PathIndex& index, uint32_t cell) noexcept {
    return reinterpret_cast<PathTable&>(index.cells[cell]);
}

PathHead* headsAt(const PathIndex& index, uint32_t cell) noexcept {
    return reinterpret_cast<PathHead*>(index.cells + cell);
}

// The cell of the heads of a section, which is at a cell.
uint32_t headsOf(const SectionHeader& header, uint32_t cell) noexcept {
    return cell + ((header.flags & SECTION_HAS_TABLES) != 0 ? 2 : 1);
}

const char* textOf(const PathIndex& index, const SectionHeader& header, uint32_t cell) noexcept {
    return reinterpret_cast<const char*>(index.cells + headsOf(header, cell) + header.headCount);
}

uint32_t sectionAfter(const SectionHeader& header, uint32_t cell) noexcept {
    return headsOf(header, cell) + header.headCount + header.textCells;
}

// The bytes of a prefix that are neither in its head nor too many.
uint32_t restLength(uint32_t prefixLength) noexcept {
    const uint32_t rest = prefixLength < TEXT_WORD ? 0 : prefixLength - TEXT_WORD;
    return rest <= LONGEST_REST ? rest : 0;
}

// Looking up.

// What a lookup asks every place.
struct PathQuery {
    PathKey list;
    uint64_t firstBytes;
    uint8_t portFlag;  // that a head has when it covers the port; 0 when heads do not tell
    uint8_t admitted;  // schemes of sections
    const UrlMatchKey* url;
};

uint8_t admittedSections(const UrlMatchKey& key) noexcept {
    if (key.scheme.length != HTTPS_SCHEME_LENGTH) {
        return SECTION_ANY_SCHEME | SECTION_NO_SCHEME;
    }
    return SECTION_ANY_SCHEME | (isHttps(key) ? SECTION_HTTPS : 0U);
}

PathQuery makeQuery(const UrlMatchKey& key) noexcept {
    PathQuery query{listKeyOf(key), 0, 0, admittedSections(key), &key};
    query.firstBytes = firstWord(query.list.path, query.list.length);
    if (query.list.port == HTTP_PORT) {
        query.portFlag = HEAD_PORT_80;
    } else if (query.list.port == HTTPS_PORT) {
        query.portFlag = HEAD_PORT_443;
    }
    return query;
}

// Without branches: none of them can be foreseen, and all that they read is there.
bool mayCover(const PathHead& head, const PathQuery& query) noexcept {
    const auto hasFirstBytes =
        static_cast<uint32_t>((head.firstBytes ^ query.firstBytes) >> head.skippedBits == 0);
    const auto isShorter = static_cast<uint32_t>(head.prefixLength <= query.list.length);
    const auto hasItsPort = static_cast<uint32_t>((head.flags & query.portFlag) == query.portFlag);
    return (hasFirstBytes & isShorter & hasItsPort) != 0;
}

bool endsWithPrefix(const PathHead& head, const PathQuery& query) noexcept {
    return (head.flags & HEAD_PLAIN) == 0 || endsSegment(head.prefixLength, query.list);
}

bool covers(const UrlPathEntry& entry, const PathKey& key) noexcept {
    return hasPrefix(entry, key) && hasPort(entry, key) && hasTail(entry, key);
}

// The winner so far.
struct Winner {
    const UrlPathEntry* entry;
    uint32_t before;  // its rule; only earlier ones are asked for

    void take(const UrlPathEntry* found) noexcept {
        if (found != nullptr) {
            entry = found;
            before = found->ruleIndex;
        }
    }
};

void findInHeads(const PathIndex& index, const SectionHeader& header, uint32_t cell,
                 const PathQuery& query, Winner& winner) noexcept {
    const PathHead* heads = headsAt(index, headsOf(header, cell));
    const char* rest = textOf(index, header, cell) + header.hostLength;
    for (uint32_t i = 0; i < header.headCount && heads[i].ruleIndex < winner.before; ++i) {
        const PathHead& head = heads[i];
        const uint32_t length = restLength(head.prefixLength);
        if (mayCover(head, query) && endsWithPrefix(head, query) &&
            std::memcmp(rest, query.list.path + head.prefixLength - length, length) == 0) {
            const size_t fromTheEnd = size_t{header.headCount} - 1 - i;
            const UrlPathEntry& entry =
                entryAt(index.paths, header.firstEntry + fromTheEnd * URL_LISTED_WORDS);
            const bool isTold = (head.flags & HEAD_ASKS_ENTRY) == 0 && query.portFlag != 0;
            if (isTold || covers(entry, query.list)) {
                winner = {&entry, head.ruleIndex};
                return;
            }
        }
        rest += length;
    }
}

void findInTables(const PathIndex& index, const SectionTables& tables, const PathQuery& query,
                  Winner& winner) noexcept {
    if (tables.earliest >= winner.before) {
        return;
    }
    if (tables.list != NO_RECORD) {
        winner.take(findInPathTable(tableAt(index, tables.list), index.paths, query.list, true,
                                    winner.before));
    }
    if (tables.blocks != NO_RECORD) {
        winner.take(findInPathTable(tableAt(index, tables.blocks), index.paths,
                                    blockKeyOf(*query.url), false, winner.before));
    }
}

void findAtPlace(const PathIndex& index, uint32_t place, const PathQuery& query,
                 Winner& winner) noexcept {
    for (uint32_t cell = place;;) {
        const SectionHeader& header = headerAt(index, cell);
        if ((header.flags & query.admitted) != 0) {
            findInHeads(index, header, cell, query, winner);
            if ((header.flags & SECTION_HAS_TABLES) != 0) {
                findInTables(index, tablesAt(index, cell + 1), query, winner);
            }
        }
        if ((header.flags & SECTION_HAS_NEXT) == 0) {
            return;
        }
        cell = sectionAfter(header, cell);
    }
}

// Whether a name with few bytes, or with more than most have, is that of a front. One that does not fit is in the cells.
bool isRareName(const PathIndex& index, const HostFront& front, const Text& host) noexcept {
    const char* name = host.length <= FRONT_TEXT
                           ? front.text
                           : textOf(index, headerAt(index, front.place), front.place);
    return std::memcmp(name, host.text, host.length) == 0;
}

static_assert(FOUR_WORDS <= FRONT_TEXT);

// Says of a rank whether it is that of a host. Both lines of a front are on their way before the first comparison whose
// outcome nobody foresees.
auto isFrontOf(const PathIndex& index, const Text& host) noexcept {
    return [&index, &host](size_t rank) noexcept {
        const HostFront& front = index.fronts[rank];
        __builtin_prefetch(&front.entry);
        return front.hostLength == host.length &&
               (hasFourWords(host.length) ? isSameInFourWords(front.text, host.text, host.length)
                                          : isRareName(index, front, host));
    };
}

[[gnu::noinline]] const HostFront* searchFront(const PathIndex& index, HostProbe probe,
                                               const Text& host) noexcept {
    const uint32_t rank = searchFlatHost(probe, isFrontOf(index, host)).rank;
    return rank == NO_RECORD ? nullptr : index.fronts + rank;
}

// Null when the host has no rule of its own.
const HostFront* findFront(const PathIndex& index, const Text& host) noexcept {
    if (index.fronts == nullptr) {
        return nullptr;
    }
    const HostProbe probe = probeOf(index.hosts, host.text, host.length);
    return tryFlatHost(
        probe, isFrontOf(index, host),
        [&](size_t rank) noexcept -> const HostFront* { return index.fronts + rank; },
        []() noexcept -> const HostFront* { return nullptr; },
        [&]() noexcept { return searchFront(index, probe, host); });
}

// Whether the one rule of a front covers the key. The bytes of its prefix that are not in the front are its entry's.
bool coversInFront(const HostFront& front, const PathKey& key) noexcept {
    const UrlPathEntry& entry = front.entry;
    const uint32_t length = front.pathLength;
    return entry.prefixLength <= key.length &&
           std::memcmp(front.text + front.hostLength, key.path, length) == 0 &&
           (length == entry.prefixLength || std::memcmp(entry.path + length, key.path + length,
                                                        entry.prefixLength - length) == 0) &&
           endsAtSeparator(entry, key) && hasPort(entry, key) && hasTail(entry, key);
}

[[gnu::noinline]] const UrlPathEntry* findInPlaces(const PathIndex& index, const HostFront* front,
                                                   const FlatNames* wildcardHosts,
                                                   const UrlMatchKey& key) noexcept {
    const PathQuery query = makeQuery(key);
    Winner winner{nullptr, UINT32_MAX};
    uint32_t place = NO_RECORD;
    if (front != nullptr) {
        if ((front->flags & FRONT_ONE_RULE) == 0) {
            findAtPlace(index, front->place, query, winner);
        } else if ((front->flags & query.admitted) != 0 && coversInFront(*front, query.list)) {
            winner.take(&front->entry);
        }
        place = front->earliestAbove < winner.before ? front->above : NO_RECORD;
    } else if (wildcardHosts != nullptr) {
        place = findFlatName(*wildcardHosts, key.host.text, key.host.length);
    }
    while (place != NO_RECORD) {
        findAtPlace(index, place, query, winner);
        const SectionHeader& header = headerAt(index, place);
        place = header.earliestAbove < winner.before ? header.above : NO_RECORD;
    }
    if (index.anyHost != NO_RECORD) {
        findAtPlace(index, index.anyHost, query, winner);
    }
    return winner.entry;
}

// Building.

PathHead makeHead(const UrlPathEntry& entry) noexcept {
    const auto has = [&entry](uint16_t port) noexcept {
        return entry.portLow <= port && port <= entry.portHigh;
    };
    const uint32_t firstLength = std::min(entry.prefixLength, TEXT_WORD);
    const bool asksEntry = hasTailText(entry) || entry.prefixLength > TEXT_WORD + LONGEST_REST;
    PathHead head{};
    head.ruleIndex = entry.ruleIndex;
    head.prefixLength = static_cast<uint16_t>(entry.prefixLength);
    head.skippedBits = static_cast<uint8_t>(8 * (TEXT_WORD - firstLength));
    head.flags = static_cast<uint8_t>(
        (entry.plainPath != 0 ? HEAD_PLAIN : 0) | (has(HTTP_PORT) ? HEAD_PORT_80 : 0) |
        (has(HTTPS_PORT) ? HEAD_PORT_443 : 0) | (asksEntry ? HEAD_ASKS_ENTRY : 0));
    head.firstBytes = firstWord(entry.path, entry.prefixLength);
    return head;
}

uint32_t countBlockEntries(const UrlHostNode& node) noexcept {
    uint32_t count = 0;
    for (const UrlPathBlock* block = node.pathBlocks; block != nullptr; block = block->next) {
        count += static_cast<uint32_t>(block->count);
    }
    return count;
}

bool hasListTable(const UrlHostNode& node) noexcept {
    return node.pathCount >= CROWDED_LIST;
}

uint32_t countTextCells(const UrlHostNode& node, uint32_t hostLength) noexcept {
    uint32_t length = hostLength;
    if (!hasListTable(node)) {
        for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
            length += restLength(entry->prefixLength);
        }
    }
    return static_cast<uint32_t>((length + sizeof(PathCell) - 1) / sizeof(PathCell));
}

// The cells of a section without its tables.
uint32_t countSectionCells(const UrlHostNode& node, uint32_t hostLength) noexcept {
    const bool hasTables = hasListTable(node) || node.pathBlocks != nullptr;
    return 1U + (hasTables ? 1U : 0U) + (hasListTable(node) ? 0U : node.pathCount) +
           countTextCells(node, hostLength);
}

uint64_t tableCells(uint32_t entryCount) noexcept {
    return entryCount == 0 ? 0
                           : (pathTableSize(entryCount) + sizeof(PathCell) - 1) / sizeof(PathCell);
}

// The cells that the tables of a node take at most.
uint64_t countTableCells(const UrlHostNode& node) noexcept {
    return tableCells(hasListTable(node) ? node.pathCount : 0) +
           tableCells(countBlockEntries(node));
}

// Where a place of some cells begins, when what is before it ends at a cell: it is in as few lines as it may be.
uint64_t placeAfter(uint64_t cell, uint32_t cells) noexcept {
    const uint64_t inLine = cell % LINE_CELLS;
    const uint64_t lineEnd = (uint64_t{cells} + LINE_CELLS - 1) / LINE_CELLS * LINE_CELLS;
    return inLine + cells > lineEnd ? cell - inLine + LINE_CELLS : cell;
}

// The nodes of a place, and its name where it is asked for.
struct PlaceParts {
    const UrlHostNode* first;
    const UrlHostNode* second;  // null for one
    uint32_t hostLength;
};

uint32_t countPlaceCells(const PlaceParts& parts) noexcept {
    return countSectionCells(*parts.first, parts.hostLength) +
           (parts.second == nullptr ? 0 : countSectionCells(*parts.second, 0));
}

constexpr uint32_t NOT_FIRST = NO_RECORD - 1;

uint32_t countIn(const HashTable* table) noexcept {
    return table == nullptr ? 0 : table->elementCount;
}

uint32_t countChain(UrlHostNode* head) noexcept {
    uint32_t count = 0;
    for (auto block = firstBlock(head); block.first != nullptr; block = nextBlock(block)) {
        count += block.count;
    }
    return count;
}

// The scheme of a node, which the node of any host has, too, although nobody asks for it.
uint8_t schemeOf(const UrlHostNode& node) noexcept {
    return node.schemeLength != 0 ? SECTION_HTTPS : SECTION_NO_SCHEME;
}

// A name that does not fit into the front of its place is in the section.
uint32_t lengthInSection(uint32_t hostLength) noexcept {
    return hostLength <= FRONT_TEXT ? 0 : hostLength;
}

// The first step: which nodes have a place, and the ranks of exact hosts.
class HostRanking {
public:
    HostRanking(const UrlIndex& index, uint32_t* places) noexcept
        : index_(index),
          nodes_(index.records.nodes),
          places_(places),
          exactCount_(countIn(index.exactHosts)),
          nodeCount_(exactCount_ + countIn(index.wildcardHosts)) {}

    PathIndex* build() noexcept {
        OwnedPathIndex result(allocateRecord<PathIndex>());
        if (!result || !pairNodes()) {
            return nullptr;
        }
        result->anyHost = NO_RECORD;
        const auto count = static_cast<uint32_t>(
            exactCount_ - std::count(places_, places_ + exactCount_, NOT_FIRST));
        const bool isRanked =
            count == 0 || buildHostPlaces(result->hosts, count, [this](const auto& add) noexcept {
                for (uint32_t i = 0; i < exactCount_; ++i) {
                    prefetchHost(i);
                    if (places_[i] != NOT_FIRST) {
                        add(nodes_[i].host, nodes_[i].hostLength, i);
                    }
                }
            });
        return isRanked ? result.release() : nullptr;
    }

private:
    // The nodes are by bucket, their texts in rule order: each would be waited for.
    void prefetchHost(uint32_t node) const noexcept {
        constexpr uint32_t AHEAD = 8;
        if (node + AHEAD < exactCount_) {
            __builtin_prefetch(nodes_[node + AHEAD].host);
        }
    }

    // Finds the nodes that have their host in common, those of the two schemes.
    bool pairNodes() noexcept {
        std::fill_n(places_, nodeCount_, NO_RECORD);
        const auto httpsCount =
            std::count_if(nodes_, nodes_ + nodeCount_,
                          [](const UrlHostNode& node) noexcept { return node.schemeLength != 0; });
        if (httpsCount == 0 || httpsCount == nodeCount_) {
            return true;
        }
        const OwnedMemory<uint32_t[]> order(allocateArray<uint32_t>(nodeCount_));
        if (!order) {
            return false;
        }
        for (const HashTable* table : {index_.exactHosts, index_.wildcardHosts}) {
            forEachBucket(table, [&](const HashBucket& bucket) noexcept {
                pairBucket(static_cast<UrlHostNode*>(bucket.chain), order.get());
            });
        }
        return true;
    }

    // The nodes of a bucket are side by side, from its head on.
    void pairBucket(UrlHostNode* head, uint32_t* order) const noexcept {
        const uint32_t count = countChain(head);
        for (uint32_t i = 0; i < count; ++i) {
            order[i] = static_cast<uint32_t>(head - nodes_) + i;
        }
        std::sort(order, order + count, [this](uint32_t left, uint32_t right) noexcept {
            return compareHashedNames(hostOf(nodes_[left]), hostOf(nodes_[right])) < 0;
        });
        for (uint32_t i = 1; i < count; ++i) {
            if (compareHashedNames(hostOf(nodes_[order[i - 1]]), hostOf(nodes_[order[i]])) == 0) {
                places_[order[i - 1]] = order[i];
                places_[order[i]] = NOT_FIRST;
            }
        }
    }

    const UrlIndex& index_;
    const UrlHostNode* nodes_;
    uint32_t* places_;
    uint32_t exactCount_;
    uint32_t nodeCount_;
};

// The last step: the places.
class PathIndexBuild {
public:
    PathIndexBuild(const UrlIndex& index, PathIndex& result, uint32_t* places) noexcept
        : index_(index),
          nodes_(index.records.nodes),
          places_(places),
          exactCount_(countIn(index.exactHosts)),
          nodeCount_(exactCount_ + countIn(index.wildcardHosts)),
          result_(&result) {}

    bool build() noexcept {
        result_->paths = index_.records.paths;
        if (!allocateCells()) {
            return false;
        }
        if (index_.anyHost != nullptr) {
            result_->anyHost = addPlace(anyHostParts());
        }
        for (uint32_t node = 0; node < nodeCount_; ++node) {
            prefetchPaths(node);
            places_[node] = hasCells(node) ? addPlace(partsAt(node)) : NO_RECORD;
        }
        for (uint32_t rank = 0; rank < countHosts(result_->hosts); ++rank) {
            HostFront& front = result_->fronts[rank];
            front.place = places_[numberOfRank(result_->hosts, rank)];
            if (front.place == NO_RECORD) {
                front.flags |= FRONT_ONE_RULE | (index_.anyHost == nullptr ? FRONT_ALONE : 0U);
            }
        }
        return true;
    }

private:
    // Whether a place is more than a front. No lookup finds a longer host.
    bool hasCells(uint32_t node) const noexcept {
        const UrlHostNode& host = nodes_[node];
        if (places_[node] == NOT_FIRST || host.hostLength > MAX_HOST_LENGTH) {
            return false;
        }
        const bool isInFront = node < exactCount_ && places_[node] == NO_RECORD &&
                               host.hostLength <= FRONT_TEXT && hasOneEntry(host);
        return !isInFront;
    }

    PlaceParts anyHostParts() const noexcept { return {index_.anyHost, nullptr, 0}; }

    PlaceParts partsAt(uint32_t node) const noexcept {
        const uint32_t other = places_[node];
        return {nodes_ + node, other == NO_RECORD ? nullptr : nodes_ + other,
                node < exactCount_ ? lengthInSection(nodes_[node].hostLength) : 0};
    }

    // The tables come after all places. A line is free at the end: a lookup fetches the one after a place.
    bool allocateCells() noexcept {
        uint64_t places = 0;
        uint64_t tables = 0;
        uint32_t largestTable = 0;
        const auto count = [&](const PlaceParts& parts) noexcept {
            const uint32_t cells = countPlaceCells(parts);
            places = placeAfter(places, cells) + cells;
            for (const UrlHostNode* node : {parts.first, parts.second}) {
                if (node != nullptr) {
                    tables += countTableCells(*node);
                    largestTable =
                        std::max({largestTable, node->pathCount, countBlockEntries(*node)});
                }
            }
        };
        if (index_.anyHost != nullptr) {
            count(anyHostParts());
        }
        for (uint32_t node = 0; node < nodeCount_; ++node) {
            prefetchPaths(node);
            if (hasCells(node)) {
                count(partsAt(node));
            }
        }
        if (places + tables >= NOT_FIRST) {
            return false;
        }
        nextTable_ = static_cast<uint32_t>(places);
        result_->cells = allocateLines<PathCell>(places + tables + LINE_CELLS);
        items_.reset(tables == 0 ? nullptr : allocateArray<PathItem>(largestTable));
        return result_->cells != nullptr && (tables == 0 || items_ != nullptr);
    }

    // The nodes lie by bucket, their paths in rule order: each would be waited for.
    void prefetchPaths(uint32_t node) const noexcept {
        constexpr uint32_t AHEAD = 8;
        if (node + 2 * AHEAD < nodeCount_) {
            __builtin_prefetch(nodes_[node + 2 * AHEAD].paths);
        }
        if (node + AHEAD < nodeCount_ && nodes_[node + AHEAD].paths != nullptr) {
            __builtin_prefetch(nodes_[node + AHEAD].paths->path);
        }
    }

    uint32_t addPlace(const PlaceParts& parts) noexcept {
        const auto place = static_cast<uint32_t>(placeAfter(nextCell_, countPlaceCells(parts)));
        nextCell_ = place;
        addSection(*parts.first, parts.hostLength, parts.second == nullptr ? 0U : SECTION_HAS_NEXT);
        if (parts.second != nullptr) {
            addSection(*parts.second, 0, 0U);
        }
        return place;
    }

    void addSection(const UrlHostNode& node, uint32_t hostLength, uint32_t flags) noexcept {
        const bool hasTables = hasListTable(node) || node.pathBlocks != nullptr;
        const bool hasHeads = node.pathCount != 0 && !hasListTable(node);
        flags |= sectionSchemeOf(node) | (hasTables ? SECTION_HAS_TABLES : 0U);
        SectionHeader& header = headerAt(*result_, nextCell_);
        header = {NO_RECORD,
                  UINT32_MAX,
                  hasHeads ? placeOf(*node.paths) : 0,
                  static_cast<uint8_t>(hasHeads ? node.pathCount : 0),
                  static_cast<uint8_t>(flags),
                  static_cast<uint8_t>(hostLength),
                  static_cast<uint8_t>(countTextCells(node, hostLength))};
        if (hasTables) {
            addTables(node, tablesAt(*result_, nextCell_ + 1));
        }
        char* text = const_cast<char*>(textOf(*result_, header, nextCell_));
        text = std::copy_n(node.host, hostLength, text);
        if (hasHeads) {
            addHeads(node, headsAt(*result_, headsOf(header, nextCell_)), text);
        }
        nextCell_ = sectionAfter(header, nextCell_);
    }

    uint32_t sectionSchemeOf(const UrlHostNode& node) const noexcept {
        return &node == index_.anyHost ? SECTION_ANY_SCHEME : schemeOf(node);
    }

    uint32_t placeOf(const UrlPathEntry& entry) const noexcept {
        return static_cast<uint32_t>(reinterpret_cast<const UrlPathWord*>(&entry) - result_->paths);
    }

    // A list runs from the newest rule to the oldest.
    static void addHeads(const UrlHostNode& node, PathHead* heads, char* rest) noexcept {
        const UrlPathEntry* entries[CROWDED_LIST];
        uint32_t count = 0;
        for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
            entries[count++] = entry;
        }
        while (count-- > 0) {
            const UrlPathEntry& entry = *entries[count];
            const uint32_t length = restLength(entry.prefixLength);
            *heads++ = makeHead(entry);
            rest = std::copy_n(entry.path + entry.prefixLength - length, length, rest);
        }
    }

    void addTables(const UrlHostNode& node, SectionTables& tables) noexcept {
        tables = {NO_RECORD, NO_RECORD, UINT32_MAX, 0};
        if (hasListTable(node)) {
            uint32_t count = 0;
            for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
                items_[count++] = {0, placeOf(*entry)};
            }
            tables.list = addTable(count, true, tables.earliest);
        }
        uint32_t count = 0;
        for (const UrlPathBlock* block = node.pathBlocks; block != nullptr; block = block->next) {
            for (int32_t i = 0; i < block->count; ++i) {
                items_[count++] = {0, placeOf(entriesOf(block)[i])};
            }
        }
        if (count != 0) {
            tables.blocks = addTable(count, false, tables.earliest);
        }
    }

    uint32_t addTable(uint32_t count, bool isList, uint32_t& earliest) noexcept {
        const uint32_t cell = nextTable_;
        PathTable& table = tableAt(*result_, cell);
        const size_t size = buildPathTable(table, result_->paths, items_.get(), count, isList);
        nextTable_ += static_cast<uint32_t>((size + sizeof(PathCell) - 1) / sizeof(PathCell));
        earliest = std::min(earliest, table.earliest);
        return cell;
    }

    const UrlIndex& index_;
    const UrlHostNode* nodes_;
    uint32_t* places_;
    uint32_t exactCount_;
    uint32_t nodeCount_;
    uint32_t nextCell_ = 0;
    uint32_t nextTable_ = 0;
    PathIndex* result_;
    OwnedMemory<PathItem[]> items_;  // room for the largest table
};

// The second step: the fronts, which take the entries of hosts with one rule.
void prefetchFront(const HostPlaces& hosts, const UrlHostNode* nodes, uint32_t rank,
                   uint32_t count) noexcept {
    constexpr uint32_t AHEAD = 8;
    if (rank + 3 * AHEAD < count) {
        __builtin_prefetch(nodes + numberOfRank(hosts, rank + 3 * AHEAD));
    }
    if (rank + 2 * AHEAD < count) {
        const UrlHostNode& node = nodes[numberOfRank(hosts, rank + 2 * AHEAD)];
        __builtin_prefetch(node.paths);
        __builtin_prefetch(node.host);
    }
    if (rank + AHEAD < count) {
        const UrlPathEntry* entry = nodes[numberOfRank(hosts, rank + AHEAD)].paths;
        if (entry != nullptr) {
            __builtin_prefetch(entry->path);
        }
    }
}

void fillFront(HostFront& front, UrlHostNode& node) noexcept {
    front.above = NO_RECORD;
    front.earliestAbove = UINT32_MAX;
    front.hostLength = static_cast<uint8_t>(node.hostLength);
    front.flags = schemeOf(node);
    const uint32_t hostLength = std::min(node.hostLength, FRONT_TEXT);
    char* text = std::copy_n(node.host, hostLength, front.text);
    if (hasOneEntry(node)) {
        front.entry = *node.paths;
        front.pathLength =
            static_cast<uint16_t>(std::min(front.entry.prefixLength, FRONT_TEXT - hostLength));
        std::copy_n(front.entry.path, front.pathLength, text);
        node.paths = &front.entry;
    }
}

uint32_t earliestOfPlace(const PathIndex& index, uint32_t place) noexcept {
    uint32_t earliest = headerAt(index, place).earliestAbove;
    for (uint32_t cell = place;;) {
        const SectionHeader& header = headerAt(index, cell);
        if ((header.flags & SECTION_HAS_TABLES) != 0) {
            earliest = std::min(earliest, tablesAt(index, cell + 1).earliest);
        }
        if (header.headCount != 0) {
            earliest = std::min(earliest, headsAt(index, headsOf(header, cell))->ruleIndex);
        }
        if ((header.flags & SECTION_HAS_NEXT) == 0) {
            return earliest;
        }
        cell = sectionAfter(header, cell);
    }
}

}  // namespace

PathIndex* startPathIndex(const UrlIndex& index, uint32_t* places) noexcept {
    return HostRanking(index, places).build();
}

bool hasOneEntry(const UrlHostNode& node) noexcept {
    return node.pathCount == 1 && node.pathBlocks == nullptr;
}

void fillFronts(PathIndex& index, UrlHostNode* nodes, UrlPathWord* words) noexcept {
    const uint32_t count = countHosts(index.hosts);
    index.fronts = count == 0 ? nullptr : reinterpret_cast<HostFront*>(words);
    for (uint32_t rank = 0; rank < count; ++rank) {
        prefetchFront(index.hosts, nodes, rank, count);
        fillFront(index.fronts[rank], nodes[numberOfRank(index.hosts, rank)]);
    }
}

bool isInFront(const PathIndex& index, const UrlHostNode& node) noexcept {
    constexpr std::less<const void*> IS_BEFORE;
    return node.paths != nullptr && !IS_BEFORE(node.paths, index.fronts) &&
           IS_BEFORE(node.paths, index.fronts + countHosts(index.hosts));
}

bool finishPathIndex(PathIndex& result, const UrlIndex& index, uint32_t* places) noexcept {
    return PathIndexBuild(index, result, places).build();
}

void linkHost(PathIndex& index, uint32_t rank, uint32_t above) noexcept {
    HostFront& front = index.fronts[rank];
    front.above = above;
    front.earliestAbove = earliestOfPlace(index, above);
    front.flags &= static_cast<uint8_t>(~FRONT_ALONE);
}

void linkPlace(PathIndex& index, uint32_t place, uint32_t above) noexcept {
    SectionHeader& header = headerAt(index, place);
    header.above = above;
    header.earliestAbove = earliestOfPlace(index, above);
}

const UrlPathEntry* findPath(const PathIndex& index, const FlatNames* wildcardHosts,
                             const UrlMatchKey& key) noexcept {
    const HostFront* front = findFront(index, key.host);
    if (front != nullptr && (front->flags & FRONT_ALONE) != 0) {
        return (front->flags & admittedSections(key)) != 0 && coversInFront(*front, listKeyOf(key))
                   ? &front->entry
                   : nullptr;
    }
    if (front == nullptr && wildcardHosts == nullptr && index.anyHost == NO_RECORD) {
        return nullptr;
    }
    return findInPlaces(index, front, wildcardHosts, key);
}

FrontAhead prefetchHost(const PathIndex& index, Text host) noexcept {
    if (index.fronts == nullptr) {
        return {};
    }
    const HostProbe probe = probeOf(index.hosts, host.text, host.length);
    prefetchHostBucket(probe);
    return {probe};
}

void prefetchFront(const PathIndex& index, const FrontAhead& ahead) noexcept {
    const uint32_t candidates =
        ahead.probe.bucket == nullptr ? 0 : hostCandidates(*ahead.probe.bucket, ahead.probe.tag);
    if (candidates != 0) {
        const HostFront* front =
            index.fronts + firstHostCandidate(ahead.probe.bucket->firstRank, candidates);
        __builtin_prefetch(front);
        __builtin_prefetch(&front->entry);
    }
}

void freePathIndex(PathIndex* index) noexcept {
    if (index != nullptr) {
        freeHostPlaces(index->hosts);
        freeLines(index->cells);
        freeMemory(index);
    }
}

}  // namespace rs
