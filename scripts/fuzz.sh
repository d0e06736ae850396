#!/usr/bin/env bash
# fuzz.sh BUILD_DIR SECONDS [ENTRY...]: runs every fuzzer of the build for that long, or those named, and ends with a
# table of what each has done:
#
#     executions, per second    of the entry
#     edges, features           of the code, covered by the inputs known then
#     inputs                    that are kept because each of them covers something
#     finding                   the input that failed, if one did
#
# New inputs stay in BUILD_DIR/corpus, and so serve the next run; an input that fails is kept in BUILD_DIR/findings, to
# be moved to fuzz/corpus with the fix. The table stays in BUILD_DIR/fuzz_table. A finding ends its fuzzer, but not the others, and makes the script fail.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: scripts/fuzz.sh BUILD_DIR SECONDS [ENTRY...]}
seconds=${2:?usage: scripts/fuzz.sh BUILD_DIR SECONDS [ENTRY...]}
shift 2

entries=("$@")
if [[ ${#entries[@]} -eq 0 ]]; then
    shopt -s nullglob
    for fuzzer in "$build"/fuzz/*_fuzz; do
        entry=${fuzzer##*/}
        entries+=("${entry%_fuzz}")
    done
fi
if [[ ${#entries[@]} -eq 0 ]]; then
    echo "fuzz.sh: no fuzzers in $build/fuzz" >&2
    exit 1
fi

# dictionaries ENTRY: the files with the words that its inputs are made of. An entry that is not known may need any.
dictionaries() {
    case $1 in
        ip_rule | ip_match) echo fuzz/ip.dict ;;
        ip_port* | packet_filter* | compound* | endpoint*) echo fuzz/ip.dict fuzz/endpoint.dict ;;
        *url*) echo fuzz/url.dict ;;
        host* | domain*) echo fuzz/host.dict ;;
        *) echo fuzz/*.dict ;;
    esac
}

# figure LOG PATTERN: what \1 stands for in the last line of the log that has the pattern, or "-".
figure() {
    local last
    last=$(sed -nE "s/.*$2.*/\1/p" "$1" | tail -n 1)
    echo "${last:--}"
}

# run ENTRY: fuzzes, and appends a row to the table. Fails when the fuzzer does.
run() {
    local entry=$1
    local found=$build/corpus/$entry findings=$build/findings/$entry
    local log=$build/logs/$entry dictionary=$build/dictionaries/$entry
    mkdir -p "$found" "$findings" "$build/logs" "$build/dictionaries"

    local files
    read -ra files <<<"$(dictionaries "$entry")"
    cat "${files[@]}" >"$dictionary" || return 1
    local corpora=("$found")
    if [[ -d fuzz/corpus/$entry ]]; then
        corpora+=("fuzz/corpus/$entry")
    fi

    local status=0
    "$build/fuzz/${entry}_fuzz" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 -dict="$dictionary" \
        -artifact_prefix="$findings/" "${corpora[@]}" 2>&1 | tee "$log" || status=$?

    local finding=none
    if [[ $status -ne 0 ]]; then
        finding=$(figure "$log" 'Test unit written to (.*)')
        if [[ $finding == - ]]; then
            finding="ended with status $status, see $log"
        fi
    fi
    # shellcheck disable=SC2059
    printf "$row" "$entry" \
        "$(figure "$log" 'stat::number_of_executed_units: *([0-9]+)')" \
        "$(figure "$log" 'stat::average_exec_per_sec: *([0-9]+)')" \
        "$(figure "$log" ' cov: ([0-9]+)')" \
        "$(figure "$log" ' ft: ([0-9]+)')" \
        "$(figure "$log" ' corp: ([0-9]+)')" \
        "$finding" >>"$table"
    return "$status"
}

row='%-20s %11s %11s %7s %9s %7s  %s\n'
table=$build/fuzz_table
# shellcheck disable=SC2059
printf "$row" fuzzer executions 'per second' edges features inputs finding >"$table"
failures=0
for entry in "${entries[@]}"; do
    echo "=== ${entry}_fuzz, $seconds s"
    run "$entry" || failures=$((failures + 1))
done

echo "fuzz.sh: ${#entries[@]} fuzzers of $seconds s, $failures failed" >>"$table"

echo
cat "$table"
[[ $failures -eq 0 ]]
