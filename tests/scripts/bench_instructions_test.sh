#!/usr/bin/env bash
# bench_instructions_test.sh PROJECT_DIR: fails unless scripts/bench_instructions.py tells lookups that have grown, and
# rows that are on one side only, from those that have not, and compares no counts of different compilers.
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT

failures=0
fail() {
    echo "bench_instructions_test.sh: $*" >&2
    failures=$((failures + 1))
}

# counts FILE COMPILER ROWS: a file as the script writes it.
counts() {
    printf '{"compiler": "%s", "instructions": {%s}}\n' "$2" "$3" >"$made/$1"
}

# check MEASURED STATUS TEXT: what the comparison with the recorded counts must answer.
check() {
    local status=0 output
    output=$(scripts/bench_instructions.py check "$made/$1" "$made/recorded" 2>&1) || status=$?
    [[ $status -eq $2 ]] || fail "$1: status $status, expected $2"
    grep -qF -- "$3" <<<"$output" || fail "$1: expected: $3"$'\n'"printed: $output"
}

counts measured "g++ 12" '"names/hit": 200.0, "urls/hit": 100.0'
scripts/bench_instructions.py record "$made/measured" "$made/recorded" >/dev/null
check measured 0 '2 rows, none over 5 % more than recorded'

counts slack "g++ 12" '"names/hit": 209.9, "urls/hit": 50.0'
check slack 0 'none over 5 %'
counts grown "g++ 12" '"names/hit": 210.2, "urls/hit": 100.0'
check grown 1 'names/hit: 210.2 instructions, 5.1 % more than the recorded 200.0'
counts missing "g++ 12" '"names/hit": 200.0'
check missing 1 'urls/hit: recorded, but not measured'
counts new "g++ 12" '"names/hit": 200.0, "urls/hit": 100.0, "urls/miss": 1.0'
check new 1 'urls/miss: not recorded yet'
counts other "clang 14" '"names/hit": 900.0, "urls/hit": 100.0'
check other 2 'recorded with g++ 12, measured with clang 14'

if scripts/bench_instructions.py check 2>/dev/null; then
    fail "a call without a file is accepted"
fi

[[ $failures -eq 0 ]]
