#!/usr/bin/env bash
# format.sh [--all] [--check]: formats the changed sources, or all of them; with --check only names those that are not
# formatted, and fails when there is one. Exit status 2 when the files cannot be told or clang-format is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

which=()
check=false
for argument in "$@"; do
    case $argument in
        --all) which=(--all) ;;
        --check) check=true ;;
        *)
            echo "usage: scripts/format.sh [--all] [--check]" >&2
            exit 2
            ;;
    esac
done

if ! command -v clang-format >/dev/null; then
    echo "format.sh: there is no clang-format; scripts/packages.sh lint installs it" >&2
    exit 2
fi

# Of a command in <( ) the failure would be lost.
sources=$(scripts/sources.sh "${which[@]}" '*.h' '*.hpp' '*.c' '*.cpp') || exit 2
files=()
if [[ -n $sources ]]; then
    mapfile -t files <<<"$sources"
fi
failures=0
for file in "${files[@]}"; do
    if ! $check; then
        clang-format -i "$file"
    elif ! clang-format "$file" | cmp --silent - "$file"; then
        echo "format.sh: $file is not formatted" >&2
        failures=$((failures + 1))
    fi
done
if [[ $failures -gt 0 ]]; then
    echo "format.sh: scripts/format.sh --all formats them" >&2
    exit 1
fi
echo "format.sh: ${#files[@]} files"
