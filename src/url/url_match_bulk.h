// UrlIndex + many URLs -> their answers, as url/url_match.h gives them one by one.
//
//     step 1    the URL is split      the bucket of its host
//     step 2                          the front that the bucket names
//     step 3    the answer, as by a single lookup
//
// All URLs of a block take a step before any takes the next: see core/bulk.h.
//
// Threads:    lookups only read.
// Cost:       that of single lookups, less most of their waits for memory. 11 KB of stack.
#pragma once

#include <cstddef>

#include "core/bulk.h"
#include "syntax/text.h"
#include "url/url_index.h"

namespace rs {

// A text that is null or empty is no URL.
void matchUrls(const UrlIndex& index, const Text* urls, size_t count,
               const BulkAnswers& answers) noexcept;

}  // namespace rs
