#!/usr/bin/env bash
# coverage.sh BUILD_DIR: after the tests of a coverage build, reports which lines and branches of the library they ran,
# and fails when they are fewer than is promised in docs/testing.md. The totals are in BUILD_DIR/coverage.json.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: scripts/coverage.sh BUILD_DIR}

report=$build/coverage.html
status=0
gcovr --root . --filter src/ --exclude-throw-branches --html-details "$report" --print-summary \
    --json-summary-pretty --json-summary "$build/coverage.json" \
    --fail-under-line 98 --fail-under-branch 95 "$build/src" || status=$?
echo "coverage.sh: $report shows the lines"
exit "$status"
