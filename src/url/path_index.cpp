#include "url/path_index.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

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
    uint8_t hostLength;  // of the host's name; 0 where nobody asks for it
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

PathQuery makeQuery(const UrlMatchKey& key) noexcept {
    const bool https = isHttps(key);
    PathQuery query{pathKeyOf(key, https ? HTTPS_PORT : HTTP_PORT), 0, 0, SECTION_ANY_SCHEME, &key};
    query.firstBytes = firstWord(query.list.path, query.list.length);
    if (query.list.port == HTTP_PORT) {
        query.portFlag = HEAD_PORT_80;
    } else if (query.list.port == HTTPS_PORT) {
        query.portFlag = HEAD_PORT_443;
    }
    if (key.scheme.length != HTTPS_SCHEME_LENGTH) {
        query.admitted |= SECTION_NO_SCHEME;
    } else if (https) {
        query.admitted |= SECTION_HTTPS;
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

uint32_t findHost(const PathIndex& index, const Text& host) noexcept {
    return findHostPlace(index.hosts, host.text, host.length, [&](uint32_t place) noexcept {
        // Most places end in the line after this one; what is reported is at the entry. Both are on their way
        // before the first comparison whose outcome nobody foresees.
        __builtin_prefetch(index.cells + place + LINE_CELLS);
        const SectionHeader& header = headerAt(index, place);
        __builtin_prefetch(index.paths + header.firstEntry);
        return header.hostLength == host.length &&
               std::memcmp(textOf(index, header, place), host.text, host.length) == 0;
    });
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

class PathIndexBuild {
public:
    // places says for each node which other one is in its place: NO_RECORD for none, NOT_FIRST for the
    // second one of a place. When the place is built, it gets the number of the place.
    PathIndexBuild(const UrlIndex& index, uint32_t* places) noexcept
        : index_(index),
          nodes_(index.records.nodes),
          places_(places),
          exactCount_(countIn(index.exactHosts)),
          nodeCount_(exactCount_ + countIn(index.wildcardHosts)) {}

    PathIndex* build() noexcept {
        result_.reset(allocateRecord<PathIndex>());
        if (!result_ || !pairNodes() || !allocateCells() ||
            (exactCount_ != 0 && !reserveHostPlaces(result_->hosts, exactCount_))) {
            return nullptr;
        }
        result_->paths = index_.records.paths;
        result_->anyHost = NO_RECORD;
        if (index_.anyHost != nullptr) {
            result_->anyHost = addPlace(anyHostParts());
        }
        for (uint32_t node = 0; node < nodeCount_; ++node) {
            prefetchPaths(node);
            places_[node] = isPlace(node) ? addPlace(partsAt(node)) : NO_RECORD;
            if (node < exactCount_ && places_[node] != NO_RECORD) {
                addHostPlace(result_->hosts, nodes_[node].host, nodes_[node].hostLength,
                             places_[node]);
            }
        }
        return result_.release();
    }

private:
    // No lookup finds a longer host.
    bool isPlace(uint32_t node) const noexcept {
        return places_[node] != NOT_FIRST && nodes_[node].hostLength <= MAX_HOST_LENGTH;
    }

    PlaceParts anyHostParts() const noexcept { return {index_.anyHost, nullptr, 0}; }

    PlaceParts partsAt(uint32_t node) const noexcept {
        const uint32_t other = places_[node];
        return {nodes_ + node, other == NO_RECORD ? nullptr : nodes_ + other,
                node < exactCount_ ? nodes_[node].hostLength : 0};
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
            if (isPlace(node)) {
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
        flags |= schemeOf(node) | (hasTables ? SECTION_HAS_TABLES : 0U);
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

    // The node of any host has the scheme of its first rule, and nobody asks for it.
    uint32_t schemeOf(const UrlHostNode& node) const noexcept {
        if (&node == index_.anyHost) {
            return SECTION_ANY_SCHEME;
        }
        return node.schemeLength != 0 ? SECTION_HTTPS : SECTION_NO_SCHEME;
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
    OwnedPathIndex result_;
    OwnedMemory<PathItem[]> items_;  // room for the largest table
};

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

PathIndex* buildPathIndex(const UrlIndex& index, uint32_t* places) noexcept {
    return PathIndexBuild(index, places).build();
}

void linkPlace(PathIndex& index, uint32_t place, uint32_t above) noexcept {
    SectionHeader& header = headerAt(index, place);
    header.above = above;
    header.earliestAbove = earliestOfPlace(index, above);
}

const UrlPathEntry* findPath(const PathIndex& index, const FlatNames* wildcardHosts,
                             const UrlMatchKey& key) noexcept {
    uint32_t place = findHost(index, key.host);
    if (place == NO_RECORD && wildcardHosts != nullptr) {
        place = findFlatName(*wildcardHosts, key.host.text, key.host.length);
    }
    if (place == NO_RECORD && index.anyHost == NO_RECORD) {
        return nullptr;
    }
    const PathQuery query = makeQuery(key);
    Winner winner{nullptr, UINT32_MAX};
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

void freePathIndex(PathIndex* index) noexcept {
    if (index != nullptr) {
        freeHostPlaces(index->hosts);
        freeLines(index->cells);
        freeMemory(index);
    }
}

}  // namespace rs
