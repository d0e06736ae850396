#!/usr/bin/env bash
# bench_table_test.sh PROJECT_DIR: fails unless scripts/bench_table.py writes ratios with the fastest peer, and tells
# targets that are met from those that are not, and lists that were stopped from those that were not tried.
# The backquotes of Markdown are no commands.
# shellcheck disable=SC2016
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
mkdir "$made/bench"

failures=0
fail() {
    echo "bench_table_test.sh: $*" >&2
    failures=$((failures + 1))
}

# lookup CASE RULES KEYS OURS [FIELD]: the lines of lookup_bench, with a peer of 40 ns.
lookup() {
    local call
    for call in loop chain; do
        printf '{"bench": "lookup", "case": "%s", "rules": %s, "keys": "%s", "call": "%s", ' "$1" "$2" "$3" "$call"
        printf '"looked_up": 9, "ours": %s, "peer": 40.0%s}\n' "$4" "${5:-}"
    done
}

# build CASE RULES SECONDS PEAK: a line of build_bench, of a group with 200 bytes a rule.
build() {
    printf '{"bench": "build", "case": "%s", "rules": %s, "add": 0.1, "build": %s, "free_group": 0.2, ' "$1" "$2" "$3"
    printf '"free_set": 0.1, "ordered_build": 0.3, "set_bytes": 96.0, "group_bytes": 200.0, "ordered_bytes": 150.0, '
    printf '"peak_bytes": %s, "resident_bytes": 210.0, "allocations": 1234}\n' "$4"
}

# run COMMIT OURS: a run in which a lookup of an IPv4 host takes so long.
run() {
    printf '{"bench": "run", "commit": "%s", "machine": "a machine"}\n' "$1"
    lookup ipv4_hosts 10000 hit 10.0 ', "peer_small": 5.0'
    lookup ipv4_hosts 1000000 hit "$2"
    lookup ipv4_hosts 1000000 miss 40.0
    lookup real_ipv6_prefixes 684436 hit 20.0 ', "ordered": 200.0'
    build ipv4_hosts 1000000 0.61 250.0
}
run now1234 20.0 >"$made/now.json"
lookup names 1000000 hit 20.0 >>"$made/now.json"
run past123 400.0 >"$made/before.json"
echo '{"bench": "lookup", "case": "names", "rules": 1000000, "stopped": 1}' >>"$made/before.json"
printf '<!-- bench: tables -->\nold\n<!-- end of tables -->\nafter\n' >"$made/bench/README.md"
scripts/bench_table.py "$made/now.json" "$made/before.json" --project "$made" >/dev/null

shows() {
    if ! grep -qF -- "$1" "$made/bench/README.md"; then
        fail "expected: $1"$'\n'"written: $(cat "$made/bench/README.md")"
    fi
}
shows 'Now is commit `now1234`, on a machine. Before is commit `past123`.'
shows '| 1 M IPv4 hosts, hit, loop: peer / ours | at least 1.2x | 0.10x | 2.00x | yes |'
shows '| 1 M IPv4 hosts, miss, loop: peer / ours | at least 1x | 1.00x | 1.00x | yes |'
shows '| 10 M IPv4 hosts, hit, loop: peer / ours | at least 1.5x | - | - | not measured |'
shows '| real IPv6 prefixes, hit, loop: tree / ours | at least 8x | 10.0x | 10.0x | yes |'
shows '| IPv4 hosts, hit, loop: 1 M / 10 k | at most 6x | 40.0x | 2.00x | yes |'
shows '| build of ipv4_hosts, 1 M rules, a million of them | at most 0.6 s | 0.61 s | 0.61 s | **no** |'
shows '| group of ipv4_hosts, 1 M rules: most while building / result | at most 1.5x | 1.25x | 1.25x | yes |'
shows '| `ipv4_hosts` | 10,000 | 10.0 | 5.00 | 0.50x | 0.50x | - | - | - | - |'
shows '| `names` | 1,000,000 | 20.0 | 40.0 | stopped | 2.00x | - | - | stopped | - |'
shows '| `ipv4_hosts` | 1,000,000 | 0.10 | 0.61 | 0.61 | 0.20 | 96.0 | 200 | 200 | 50.0 | 1.25x | 210 | 1,234 |'
shows 'after'
if grep -q '^old$' "$made/bench/README.md"; then
    fail "the old tables stay"
fi

scripts/bench_table.py "$made/now.json" --project "$made" >/dev/null
shows '| 1 M IPv4 hosts, hit, loop: peer / ours | at least 1.2x | - | 2.00x | yes |'

echo '{' >"$made/bench/README.md"
if scripts/bench_table.py "$made/now.json" --project "$made" 2>/dev/null; then
    fail "a page without a block is accepted"
fi

[[ $failures -eq 0 ]]
