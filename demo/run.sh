#!/usr/bin/env bash
# Real lists as rules, and addresses, host names and URLs classified by the command: every country range of the Internet,
# the public suffixes, and the network filters of a content blocker.
#
#     usage: demo/run.sh BUILD_DIR [--verify]
#
# BUILD_DIR is a build of this project. --verify then checks the answers against the files themselves, line by line.
# All files go to BUILD_DIR/demo and are written anew each time: rules.txt, keys.txt and answers.txt, with name_ or url_
# in front for the other two parts, and with --verify probes.txt and probe_answers.txt.
set -euo pipefail
export LC_ALL=C

readonly geoip=/usr/share/tor/geoip
readonly geoip6=/usr/share/tor/geoip6
readonly suffix_list=/usr/share/publicsuffix/public_suffix_list.dat
readonly filter_package=webext-ublock-origin-firefox
readonly checked_keys=100000
readonly checked_names=10000

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

# answer KIND KEYS RULES ANSWERS: shows the command, and runs it.
answer() {
    echo
    echo "\$ ruleset match -t $1 -r $3 <$2 >$4"
    "$ruleset" match -t "$1" -r "$3" <"$2" >"$4" || fail "the command failed"
}

classify_addresses() {
    local written ipv4_ranges ipv6_ranges keys matched
    written=$(./geoip_input "$geoip" "$geoip6" .)
    read -r ipv4_ranges ipv6_ranges keys <<<"$written"
    cat <<INTRODUCTION
ADDRESSES
Rules:      $(with_commas "$ipv4_ranges") IPv4 and $(with_commas "$ipv6_ranges") IPv6 ranges with the country as value
Addresses:  $(with_commas "$keys"), IPv4 and IPv6 mixed: half drawn inside the ranges, half outside all of them
INTRODUCTION
    answer ip keys.txt rules.txt answers.txt
    matched=$(awk 'END { print NR }' answers.txt)
    [[ $matched -eq $((keys / 2)) ]] || fail "$matched addresses matched, but $((keys / 2)) were drawn inside the ranges"
    cat <<RESULT

$(with_commas "$matched") addresses matched, exactly the half drawn inside. The most frequent countries (each range is
drawn equally often, so these are the countries with the most ranges, not with the most addresses; the times above
include reading and writing the lines):
RESULT
    tally answers.txt
}

classify_names() {
    local written rules exceptions keys
    written=$(./suffix_input "$suffix_list" .)
    read -r rules exceptions keys <<<"$written"
    cat <<INTRODUCTION

HOST NAMES
Rules:      $(with_commas "$rules") public suffixes as wildcard rules, the longest first; all taken
Not said:   $(with_commas "$exceptions") exceptions ("!"), which no rule that covers can say
Names:      $(with_commas "$keys") in, at and near the suffixes
INTRODUCTION
    answer domain name_keys.txt name_rules.txt name_answers.txt
    echo "$(with_commas "$(awk 'END { print NR }' name_answers.txt)") names lie below a public suffix."
}

classify_urls() {
    local written filters rules keys
    local -a lists
    mapfile -t lists < <(dpkg-query --listfiles "$filter_package" 2>/dev/null |
        grep -E '/(easylist|easyprivacy|urlhaus-filter-online)\.txt$')
    [[ ${#lists[@]} -eq 3 ]] || fail "the filter lists are missing; install them with: apt-get install $filter_package"
    written=$(./filter_input . "${lists[@]}")
    read -r filters rules keys <<<"$written"
    cat <<INTRODUCTION

URLS
Rules:      $(with_commas "$rules") for $(with_commas "$filters") network filters, four rules each: with and without https, the host and all below it
Not said:   by reason
$(sort -k 1,1nr refused.txt | awk -F '\t' '{ printf "    %7d  %s\n", $1, $2 }')
URLs:       $(with_commas "$keys") that the filters cover, or nearly
INTRODUCTION
    answer url url_keys.txt url_rules.txt url_answers.txt
    echo "$(with_commas "$(awk 'END { print NR }' url_answers.txt)") URLs are covered by a filter."
}

verify() {
    echo
    echo "Checking against the files, line by line; this takes about a minute."
    # One address of every range shows that its rule was accepted, and that it is the one that answers.
    awk -F '[-\t]' '{ print $1 }' rules.txt >probes.txt
    "$ruleset" match -t ip -r rules.txt <probes.txt >probe_answers.txt 2>probe_summary.txt ||
        fail "the command failed: $(cat probe_summary.txt)"
    ./geoip_check "$geoip" "$geoip6" probe_answers.txt keys.txt answers.txt "$checked_keys"
    ./suffix_check "$suffix_list" name_keys.txt name_answers.txt "$checked_names"
    ./filter_check filters.txt url_keys.txt url_answers.txt "$checked_names"
}

[[ $# -eq 1 || ($# -eq 2 && $2 == --verify) ]] || fail "usage: demo/run.sh BUILD_DIR [--verify]"
[[ -d $1 ]] || fail "no such folder: $1"
build_dir=$(cd "$1" && pwd)
readonly build_dir ruleset=$build_dir/cli/ruleset
for program in geoip_input geoip_check suffix_input suffix_check filter_input filter_check ../cli/ruleset; do
    [[ -x $build_dir/demo/$program ]] || fail "$program is not built; ./dev demo builds it"
done
for file in "$geoip" "$geoip6" "$suffix_list"; do
    [[ -r $file ]] || fail "$file is missing; install it with: apt-get install tor-geoipdb publicsuffix"
done
cd "$build_dir/demo"
echo "Files:      $PWD"
classify_addresses
classify_names
classify_urls
if [[ ${2:-} == --verify ]]; then
    verify
fi
