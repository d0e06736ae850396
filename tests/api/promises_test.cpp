// Sentences of the public header and of the documents that surprise, each seen to hold through the
// shared library.
#include <ruleset.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/release_recorder.h"
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

// ---- Building and deleting.

// A callback that throws would have to pass these.
static_assert(noexcept(rs_buildRuleGroup(nullptr, nullptr)));
static_assert(noexcept(rs_delRuleGroup(nullptr)));

TEST(PromisedBuild, HandsASuperfluousDomainRuleBackEachTimeAndAStarNever) {
    int userData[5] = {};
    ReleaseRecorder recorder;
    const RuleSetHandle set = makeDomainRuleSet({{"*", 0, &userData[0]},
                                                 {"a.test", 0, &userData[1]},
                                                 {"A.test.", 0, &userData[2]},
                                                 {"*", 0, &userData[3]},
                                                 {"b.test", 0, &userData[4]}});
    recorder.registerOn(*set);
    for (size_t build = 1; build <= 3; ++build) {
        RuleGroupHandle group = buildRuleGroup(*set);
        EXPECT_EQ(build, recorder.countOf(&userData[2]));
        group.reset();
        EXPECT_EQ(build, recorder.countOf(&userData[1]));
        EXPECT_EQ(build, recorder.countOf(&userData[4]));
    }
    EXPECT_EQ(0U, recorder.countOf(&userData[0]));
    EXPECT_EQ(0U, recorder.countOf(&userData[3]));
}

// The statuses by which parts of a build tell each other of equal rules and elements.
TEST(PromisedBuild, NeverReturnsTheInternalStatuses) {
    constexpr struct {
        int32_t type;
        std::string_view rule;
    } ROWS[] = {
        {RULE_TYPE_IP, "10.0.0.1"},
        {RULE_TYPE_IP, "10.0.0.0/8"},
        {RULE_TYPE_IP_ALT, "2001:db8::1"},
        {RULE_TYPE_IP_ALT, "2001:db8::/32"},
        {RULE_TYPE_FQDN, "a.test"},
        {RULE_TYPE_FQDN, "*.a.test"},
        {RULE_TYPE_FQDN, "*"},
        {RULE_TYPE_URL, "a.test/x"},
        {RULE_TYPE_URL, "*"},
        {RULE_TYPE_PACKET_FILTER, "tcp;10.0.0.1;80;10.0.0.1;80"},
        {RULE_TYPE_IP_PORT, "10.0.0.1;80;10.0.0.1;80;1"},
        {RULE_TYPE_COMPOUND, "1;1;10.0.0.1;80;0;0"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.rule);
        const RuleSetHandle set = makeRuleSet(row.type, {{row.rule}, {row.rule}, {row.rule}});
        for (int build = 0; build < 2; ++build) {
            RuleGroup* group = nullptr;
            EXPECT_EQ(RULE_OK, rs_buildRuleGroup(set.get(), &group));
            EXPECT_EQ(RULE_OK, rs_delRuleGroup(&group));
        }
    }
}

}  // namespace

}  // namespace rs::test
