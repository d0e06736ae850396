// The families of each group, which hostile_address_inputs.cpp and hostile_text_inputs.cpp make.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "hostile_inputs.h"

namespace bench {

using HostileFamilies = std::span<const HostileFamily>;

HostileFamilies ipFamilies();
HostileFamilies packetFilterFamilies();
HostileFamilies ipPortFamilies();
HostileFamilies compoundFamilies();

HostileFamilies nameFamilies();
HostileFamilies urlFamilies();
HostileFamilies nameKeyFamilies();
HostileFamilies urlKeyFamilies();
HostileFamilies nameRuleFamilies();
HostileFamilies urlRuleFamilies();

inline std::string repeated(const std::string& unit, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += unit;
    }
    return text;
}

// As many copies of a unit as fit.
inline std::string filled(const std::string& unit, size_t bytes) {
    return repeated(unit, bytes / unit.size());
}

}  // namespace bench
