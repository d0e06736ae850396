// Random host names, URLs and rules for them: of few labels and paths, so that hits, suffixes,
// duplicates and crowded hosts are frequent; in every form in which they can be written.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/random_source.h"

namespace rs::test {

// A label, well formed or not: letters of either case, escapes, UTF-8, bytes that no host has.
std::string randomLabel(RandomSource& random);

// Labels between dots, at times with dots at the ends or of a length near the limits.
std::string randomHost(RandomSource& random);

std::string randomDomainRule(RandomSource& random);

// A bracketed IPv6 address in one of its forms, mostly well formed.
std::string randomIpLiteral(RandomSource& random);

// From the first '/', '?' or '#' on, with at most maxStars '*'.
std::string randomRest(RandomSource& random, uint32_t maxStars);

std::string randomUrl(RandomSource& random);
std::string randomUrlRule(RandomSource& random);

// One of the texts that mean the same host: other letter case, escapes, a dot at the end.
std::string disguise(std::string_view host, RandomSource& random);

// text with a few bytes changed, added or taken away.
std::string mutateText(std::string_view text, RandomSource& random);

}  // namespace rs::test
