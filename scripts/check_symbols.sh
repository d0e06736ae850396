#!/usr/bin/env bash
# check_symbols.sh LIBRARY HEADER: fails unless the shared library exports exactly the functions that the header
# declares with RS_API, needs libc and nothing else at run time, calls of it only what is listed here, and carries
# the name that hosts ask the loader for.
set -euo pipefail
library=${1:?usage: check_symbols.sh LIBRARY HEADER}
header=${2:?usage: check_symbols.sh LIBRARY HEADER}

failures=0
fail() {
    echo "check_symbols.sh: $*" >&2
    failures=$((failures + 1))
}

# The imports prove what the library promises: no threads, files, sockets or output. The first group is the library's,
# the second what compilers and the start-up code add.
allowed_imports='
    calloc free madvise malloc memchr memcmp memcpy memmove memset strlen
    __cxa_finalize __gmon_start__ __stack_chk_fail _ITM_deregisterTMCloneTable _ITM_registerTMCloneTable
    __memcpy_chk __memmove_chk __memset_chk bcmp abort
'

words() {
    tr -s ' \t\n' '\n' | sed '/^$/d' | sort -u
}

dynamic() {
    readelf --dynamic --wide "$library" | sed -nE "s/.*\($1\).*\[(.*)\].*/\1/p"
}

declared=$(tr '\n' ' ' <"$header" | grep -oE 'RS_API [^;(]*\brs_[A-Za-z0-9_]+ *\(' |
    sed -E 's/.*\b(rs_[A-Za-z0-9_]+) *\($/\1/' | words)
exported=$(nm --dynamic --defined-only --format=posix "$library" | cut -d ' ' -f 1 | words)
imported=$(nm --dynamic --undefined-only --format=posix "$library" | cut -d ' ' -f 1 | sed 's/@.*//' | words)

if [[ $declared != "$exported" ]]; then
    fail "declared (<) and exported (>) functions differ:"$'\n'"$(diff <(echo "$declared") <(echo "$exported"))"
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
echo "check_symbols.sh: $(echo "$exported" | wc -l) functions exported, $(echo "$imported" | wc -l) imported"
