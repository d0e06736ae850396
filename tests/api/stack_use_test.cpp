// What a call needs of the stack of its thread, whatever the text, the key and the number of rules.
#include <ruleset.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/guarded_text.h"
#include "support/rule_handles.h"
#include "support/text.h"

namespace rs::test {

namespace {

// What SECURITY.md promises.
constexpr size_t MOST_STACK = 16384;

constexpr size_t STACK_SIZE = 262144;
constexpr char PAINT = '\xA5';
constexpr uint32_t MANY_RULES = 100'000;

using Call = std::function<void()>;

struct PaintedStack {
    const Call* call;
    const char* end;     // the lowest byte, which the stack grows towards
    size_t deepest = 0;  // out: from the frame below down to the last byte that is not paint
};

void* callOnPaintedStack(void* argument) {
    auto& stack = *static_cast<PaintedStack*>(argument);
    const auto* frame = static_cast<const char*>(__builtin_frame_address(0));
    (*stack.call)();
    const char* touched = stack.end;
    while (*touched == PAINT) {
        ++touched;
    }
    stack.deepest = static_cast<size_t>(frame - touched);
    return nullptr;
}

// How deep the call goes in a thread of its own, with what leads to it. The page below the stack may not be touched.
// In a build that binds symbols lazily the first call of a function counts the loader's work, too.
size_t depthOf(const Call& call) {
    static const GuardedPages PAGES(STACK_SIZE);
    std::fill_n(PAGES.first(), STACK_SIZE, PAINT);
    PaintedStack stack{&call, PAGES.first()};
    pthread_attr_t attributes;
    pthread_t thread{};
    if (pthread_attr_init(&attributes) != 0 ||
        pthread_attr_setstack(&attributes, PAGES.first(), STACK_SIZE) != 0 ||
        pthread_create(&thread, &attributes, callOnPaintedStack, &stack) != 0) {
        throw std::runtime_error("no thread on a painted stack");
    }
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return stack.deepest;
}

// The most that each exported function needed, without the harness.
class StackUse {
public:
    void measure(const std::string& function, const Call& call) {
        const size_t depth = depthOf(call);
        size_t& most = most_[function];
        most = std::max(most, depth - std::min(depth, harness_));
    }

