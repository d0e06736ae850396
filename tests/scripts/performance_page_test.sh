#!/usr/bin/env bash
# performance_page_test.sh PROJECT_DIR: fails unless scripts/performance_page.py writes the page and charts of a run:
# ratios to the fastest call of the library, contenders that were left out, and targets that are met or not.
# The backquotes of Markdown are no commands.
# shellcheck disable=SC2016
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
page=$made/docs/performance.md
charts=$made/docs/performance

failures=0
fail() {
    echo "performance_page_test.sh: $*" >&2
    failures=$((failures + 1))
}

# lookup QUESTION RULES CONTENDER KEYS NANOSECONDS
lookup() {
    printf '{"bench": "peer_lookup", "question": "%s", "rules": %s, "contender": "%s", "keys": "%s", ' "$1" "$2" "$3" "$4"
    printf '"looked_up": 9, "ns": %s}\n' "$5"
}

# built QUESTION RULES CONTENDER MICROSECONDS BYTES
built() {
    printf '{"bench": "peer_build", "question": "%s", "rules": %s, "contender": "%s", ' "$1" "$2" "$3"
    printf '"build_us": %s, "bytes": %s}\n' "$4" "$5"
}

# command CASE NAME RULES KEYS SECONDS PROCESSOR RESIDENT SAME
command_line() {
    printf '{"bench": "command", "case": "%s", "name": "%s", "command": "%s ...", "rules": %s, ' "$1" "$2" "$2" "$3"
    printf '"keys": %s, "seconds": %s, "processor": %s, "resident": %s, "same": %s}\n' "$4" "$5" "$6" "$7" "$8"
}

{
    echo '{"bench": "run", "commit": "now1234", "date": "2026-11-21", "machine": "a machine", "packages": "one 1.2"}'
    for rules in 1000 1000000; do
        built ipv6_hosts "$rules" ruleset "$((rules * 2))" "$((rules * 150))"
        built ipv6_hosts "$rules" 'sorted array' "$rules" "$((rules * 20))"
        for keys in hit miss; do
            lookup ipv6_hosts "$rules" ruleset "$keys" 20.0
            lookup ipv6_hosts "$rules" 'ruleset, bulk' "$keys" 10.0
            lookup ipv6_hosts "$rules" 'sorted array' "$keys" 40.0
        done
    done
    built ipv6_hosts 1000 rte_lpm6 9000 80000000
    lookup ipv6_hosts 1000 rte_lpm6 hit 5.0
    echo '{"bench": "peer_left_out", "question": "ipv6_hosts", "rules": 1000000, "contender": "rte_lpm6", "bytes": 13400000000}'
    built public_suffixes 19000 ruleset 10000 2700000
    lookup public_suffixes 19000 ruleset all 100.0
    lookup public_suffixes 19000 'libpsl, list' all 250.0
    lookup text_ipv4 0 ruleset all 10.0
    lookup text_ipv4 0 inet_pton all 42.0
    echo '{"bench": "threads", "case": "names", "rules": 1000000, "one": 5.0, "two": 8.5}'
    echo '{"bench": "threads", "case": "urls", "rules": 1000000, "one": 5.0, "two": 9.0}'
    command_line ranges 'ruleset -j 1' 400000 10000000 4.0 3.0 60000000 true
    command_line ranges 'ruleset -j 2' 400000 10000000 2.0 3.2 61000000 true
    command_line ranges grepcidr 400000 10000000 6.0 5.7 9000000 true
    command_line names ruleset 100000 1000000 2.0 1.0 60000000 true
    command_line names 'rg -F' 100000 1000000 4.0 3.0 60000000 false
} >"$made/run.json"
mkdir -p "$charts"
touch "$charts/old.svg"
scripts/performance_page.py "$made/run.json" --project "$made" >/dev/null

shows() {
    if ! grep -qF -- "$1" "$page"; then
        fail "expected: $1"$'\n'"written: $(cat "$page")"
    fi
}
shows '| commit | now1234 |'
shows '| Debian packages | one 1.2 |'
shows '| hit | 1,000 | 1,000,000 |'
shows '| **ruleset** | 20.0 | 20.0 |'
shows '| **ruleset, bulk** | 10.0 | 10.0 |'
shows '| sorted array | 40.0 (4.00x) | 40.0 (4.00x) |'
shows '| rte_lpm6 | 5.00 (0.50x) | left out: 13.4 GB |'
shows '| **ruleset** | 150, 2.00 | 150, 2.00 |'
shows '| rte_lpm6 | 80,000, 9.00 | - |'
shows '![IPv6 addresses: time of a lookup](performance/ipv6_hosts.svg)'
shows '| libpsl, list | 250 (2.50x) |'
shows '|  | inet_pton | `inet_pton` takes a zero byte at the end instead of a length | 42.0 | 4.20x |'
shows '| host names | 1,000,000 | 5.00 | 8.50 | 1.70x |'
shows '| two reader threads / one, host names | at least 1.8x | 1.70x | **no** |'
shows '| two reader threads / one, URLs | at least 1.8x | 1.80x | yes |'
shows '| two reader threads / one, IPv4 addresses | at least 1.8x | - | not measured |'
shows '| `ruleset match` beside grepcidr, ranges, one thread, processor time | at least 2x | 1.90x | **no** |'
shows '| `ruleset match`, ranges, two threads / one | at least 1.8x | 2.00x | yes |'
shows '| `ruleset match`, ranges, resident memory for a rule | at most 140 bytes | 150 bytes | **no** |'
shows '| `grepcidr ...` | yes | 6.00 (1.50x) | 5.70 (1.90x) | 9 |'
shows '| `rg -F ...` | no | 4.00 (2.00x) | 3.00 (3.00x) | 60 |'

[[ ! -e $charts/old.svg ]] || fail "an old chart stays"
[[ ! -e $charts/public_suffixes.svg ]] || fail "one size makes a chart"
for chart in ipv6_hosts ipv6_hosts_build; do
    python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' "$charts/$chart.svg" ||
        fail "$chart.svg is no XML"
    grep -q 'prefers-color-scheme: dark' "$charts/$chart.svg" || fail "$chart.svg has no colours for dark pages"
    grep -q '>sorted array</text>' "$charts/$chart.svg" || fail "$chart.svg does not name a line"
done

# No two names of a panel are nearer than their height.
python3 - "$charts/ipv6_hosts.svg" <<'CHECK' || fail "names of lines cover each other"
import re
import sys
labels = re.findall(r'<text class="name[^"]*" x="([0-9.]+)" y="([0-9.]+)">', open(sys.argv[1]).read())
for x in {x for x, _ in labels}:
    places = sorted(float(y) for left, y in labels if left == x)
    assert all(low + 13 < high for low, high in zip(places, places[1:])), places
CHECK

[[ $failures -eq 0 ]]
