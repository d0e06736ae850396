#!/usr/bin/env bash
# bench_commands_test.sh PROJECT_DIR: fails unless scripts/bench_commands.py runs the commands in turn, compares what they
# select, asks for threads where the command has them, and removes its files. The commands are made here.
set -euo pipefail
cd "$1"

made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
mkdir "$made/bin"

failures=0
fail() {
    echo "bench_commands_test.sh: $*" >&2
    failures=$((failures + 1))
}

# program NAME: a script of that name from standard input.
program() {
    {
        echo '#!/usr/bin/env bash'
        cat
    } >"$made/bin/$1"
    chmod +x "$made/bin/$1"
}

program inputs <<'PROGRAM'
for name in ranges names words; do echo b >"$1/$name.txt"; done
for name in addresses lines; do printf 'a\nb\n' >"$1/$name.txt"; done
PROGRAM
program ruleset <<'PROGRAM'
if [[ $2 == --help ]]; then
    echo "  -j,--threads N"
else
    sed -n 's/^b$/b\tthe rule/p'
fi
PROGRAM
for name in grepcidr grep rg; do
    program "$name" <<'PROGRAM'
echo b
PROGRAM
done

run() {
    PATH=$made/bin:$PATH scripts/bench_commands.py inputs ruleset "$made/files" --passes 2 --scale 0.00001
}
run >"$made/rows.json"
for words in '"case": "ranges", "name": "ruleset -j 1"' '"case": "ranges", "name": "ruleset -j 2"' \
    '"case": "ranges", "name": "grepcidr", "command": "grepcidr -f ranges.txt addresses.txt", "rules": 4, "keys": 100' \
    '"command": "ruleset match -t domain -r names.txt -j 1 <lines.txt"' '"case": "names", "name": "grep -F -w"' \
    '"case": "many_names_fewer_lines", "name": "ruleset -j 2"'; do
    grep -qF -- "$words" "$made/rows.json" || fail "expected: $words"$'\n'"written: $(cat "$made/rows.json")"
done
[[ -z $(ls "$made/files") ]] || fail "files stay: $(ls "$made/files")"

program rg <<'PROGRAM'
echo another
PROGRAM
run >"$made/rows.json"
grep -q '"name": "rg -F".*"same": false' "$made/rows.json" || fail "a command that asks for less must be the same"

program grep <<'PROGRAM'
echo another
PROGRAM
if run >/dev/null 2>"$made/message"; then
    fail "another answer is accepted"
fi
grep -q 'selects other lines than ruleset' "$made/message" || fail "the message is $(cat "$made/message")"

program grepcidr <<'PROGRAM'
exit 2
PROGRAM
if run >/dev/null 2>&1; then
    fail "a command that fails is accepted"
fi

[[ $failures -eq 0 ]]
