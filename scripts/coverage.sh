#!/usr/bin/env bash
# coverage.sh BUILD_DIR: after the tests of a coverage build, reports which lines of the library they ran.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: scripts/coverage.sh BUILD_DIR}

gcovr --root . --filter 'src/' --exclude-throw-branches \
    --html-details "$build/coverage.html" --print-summary "$build/src"
echo "coverage.sh: $build/coverage.html shows the lines"
