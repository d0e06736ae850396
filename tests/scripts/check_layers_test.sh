#!/usr/bin/env bash
# check_layers_test.sh PROJECT_DIR: fails unless scripts/check_layers.sh accepts a copy of the project's sources and
# refuses it after each change below.
set -euo pipefail
cd "$1"

copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
cp -r include src cli "$copy"

failures=0
fail() {
    echo "check_layers_test.sh: $*" >&2
    failures=$((failures + 1))
}

# refuses MESSAGE FILE LINE: the check fails with the message once the line is at the end of the file.
refuses() {
    local message=$1 file=$2 line=$3 output
    echo "$line" >>"$copy/$file"
    if output=$(scripts/check_layers.sh "$copy" 2>&1); then
        fail "$file may have the line: $line"
    elif [[ $output != *"$message"* ]]; then
        fail "$file with the line: $line"$'\n'"expected: $message"$'\n'"printed: $output"
    fi
    if [[ -f $file ]]; then
        cp "$file" "$copy/$file"
    else
        rm "$copy/$file"
    fi
}

if ! scripts/check_layers.sh "$copy" >/dev/null; then
    fail "the sources are refused as they are"
fi

refuses 'syntax may not include core/memory.h' src/syntax/port.h '#include "core/memory.h"'
refuses '"port.h" is no file of src' src/syntax/port.cpp '#include "port.h"'
refuses 'headers of src include each other' src/core/memory.h '#include "core/scratch.h"'
refuses '<core/memory.h> is a file of the project' src/core/release.h '#include <core/memory.h>'
refuses 'src/new.h belongs into a folder' src/new.h '#pragma once'
refuses 'a public header may not include' include/ruleset.h '#include "core/memory.h"'

refuses 'text may not include rule_loader.h' cli/line_blocks.cpp '#include "rule_loader.h"'
refuses 'types may not include match_options.h' cli/rule_type.h '#include "match_options.h"'
refuses 'commands may not include ip/ip_match.h' cli/match_command.cpp '#include "ip/ip_match.h"'
refuses 'types may not include api/rule_type.h' cli/rule_type.cpp '#include "api/rule_type.h"'
refuses '"nowhere.h" is no file of cli or src' cli/main.cpp '#include "nowhere.h"'
refuses 'headers of cli include each other' cli/output_buffer.h '#include "text_output.h"'
refuses '<rule_book.h> is a file of the project' cli/explain.cpp '#include <rule_book.h>'
refuses 'cli/new_command.cpp has no layer' cli/new_command.cpp '#include "rule_type.h"'

if [[ $failures -gt 0 ]]; then
    exit 1
fi
