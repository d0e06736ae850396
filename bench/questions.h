// The questions of peer_bench: which lists they take, and who is asked.
//
// Each has a file of its own, which says what is asked of each contender and where that differs.
#pragma once

#include "lists.h"
#include "session.h"

namespace bench {

using Ask = void(const Options& options, const ListKind& kind, const RuleList& list);

Ask askHosts;     // ask_hosts.cpp: single addresses
Ask askRoutes;    // ask_routes.cpp: nested prefixes
Ask askNames;     // ask_names.cpp: names below names
Ask askSuffixes;  // ask_names.cpp: the public suffix of a name
Ask askUrls;      // ask_urls.cpp: URLs
Ask askTexts;     // ask_texts.cpp: texts alone, without rules
Ask askThreads;   // ask_threads.cpp: one group, one and two threads

}  // namespace bench
