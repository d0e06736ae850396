// The reader of URL rules: capacity byte, rule.
#include "url/url_rule.h"

#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_check.h"
#include "support/reference_domain.h"
#include "support/reference_url_text.h"
#include "support/text.h"

namespace {

std::string_view viewOf(rs::Text piece) {
    return {piece.text, piece.length};
}

void checkRule(const rs::test::ExactText& text, const rs::test::UrlRuleForm& expected,
               size_t capacity) {
    rs::fuzz::Output out(capacity);
    rs::UrlRuleText record{};
    const int32_t status =
        rs::parseUrlRule(text.data(), text.size(), out.data(), out.inOutLength(), &record);
    rs::fuzz::check(status == expected.status, "the status", capacity);
    if (status != RULE_OK) {
        return;
    }
    rs::fuzz::check(out.text() == expected.stored(), "the stored text", capacity);
    rs::fuzz::check(
        viewOf(record.scheme) == expected.scheme && viewOf(record.path) == expected.path,
        "the pieces", capacity);
    rs::fuzz::check(std::string_view(record.host.text, record.host.length) == expected.host &&
                        record.host.flags == (expected.isWildcardHost ? 1U : 0U),
                    "the host", capacity);
    rs::fuzz::check(record.wildcardOffset == expected.wildcardOffset &&
                        record.portLow == expected.portLow && record.portHigh == expected.portHigh,
                    "the numbers", capacity);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string_view rule = rs::fuzz::viewOf(data, size);
    const size_t capacity = rs::fuzz::takeCapacity(rule);
    const rs::test::ExactText text(rule);
    const rs::test::UrlRuleForm withRoom = rs::test::readUrlRule(rule, 4095);
    checkRule(text, withRoom, 4095);
    checkRule(text, rs::test::readUrlRule(rule, capacity), capacity);
    // At the limit of its own length.
    const size_t length = withRoom.stored().size();
    checkRule(text, rs::test::readUrlRule(rule, length), length);
    rs::fuzz::check(rs_validateRule_URL(text.data(), text.size()) ==
                        rs::test::statusOfValidating(withRoom.status),
                    "the validator");
    return 0;
}
