// URL -> canonical scheme, host, port and path.
#pragma once

#include <ruleset.h>

#include <cstdint>

namespace rs {

// See rs_normalize_URL.
[[nodiscard]] int32_t normalizeUrl(const char* text, uint32_t length,
                                   NormalizedUrl* record) noexcept;

}  // namespace rs
