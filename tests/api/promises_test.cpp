// Sentences of the public header and of the documents that surprise, each seen to hold through the
// shared library.
#include <ruleset.h>

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/rule_builder.h"
#include "support/text.h"

namespace rs::test {

namespace {

int32_t addTo(int32_t type, std::string_view rule) {
    return addExactRule(*newRuleSet(type), rule);
}

using Validate = int32_t (*)(const char* text, uint32_t length);

int32_t validateBy(Validate validate, std::string_view rule) {
    const ExactText text(rule);
    return validate(text.data(), text.size());
}

// ---- Adding and validating.

TEST(PromisedAdding, AnswersBadSchemeForUrlRulesOnly) {
    EXPECT_EQ(RULE_ERR_BAD_SCHEME, addTo(RULE_TYPE_URL, "ftp://a.test/"));
    for (const int32_t type : {RULE_TYPE_IP, RULE_TYPE_FQDN, RULE_TYPE_IP_ALT, RULE_TYPE_IP_PORT,
                               RULE_TYPE_PACKET_FILTER, RULE_TYPE_COMPOUND}) {
        EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(type, "ftp://a.test/")) << type;
    }
}

// An encoded label "xn--tda." has 8 bytes. Where the limit lies depends on the length of the text.
TEST(PromisedAdding, HasRoomForTheLargestBufferBelow8192Bytes) {
    // 3,060 bytes of labels make 8,160, the rest is taken as it is written.
    const struct {
        uint32_t rest;
        int32_t status;
    } rows[] = {
        {11, RULE_ERR_BAD_RULE},   // 3,071 and 8,171 bytes: 8,191 are the largest
        {12, RULE_ERR_BAD_RULE},   // 3,072 and 8,172: 8,176
        {27, RULE_ERR_BAD_RULE},   // 3,087 and 8,187: 8,191
        {28, RULE_ERR_NO_MEMORY},  // 3,088 and 8,188: 8,176
    };
    for (const auto& row : rows) {
        const std::string name = repeat("\xC3\xBC.", 1020) + std::string(row.rest, 'a');
        EXPECT_EQ(row.status, addTo(RULE_TYPE_FQDN, name)) << row.rest;
    }
    // A longer text has room for as much as it has.
    EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(RULE_TYPE_FQDN, repeat("a.", 9000)));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, addTo(RULE_TYPE_FQDN, repeat("\xC3\xBC.", 3000)));
}

TEST(PromisedValidators, HaveRoomFor4095Bytes) {
    const std::string name = repeat("\xC3\xBC.", 1000);
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validateBy(rs_validateRule_FQDN, name));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(RULE_TYPE_FQDN, name));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validateBy(rs_validateRule_URL, name));
    EXPECT_EQ(RULE_ERR_BAD_RULE, addTo(RULE_TYPE_URL, name));
    // The canonical form of the literal has 12 bytes more than the text.
    const std::string url = "[::1]/" + std::string(4077, 'p');
    EXPECT_EQ(RULE_OK, validateBy(rs_validateRule_URL, url));
    EXPECT_EQ(RULE_ERR_NO_MEMORY, validateBy(rs_validateRule_URL, url + 'p'));
    EXPECT_EQ(RULE_OK, addTo(RULE_TYPE_URL, url + 'p'));
}

}  // namespace

}  // namespace rs::test
