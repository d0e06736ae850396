#include "url/url_match.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/entry.h"
#include "domain/host_name.h"
#include "lookup/chain_blocks.h"
#include "url/path_index.h"
#include "url/path_key.h"

namespace rs {

namespace {

const UrlPathEntry* matchBlock(const UrlPathBlock& block, const PathKey& key) noexcept {
    const uint32_t keyLength = block.minPrefixLength;
    if (keyLength > key.length) {
        return nullptr;
    }
    // Every entry has keyLength bytes of prefix at least, so in prefix order those that share the
    // key's first keyLength bytes are neighbours.
    const UrlPathEntry* const end = entriesOf(&block) + block.count;
    const UrlPathEntry* entry =
        std::partition_point(entriesOf(&block), end, [&](const UrlPathEntry& stored) noexcept {
            return std::memcmp(stored.path, key.path, keyLength) < 0;
        });
    const UrlPathEntry* best = nullptr;
    for (; entry != end && std::memcmp(entry->path, key.path, keyLength) == 0; ++entry) {
        if (hasPrefix(*entry, key) && hasPort(*entry, key) && hasTail(*entry, key)) {
            best = earlier(best, entry);
        }
    }
    return best;
}

const UrlPathEntry* matchPaths(const UrlHostNode& node, const UrlMatchKey& key) noexcept {
    return earlier(matchPathList(node.paths, key), matchPathBlocks(node.pathBlocks, key));
}

struct HostKey {
    HashedName host;
    const UrlMatchKey* url;
};

// The earliest entry for a URL in a bucket: a host may be in it under both schemes.
void* matchHostBucket(HashBucket* bucket, uint32_t /*hash*/, const void* key) noexcept {
    const auto& hostKey = *static_cast<const HostKey*>(key);
    const UrlPathEntry* best = nullptr;
    for (auto block = firstBlock(static_cast<UrlHostNode*>(bucket->chain)); block.first != nullptr;
         block = nextBlock(block)) {
        if (!admitsScheme(block.first->schemeLength, *hostKey.url)) {
            continue;
        }
        const UrlHostNode* node = lowerBound(block, [&](const UrlHostNode& stored) noexcept {
            return compareHashedNames(hostOf(stored), hostKey.host);
        });
        if (node != nullptr && compareHashedNames(hostOf(*node), hostKey.host) == 0) {
            best = earlier(best, matchPaths(*node, *hostKey.url));
        }
    }
    return const_cast<UrlPathEntry*>(best);
}

// No rule's host is longer than MAX_HOST_LENGTH: suffixes that are need not be hashed.
const UrlPathEntry* matchHost(const HashTable* table, const char* host, uint32_t length,
                              const UrlMatchKey& key) noexcept {
    if (table == nullptr || length == 0 || length > MAX_HOST_LENGTH) {
        return nullptr;
    }
    const HostKey hostKey{{host, length, urlHostHash(host, length)}, &key};
    return static_cast<const UrlPathEntry*>(
        hashLookup(table, hostKey.host.hash, &hostKey, matchHostBucket));
}

// The earliest entry for any suffix of the host but the host itself.
const UrlPathEntry* matchSuffixes(const HashTable* table, const UrlMatchKey& key) noexcept {
    const UrlPathEntry* best = nullptr;
    std::string_view host(key.host.text, key.host.length);
    if (table == nullptr) {
        return best;
    }
    for (;;) {
        const size_t dot = host.find('.');
        if (dot == std::string_view::npos || dot + 1 == host.size()) {
            return best;
        }
        host.remove_prefix(dot + 1);
        best =
            earlier(best, matchHost(table, host.data(), static_cast<uint32_t>(host.size()), key));
    }
}

}  // namespace

const UrlPathEntry* matchPathList(const UrlPathEntry* firstEntry, const UrlMatchKey& key) noexcept {
    const PathKey pathKey = listKeyOf(key);
    const UrlPathEntry* best = nullptr;
    for (const UrlPathEntry* entry = firstEntry; entry != nullptr; entry = entry->next) {
        if (hasPrefix(*entry, pathKey) && endsAtSeparator(*entry, pathKey) &&
            hasPort(*entry, pathKey) && hasTail(*entry, pathKey)) {
            best = earlier(best, entry);
        }
    }
    return best;
}

const UrlPathEntry* matchPathBlocks(const UrlPathBlock* firstBlock,
                                    const UrlMatchKey& key) noexcept {
    const PathKey pathKey = blockKeyOf(key);
    const UrlPathEntry* best = nullptr;
    for (const UrlPathBlock* block = firstBlock; block != nullptr; block = block->next) {
        best = earlier(best, matchBlock(*block, pathKey));
    }
    return best;
}

const UrlPathEntry* findUrlOrdered(const UrlIndex& index, const UrlMatchKey& key) noexcept {
    const UrlPathEntry* best = matchHost(index.exactHosts, key.host.text, key.host.length, key);
    if (index.anyHost != nullptr) {
        best = earlier(best, matchPaths(*index.anyHost, key));
    }
    return earlier(best, matchSuffixes(index.wildcardHosts, key));
}

const UrlPathEntry* findUrlFlat(const UrlIndex& index, const UrlMatchKey& key) noexcept {
    return findPath(*index.pathIndex, index.hostNames, key);
}

int32_t lookupUrl(const UrlIndex& index, const UrlMatchKey& key, MatchResult& result) noexcept {
    result.ruleIndex = 0;
    return reportEntry(
        index.pathIndex != nullptr ? findUrlFlat(index, key) : findUrlOrdered(index, key), result);
}

int32_t matchUrl(const UrlIndex& index, const char* url, uint32_t length,
                 MatchResult& result) noexcept {
    char scratch[MAX_URL_SCRATCH];
    uint32_t capacity = urlScratchSize(length);
    UrlMatchKey key{};
    const int32_t status = parseUrlForMatch(url, length, scratch, &capacity, &key);
    return status == RULE_OK ? lookupUrl(index, key, result) : status;
}

}  // namespace rs
