#!/usr/bin/env bash
# check_abi.sh [--record] LIBRARY: fails unless the shared library is to its hosts what abi/libruleset.abi says: the
# same functions with the same arguments, the same records with the same layout. With --record it writes that file
# anew; a change of it in a commit is a change of the ABI, and CHANGELOG.md says so.
#
# LIBRARY carries debug information. Sets and groups are opaque to hosts, so their layout is free to change.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
record=false
if [[ ${1:-} == --record ]]; then
    record=true
    shift
fi
library=${1:?usage: check_abi.sh [--record] LIBRARY}
recorded=abi/libruleset.abi

if $record; then
    # With the places of the declarations: without them abidiff takes every record for a private one.
    abidw --exported-interfaces-only --headers-dir include --drop-private-types --no-corpus-path --no-comp-dir-path \
        --no-elf-needed --out-file "$recorded" "$library"
    echo "check_abi.sh: recorded in $recorded"
    exit
fi

status=0
difference=$(abidiff --exported-interfaces-only --headers-dir2 include --drop-private-types "$recorded" "$library") ||
    status=$?
if [[ $status -ne 0 || -n $difference ]]; then
    echo "check_abi.sh: $library differs from $recorded (abidiff exits with $status):"$'\n'"$difference" >&2
    exit 1
fi
functions=$(grep -c "<elf-symbol .*type='func-type'" "$recorded")
echo "check_abi.sh: the $functions functions and their records are as recorded"
