#!/usr/bin/env bash
# check_architecture.sh [PROJECT_DIR]: fails unless docs/architecture.md names what the tree holds.
#
#     ### `core/`                     a chapter for each folder of src
#     | `memory` | ... |              a row for each module: a header, a source, or both of one name
#
#     ## Deliberate oddities
#     | `syntax/port` | ... |         a row for each module of src, or `include/<name>`, with a comment that
#                                     says "Deliberate:"; a row may name several
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"
page=docs/architecture.md

failures=0
fail() {
    echo "check_architecture.sh: $*" >&2
    failures=$((failures + 1))
}

# lines TEXT: its lines without empty ones, sorted, each once.
lines() {
    sed '/^$/d' <<<"$1" | sort -u
}

# only_first FIRST SECOND: the lines of the first that the second has not.
only_first() {
    comm -23 <(lines "$1") <(lines "$2")
}

# chapter HEADING: the names between backquotes in the first cells of the tables in that chapter of the page.
chapter() {
    awk -F '|' -v heading="$1" '
        /^#/ { inside = $0 == heading }
        inside && NF > 2 {
            pieces = split($2, piece, "`")
            for (i = 2; i <= pieces; i += 2) print piece[i]
        }' "$page"
}

# folders: those that have a chapter, whose heading is the name with a slash between backquotes.
folders() {
    awk -F '`' '/^### / && $2 ~ /^[a-z0-9_]+\/$/ { sub(/\/$/, "", $2); print $2 }' "$page"
}

# chapters: the modules of all folders as the page names them, as folder/module.
chapters() {
    local folder
    while read -r folder; do
        chapter "### \`$folder/\`" | sed "s|^|$folder/|"
    done < <(folders)
}

oddities() {
    chapter '## Deliberate oddities'
}

# modules: of file names from src or include on standard input, without src/ and without their ending.
modules() {
    sed -nE 's/\.(h|cpp)$//; s/^src\///; p'
}

check_folders() {
    local present named folder
    present=$(find src -mindepth 1 -maxdepth 1 -type d -printf '%f\n')
    named=$(folders)
    for folder in $(only_first "$present" "$named"); do
        fail "src/$folder has no chapter; $page needs the heading '### \`$folder/\`'"
    done
    for folder in $(only_first "$named" "$present"); do
        fail "$page has a chapter on src/$folder, which is no folder"
    done
}

check_modules() {
    local present named module
    present=$(find src -mindepth 2 \( -name '*.h' -o -name '*.cpp' \) | modules)
    named=$(chapters)
    for module in $(only_first "$present" "$named"); do
        fail "src/$module has no row; the chapter \`${module%%/*}/\` of $page needs '| \`${module#*/}\` | ... |'"
    done
    for module in $(only_first "$named" "$present"); do
        fail "the chapter \`${module%%/*}/\` of $page has a row \`${module#*/}\`, but there is no src/$module.h or .cpp"
    done
}

check_oddities() {
    local marked named module
    marked=$(grep -rlE --include='*.h' --include='*.cpp' '\bDeliberate:' src include | modules)
    named=$(oddities)
    for module in $(only_first "$marked" "$named"); do
        fail "$module has a comment 'Deliberate:', but no row in the table of oddities of $page"
    done
    for module in $(only_first "$named" "$marked"); do
        fail "$page lists an oddity of $module, which has no comment 'Deliberate:'"
    done
}

check_folders
check_modules
check_oddities
if [[ $failures -gt 0 ]]; then
    exit 1
fi
echo "check_architecture.sh: $page names $(chapters | wc -l) modules and $(oddities | sort -u | wc -l) that are odd"
