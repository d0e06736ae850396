#!/usr/bin/env bash
# fuzz.sh BUILD_DIR SECONDS: runs every fuzzer of the build for that long. New inputs stay in BUILD_DIR/corpus, and so
# serve the next run; an input that fails is kept in BUILD_DIR/findings, to be moved to fuzz/corpus with the fix.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: scripts/fuzz.sh BUILD_DIR SECONDS}
seconds=${2:?usage: scripts/fuzz.sh BUILD_DIR SECONDS}

shopt -s nullglob
fuzzers=("$build"/fuzz/*_fuzz)
for fuzzer in "${fuzzers[@]}"; do
    name=$(basename "$fuzzer")
    entry=${name%_fuzz}
    found=$build/corpus/$entry
    findings=$build/findings/$entry
    mkdir -p "$found" "$findings"

    arguments=(-max_total_time="$seconds" -timeout=10 -print_final_stats=1 -artifact_prefix="$findings/")
    dictionary=fuzz/host.dict
    if [[ $entry == *url* ]]; then
        dictionary=fuzz/url.dict
    fi
    if [[ -f $dictionary ]]; then
        arguments+=(-dict="$dictionary")
    fi
    corpora=("$found")
    if [[ -d fuzz/corpus/$entry ]]; then
        corpora+=("fuzz/corpus/$entry")
    fi
    echo "=== $name, $seconds s"
    "$fuzzer" "${arguments[@]}" "${corpora[@]}"
done
echo "fuzz.sh: ${#fuzzers[@]} fuzzers"
