// DomainIndex + many names -> their answers, as domain/domain_match.h gives them one by one.
//
// Plain names are brought into wire form first, and what their lookups read is asked for in the steps of
// lookup/flat_names_ahead.h, all names of a block at the same time: see core/bulk.h.
//
// Threads:    lookups only read.
// Cost:       that of single lookups, less most of their waits for memory.
#pragma once

#include <cstddef>

#include "core/bulk.h"
#include "domain/domain_index.h"
#include "syntax/text.h"

namespace rs {

// A text that is null or empty is no name.
void matchDomainNames(const DomainIndex& index, const Text* names, size_t count,
                      const BulkAnswers& answers) noexcept;

}  // namespace rs
