#!/usr/bin/env bash
# check_layers.sh [PROJECT_DIR]: fails unless the includes of the library go one way.
#
#                                             +-- ip <------- compound <-----+
#     ruleset.h <- syntax <- core <- lookup <-+-- domain <--- url <----------+-- api
#                                             +-- endpoint <- ipport <-------+
#                                                    ^------- packetfilter <-+
#
# Each folder of src may include what its line in may_include says, by a path from src, and the public header; no two
# headers may include each other, however far around. A new folder fails until it has its line here.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"

declare -A may_include=(
    [syntax]="syntax"
    [core]="syntax core"
    [lookup]="syntax core lookup"
    [ip]="syntax core lookup ip"
    [domain]="syntax core lookup domain"
    [endpoint]="syntax core lookup endpoint"
    [url]="syntax core lookup domain url"
    [ipport]="syntax core lookup endpoint ipport"
    [packetfilter]="syntax core lookup endpoint packetfilter"
    [compound]="syntax core lookup ip compound"
    [api]="syntax core lookup endpoint ip domain url ipport packetfilter compound api"
)

failures=0
fail() {
    echo "check_layers.sh: $*" >&2
    failures=$((failures + 1))
}

# includes FOLDER PATTERN: the #include lines of the folder's files, as `file:line:included` with its delimiters.
includes() {
    grep -rnE --include='*.h' --include='*.hpp' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include\b' "$1" |
        sed -nE "s/^([^:]+:[0-9]+):[[:space:]]*#[[:space:]]*include[[:space:]]*($2).*/\1:\2/p"
}

check_folders() {
    local path
    for path in src/*; do
        if [[ -d $path && -z ${may_include[${path#src/}]:-} ]]; then
            fail "$path is a folder without a line in this script"
        elif [[ $path == *.cpp || $path == *.h ]]; then
            fail "$path belongs into a folder"
        fi
    done
}

check_quoted_includes() {
    local file line included folder
    while IFS=: read -r file line included; do
        included=${included//\"/}
        folder=${file#src/}
        folder=${folder%%/*}
        if [[ ! -f src/$included ]]; then
            fail "$file:$line: \"$included\" is no file of src; includes are written from there"
        elif [[ " ${may_include[$folder]:-} " != *" ${included%%/*} "* ]]; then
            fail "$file:$line: $folder may not include $included"
        fi
    done < <(includes src '"[^"]+"')
}

# In angle brackets stand the public headers and the system's, never a file of src.
check_system_includes() {
    local file line included
    while IFS=: read -r file line included; do
        included=${included//[<>]/}
        if [[ -f src/$included ]]; then
            fail "$file:$line: <$included> is a file of src and stands in quotes"
        fi
    done < <(includes src '<[^>]+>')
}

# A host has the public headers and nothing else.
check_public_headers() {
    local file line included
    while IFS=: read -r file line included; do
        fail "$file:$line: a public header may not include $included"
    done < <(includes include '"[^"]+"')
}

# tsort names the members of a cycle on stderr.
check_cycles() {
    local cycle
    if ! cycle=$(includes src '"[^"]+"' | sed -nE 's/^src\/([^:]+\.h):[0-9]+:"(.*)"$/\1 \2/p' | tsort 2>&1 >/dev/null); then
        fail "headers include each other:"$'\n'"$cycle"
    fi
}

check_folders
check_quoted_includes
check_system_includes
check_public_headers
check_cycles
if [[ $failures -gt 0 ]]; then
    exit 1
fi
echo "check_layers.sh: the includes of $(find src -mindepth 1 -type d | wc -l) folders go one way"
