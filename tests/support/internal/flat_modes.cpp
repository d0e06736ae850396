// What a test program that reaches the library's internals does beside its tests:
//
//     RULESET_FLAT=always|never   builds every group with flat lookups, or without; by size otherwise
//     every group built           is checked: its flat lookups find what its ordered structures hold, and nothing else
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "lookup/flat_policy.h"
#include "support/flat_checks.h"
#include "support/rule_handles.h"

namespace rs::test {

namespace {

FlatUse flatUseOf(std::string_view name) {
    if (name == "always") {
        return FlatUse::ALWAYS;
    }
    if (name == "never") {
        return FlatUse::NEVER;
    }
    if (!name.empty()) {
        std::cerr << "RULESET_FLAT is always, never, or not set\n";
        std::exit(EXIT_FAILURE);
    }
    return FlatUse::BY_SIZE;
}

[[maybe_unused]] const bool IS_SET_UP = [] {
    const char* name = std::getenv("RULESET_FLAT");
    flatUse = flatUseOf(name == nullptr ? "" : name);
    checkBuiltGroup = checkFlatLookups;
    return true;
}();

}  // namespace

}  // namespace rs::test
