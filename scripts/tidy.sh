#!/usr/bin/env bash
# tidy.sh [--all]: runs clang-tidy over the changed sources and those that include a changed header, or over all.
# A file that is clean prints nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case ${1:-} in
    --all | '') ;;
    *)
        echo "usage: scripts/tidy.sh [--all]" >&2
        exit 2
        ;;
esac

# A header is checked through the sources that include it.
changed_sources() {
    local headers header
    scripts/sources.sh '*.cpp' || return
    headers=$(scripts/sources.sh '*.h') || return
    while read -r header; do
        scripts/sources.sh --all '*.cpp' | xargs --no-run-if-empty grep -l "#include [<\"]${header#*/}[>\"]" || true
    done <<<"$headers"
}

# Of a command in <( ) the failure would be lost.
if [[ ${1:-} == --all ]]; then
    sources=$(scripts/sources.sh --all '*.cpp') || exit 2
else
    sources=$(changed_sources) || exit 2
    sources=$(sort -u <<<"$sources")
fi
files=()
if [[ -n $sources ]]; then
    mapfile -t files <<<"$sources"
fi

# The benchmark beside other libraries is checked where their packages are, and left out elsewhere.
peers=OFF
if pkg-config --exists libdpdk libndpi libmaxminddb libidn2 liburiparser libcurl libpsl 2>/dev/null; then
    peers=ON
fi
cmake --preset lint -D RULESET_BUILD_PEER_BENCH=$peers --log-level=WARNING >/dev/null
if [[ $peers == OFF ]]; then
    mapfile -t files < <(for file in "${files[@]}"; do
        if [[ $file != bench/* ]] || grep -qF "/$file\"" build/lint/compile_commands.json; then
            echo "$file"
        fi
    done)
fi

# clang-tidy counts the warnings of system headers on stderr; that is of interest only when it fails.
check_one() {
    local output
    if ! output=$(clang-tidy --quiet -p build/lint "$1" 2>&1); then
        printf '%s\n' "$output"
        return 1
    fi
}
export -f check_one

if [[ ${#files[@]} -gt 0 ]]; then
    # shellcheck disable=SC2016  # the shell that xargs starts expands it
    printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -I '{}' bash -c 'check_one "$1"' check_one '{}'
fi
echo "tidy.sh: ${#files[@]} files"
