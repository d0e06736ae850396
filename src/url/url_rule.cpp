#include "url/url_rule.h"

#include <ruleset.h>

#include <algorithm>

#include "core/library_option.h"
#include "core/text_rule.h"
#include "syntax/ip_range.h"
#include "syntax/text_writer.h"
#include "url/ip_literal_host.h"
#include "url/url_path.h"
#include "url/url_split.h"

namespace rs {

namespace {

constexpr Text HTTP = literalText("http");
constexpr Text HTTPS = literalText("https");
constexpr Text ANY_PORT = literalText(":*");

// The rule being written: [scheme][host][path], without anything between them.
struct RuleOutput {
    TextWriter writer;
    UrlRuleText& record;
};

// A scheme is told by its length first: "http://" has 7 bytes and "https://" 8.
int32_t writeScheme(Text scheme, RuleOutput& rule) noexcept {
    switch (scheme.length) {
        case 0:
        case 2:  // "//"
            return RULE_OK;
        case 3:  // "://"
            return RULE_ERR_BAD_RULE;
        case 7:
            return startsLowered(scheme, HTTP) ? RULE_OK : RULE_ERR_BAD_SCHEME;
        case 8:
            break;
        default:
            return RULE_ERR_BAD_SCHEME;
    }
    if (!startsLowered(scheme, HTTPS)) {
        return RULE_ERR_BAD_SCHEME;
    }
    if (!rule.writer.put(HTTPS)) {
        return RULE_ERR_BUFFER_SMALL;
    }
    rule.record.scheme = rule.writer.from(0);
    return RULE_OK;
}

// Fills the port range; a ":*" is cut off the host.
int32_t readPorts(const UrlParts& parts, Text& host, UrlRuleText& record) noexcept {
    if (parts.port != 0) {
        record.portLow = static_cast<uint16_t>(parts.port);
        record.portHigh = record.portLow;
        return RULE_OK;
    }
    if (parts.portColon == nullptr) {
        record.portLow = record.scheme.length != 0 ? HTTPS_PORT : HTTP_PORT;
        record.portHigh = record.portLow;
        return RULE_OK;
    }
    if (!host.endsWith(ANY_PORT)) {
        return RULE_ERR_BAD_RULE;
    }
    host = host.first(host.length - ANY_PORT.length);
    record.portLow = 1;
    record.portHigh = 65535;
    return RULE_OK;
}

int32_t writeHost(Text host, RuleOutput& rule) noexcept {
    DomainRuleText& record = rule.record.host;
    return rule.writer.append([&](char* out, uint32_t* inOutCapacity) noexcept {
        const int32_t status = normalizeIpLiteralHost(host.text, host.length, out, inOutCapacity);
        if (status == RULE_OK) {
            if (ipv6Enabled == 0) {
                return RULE_ERR_BAD_RULE;
            }
            record = {out, *inOutCapacity, 0};
            return RULE_OK;
        }
        if (status == RULE_ERR_BUFFER_SMALL) {
            return status;
        }
        return parseDomainRule(host.text, host.length, out, inOutCapacity, &record);
    });
}

// The path may have one '*'. wildcardOffset says where it is in the stored path. The first byte is
// never that '*': it is the '/', '?' or '#' that begins the path.
int32_t writePath(Text rest, RuleOutput& rule) noexcept {
    if (rest.isEmpty()) {
        return RULE_OK;
    }
    const auto stars = std::count(rest.begin() + 1, rest.end(), '*');
    if (stars > 1) {
        return RULE_ERR_BAD_RULE;
    }
    const uint32_t star = 1 + rest.from(1).find('*');
    const uint32_t start = rule.writer.length();
    UrlPathCopier copier(rule.writer, false);
    int32_t status = copier.begin(rest.first(star));
    if (status == RULE_OK && stars == 1) {
        // Escapes before the '*' make the stored path shorter than the one in the text.
        rule.record.wildcardOffset = rule.writer.length() - start;
        status = copier.append(rest.from(star));
    }
    if (status == RULE_OK) {
        rule.record.path = rule.writer.from(start);
    }
    return status;
}

int32_t writeRule(const UrlParts& parts, RuleOutput& rule) noexcept {
    int32_t status = writeScheme(parts.scheme, rule);
    if (status != RULE_OK) {
        return status;
    }
    Text host = parts.host;
    if (host.isEmpty()) {
        return RULE_ERR_BAD_RULE;
    }
    status = readPorts(parts, host, rule.record);
    if (status == RULE_OK) {
        status = writeHost(host, rule);
    }
    return status == RULE_OK ? writePath(parts.rest, rule) : status;
}

// Lets the pieces of a rule point into its own text instead of a buffer; an absent piece stays so.
void moveTexts(UrlRule& rule, const char* buffer) noexcept {
    for (const char** piece :
         {&rule.rule.host.text, &rule.rule.scheme.text, &rule.rule.path.text}) {
        if (*piece != nullptr) {
            *piece = rule.text + (*piece - buffer);
        }
    }
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
    if (*inOutCapacity == 0) {
        return RULE_ERR_BUFFER_SMALL;
    }
    RuleOutput output{TextWriter(out, *inOutCapacity), *record};
    const int32_t status = writeRule(splitUrl(rule), output);
    if (status == RULE_OK) {
        *inOutCapacity = output.writer.length();
    }
    return status;
}

UrlRule* makeUrlRule(const char* text, uint32_t length, const RuleValues& values,
                     int32_t* status) noexcept {
    return makeCanonicalRule<UrlRule, freeUrlRule>(
        length, values, status,
        [text, length](UrlRule& rule, char* out, uint32_t* inOutCapacity) noexcept {
            return parseUrlRule(text, length, out, inOutCapacity, &rule.rule);
        },
        moveTexts);
}

void freeUrlRule(UrlRule* rule) noexcept {
    if (rule != nullptr) {
        freeMemory(rule->text);
        freeMemory(rule);
    }
}

}  // namespace rs
