#!/usr/bin/env bash
# Every country range of the Internet as a rule, and a million addresses classified by the command.
#
#     usage: demo/run.sh BUILD_DIR [--verify]
#
# BUILD_DIR is a build of this project. --verify then checks the answers against the files themselves, line by line.
# All files go to BUILD_DIR/demo and are written anew each time: rules.txt, keys.txt and answers.txt, and with --verify
# probes.txt and probe_answers.txt.
set -euo pipefail
export LC_ALL=C

readonly geoip=/usr/share/tor/geoip
readonly geoip6=/usr/share/tor/geoip6
readonly checked_keys=100000

fail() {
    echo "demo: $*" >&2
    exit 1
}

# with_commas NUMBER
with_commas() {
    awk -v n="$1" 'BEGIN { while (n ~ /^[0-9][0-9][0-9][0-9]/) sub(/[0-9][0-9][0-9](,|$)/, ",&", n); print n }'
}

# tally ANSWERS: the ten most frequent countries. The value of a rule is 256 times the first letter plus the second.
tally() {
    awk -F '\t' '{ ++count[$4] } END { for (v in count) printf "%d %c%c\n", count[v], v / 256, v % 256 }' "$1" |
        sort -k 1,1nr -k 2,2 |
        awk '
            { total += $1 }
            NR <= 10 { count[NR] = $1; country[NR] = $2 }
            END {
                for (i = 1; i <= 10 && i in count; ++i) {
                    bar = ""
                    for (marks = count[i] / count[1] * 40; marks >= 1; --marks) bar = bar "#"
                    share = 100 * count[i] / total
                    printf "    %s %7d  %4.1f %%  %s\n", country[i], count[i], share, bar
                }
            }'
}

verify() {
    echo
    echo "Checking against the files, line by line; this takes about half a minute."
    # One address of every range shows that its rule was accepted, and that it is the one that answers.
    awk -F '[-\t]' '{ print $1 }' rules.txt >probes.txt
    "$ruleset" match -t ip -r rules.txt <probes.txt >probe_answers.txt 2>probe_summary.txt ||
        fail "the command failed: $(cat probe_summary.txt)"
    ./geoip_check "$geoip" "$geoip6" probe_answers.txt keys.txt answers.txt "$checked_keys"
}

[[ $# -eq 1 || ($# -eq 2 && $2 == --verify) ]] || fail "usage: demo/run.sh BUILD_DIR [--verify]"
[[ -d $1 ]] || fail "no such folder: $1"
build_dir=$(cd "$1" && pwd)
readonly build_dir ruleset=$build_dir/cli/ruleset
for program in "$ruleset" "$build_dir/demo/geoip_input" "$build_dir/demo/geoip_check"; do
    [[ -x $program ]] || fail "$program is not built; ./dev demo builds it"
done
for file in "$geoip" "$geoip6"; do
    [[ -r $file ]] || fail "$file is missing; install it with: apt-get install tor-geoipdb"
done
cd "$build_dir/demo"

written=$(./geoip_input "$geoip" "$geoip6" .)
read -r ipv4_ranges ipv6_ranges keys <<<"$written"
half=$((keys / 2))
cat <<INTRODUCTION
Rules:      $(with_commas "$ipv4_ranges") IPv4 and $(with_commas "$ipv6_ranges") IPv6 ranges with the country as value
Addresses:  $(with_commas "$keys"), IPv4 and IPv6 mixed: half drawn inside the ranges, half outside all of them
Files:      $PWD

\$ ruleset match -t ip -r rules.txt <keys.txt >answers.txt
INTRODUCTION
"$ruleset" match -t ip -r rules.txt <keys.txt >answers.txt || fail "the command failed"

matched=$(awk 'END { print NR }' answers.txt)
[[ $matched -eq $half ]] || fail "$matched addresses matched, but $half were drawn inside the ranges"
cat <<RESULT

$(with_commas "$matched") addresses matched, exactly the half drawn inside. The most frequent countries (each range is
drawn equally often, so these are the countries with the most ranges, not with the most addresses; the times above
include reading and writing the lines):
RESULT
tally answers.txt

if [[ ${2:-} == --verify ]]; then
    verify
fi
