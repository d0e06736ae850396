#!/usr/bin/env bash
# check_reproducible.sh PROJECT_DIR WORK_DIR: builds the library twice, from copies of the sources in folders whose names
# differ in length, and fails unless both are the same byte for byte. CC and CXX choose the compiler.
set -euo pipefail
project=${1:?usage: check_reproducible.sh PROJECT_DIR WORK_DIR}
work=${2:?usage: check_reproducible.sh PROJECT_DIR WORK_DIR}

# The date that the ident text carries; without it two builds around midnight would differ.
export SOURCE_DATE_EPOCH=1000000000

# Debug information is part of what is compared: it is where folder names hide.
build_in() {
    local folder=$1
    mkdir -p "$folder/source"
    cp -r "$project"/{CMakeLists.txt,cmake,include,src} "$folder/source"
    cmake -S "$folder/source" -B "$folder/objects" -G Ninja --log-level=WARNING -D CMAKE_BUILD_TYPE=RelWithDebInfo \
        -D RULESET_BUILD_TESTS=OFF -D RULESET_BUILD_CLI=OFF -D RULESET_BUILD_DEMO=OFF -D RULESET_INSTALL=OFF >/dev/null
    cmake --build "$folder/objects" --target ruleset >/dev/null
}

rm -rf "$work"
first=$work/first
second=$work/second-in-a-folder-with-a-longer-name
build_in "$first"
build_in "$second"

library=objects/src/libruleset.so
if ! cmp "$first/$library" "$second/$library"; then
    echo "check_reproducible.sh: the two libraries differ" >&2
    exit 1
fi
if ! grep -q 2001-09-09 "$first/$library"; then
    echo "check_reproducible.sh: the build date does not follow SOURCE_DATE_EPOCH" >&2
    exit 1
fi
rm -rf "$work"
echo "check_reproducible.sh: both builds are the same"
