// The readers of port fields against the plain ones of the reference, on good texts and bad.
#include <ruleset.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "core/port_list.h"
#include "support/random_rules.h"
#include "support/random_source.h"
#include "support/reference_port.h"
#include "support/text.h"

namespace rs::test {

namespace {

std::vector<ReferencePorts> contentOf(const PortRange* list) {
    std::vector<ReferencePorts> content;
    for (; list != nullptr; list = list->next) {
        content.push_back({list->low, list->high});
    }
    return content;
}

void checkText(std::string_view content) {
    SCOPED_TRACE(::testing::PrintToString(std::string(content)));
    const ExactText text(content);
    EXPECT_EQ(readPortRange(content) ? RULE_OK : RULE_ERR_BAD_RANGE,
              rs_validate_PortRange(text.data(), text.size()));

    const std::optional<std::vector<ReferencePorts>> expected = readPortList(content);
    PortRange untouched{};
    PortRange* list = &untouched;
    const int32_t status = parsePortList(text.data(), text.size(), &list);
    if (expected) {
        ASSERT_EQ(RULE_OK, status);
        EXPECT_TRUE(*expected == contentOf(list));
        freeRangeList(&list);
        EXPECT_EQ(nullptr, list);
    } else {
        EXPECT_EQ(content.empty() ? RULE_ERR_INVALID_ARG : RULE_ERR_BAD_RULE, status);
        EXPECT_EQ(&untouched, list);
    }
}

TEST(PortTextProperty, RandomFieldsReadAlike) {
    forEachCase(100000, [](RandomSource& random) {
        const std::string text = randomPortText(random);
        checkText(text);
        checkText(mutate(text, random));
    });
}

TEST(PortTextProperty, TextsOfFewCharactersReadAlike) {
    forEachCase(200000, [](RandomSource& random) {
        constexpr std::string_view CHARACTERS = "0156699---,,*";
        std::string text;
        const uint64_t length = random.below(14);
        for (uint64_t i = 0; i < length; ++i) {
            text += CHARACTERS[random.below(CHARACTERS.size())];
        }
        checkText(text);
    });
}

TEST(PortTextProperty, AllPortsReadAlike) {
    for (uint32_t port = 0; port < 100010; port += RULESET_TESTS_SANITIZED != 0 ? 97 : 1) {
        const std::string text = std::to_string(port);
        checkText(text);
        checkText('0' + text);
        checkText(text + "-30000");
        checkText("30000-" + text);
    }
}

}  // namespace

}  // namespace rs::test
