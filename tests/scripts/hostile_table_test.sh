#!/usr/bin/env bash
# hostile_table_test.sh PROJECT_DIR: fails unless scripts/hostile_table.py shows the steps that stand out, says why, and
# tells a size that was stopped from one that was not tried.
# The backquotes of Markdown are no commands.
# shellcheck disable=SC2016
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
mkdir "$made/bench"

failures=0
fail() {
    echo "hostile_table_test.sh: $*" >&2
    failures=$((failures + 1))
}

# row FAMILY BYTES BUILD [FIELD]: a line as hostile_bench prints it.
row() {
    printf '{"group": "G", "family": "%s", "how": "how %s", "why": "why %s", "bytes": %s, "rules": 2, ' "$1" "$1" "$1" "$2"
    printf '"memory": 1000, "add": 1000, "build": %s, "lookup": 10, "delete": 1000, %s"unit": "ns"}\n' "$3" "${4:-}"
}

# run TIME: a run in which the families "slow" and "mended" take so long to build 64 KB, and "slow" is stopped at 1 MB.
run() {
    row random 4096 1000
    row random 65536 20000000
    row random 1048576 300000000
    row slow 4096 2000
    row slow 65536 "$1"
    row slow 1048576 0 '"stopped_in": "build", "stopped_by": "time", '
    row mended 4096 1000
    row mended 65536 "$1"
    row plain 65536 20000000
    row gone 4096 0 '"stopped_in": "build", "stopped_by": "memory", '
}
run 80000000 >"$made/before.json"
run 80000000 | sed '/"mended"/s/80000000/20000000/' >"$made/now.json"
printf '<!-- hostile: table -->\nold\n<!-- end of table -->\n' >"$made/bench/README.md"
scripts/hostile_table.py "$made/before.json" "$made/now.json" "$made" >/dev/null

shows() {
    if ! grep -qF -- "$1" "$made/bench/README.md"; then
        fail "expected: $1"$'\n'"written: $(cat "$made/bench/README.md")"
    fi
}
shows 'Before is commit `before`'
shows '| `slow` | build | 2.0 us | 2.0 us | 1.0 us | 80 ms | 80 ms | 20 ms | stopped | stopped | 300 ms |'
shows '- `slow`: how slow. **Stays dear** (build): why slow.'
shows '| `mended` | build | 1.0 us | 1.0 us | 1.0 us | 80 ms | 20 ms | 20 ms | - | - | 300 ms |'
shows '| `gone` | build | stopped | stopped | 1.0 us |'
grep -qxF -- '- `mended`: how mended.' "$made/bench/README.md" || fail "what is mended is not dear"
grep -qxF -- '- `plain`: how plain.' "$made/bench/README.md" || fail "what is as random input is not dear"
if grep -q '^old$' "$made/bench/README.md"; then
    fail "the old table stays"
fi

echo '{' >"$made/bench/README.md"
if scripts/hostile_table.py "$made/before.json" "$made/now.json" "$made" 2>/dev/null; then
    fail "a page without a block is accepted"
fi

[[ $failures -eq 0 ]]
