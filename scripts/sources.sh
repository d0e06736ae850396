#!/usr/bin/env bash
# sources.sh [--all] PATTERN...: prints the project's source files that match one of the file name patterns, one a
# line; without --all only those that git sees as changed since the last commit, or as new. Exit status 2 when git
# cannot tell.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folders=()
for folder in include src cli demo tests fuzz bench examples; do
    if [[ -d $folder ]]; then
        folders+=("$folder")
    fi
done

all=false
if [[ ${1:-} == --all ]]; then
    all=true
    shift
fi

if $all; then
    names=()
    for pattern in "$@"; do
        names+=(-o -name "$pattern")
    done
    find "${folders[@]}" -type f \( "${names[@]:1}" \) | sort
else
    if ! git rev-parse --is-inside-work-tree >/dev/null; then
        echo "sources.sh: without a git repository nothing tells which files have changed; --all names every file" >&2
        exit 2
    fi
    pathspecs=()
    for folder in "${folders[@]}"; do
        for pattern in "$@"; do
            pathspecs+=(":(glob)$folder/**/$pattern")
        done
    done
    {
        git diff --name-only --diff-filter=d HEAD -- "${pathspecs[@]}" 2>/dev/null || true
        git ls-files --others --exclude-standard -- "${pathspecs[@]}"
    } | sort -u
fi