    const std::map<std::string, size_t>& most() const { return most_; }

private:
    size_t harness_ = depthOf([] {});
    std::map<std::string, size_t> most_;
};

// A rule of the type whose text has about 4,095 bytes: the longest name after blanks, or a long list or path.
std::string longRule(int32_t type) {
    constexpr size_t LENGTH = 4095;
    const auto filled = [](std::string_view start, std::string_view piece, std::string_view end) {
        const size_t left = LENGTH - start.size() - end.size();
        std::string text(start);
        text += repeat(piece, left / piece.size());
        return text += end;
    };
    switch (type) {
        case RULE_TYPE_FQDN:
            return filled("", "\t", repeat("%61bcdefg.", 31) + "example");
        case RULE_TYPE_URL:
            return filled("http://example.com/", "%41", "*");
        case RULE_TYPE_PACKET_FILTER:
            return filled("tcp;10.0.0.1;", "80-90,", "80;10.0.0.2;443");
        case RULE_TYPE_IP_PORT:
            return filled("", "10.0.0.0/8,", "10.0.0.1;80;*;443;0x10");
        case RULE_TYPE_COMPOUND:
            return filled("", "1-2,", "5;*;10.0.0.0/8;80-90;0x15;7");
        default:
            return filled(" ", " ", "10.0.0.1");
    }
}

// Ordinary texts of every kind, and long ones in every form that is decoded, split or written anew.
const std::vector<std::string>& texts() {
    static const std::vector<std::string> TEXTS = [] {
        std::vector<std::string> texts = {
            "1",
            "80-90",
            "10.0.0.1-10.0.0.9",
            "2001:db8::ffff:192.0.2.1",
            "2001:db8::1-2001:db8::9",
            "*.example.com",
            "b\u00FCcher.example",
            "https://user@*.example.com:8443/a*b?c#d",
            "http://[2001:db8::1]:80/%41%2f",
            "10.0.0.0/8,10.1.0.1;80,443;*;1-65535;0x10",
            "tcp;10.0.0.1;80,443;2001:db8::/32;1-65535",
            "1-2,5*;*;10.0.0.0/8,2001:db8::1;80-90;0x15;7",
        };
        constexpr size_t LENGTHS[] = {255, 4095, 8000, 65536};
        constexpr std::string_view PIECES[] = {
            "a",           "a.",      "abcdefghijklmnopqrstuvwxyz.",
            "%61",         "%C3%BC.", "\u00FC",
            "\u00FC.",     "\t",      "../a",
            "\U00010348.", "1,",      "80-90,",
            "10.0.0.1,",
        };
        constexpr std::string_view STARTS[] = {
            "",     "http://", "http://example.com/", "http://[::1]:80/", "10.0.0.1;80;",
            "tcp;", "1-2,5;",
        };
        for (const size_t length : LENGTHS) {
            for (const std::string_view start : STARTS) {
                for (const std::string_view piece : PIECES) {
                    std::string text(start);
                    text += repeat(piece, (length - start.size()) / piece.size());
                    texts.push_back(text);
                }
            }
        }
        for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
            texts.push_back(longRule(type));
        }
        return texts;
    }();
    return TEXTS;
}

std::string address(uint32_t number) {
    return "10." + std::to_string(number >> 16) + "." + std::to_string((number >> 8) & 0xFFU) +
           "." + std::to_string(number & 0xFFU);
}

// Rule n of a list in ascending order, whose ranges overlap and whose names lie below each other.
std::string rule(int32_t type, uint32_t n) {
    const std::string number = std::to_string(n);
    switch (type) {
        case RULE_TYPE_FQDN:
            return n % 2 == 0 ? "*.a" + number + ".example.com" : "b." + number + ".example.com";
        case RULE_TYPE_URL:
            return "h" + std::to_string(n % 1000) + ".example.com/a" + number +
                   (n % 2 == 0 ? "*z" : "");
        case RULE_TYPE_PACKET_FILTER:
            return "tcp;" + address(n) + ";1-65535;" + address(n + 1) + ";80";
        case RULE_TYPE_IP_PORT:
            return address(n) + ";1-65535;" + address(n + 1) + ";80;0x10";
        case RULE_TYPE_COMPOUND:
            return number + ";*;" + address(n) + ";1-65535;0x10;1";
        default:
            return n % 2 == 0 ? address(n) + "-" + address(2 * MANY_RULES)
                              : "2001:db8:" + std::to_string(n / 1000) + ":" +
                                    std::to_string(n % 1000) + "::/64";
    }
}

void measureValidators(StackUse& use) {
    using Validator = int32_t (*)(const char*, uint32_t) noexcept;
    constexpr struct {
        const char* name;
        Validator validate;
    } ROWS[] = {
        {"rs_validate_IPv4Range", rs_validate_IPv4Range},
        {"rs_validate_IPv6Range", rs_validate_IPv6Range},
        {"rs_validate_PortRange", rs_validate_PortRange},
        {"rs_validateRule_IP", rs_validateRule_IP},
        {"rs_validateRule_FQDN", rs_validateRule_FQDN},
        {"rs_validateRule_URL", rs_validateRule_URL},
        {"rs_validateRule_IpPort", rs_validateRule_IpPort},
        {"rs_validateRule_PacketFilter", rs_validateRule_PacketFilter},
    };
    for (const auto& row : ROWS) {
        use.measure(row.name, [&row] {
            for (const std::string& text : texts()) {
                row.validate(text.data(), size32(text));
            }
        });
    }
}

void measureConverters(StackUse& use) {
    use.measure("rs_convertRule_IP", [] {
        ConvertedRange range{};
        for (const std::string& text : texts()) {
            rs_convertRule_IP(text.data(), size32(text), &range);
        }
    });
    constexpr uint32_t CAPACITIES[] = {1, 255, 4095, 70000};
    std::vector<char> buffers(size_t{3} * 70000);
    for (const uint32_t capacity : CAPACITIES) {
        use.measure("rs_normalize_URL", [&] {
            for (const std::string& text : texts()) {
                NormalizedUrl url{};
                url.scheme = buffers.data();
                url.host = url.scheme + capacity;
                url.path = url.host + capacity;
                url.schemeLength = url.hostLength = url.pathLength = capacity;
                rs_normalize_URL(text.data(), size32(text), &url);
            }
        });
    }
}

void matchAllTexts(StackUse& use, const RuleGroup* group) {
    MatchResult result{};
    use.measure("rs_matchDomainNameWithRuleGroup", [&] {
        for (const std::string& text : texts()) {
            rs_matchDomainNameWithRuleGroup(group, text.data(), size32(text), &result);
        }
    });
    use.measure("rs_matchUrlWithRuleGroup", [&] {
        for (const std::string& text : texts()) {
            rs_matchUrlWithRuleGroup(group, text.data(), size32(text), &result);
        }
    });
}

void matchAddresses(StackUse& use, const RuleGroup* group) {
    MatchResult result{};
    use.measure("rs_matchIPRuleGroup", [&] {
        for (uint32_t i = 0; i < 1000; ++i) {
            rs_matchIPRuleGroup(group, 0x0A000000 + i * 331, &result);
        }
    });
    std::array<uint8_t, 16> key{0x20, 0x01, 0x0D, 0xB8};
    use.measure("rs_matchIPRuleGroupEx", [&] {
        for (const int32_t family : {4, 6}) {
            for (uint32_t i = 0; i < 1000; ++i) {
                key[5] = static_cast<uint8_t>(i % 100);
                key[7] = static_cast<uint8_t>(i % 10);
                rs_matchIPRuleGroupEx(group, family, key.data(), &result);
            }
        }
    });
}

// The life of a set and of its group. Most texts are no rules of the type, and are refused.
void measureLife(StackUse& use, int32_t type, const std::vector<std::string>& rules) {
    RuleSet* set = nullptr;
    RuleGroup* group = nullptr;
    int32_t status = RULE_OK;
    uint32_t released = 0;
    use.measure("rs_newRuleSet", [&] { status = rs_newRuleSet(type, &set); });
    ASSERT_EQ(RULE_OK, status);
    use.measure("rs_registerRuleCallback", [&] {
        status = rs_registerRuleCallback(
            set, RULE_CALLBACK_RELEASE,
            [](void* /*userData*/, void* context) { ++*static_cast<uint32_t*>(context); },
            &released);
    });
    ASSERT_EQ(RULE_OK, status);
    use.measure("rs_addRuleToRuleSet", [&] {
        for (const std::string& text : texts()) {
            rs_addRuleToRuleSet(set, text.data(), size32(text), 0, NO_NUMBER);
        }
    });
    use.measure("rs_addRuleToRuleSetEx", [&] {
        for (const std::string& text : rules) {
            status = std::min(status, rs_addRuleToRuleSetEx(set, text.data(), size32(text), 0,
                                                            NO_NUMBER, &released));
        }
    });
    EXPECT_EQ(RULE_OK, status);
    use.measure("rs_buildRuleGroup", [&] { status = rs_buildRuleGroup(set, &group); });
    ASSERT_EQ(RULE_OK, status);
    matchAllTexts(use, group);
    matchAddresses(use, group);
    use.measure("rs_delRuleSet", [&] { rs_delRuleSet(&set); });
    use.measure("rs_delRuleGroup", [&] { rs_delRuleGroup(&group); });
    EXPECT_LT(0u, released);
}

TEST(StackUse, OfEveryFunctionIsBounded) {
    StackUse use;
    measureValidators(use);
    measureConverters(use);
    for (int32_t type = RULE_TYPE_IP; type <= RULE_TYPE_COMPOUND; ++type) {
        SCOPED_TRACE(type);
        std::vector<std::string> rules = {longRule(type)};
        for (uint32_t n = 1; n <= MANY_RULES; ++n) {
            rules.push_back(rule(type, n));
        }
        ASSERT_NO_FATAL_FAILURE(measureLife(use, type, rules));
    }
    constexpr size_t EXPORTED_FUNCTIONS = 21;
    EXPECT_EQ(EXPORTED_FUNCTIONS, use.most().size());
    for (const auto& [function, depth] : use.most()) {
        std::cout << "[ STACK    ] " << depth << " bytes: " << function << '\n';
        EXPECT_GE(MOST_STACK, depth) << function;
    }
}

}  // namespace

}  // namespace rs::test
