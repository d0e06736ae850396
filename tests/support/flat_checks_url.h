// What must hold of the flat lookups of URL rules: see support/flat_checks.h.
#pragma once

#include "url/url_index.h"

namespace rs::test {

// URLs of the rules of every host, and URLs next to them, have the same entry with the flat lookups as without.
void checkFlatUrls(const UrlIndex& index);

}  // namespace rs::test
