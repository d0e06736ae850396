#include "support/reference_url_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "support/reference_domain.h"

namespace rs::test {

namespace {

constexpr size_t LONGEST_RULE = 4095;
constexpr uint32_t LAST_PORT = 65535;

bool isIn(char byte, std::string_view bytes) {
    return bytes.find(byte) != std::string_view::npos;
}

std::optional<std::string> unlessEmpty(std::string_view text) {
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

// Walks over a URL as far as its host goes.
//
//     http://user:pw@[::1]:80/rest
//     ^------^                          up to "://", when that comes first
//            ^-------^                  up to an '@'; from there, or from a '[' on, neither counts
//                    ^-------^          any more, and a ']' makes a colon forgotten
class AuthorityWalk {
public:
    AuthorityWalk(std::string_view text, bool mayHaveScheme, size_t start)
        : text_(text), mayHaveScheme_(mayHaveScheme), at_(start), hostStart_(start) {}

    SplitUrl run() {
        bool isBehindUser = false;
        for (; at_ < text_.size(); ++at_) {
            const char byte = text_[at_];
            if (byte == ':') {
                split_.portColon = at_;
            } else if (isBehindUser && byte == ']') {
                split_.portColon.reset();
            } else if (!isBehindUser && byte == '[') {
                isBehindUser = true;
            } else if (!isBehindUser && byte == '@') {
                split_.userInfo = text_.substr(hostStart_, at_ + 1 - hostStart_);
                hostStart_ = at_ + 1;
                isBehindUser = true;
            } else if (!isBehindUser && isSchemeEnd()) {
                enterScheme();
            } else if (beginsRest(byte)) {
                break;
            }
        }
        return finish();
    }

    void setScheme(std::string_view scheme) {
        split_.scheme = scheme;
        mayHaveScheme_ = false;
    }

private:
    // At the first '/' of "://".
    bool isSchemeEnd() const {
        return mayHaveScheme_ && at_ > 0 && text_.substr(at_ - 1, 3) == "://";
    }

    void enterScheme() {
        setScheme(text_.substr(0, at_ + 2));
        split_.portColon.reset();
        ++at_;
        hostStart_ = at_ + 1;
    }

    SplitUrl finish() {
        if (at_ < text_.size()) {
            split_.rest = text_.substr(at_);
        }
        size_t hostEnd = at_;
        if (split_.portColon) {
            const size_t colon = *split_.portColon;
            split_.port = readUrlPort(text_.substr(colon + 1, at_ - colon - 1));
            if (split_.port != 0) {
                split_.portText = text_.substr(colon, at_ - colon);
                hostEnd = colon;
            }
        }
        split_.host = unlessEmpty(text_.substr(hostStart_, hostEnd - hostStart_));
        return split_;
    }

    std::string_view text_;
    bool mayHaveScheme_;
    size_t at_;
    size_t hostStart_;
    SplitUrl split_;
};

std::vector<std::string> splitAt(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    for (;;) {
        const size_t found = text.find(separator);
        pieces.emplace_back(text.substr(0, found));
        if (found == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(found + 1);
    }
}

using Groups = std::vector<uint32_t>;

// A dotted quad as two groups.
std::optional<Groups> readQuad(std::string_view text) {
    uint32_t value = 0;
    const std::vector<std::string> fields = splitAt(text, '.');
    for (const std::string& field : fields) {
        const bool isNumber =
            !field.empty() && field.find_first_not_of("0123456789") == std::string::npos;
        if (!isNumber || field.size() > 3 || (field.size() > 1 && field[0] == '0') ||
            std::stoul(field) > 255) {
            return std::nullopt;
        }
        value = value * 256 + static_cast<uint32_t>(std::stoul(field));
    }
    return fields.size() == 4 ? std::optional(Groups{value >> 16U, value & 0xFFFFU}) : std::nullopt;
}

// The groups of one side of a "::", or of a whole address without one.
std::optional<Groups> readGroups(std::string_view text, bool mayEndInQuad) {
    Groups groups;
    if (text.empty()) {
        return groups;
    }
    const std::vector<std::string> pieces = splitAt(text, ':');
    for (const std::string& piece : pieces) {
        if (&piece == &pieces.back() && mayEndInQuad && isIn('.', piece)) {
            const std::optional<Groups> quad = readQuad(piece);
            if (!quad) {
                return std::nullopt;
            }
            groups.insert(groups.end(), quad->begin(), quad->end());
        } else if (!piece.empty() && piece.size() <= 4 &&
                   piece.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos) {
            groups.push_back(static_cast<uint32_t>(std::stoul(piece, nullptr, 16)));
        } else {
            return std::nullopt;
        }
    }
    return groups;
}

// The eight groups of an address.
std::optional<Groups> readAddress(std::string_view text) {
    const size_t gap = text.find("::");
    const bool hasGap = gap != std::string_view::npos;
    const std::optional<Groups> left = readGroups(text.substr(0, gap), !hasGap);
    const std::optional<Groups> right = hasGap ? readGroups(text.substr(gap + 2), true) : Groups{};
    if (!left || !right) {
        return std::nullopt;
    }
    const size_t written = left->size() + right->size();
    if (hasGap ? written > 7 : written != 8) {
        return std::nullopt;
    }
    Groups groups = *left;
    groups.resize(8 - right->size(), 0);
    groups.insert(groups.end(), right->begin(), right->end());
    return groups;
}

std::string writeAddress(const Groups& groups) {
    const Groups mapped{0, 0, 0, 0, 0, 0xFFFF};
    std::array<char, 64> text{};
    if (std::equal(mapped.begin(), mapped.end(), groups.begin())) {
        std::snprintf(text.data(), text.size(), "%u.%u.%u.%u", groups[6] >> 8U, groups[6] & 255U,
                      groups[7] >> 8U, groups[7] & 255U);
    } else {
        std::snprintf(text.data(), text.size(), "[%x:%x:%x:%x:%x:%x:%x:%x]", groups[0], groups[1],
                      groups[2], groups[3], groups[4], groups[5], groups[6], groups[7]);
    }
    return text.data();
}

// Copies the pieces of a path one after the other. An escape does not reach over the end of a piece.
class PathText {
public:
    explicit PathText(bool keepCase) : keepCase_(keepCase) {}

    void copy(std::string_view piece) {
        for (size_t i = 0; i < piece.size(); ++i) {
            char byte = piece[i];
            if (hasEscapeAt(piece, i)) {
                byte = escapedByteAt(piece, i);
                i += 2;
            } else if (byte == '+' && part_ == '?') {
                byte = ' ';
            } else if (byte == '#' || (byte == '?' && part_ != '#')) {
                part_ = byte;
            }
            text_ += keepCase_ ? byte : lowerByte(byte);
        }
    }

    void put(char byte) { text_ += byte; }
    const std::string& text() const { return text_; }

private:
    bool keepCase_;
    char part_ = '/';  // '/', '?' or '#': path, query or fragment
    std::string text_;
};

// A buffer that is filled piece by piece.
class Room {
public:
    explicit Room(size_t capacity) : left_(capacity) {}

    bool take(size_t size) {
        if (size > left_) {
            return false;
        }
        left_ -= size;
        return true;
    }

    size_t left() const { return left_; }

private:
    size_t left_;
};

// The scheme of a rule. Its length counts first, and then its letters: what follows them is "://"
// in any case.
int32_t readRuleScheme(const SplitUrl& split, std::string& scheme) {
    if (!split.scheme || *split.scheme == "//") {
        return RULE_OK;
    }
    const std::string text = lowerBytes(*split.scheme);
    if (text.size() <= 3) {
        return RULE_ERR_BAD_RULE;
    }
    if (text == "https://") {
        scheme = "https";
    } else if (text != "http://") {
        return RULE_ERR_BAD_SCHEME;
    }
    return RULE_OK;
}

// The ports of a rule; "a:*" loses its end.
int32_t readRulePorts(const SplitUrl& split, UrlRuleForm& form, std::string& host) {
    form.portLow = form.scheme == "https" ? HTTPS_PORT : HTTP_PORT;
    form.portHigh = form.portLow;
    if (split.port != 0) {
        form.portLow = form.portHigh = split.port;
    } else if (split.portColon) {
        if (host.size() < 2 || host.substr(host.size() - 2) != ":*") {
            return RULE_ERR_BAD_RULE;
        }
        host.resize(host.size() - 2);
        form.portLow = 1;
        form.portHigh = LAST_PORT;
    }
    return RULE_OK;
}

int32_t readRuleHost(const std::string& host, bool ipv6Enabled, Room& room, UrlRuleForm& form) {
    const Outcome literal = ipLiteralHost(host);
    if (literal.status == RULE_OK) {
        if (!room.take(literal.text.size())) {
            return RULE_ERR_BUFFER_SMALL;
        }
        form.host = literal.text;
        return ipv6Enabled ? RULE_OK : RULE_ERR_BAD_RULE;
    }
    const DomainForm domain = readDomainRule(host);
    const int32_t status = domain.outcome.statusAt(room.left());
    if (status == RULE_OK) {
        form.host = domain.outcome.text;
        form.isWildcardHost = domain.isWildcard;
        room.take(form.host.size());
    }
    return status;
}

int32_t readRulePath(const std::string& rest, Room& room, UrlRuleForm& form) {
    const auto stars = std::count(rest.begin() + 1, rest.end(), '*');
    if (stars > 1) {
        return RULE_ERR_BAD_RULE;
    }
    PathText path(false);
    if (rest[0] != '/') {
        path.put('/');
    }
    const size_t star = stars == 0 ? rest.size() : rest.find('*');
    path.copy(std::string_view(rest).substr(0, star));
    if (stars != 0) {
        form.wildcardOffset = path.text().size();
        path.copy(std::string_view(rest).substr(star));
    }
    form.path = path.text();
    return room.take(form.path.size()) ? RULE_OK : RULE_ERR_BUFFER_SMALL;
}

int32_t readKeyHost(const std::string& host, Room& room, UrlKey& key) {
    // Deliberate: a literal without room for its canonical form is taken as it is written.
    const Outcome literal = ipLiteralHost(host);
    const Outcome outcome = literal.statusAt(room.left()) == RULE_OK ? literal : matchHost(host);
    const int32_t status = outcome.statusAt(room.left());
    if (status == RULE_OK) {
        key.host = outcome.text;
        room.take(key.host.size());
    }
    return status;
}

int32_t fillUrlKey(const SplitUrl& split, Room& room, UrlKey& key) {
    if (split.scheme && *split.scheme != "//") {
        key.scheme = lowerBytes(*split.scheme);
    }
    key.userInfo = split.userInfo.value_or("");
    if (!room.take(key.scheme.size()) || !room.take(key.userInfo.size())) {
        return RULE_ERR_BUFFER_SMALL;
    }
    if (split.host) {
        const int32_t status = readKeyHost(*split.host, room, key);
        if (status != RULE_OK) {
            return status;
        }
        key.portText = split.portText.value_or("");
        if (!room.take(key.portText.size())) {
            return RULE_ERR_BUFFER_SMALL;
        }
    } else if (!split.rest || split.scheme || split.portText) {
        return RULE_ERR_BAD_RULE;
    }
    if (split.rest) {
        const Outcome path = urlPath(*split.rest, false);
        if (path.statusAt(room.left()) != RULE_OK) {
            return path.statusAt(room.left());
        }
        key.path = path.text;
    }
    return RULE_OK;
}

void setTooSmall(uint8_t shortField, NormalizedFields& fields) {
    fields.status = RULE_ERR_BUFFER_SMALL;
    fields.shortField = shortField;
}

void normalizeScheme(const SplitUrl& split, size_t capacity, NormalizedFields& fields) {
    if (!split.scheme || *split.scheme == "//") {
        return;
    }
    fields.scheme = lowerBytes(split.scheme->substr(0, split.scheme->size() - 3));
    if (fields.scheme.empty()) {
        fields.status = RULE_ERR_BAD_RULE;
    } else if (fields.scheme.size() > capacity) {
        setTooSmall(1, fields);
    }
}

void normalizeHost(const SplitUrl& split, size_t capacity, bool ipv6Enabled,
                   NormalizedFields& fields) {
    fields.status = RULE_ERR_BAD_RULE;
    if (split.port == 0 && split.portColon) {
        return;
    }
    fields.port = split.port;
    const Outcome literal = ipLiteralHost(*split.host);
    const bool isLiteral = literal.status == RULE_OK;
    const Outcome host = isLiteral ? literal : ruleHost(*split.host);
    const int32_t status = host.statusAt(capacity);
    if (status == RULE_ERR_BUFFER_SMALL) {
        setTooSmall(2, fields);
    } else if (status != RULE_OK) {
        fields.status = status;
    } else if (!host.text.empty() && (ipv6Enabled || !isLiteral)) {
        fields.status = RULE_OK;
        fields.host = host.text;
    }
}

void normalizePath(const SplitUrl& split, bool keepCase, size_t capacity,
                   NormalizedFields& fields) {
    if (split.rest) {
        if (split.scheme && !split.host && fields.scheme != "file") {
            fields.status = RULE_ERR_BAD_RULE;
            return;
        }
        fields.path = urlPath(*split.rest, keepCase).text;
    } else if (split.host) {
        fields.path = "/";
    } else if (fields.scheme.empty()) {
        fields.status = RULE_ERR_BAD_RULE;
        return;
    }
    if (fields.path.size() > capacity) {
        setTooSmall(3, fields);
    }
}

}  // namespace

uint32_t readUrlPort(std::string_view text) {
    uint32_t port = 0;
    for (const char byte : text) {
        if (byte < '0' || byte > '9' || (byte == '0' && port == 0)) {
            return 0;
        }
        port = port * 10 + static_cast<uint32_t>(byte - '0');
        if (port > LAST_PORT) {
            return 0;
        }
    }
    return port;
}

bool beginsRest(char byte) {
    return isIn(byte, "/?#");
}

SplitUrl splitUrlText(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    if (text[0] == '/' && text.substr(0, 2) != "//") {
        SplitUrl split;
        split.rest = text;
        return split;
    }
    const bool hasEmptyScheme = text[0] == '/';
    AuthorityWalk walk(text, !hasEmptyScheme, hasEmptyScheme ? 2 : 0);
    if (hasEmptyScheme) {
        walk.setScheme("//");
    }
    return walk.run();
}

Outcome ipLiteralHost(std::string_view host) {
    const Outcome refused{RULE_ERR_BAD_RULE, {}, 0};
    if (host.empty()) {
        return {RULE_ERR_INVALID_ARG, {}, 0};
    }
    if (host.size() < 3 || host.front() != '[' || host.back() != ']') {
        return refused;
    }
    const std::optional<Groups> groups = readAddress(host.substr(1, host.size() - 2));
    if (!groups) {
        return refused;
    }
    const std::string text = writeAddress(*groups);
    return {RULE_OK, text, text.size()};
}

Outcome urlPath(std::string_view rest, bool keepCase) {
    if (rest.empty()) {
        return {RULE_ERR_INVALID_ARG, {}, 0};
    }
    if (!beginsRest(rest[0])) {
        return {RULE_ERR_BAD_RULE, {}, 0};
    }
    PathText path(keepCase);
    if (rest[0] != '/') {
        path.put('/');
    }
    path.copy(rest);
    return {RULE_OK, path.text(), path.text().size()};
}

NormalizedFields normalizeUrlText(std::string_view text, bool keepCase,
                                  const UrlCapacities& capacities, bool ipv6Enabled) {
    NormalizedFields fields{RULE_OK, 0, {}, {}, {}, 0};
    const std::string_view url = trimBlanks(text);
    if (url.empty()) {
        fields.status = text.empty() ? RULE_ERR_INVALID_ARG : RULE_ERR_BAD_RULE;
        return fields;
    }
    const SplitUrl split = splitUrlText(url);
    normalizeScheme(split, capacities.scheme, fields);
    if (fields.status == RULE_OK && split.host) {
        normalizeHost(split, capacities.host, ipv6Enabled, fields);
    }
    if (fields.status == RULE_OK) {
        normalizePath(split, keepCase, capacities.path, fields);
    }
    return fields;
}

UrlRuleForm readUrlRule(std::string_view text, size_t capacity, bool ipv6Enabled) {
    UrlRuleForm form{};
    const std::string_view rule = trimBlanks(text);
    form.status = RULE_ERR_BAD_RULE;
    if (rule.empty() || rule.size() > LONGEST_RULE) {
        return form;
    }
    form.status = RULE_ERR_BUFFER_SMALL;
    if (capacity == 0) {
        return form;
    }
    const SplitUrl split = splitUrlText(rule);
    Room room(capacity);
    form.status = readRuleScheme(split, form.scheme);
    if (form.status == RULE_OK && !room.take(form.scheme.size())) {
        form.status = RULE_ERR_BUFFER_SMALL;
    }
    if (form.status == RULE_OK && !split.host) {
        form.status = RULE_ERR_BAD_RULE;
    }
    std::string host = split.host.value_or("");
    if (form.status == RULE_OK) {
        form.status = readRulePorts(split, form, host);
    }
    if (form.status == RULE_OK) {
        form.status = readRuleHost(host, ipv6Enabled, room, form);
    }
    if (form.status == RULE_OK && split.rest) {
        form.status = readRulePath(*split.rest, room, form);
    }
    return form;
}

UrlKey readUrlKey(std::string_view url, size_t capacity) {
    UrlKey key{};
    if (capacity == 0) {
        key.status = RULE_ERR_BUFFER_SMALL;
        return key;
    }
    Room room(capacity);
    key.status = fillUrlKey(splitUrlText(url), room, key);
    return key;
}

UrlKey readUrlKey(std::string_view url) {
    if (url.empty()) {
        UrlKey key{};
        key.status = RULE_ERR_INVALID_ARG;
        return key;
    }
    return readUrlKey(url, url.size() <= 1024 ? 4 * url.size() : 4096);
}

}  // namespace rs::test
