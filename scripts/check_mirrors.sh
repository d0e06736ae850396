#!/usr/bin/env bash
# check_mirrors.sh [PROJECT_DIR]: fails unless tests/unit mirrors src.
#
#     src/ip/ip_match.cpp, src/ip/ip_match.h  <->  tests/unit/ip/ip_match_test.cpp
#
# A module is a source, a header, or both; one that holds code has a unit test, and a unit test has a module. The two
# lists below are the exceptions, each with its reason; an exception that is none any more fails, too.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"

# Modules without a unit test of their own.
declare -A untested=(
    [api/match_api]="tests/api/match_test.cpp and its neighbours call it as hosts do, through the shared library"
    [api/normalize_api]="tests/api/url_api_test.cpp calls it as hosts do, through the shared library"
    [api/validate_api]="tests/api/validate_test.cpp calls it as hosts do, through the shared library"
    [domain/domain_match_bulk]="unit/api/static_bulk_api_test.cpp compares its answers with those of single lookups"
    [ip/ip_match_bulk]="unit/api/static_bulk_api_test.cpp compares its answers with those of single lookups"
    [url/url_match_bulk]="unit/api/static_bulk_api_test.cpp compares its answers with those of single lookups"
    [core/library_option]="one word, which unit/api/static_library_api_test.cpp sets and reads by its doors"
    [core/version]="one text, which unit/api/static_library_api_test.cpp reads by its door"
    [core/rule_group]="only declares the record that core/release and api fill"
)

# Unit tests of more than one module.
declare -A spanning=(
    [api/shared_groups_threads]="retaining, matching and releasing groups of every type at the same time"
)

failures=0
fail() {
    echo "check_mirrors.sh: $*" >&2
    failures=$((failures + 1))
}

# modules: every module of src as FOLDER/NAME.
modules() {
    find src -mindepth 2 \( -name '*.h' -o -name '*.cpp' \) -printf '%P\n' | sed -E 's/\.(h|cpp)$//' | sort -u
}

# tests: every unit test as the FOLDER/NAME of the module that it should have.
tests() {
    find tests/unit -name '*.cpp' -printf '%P\n' | sed -E 's/(_test)?\.cpp$//' | sort -u
}

has_module() {
    [[ -f src/$1.h || -f src/$1.cpp ]]
}

has_test() {
    [[ -f tests/unit/$1_test.cpp ]]
}

count=0
while read -r module; do
    count=$((count + 1))
    if ! has_test "$module" && [[ -z ${untested[$module]:-} ]]; then
        fail "src/$module has no tests/unit/${module}_test.cpp"
    fi
done < <(modules)

while read -r name; do
    if ! has_test "$name"; then
        fail "tests/unit/$name.cpp is not named for a test"
    elif ! has_module "$name" && [[ -z ${spanning[$name]:-} ]]; then
        fail "tests/unit/${name}_test.cpp has no module src/$name"
    fi
done < <(tests)

for module in "${!untested[@]}"; do
    if ! has_module "$module" || has_test "$module"; then
        fail "$module is no exception any more; take it off the list"
    fi
done
for name in "${!spanning[@]}"; do
    if ! has_test "$name" || has_module "$name"; then
        fail "${name}_test.cpp is no exception any more; take it off the list"
    fi
done

if [[ $failures -gt 0 ]]; then
    exit 1
fi
echo "check_mirrors.sh: $count modules, ${#untested[@]} of them tested from outside or without code"
