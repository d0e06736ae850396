#include "support/flat_checks_url.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "lookup/chain_blocks.h"
#include "support/text.h"
#include "url/url_match.h"

namespace rs::test {

namespace {

// Each is checked with some forty URLs, and the ordered structures are slow where hosts are crowded.
constexpr size_t MOST_CHECKED = 25;

struct StoredPath {
    const UrlHostNode* node;
    const UrlPathEntry* entry;
};

void addPathsOf(const UrlHostNode& node, std::vector<StoredPath>& paths) {
    for (const UrlPathEntry* entry = node.paths; entry != nullptr; entry = entry->next) {
        paths.push_back({&node, entry});
    }
    for (const UrlPathBlock* block = node.pathBlocks; block != nullptr; block = block->next) {
        for (int32_t i = 0; i < block->count; ++i) {
            paths.push_back({&node, entriesOf(block) + i});
        }
    }
}

std::vector<StoredPath> pathsOf(const UrlIndex& index) {
    std::vector<StoredPath> paths;
    if (index.anyHost != nullptr) {
        addPathsOf(*index.anyHost, paths);
    }
    for (const HashTable* table : {index.exactHosts, index.wildcardHosts}) {
        forEachBucket(table, [&paths](const HashBucket& bucket) noexcept {
            for (auto block = firstBlock(static_cast<const UrlHostNode*>(bucket.chain));
                 block.first != nullptr; block = nextBlock(block)) {
                for (uint32_t i = 0; i < block.count; ++i) {
                    addPathsOf(block.first[i], paths);
                }
            }
        });
    }
    return paths;
}

struct Url {
    std::string scheme;
    std::string host;
    std::string path;
    uint16_t port;
};

void checkUrl(const UrlIndex& index, const Url& url) {
    const ExactText scheme(url.scheme);
    const ExactText host(url.host);
    const ExactText path(url.path);
    UrlMatchKey key{};
    key.scheme = {scheme.data(), scheme.size()};
    key.host = {host.data(), host.size()};
    key.path = {path.data(), path.size()};
    key.port = url.port;
    EXPECT_EQ(findUrlOrdered(index, key), findUrlFlat(index, key))
        << url.scheme << ' ' << ::testing::PrintToString(url.host) << ' ' << url.port << ' '
        << ::testing::PrintToString(url.path);
}

// The rule's own URL first, then others that differ from it in one piece.
void checkNear(const UrlIndex& index, const StoredPath& stored) {
    const std::string host(stored.node->host, stored.node->hostLength);
    const std::string scheme = stored.node->schemeLength == 0 ? "" : "https://";
    const std::string path(stored.entry->path, stored.entry->pathLength);
    const std::string prefix = path.substr(0, stored.entry->prefixLength);
    const uint16_t port = stored.entry->portLow;
    for (const std::string& near :
         {host, "x." + host, "y.x." + host, "." + host, "x.." + host, host + ".", host.substr(1)}) {
        checkUrl(index, {scheme, near, path, port});
    }
    for (const std::string& near :
         {prefix, prefix + "/x", prefix + "x", prefix + '\0', prefix + "#" + path,
          prefix + path.substr(prefix.size() == path.size() ? prefix.size() : prefix.size() + 1),
          prefix.substr(0, prefix.size() - 1), prefix.substr(0, prefix.size() - 1) + "\xFF",
          std::string(), std::string("/")}) {
        checkUrl(index, {scheme, host, near, port});
        checkUrl(index, {scheme, "x." + host, near, port});
    }
    for (const char* const other : {"", "https://", "http://", "ldaps://"}) {
        for (const uint16_t otherPort :
             {uint16_t{0}, uint16_t{80}, uint16_t{443}, stored.entry->portHigh}) {
            checkUrl(index, {other, host, path, otherPort});
        }
    }
}

}  // namespace

void checkFlatUrls(const UrlIndex& index) {
    if (index.pathIndex == nullptr) {
        return;
    }
    const std::vector<StoredPath> paths = pathsOf(index);
    const size_t step = paths.size() / MOST_CHECKED + 1;
    for (size_t i = paths.size() % step; i < paths.size() && !::testing::Test::HasFailure();
         i += step) {
        checkNear(index, paths[i]);
    }
}

}  // namespace rs::test
