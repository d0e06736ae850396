#!/usr/bin/env bash
# format.sh [--all] [--check]: formats the changed sources, or all of them; with --check only names those that are not
# formatted, and fails when there is one.
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

mapfile -t files < <(scripts/sources.sh "${which[@]}" '*.h' '*.hpp' '*.c' '*.cpp')
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
