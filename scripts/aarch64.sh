#!/usr/bin/env bash
# aarch64.sh [GTEST_OPTION...]: builds the library and its unit and property tests for AArch64 with Debian's cross
# compiler, and runs them by an emulator, with flat lookups by size and in every group.
#
# The tests of IntervalCost are left out: they build lists of many sizes to count steps, which are the same everywhere,
# and take the emulator minutes. --gtest_filter chooses others.
# RULESET_PROPERTY_CASES says how many random cases run, as a part of the usual number; 0.05 when it is not set.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=$PWD/build/aarch64
# Without debug information, and with -O1, the tests compile in a third of the time.
options=(-G Ninja -D CMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64.cmake" -D CMAKE_INSTALL_PREFIX="$build/installed"
    -D CMAKE_BUILD_TYPE=RelWithDebInfo -D CMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -D CMAKE_C_FLAGS_RELWITHDEBINFO=-O1)

# GoogleTest comes as sources, as Debian has no library of it for another processor.
if [[ ! -d $build/installed/include/gtest ]]; then
    cmake -S /usr/src/googletest -B "$build/googletest" "${options[@]}" --log-level=WARNING
    cmake --build "$build/googletest" --target install
fi
cmake -S . -B "$build/project" "${options[@]}" -D CMAKE_PREFIX_PATH="$build/installed" -D RULESET_WERROR=ON \
    -D RULESET_BUILD_CLI=OFF -D RULESET_BUILD_DEMO=OFF --log-level=WARNING
cmake --build "$build/project" --target ruleset unit_tests property_tests

emulate() {
    qemu-aarch64 -L /usr/aarch64-linux-gnu "$@"
}

export RULESET_PROPERTY_CASES=${RULESET_PROPERTY_CASES:-0.05}
for mode in '' always; do
    echo "aarch64.sh: flat lookups ${mode:-by size}"
    for tests in unit_tests property_tests; do
        RULESET_FLAT=$mode emulate "$build/project/tests/$tests" --gtest_brief=1 --gtest_filter='-IntervalCost.*' "$@"
    done
done
