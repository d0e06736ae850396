// The exported normalizer.
#include <ruleset.h>

#include "url/url_normalize.h"

extern "C" int32_t rs_normalize_URL(const char* text, uint32_t length,
                                    NormalizedUrl* record) noexcept {
    return rs::normalizeUrl(text, length, record);
}
