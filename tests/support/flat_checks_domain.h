// What must hold of the flat lookup of domain names: see support/flat_checks.h.
#pragma once

#include "domain/domain_index.h"

namespace rs::test {

// Names of both tables, and names over, under and beside them, have the same entry with flatNames as without.
void checkFlatDomainNames(const DomainIndex& index);

}  // namespace rs::test
