#!/usr/bin/env bash
# format_test.sh PROJECT_DIR: fails unless scripts/format.sh and scripts/sources.sh say what is missing, where that is
# clang-format or a git repository, and exit with 2.
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT

# A project of one source, and programs: what the scripts call, with a clang-format that changes nothing.
project=$made/project
programs=$made/programs
mkdir -p "$project"/{scripts,src} "$programs"
cp scripts/format.sh scripts/sources.sh "$project/scripts"
echo 'int one;' >"$project/src/one.cpp"
for program in bash cat cmp dirname find sort; do
    ln -s "$(command -v "$program")" "$programs"
done

# No repository around the temporary folder counts.
export GIT_CEILING_DIRECTORIES=$made

failures=0
fail() {
    echo "format_test.sh: $*" >&2
    failures=$((failures + 1))
}

# expect STATUS MESSAGE SCRIPT [ARGUMENT...]: the script exits with the status and prints the message.
expect() {
    local expected=$1 message=$2 script=$3 output status=0
    shift 3
    output=$(PATH=$programs "$project/scripts/$script" "$@" 2>&1) || status=$?
    if [[ $status -ne $expected || $output != *"$message"* ]]; then
        fail "$script $*"$'\n'"expected: $expected, $message"$'\n'"printed: $status, $output"
    fi
}

expect 2 'format.sh: there is no clang-format' format.sh --all --check
expect 2 'format.sh: there is no clang-format' format.sh

cat >"$programs/clang-format" <<'PROGRAM'
#!/bin/sh
[ "$1" = -i ] || cat "$1"
PROGRAM
chmod +x "$programs/clang-format"
expect 0 'format.sh: 1 files' format.sh --all --check
expect 2 'sources.sh: without a git repository' format.sh --check
expect 2 'sources.sh: without a git repository' sources.sh '*.cpp'

if git=$(command -v git); then
    ln -s "$git" "$programs"
    expect 2 'sources.sh: without a git repository' format.sh --check
    expect 2 'sources.sh: without a git repository' sources.sh '*.cpp'
    git -C "$project" init --quiet
    expect 0 'format.sh: 1 files' format.sh --check
    expect 0 'src/one.cpp' sources.sh '*.cpp'
    expect 0 'format.sh: 1 files' format.sh
fi

printf '#!/bin/sh\necho other\n' >"$programs/clang-format"
expect 1 'format.sh: src/one.cpp is not formatted' format.sh --all --check

if [[ $failures -gt 0 ]]; then
    exit 1
fi
