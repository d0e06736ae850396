#!/usr/bin/env bash
# install_consumer.sh BUILD_DIR WORK_DIR: installs the build, moves what was installed to another folder, and there
# builds and runs a project of a user: with pkg-config and with CMake, in C and in C++. CC and CXX choose the compiler.
set -euo pipefail
build=${1:?usage: install_consumer.sh BUILD_DIR WORK_DIR}
work=${2:?usage: install_consumer.sh BUILD_DIR WORK_DIR}
consumer=$(cd "$(dirname "${BASH_SOURCE[0]}")/consumer" && pwd)

# Moved, because an installed tree must not know where it was installed to.
rm -rf "$work"
cmake --install "$build" --prefix "$work/installed" >/dev/null
prefix=$work/moved
mv "$work/installed" "$prefix"

echo "--- pkg-config"
library_dir=$(dirname "$(find "$prefix" -name libruleset.so)")
export PKG_CONFIG_PATH=$library_dir/pkgconfig
read -ra flags < <(pkg-config --cflags --libs ruleset)
mkdir "$work/pkg-config"
"${CC:-cc}" -std=c11 -pedantic -Wall -Wextra -Werror "$consumer/consumer.c" -o "$work/pkg-config/consumer_c" "${flags[@]}"
"${CXX:-c++}" -std=c++20 -pedantic -Wall -Wextra -Werror "$consumer/consumer.cpp" -o "$work/pkg-config/consumer_cpp" \
    "${flags[@]}"
read -ra static_flags < <(pkg-config --cflags --libs ruleset_static)
"${CXX:-c++}" -std=c++20 -pedantic -Wall -Wextra -Werror "$consumer/static_consumer.cpp" \
    -o "$work/pkg-config/static_consumer" "${static_flags[@]}"
LD_LIBRARY_PATH=$library_dir "$work/pkg-config/consumer_c"
LD_LIBRARY_PATH=$library_dir "$work/pkg-config/consumer_cpp"

echo "--- CMake"
cmake -S "$consumer" -B "$work/cmake" -G Ninja --log-level=WARNING -D CMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer_c"
"$work/cmake/consumer_cpp"
"$work/pkg-config/static_consumer"
"$work/cmake/static_consumer"

echo "--- command"
if [[ -x $prefix/bin/ruleset ]]; then
    "$prefix/bin/ruleset" --version
fi
