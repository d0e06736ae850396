#!/usr/bin/env bash
# check_architecture_test.sh PROJECT_DIR: fails unless scripts/check_architecture.sh accepts a small project made here,
# and refuses it after each change below.
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT

failures=0
fail() {
    echo "check_architecture_test.sh: $*" >&2
    failures=$((failures + 1))
}

# Three modules in two folders, one of them odd, and a public header that is odd, too.
make_project() {
    rm -rf "${made:?}"/*
    mkdir -p "$made"/src/{low,high} "$made"/{include,docs}
    touch "$made"/src/low/{text.h,text.cpp,port.h} "$made"/src/high/door.cpp
    echo '// Deliberate: a leading zero is allowed.' >"$made/src/low/port.h"
    echo '/* Deliberate: no callback. */' >"$made/include/public.h"
    cat >"$made/docs/architecture.md" <<'PAGE'
### `low/`

| module | what it is |
|---|---|
| `text`, `port` | not a module: `word` |

### `high/`

| module | what it is |
|---|---|
| `door` | |

## Deliberate oddities

| where | what |
|---|---|
| `low/port`, `include/public` | |

## The end

| `not/odd` | |
PAGE
}

# refuses MESSAGE COMMAND...: the check fails with the message, and no other, after the command in the project.
refuses() {
    local message="check_architecture.sh: $1" output
    shift
    make_project
    (cd "$made" && "$@")
    if output=$(scripts/check_architecture.sh "$made" 2>&1); then
        fail "accepted after: $*"
    elif [[ $output != "$message"* || $output == *$'\n'* ]]; then
        fail "after: $*"$'\n'"expected: $message"$'\n'"printed: $output"
    fi
}

# edit EXPRESSION: changes the page by a command of sed.
edit() {
    sed -i "$1" docs/architecture.md
}

make_project
if ! scripts/check_architecture.sh "$made" >/dev/null; then
    fail "the project is refused as it is made"
fi

refuses 'src/high/new has no row' touch src/high/new.h
refuses 'src/low/text has no row' edit 's/^| .text., /| /'
refuses "the chapter \`high/\` of docs/architecture.md has a row \`door\`, but" rm src/high/door.cpp
refuses "the chapter \`low/\` of docs/architecture.md has a row \`gone\`, but" edit "s/^| .text.,/&\`gone\`,/"
refuses 'src/empty has no chapter' mkdir src/empty
refuses 'docs/architecture.md has a chapter on src/gone' edit "\$a ### \`gone/\`"
refuses "include/public has a comment 'Deliberate:', but no row" edit 's/, .include.public.//'
refuses "high/door has a comment 'Deliberate:', but no row" cp src/low/port.h src/high/door.cpp
refuses 'docs/architecture.md lists an oddity of low/port,' cp /dev/null src/low/port.h

if [[ $failures -gt 0 ]]; then
    exit 1
fi
