#!/usr/bin/env bash
# check_symbols.sh LIBRARY HEADER ARCHIVE STATIC_HEADER: fails unless the shared library and its header have exactly the
# functions listed here, the static archive has them too and those of its own header, which are listed likewise, and the
# shared library needs libc and nothing else at run time, calls of it only what is listed here, and carries the name
# that hosts ask the loader for.
set -euo pipefail
usage='usage: check_symbols.sh LIBRARY HEADER ARCHIVE STATIC_HEADER'
library=${1:?$usage}
header=${2:?$usage}
archive=${3:?$usage}
static_header=${4:?$usage}

failures=0
fail() {
    echo "check_symbols.sh: $*" >&2
    failures=$((failures + 1))
}

# What hosts were built against. A function that leaves either list breaks them; one that joins it stays for good. So
# each list stands here a second time, and no slip in a header changes it.
exported_functions='
    rs_newRuleSet rs_addRuleToRuleSet rs_addRuleToRuleSetEx rs_registerRuleCallback rs_delRuleSet
    rs_buildRuleGroup rs_delRuleGroup
    rs_matchIPRuleGroup rs_matchIPRuleGroupEx rs_matchDomainNameWithRuleGroup rs_matchUrlWithRuleGroup
    rs_validate_IPv4Range rs_validate_IPv6Range rs_validate_PortRange rs_validateRule_IP rs_validateRule_FQDN
    rs_validateRule_URL rs_validateRule_IpPort rs_validateRule_PacketFilter
    rs_convertRule_IP rs_normalize_URL
'
static_functions='
    setLibraryOption getLibraryVersion moveRules retainRuleGroup rulesLeftOut
    matchIpv4Bulk matchIpv6Bulk matchDomainNamesBulk matchUrlsBulk
    matchIpPortPair4 matchIpPortPair6 matchSecondEndpoint4 matchSecondEndpoint6
    matchPacketFilter4 matchPacketFilter6 matchCompound
'

# The imports prove what the library promises: no threads, files, sockets or output. The first group is the library's,
# the second what compilers and the start-up code add. memmem is no part of ISO C, but glibc and musl have it, and it
# searches in linear time, which no search of the C++ headers does without memory of its own.
allowed_imports='
    __errno_location calloc free getauxval madvise malloc memchr memcmp memcpy memmem memmove memset strlen
    __cxa_finalize __gmon_start__ __stack_chk_fail _ITM_deregisterTMCloneTable _ITM_registerTMCloneTable
    __memcpy_chk __memmove_chk __memset_chk bcmp abort
'

words() {
    tr -s ' \t\n' '\n' | sed '/^$/d' | sort -u
}

dynamic() {
    readelf --dynamic --wide "$library" | sed -nE "s/.*\($1\).*\[(.*)\].*/\1/p"
}

# expect LIST WHAT NAMES: fails unless the names are those of the list.
expect() {
    local expected actual
    expected=$(echo "$1" | words)
    actual=$(echo "$3" | words)
    if [[ $expected != "$actual" ]]; then
        fail "$2: missing (<) or not listed (>):"$'\n'"$(diff <(echo "$expected") <(echo "$actual"))"
    fi
}

# A header on one line, without comments and preprocessor lines.
declarations() {
    sed '/^ *#/d' "$1" | tr '\n' ' ' | sed -E 's#/\*([^*]|\*+[^*/])*\*+/##g'
}

# Whatever is declared as a function, with RS_API or without.
functions() {
    declarations "$1" | grep -oE '\b[A-Za-z0-9_]+ *\([^(){};]*\)( *noexcept| *RS_NOEXCEPT)? *;' | sed -E 's/ *\(.*//'
}

# The functions of the archive that other objects can call, without their parameters.
archived() {
    nm --extern-only --defined-only --demangle "$archive" | sed -nE "s/^[0-9a-f]+ T ($1[A-Za-z0-9_]+)(\(.*)?$/\1/p"
}

visible=$(declarations "$header" | grep -oE 'RS_API [^;(]*\brs_[A-Za-z0-9_]+ *\(' |
    sed -E 's/.*\b(rs_[A-Za-z0-9_]+) *\($/\1/')
exported=$(nm --dynamic --defined-only --format=posix "$library" | cut -d ' ' -f 1 | words)
imported=$(nm --dynamic --undefined-only --format=posix "$library" | cut -d ' ' -f 1 | sed 's/@.*//' | words)

expect "$exported_functions" "$header declares" "$(functions "$header")"
expect "$exported_functions" "$header declares with RS_API" "$visible"
expect "$exported_functions" "$library exports" "$exported"
expect "$exported_functions" "$archive defines" "$(archived rs_)"
expect "$static_functions" "$static_header declares" "$(functions "$static_header")"

# The archive has all of the library's own functions as well, since those cannot be hidden in it.
missing=$(comm -23 <(echo "$static_functions" | words) <(archived rs:: | sed 's/^rs:://' | words))
if [[ -n $missing ]]; then
    fail "$archive does not define ${missing//$'\n'/ }"
fi

unexpected=$(comm -13 <(echo "$allowed_imports" | words) <(echo "$imported"))
if [[ -n $unexpected ]]; then
    fail "imports that are not allowed: ${unexpected//$'\n'/ }"
fi

for needed in $(dynamic NEEDED); do
    case $needed in
        libc.so.6 | ld-linux*.so.*) ;;
        *) fail "needs $needed" ;;
    esac
done

soname=$(dynamic SONAME)
if [[ $soname != libruleset.so.5 ]]; then
    fail "SONAME is '$soname'"
fi

if [[ $failures -gt 0 ]]; then
    exit 1
fi
echo "check_symbols.sh: $(echo "$exported" | wc -l) functions exported, $(echo "$imported" | wc -l) imported," \
    "$(echo "$static_functions" | words | wc -l) more in the archive"
