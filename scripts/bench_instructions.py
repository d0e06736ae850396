#!/usr/bin/env python3
"""Instructions of a fixed set of lookups: measures them, records them, and tells when they have grown.

usage: scripts/bench_instructions.py measure PROGRAM COMPILER OUT.json
       scripts/bench_instructions.py record MEASURED.json [RECORDED.json]
       scripts/bench_instructions.py check MEASURED.json [RECORDED.json]

measure runs PROGRAM, bench/instructions, under valgrind once for each of its rows and writes the instructions of a
lookup into OUT.json. COMPILER is the command that built it. RECORDED.json is bench/instructions.json when it is left out.

check fails when a lookup takes over 5 % more instructions than recorded, and when a row is on one side only. Exit
status 2 when the two are of different compilers, whose code cannot be compared.
"""

import json
import pathlib
import re
import subprocess
import sys

SLACK = 1.05
LOOKUPS = 4096  # of a row: KEY_COUNT of bench/instructions.cpp
RECORDED = pathlib.Path(__file__).resolve().parent.parent / "bench/instructions.json"


def compiler_text(command):
    """g++ (Debian 12.2.0-14) 12.2.0: the first line of --version."""
    return subprocess.run([command, "--version"], check=True, capture_output=True, text=True).stdout.splitlines()[0]


def count(program, row):
    """Instructions of one lookup of a row."""
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", "--toggle-collect=*countedLookups*",
         program, row], check=False, capture_output=True, text=True)
    found = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or found is None or int(found[1]) == 0:
        sys.exit(f"bench_instructions.py: {row}: valgrind counted nothing\n{run.stderr}")
    return round(int(found[1]) / LOOKUPS, 1)


def measure(program, compiler, out):
    rows = subprocess.run([program], check=True, capture_output=True, text=True).stdout.split()
    counts = {row: count(program, row) for row in rows}
    write(out, {"compiler": compiler_text(compiler), "instructions": counts})


def write(path, content):
    pathlib.Path(path).write_text(json.dumps(content, indent=4) + "\n")


def read(path):
    return json.loads(pathlib.Path(path).read_text())


def record(measured, recorded=RECORDED):
    write(recorded, read(measured))
    print(f"bench_instructions.py: {recorded} is written")


def findings(before, now):
    """What is wrong, a line for each row."""
    for row in sorted(before.keys() | now.keys()):
        if row not in now:
            yield f"{row}: recorded, but not measured"
        elif row not in before:
            yield f"{row}: not recorded yet"
        elif now[row] > before[row] * SLACK:
            growth = 100 * (now[row] / before[row] - 1)
            yield f"{row}: {now[row]:.1f} instructions, {growth:.1f} % more than the recorded {before[row]:.1f}"


def check(measured, recorded=RECORDED):
    before, now = read(recorded), read(measured)
    if before["compiler"] != now["compiler"]:
        print(f"bench_instructions.py: recorded with {before['compiler']}, measured with {now['compiler']}",
              file=sys.stderr)
        sys.exit(2)
    wrong = list(findings(before["instructions"], now["instructions"]))
    for line in wrong:
        print(f"bench_instructions.py: {line}", file=sys.stderr)
    if wrong:
        sys.exit(1)
    print(f"bench_instructions.py: {len(now['instructions'])} rows, none over 5 % more than recorded")


COMMANDS = {"measure": (measure, (3,)), "record": (record, (1, 2)), "check": (check, (1, 2))}


def main():
    command, counts = COMMANDS.get(sys.argv[1] if len(sys.argv) > 1 else "", (None, ()))
    if command is None or len(sys.argv) - 2 not in counts:
        sys.exit(__doc__)
    command(*sys.argv[2:])


if __name__ == "__main__":
    main()
