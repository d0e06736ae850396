#include "rule_line.h"

#include "syntax/ascii.h"
#include "syntax/byte_block.h"
#include "text_input.h"
#include "text_output.h"

namespace cli {

namespace {

// Removes the next field from rest, which starts with a TAB or is empty. False for an empty rest.
bool takeField(std::string_view& rest, std::string_view& field) {
    if (rest.empty()) {
        return false;
    }
    rest.remove_prefix(1);
    const size_t tab = rest.find('\t');
    field = trimmed(rest.substr(0, tab));
    rest.remove_prefix(tab == std::string_view::npos ? rest.size() : tab);
    return true;
}

}  // namespace

bool isSkippedLine(std::string_view line) {
    const std::string_view text = trimmed(line);
    return text.empty() || text.front() == '#';
}

std::string_view firstField(std::string_view text) {
    const char* begin = text.data();
    const char* end = rs::findInClass(begin, begin + text.size(), [](rs::ByteBlock block) noexcept {
        return block.equalTo('\t') | block.equalTo('\n');
    });
    while (end != begin && rs::isBlank(end[-1])) {
        --end;
    }
    return {begin, static_cast<size_t>(end - begin)};
}

bool parseRuleLine(std::string_view line, uint64_t defaultId, RuleLine& out, std::string* why) {
    const size_t tab = line.find('\t', line.find_first_not_of(" \t"));
    std::string_view rest = tab == std::string_view::npos ? std::string_view() : line.substr(tab);
    out.rule = trimmed(line.substr(0, tab));
    out.value = 0;
    std::string_view field;
    if (takeField(rest, field) && !parseNumber(field, out.value)) {
        *why = "value is not a number up to 4294967295: " + shownText(field);
        return false;
    }
    if (takeField(rest, field)) {
        if (!parseNumber(field, out.id) || out.id == 0) {
            *why = "id is not a number from 1 to 4294967295: " + shownText(field);
            return false;
        }
    } else if (defaultId > UINT32_MAX) {
        *why = "too many lines to number them: give the rules ids";
        return false;
    } else {
        out.id = static_cast<uint32_t>(defaultId);
    }
    if (!rest.empty()) {
        *why = "extra fields after the id";
        return false;
    }
    return true;
}

}  // namespace cli
