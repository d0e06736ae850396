#include "url/url_rule.h"

#include <ruleset.h>

#include <algorithm>
#include <string_view>

#include "core/library_option.h"
#include "core/text_rule.h"
#include "syntax/ascii.h"
#include "syntax/ip_range.h"
#include "syntax/text.h"
#include "url/ip_literal_host.h"
#include "url/url_path.h"

namespace rs {

namespace {

constexpr std::string_view HTTPS = "https";

// The rule being written: [scheme][host][path], one behind the other.
struct RuleWriter {
    char* out;
    uint32_t capacity;
    UrlRuleText& record;
    uint32_t length = 0;

    [[nodiscard]] char* end() const noexcept { return out + length; }
    [[nodiscard]] uint32_t room() const noexcept { return capacity - length; }
};

// Whether the scheme begins with a name of lower-case letters, in any letter case.
bool startsWithName(const UrlPiece& scheme, std::string_view name) noexcept {
    return std::equal(name.begin(), name.end(), scheme.text,
                      [](char left, char right) noexcept { return left == lowerAscii(right); });
}

int32_t writeScheme(const UrlPiece& scheme, RuleWriter& writer) noexcept {
    switch (scheme.length) {
        case 0:
        case 2:  // "//"
            return RULE_OK;
        case 3:  // "://"
            return RULE_ERR_BAD_RULE;
        case 7:
            return startsWithName(scheme, "http") ? RULE_OK : RULE_ERR_BAD_SCHEME;
        case 8:
            break;
        default:
            return RULE_ERR_BAD_SCHEME;
    }
    if (!startsWithName(scheme, HTTPS)) {
        return RULE_ERR_BAD_SCHEME;
    }
    if (writer.room() < HTTPS.size()) {
        return RULE_ERR_BUFFER_SMALL;
    }
    std::copy(HTTPS.begin(), HTTPS.end(), writer.end());
    writer.record.scheme = {writer.end(), static_cast<uint32_t>(HTTPS.size())};
    writer.length += static_cast<uint32_t>(HTTPS.size());
    return RULE_OK;
}

// Fills the port range; a ":*" is cut off the host.
int32_t readPorts(const UrlParts& parts, const char* portColon, UrlPiece& host,
                  UrlRuleText& record) noexcept {
    if (parts.port != 0) {
        record.portLow = static_cast<uint16_t>(parts.port);
        record.portHigh = record.portLow;
        return RULE_OK;
    }
    if (portColon == nullptr) {
        record.portLow = record.scheme.length != 0 ? HTTPS_PORT : HTTP_PORT;
        record.portHigh = record.portLow;
        return RULE_OK;
    }
    if (!std::string_view(host.text, host.length).ends_with(":*")) {
        return RULE_ERR_BAD_RULE;
    }
    host.length -= 2;
    record.portLow = 1;
    record.portHigh = 65535;
    return RULE_OK;
}

int32_t writeHost(const UrlPiece& host, RuleWriter& writer) noexcept {
    uint32_t length = writer.room();
    DomainRuleText& record = writer.record.host;
    int32_t status = normalizeIpLiteralHost(host.text, host.length, writer.end(), &length);
    if (status == RULE_OK) {
        if (ipv6Enabled == 0) {
            return RULE_ERR_BAD_RULE;
        }
        record = {writer.end(), length, 0};
    } else if (status != RULE_ERR_BUFFER_SMALL) {
        status = parseDomainRule(host.text, host.length, writer.end(), &length, &record);
    }
    if (status == RULE_OK) {
        writer.length += length;
    }
    return status;
}

// The path may hold one '*', which stands in the stored path where wildcardOffset says.
int32_t writePath(const UrlPiece& rest, RuleWriter& writer) noexcept {
    if (rest.length == 0) {
        return RULE_OK;
    }
    const char* const restEnd = rest.text + rest.length;
    const auto stars = std::count(rest.text + 1, restEnd, '*');
    if (stars > 1) {
        return RULE_ERR_BAD_RULE;
    }
    const char* const star = std::find(rest.text + 1, restEnd, '*');
    UrlPathCopier copier(writer.end(), writer.room(), false);
    int32_t status = copier.begin(rest.text, static_cast<uint32_t>(star - rest.text));
    if (status == RULE_OK && stars == 1) {
        writer.record.wildcardOffset = copier.length();
        status = copier.append(star, static_cast<uint32_t>(restEnd - star));
    }
    if (status == RULE_OK) {
        writer.record.path = {writer.end(), copier.length()};
        writer.length += copier.length();
    }
    return status;
}

int32_t writeRule(const UrlParts& parts, const char* portColon, RuleWriter& writer) noexcept {
    int32_t status = writeScheme(parts.scheme, writer);
    if (status != RULE_OK) {
        return status;
    }
    UrlPiece host = parts.host;
    if (host.length == 0) {
        return RULE_ERR_BAD_RULE;
    }
    status = readPorts(parts, portColon, host, writer.record);
    if (status == RULE_OK) {
        status = writeHost(host, writer);
    }
    return status == RULE_OK ? writePath(parts.rest, writer) : status;
}

}  // namespace

int32_t parseUrlRule(const char* text, uint32_t length, char* out, uint32_t* inOutCapacity,
                     UrlRuleText* record) noexcept {
    if (text == nullptr || out == nullptr || inOutCapacity == nullptr || record == nullptr) {
        return RULE_ERR_INVALID_ARG;
    }
    const Text rule = trimBlanks({text, length});
    if (rule.isEmpty() || rule.length > MAX_ITEM_LENGTH) {
        return RULE_ERR_BAD_RULE;
    }
    *record = {};
    UrlParts parts{};
    const char* portColon = nullptr;
    splitUrl(rule.text, rule.length, &parts, &portColon);
    if (*inOutCapacity == 0) {
        return RULE_ERR_BUFFER_SMALL;
    }
    RuleWriter writer{out, *inOutCapacity, *record};
    const int32_t status = writeRule(parts, portColon, writer);
    if (status == RULE_OK) {
        *inOutCapacity = writer.length;
    }
    return status;
}

UrlRule* makeUrlRule(const char* text, uint32_t length, const RuleValues& values,
                     int32_t* status) noexcept {
    return makeCanonicalRule<UrlRule, freeUrlRule>(
        length, values, status,
        [text, length](UrlRule& rule, char* out, uint32_t* inOutCapacity) noexcept {
            return parseUrlRule(text, length, out, inOutCapacity, &rule.rule);
        });
}

void freeUrlRule(UrlRule* rule) noexcept {
    if (rule != nullptr) {
        freeMemory(rule->text);
        freeMemory(rule);
    }
}

}  // namespace rs
