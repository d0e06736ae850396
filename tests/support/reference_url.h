// Lookups of URLs done the slow way: what the library must answer, written for clarity and sharing no
// code with it.
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

#include "support/reference_url_text.h"

namespace rs::test {

struct ReferenceUrlRule {
    enum class Kind { EXACT, WILDCARD, ANY, NONE };  // NONE enters no table

    Kind kind;
    bool isHttps;
    std::string host;    // without "*."
    std::string prefix;  // of the path, up to its '*'
    std::optional<std::string> behindWildcard;
    bool isPlain;  // covers its path and what goes on after it with '/', '?' or '#'
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

    // A build gives no userData back; the deletion of a group does, in no order.
    static std::vector<void*> handedBackAtBuild() { return {}; }
    std::vector<void*> handedBackAtDelete() const;

    const std::vector<ReferenceUrlRule>& rules() const { return rules_; }

    // How many rules are in blocks of long paths, where they cover more than elsewhere.
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
