// The three host normalizers at a capacity from the input: capacity byte, name.
#include "domain/host_name.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_check.h"
#include "support/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string_view name = rs::fuzz::viewOf(data, size);
    const size_t capacity = rs::fuzz::takeCapacity(name);
    const rs::test::ExactText text(name);
    const auto run = [&](const rs::test::Outcome& expected, const char* what,
                         const auto& normalize) {
        rs::fuzz::checkOutcome(expected, capacity, what, [&](char* out, uint32_t* inOutCapacity) {
            return normalize(text.data(), text.size(), out, inOutCapacity);
        });
    };
    run(rs::test::strictHost(name), "the strict form", rs::normalizeHostName);
    run(rs::test::ruleHost(name), "the form for rules", rs::normalizeRuleHost);
    run(rs::test::matchHost(name), "the form for names", rs::normalizeMatchHost);
    return 0;
}
