#include "url/url_match_bulk.h"

#include <ruleset.h>

#include "url/path_index.h"
#include "url/url_match.h"
#include "url/url_match_key.h"

namespace rs {

namespace {

// URLs of usual length are split once and kept until the last step. Others are looked up as they are.
constexpr uint32_t LONGEST_KEPT_URL = 64;
constexpr uint32_t KEPT_SCRATCH = urlScratchSize(LONGEST_KEPT_URL);

// A URL between the steps.
struct BulkUrl {
    bool isKept;
    int32_t status;  // of a kept URL
    UrlMatchKey key;
    FrontAhead ahead;
    char scratch[KEPT_SCRATCH];
};

void begin(const PathIndex* paths, Text url, BulkUrl& state) noexcept {
    state.ahead = {};
    state.isKept = !url.isEmpty() && url.length <= LONGEST_KEPT_URL;
    if (!state.isKept) {
        return;
    }
    uint32_t capacity = urlScratchSize(url.length);
    state.status = parseUrlForMatch(url.text, url.length, state.scratch, &capacity, &state.key);
    if (state.status == RULE_OK && paths != nullptr) {
        state.ahead = prefetchHost(*paths, state.key.host);
    }
}

int32_t lookUp(const UrlIndex& index, Text url, const BulkUrl& state,
               MatchResult& result) noexcept {
    if (state.isKept) {
        return state.status == RULE_OK ? lookupUrl(index, state.key, result) : state.status;
    }
    return url.isEmpty() ? RULE_ERR_INVALID_ARG : matchUrl(index, url.text, url.length, result);
}

}  // namespace

void matchUrls(const UrlIndex& index, const Text* urls, size_t count,
               const BulkAnswers& answers) noexcept {
    takeSteps<BulkUrl>(
        count, [&](size_t i, BulkUrl& state) noexcept { begin(index.pathIndex, urls[i], state); },
        [&](size_t, BulkUrl& state) noexcept {
            if (index.pathIndex != nullptr) {
                prefetchFront(*index.pathIndex, state.ahead);
            }
        },
        [&](size_t i, BulkUrl& state) noexcept {
            answers.answer(i, [&](MatchResult& result) noexcept {
                return lookUp(index, urls[i], state, result);
            });
        });
}

}  // namespace rs
