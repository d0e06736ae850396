// URLs and URL rules done the slow way: what the library must answer, written for clarity and
// sharing no code with it.
//
//     rule texts --add--> a vector of rules --find--> the first rule of the vector that covers
#pragma once

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "support/reference_host.h"

namespace rs::test {

struct SplitUrl {
    std::optional<std::string> scheme;    // with "://"; or "//"
    std::optional<std::string> userInfo;  // with '@'
    std::optional<std::string> host;      // never empty
    std::optional<std::string> portText;  // ':' and digits
    std::optional<std::string> rest;      // from its '/', '?' or '#' on
    uint32_t port = 0;
    std::optional<size_t> portColon;  // where the port colon stands, with a valid port or without
};

SplitUrl splitUrlText(std::string_view text);

// A bracketed IPv6 literal in its canonical form.
Outcome ipLiteralHost(std::string_view host);

// A path with query and fragment.
Outcome urlPath(std::string_view rest, bool keepCase);

// What rs_normalize_URL answers when its buffers have these capacities.
struct UrlCapacities {
    size_t scheme;
    size_t host;
    size_t path;
};

struct NormalizedFields {
    int32_t status;
    uint8_t shortField = 0;  // with RULE_ERR_BUFFER_SMALL; all others with RULE_OK
    std::string scheme;
    std::string host;
    std::string path;
    uint32_t port = 0;
};

NormalizedFields normalizeUrlText(std::string_view text, bool keepCase,
                                  const UrlCapacities& capacities, bool ipv6Enabled = true);

struct UrlRuleForm {
    int32_t status;
    std::string scheme;  // "https", or empty
    std::string host;    // as stored, "*." included
    bool isWildcardHost = false;
    std::string path;  // empty without one
    size_t wildcardOffset = 0;
    uint32_t portLow = 0;
    uint32_t portHigh = 0;

    std::string stored() const { return scheme + host + path; }
};

UrlRuleForm readUrlRule(std::string_view text, size_t capacity, bool ipv6Enabled = true);

struct UrlKey {
    int32_t status;
    std::string scheme;  // with "://"; empty for "//"
    std::string userInfo;
    std::string host;
    std::string portText;
    std::string path;
};

UrlKey readUrlKey(std::string_view url, size_t capacity);

// With the room that lookups give it.
UrlKey readUrlKey(std::string_view url);

struct ReferenceUrlRule {
    enum class Kind { EXACT, WILDCARD, ANY, NONE };  // NONE enters no table

    Kind kind;
    bool isHttps;
    std::string host;    // without "*."
    std::string prefix;  // of the path, up to its '*'
    std::optional<std::string> behindWildcard;
    bool isPlain;  // covers its path and what goes on behind it with '/', '?' or '#'
    uint32_t portLow;
    uint32_t portHigh;
    uint32_t ruleIndex;
    uint32_t ruleValue;
    uint32_t ruleId;
    void* userData;
};

struct UrlAnswer {
    int32_t status;                  // 1, 0 or an error
    const ReferenceUrlRule* winner;  // with status 1
};

class ReferenceUrlRules {
public:
    // The status of adding the text; without RULE_OK nothing is added.
    int32_t add(std::string_view text, uint32_t ruleValue, uint32_t ruleId, void* userData);

    // Walks the rules one by one.
    UrlAnswer find(std::string_view url) const;
    // The same answer by way of an index of the hosts, for large sets.
    UrlAnswer findByIndex(std::string_view url) const;

    // A build hands no userData back; the deletion of a group does, in no order.
    static std::vector<void*> handedBackAtBuild() { return {}; }
    std::vector<void*> handedBackAtDelete() const;

    const std::vector<ReferenceUrlRule>& rules() const { return rules_; }

    // How many rules stand in blocks of long paths, where they cover more than elsewhere.
    size_t countOfRulesInBlocks() const;

private:
    // The rules of one host node.
    struct Node {
        std::vector<size_t> positions;
        size_t longPaths = 0;
    };

    static std::string nodeNameOf(const ReferenceUrlRule& rule);
    bool isInBlock(const ReferenceUrlRule& rule) const;
    bool covers(const ReferenceUrlRule& rule, const UrlKey& key) const;
    bool coversPath(const ReferenceUrlRule& rule, const UrlKey& key) const;

    std::vector<ReferenceUrlRule> rules_;
    std::unordered_map<std::string, Node> nodes_;
};

}  // namespace rs::test
