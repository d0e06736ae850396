// Lookups write to no variable of the library: they run while those that it has may only be read.
#include <ruleset.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <link.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/match_result.h"
#include "support/rule_builder.h"
#include "support/text.h"

namespace rs::test {

namespace {

// The pages of the library's variables.
struct Pages {
    void* first = nullptr;
    size_t length = 0;
};

// Called for each program and library that is loaded: finds the one whose name has "libruleset.so" in it.
int findVariables(dl_phdr_info* info, size_t /*size*/, void* found) {
    if (std::string_view(info->dlpi_name).find("libruleset.so") == std::string_view::npos) {
        return 0;
    }
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    uintptr_t readOnlyEnd = 0;  // of what the loader has made read-only itself
    for (size_t i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = info->dlpi_phdr[i];
        if (part.p_type == PT_GNU_RELRO) {
            readOnlyEnd = (info->dlpi_addr + part.p_vaddr + part.p_memsz) / page * page;
        }
    }
    for (size_t i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = info->dlpi_phdr[i];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_W) == 0) {
            continue;
        }
        const uintptr_t start = info->dlpi_addr + part.p_vaddr;
        const uintptr_t first = std::max(start / page * page, readOnlyEnd);
        const uintptr_t end = (start + part.p_memsz + page - 1) / page * page;
        *static_cast<Pages*>(found) = {reinterpret_cast<void*>(first), end - first};
    }
    return 1;
}

struct Answer {
    int32_t status;
    MatchResult result;

    friend bool operator==(const Answer&, const Answer&) = default;
};

class ReadOnlyLibrary : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(1, dl_iterate_phdr(findVariables, &variables));
        ASSERT_NE(nullptr, variables.first);
        // The loader enters a function of another library when it is called first.
        before = answers();
    }
    void TearDown() override { allow(PROT_READ | PROT_WRITE); }

    void allow(int access) const {
        ASSERT_EQ(0, mprotect(variables.first, variables.length, access));
    }

    std::vector<Answer> answers() const {
        const std::array<uint8_t, 16> address6{0x20, 0x01, 0x0D, 0xB8};
        std::vector<Answer> all;
        const auto ask = [&all](const auto& lookup) {
            MatchResult result = UNTOUCHED;
            const int32_t status = lookup(&result);
            all.push_back({status, result});
        };
        for (const uint32_t address : {0x0A000001U, 0x0A000002U, 0x0B000000U}) {
            ask([&](MatchResult* result) {
                return rs_matchIPRuleGroup(ipGroup.get(), address, result);
            });
        }
        ask([&](MatchResult* result) {
            return rs_matchIPRuleGroupEx(ipGroup.get(), 6, address6.data(), result);
        });
        for (const std::string_view name : {"WWW.example.com", "b\u00FCcher.example", "x.test"}) {
            ask([&](MatchResult* result) {
                return rs_matchDomainNameWithRuleGroup(domainGroup.get(), name.data(), size32(name),
                                                       result);
            });
        }
        for (const std::string_view url : {"https://Example.com/a%62?c+d", "[::1]/", "x.test/"}) {
            ask([&](MatchResult* result) {
                return rs_matchUrlWithRuleGroup(urlGroup.get(), url.data(), size32(url), result);
            });
        }
        return all;
    }

    RuleGroupHandle ipGroup = makeIpGroup({{"10.0.0.1"}, {"10.0.0.0/24"}, {"2001:db8::/32"}});
    RuleGroupHandle domainGroup = makeDomainGroup({{"*.example.com"}, {"b\u00FCcher.example"}});
    RuleGroupHandle urlGroup = makeUrlGroup({{"example.com/a*"}, {"[::1]/"}});
    Pages variables;
    std::vector<Answer> before;
};

TEST_F(ReadOnlyLibrary, AnswersEveryLookup) {
    allow(PROT_READ);
    EXPECT_EQ(before, answers());
}

// Each flat lookup has a secret of its own, and the library counts how many it has made.
TEST_F(ReadOnlyLibrary, EndsTheProgramThatBuildsAGroup) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const RuleSetHandle set = newRuleSet(RULE_TYPE_IP);
    for (uint32_t i = 0; i < 100; ++i) {
        ASSERT_EQ(RULE_OK, addRule(*set, "10.0.0." + std::to_string(i)));
    }
    allow(PROT_READ);
    EXPECT_DEATH(buildRuleGroup(*set), "");
}

}  // namespace

}  // namespace rs::test
