#!/usr/bin/env bash
# testing_figures_test.sh PROJECT_DIR: fails unless scripts/testing_figures.py writes what small runs made here gave, and
# leaves a block as it is after a run of only a part.
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
mkdir -p "$made"/{docs,fuzz} "$made"/build/{dev/tests,fuzz,coverage,mutate}
touch "$made"/fuzz/{ip_rule,url_rule}_fuzz.cpp

failures=0
fail() {
    echo "testing_figures_test.sh: $*" >&2
    failures=$((failures + 1))
}

# writes TEXT: the page has the text once the script has run on it. Every block begins as the word "old".
writes() {
    local block
    for block in tests faults properties fuzz coverage mutants; do
        printf '<!-- figures: %s -->\nold %s\n<!-- end of figures -->\n' "$block" "$block"
    done >"$made/docs/testing.md"
    scripts/testing_figures.py "$made" >/dev/null
    if ! grep -qF -- "$1" "$made/docs/testing.md"; then
        fail "expected: $1"$'\n'"written: $(cat "$made/docs/testing.md")"
    fi
}

cat >"$made/build/dev/tests/fault_tests" <<'PROGRAM'
#!/bin/sh
echo '[ FAULTS   ]   1200 allocations: building URL rules'
echo '[ FAULTS   ]   1234 allocations failed in all'
PROGRAM
chmod +x "$made/build/dev/tests/fault_tests"
writes '| building URL rules | 1,200 |'
writes '| IP rules, and single structures | 34 |'
writes 'old tests'

printf './dev properties 6\n   1000 comparisons: matchAll, family 4\n   1000 comparisons: all\n' \
    >"$made/build/dev/properties.log"
writes "$(printf '| %cmatchAll%c, family 4 | 1,000 |' \` \`)"
echo '[  FAILED  ] Property.Fails' >>"$made/build/dev/properties.log"
writes 'old properties'

printf '%s\n' 'fuzzer executions' 'ip_rule 5000 10 20 30 40  none' 'url_rule 9 - - - -  ended with status 1' \
    'fuzz.sh: 2 fuzzers of 7 s, 1 failed' >"$made/build/fuzz/fuzz_table"
writes '| 5,000 | 10 | 20 | 30 | none |'
writes '| 9 | - | - | - | ended with status 1 |'
sed -i '/^url_rule/d' "$made/build/fuzz/fuzz_table"
writes 'old fuzz'

echo '{"line_covered": 9, "line_total": 10, "line_percent": 90.0, "branch_covered": 1, "branch_total": 4,
    "branch_percent": 25.0}' >"$made/build/coverage/coverage.json"
writes '| lines | 9 | 10 | 90.0 % |'
writes '| branches | 1 | 4 | 25.0 % |'

printf '%s\n' "./dev mutate 2 --seed 1 --only ''" 'killed src/ip/a.h:1' '    - a' 'SURVIVED src/ip/b.h:2' \
    >"$made/build/mutate/results.txt"
writes '| all | 2 | 1 |'
sed -i "1s/''/'ip'/" "$made/build/mutate/results.txt"
writes 'old mutants'

if [[ $failures -gt 0 ]]; then
    exit 1
fi
