#!/usr/bin/env python3
"""Writes into docs/testing.md what the last runs of the tests and tools gave.

usage: scripts/testing_figures.py [PROJECT_DIR]

    block        what it is made of                             which is written by
    tests        the tests of build/dev, by label               ./dev test
    faults       build/dev/tests/fault_tests, which is run      ./dev test
    properties   build/dev/properties.log                       ./dev properties N
    fuzz         build/fuzz/fuzz_table                          ./dev fuzz SECONDS
    coverage     build/coverage/coverage.json                   ./dev coverage
    mutants      build/mutate/results.txt                       ./dev mutate N

A block lies between <!-- figures: NAME --> and <!-- end of figures -->, and everything between is replaced. A block
whose run is missing, failed or did only a part stays as it is, and the script says why.
"""

import json
import pathlib
import re
import subprocess
import sys

EVERY_FILE = " --only ''"  # in the first line of a run of mutate.py that left no file out


class NoFigures(Exception):
    """Why a block stays as it is."""


def read(path):
    if not path.is_file():
        raise NoFigures(f"there is no {path}")
    return path.read_text()


def output(*command):
    if "/" in command[0] and not pathlib.Path(command[0]).is_file():
        raise NoFigures(f"there is no {command[0]}")
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    if done.returncode != 0:
        raise NoFigures(f"{' '.join(command)} ended with status {done.returncode}")
    return done.stdout


def table(header, rows):
    """A table whose columns of numbers, which the header ends with ':', are aligned to the right."""
    names = [name.rstrip(":") for name in header]
    lines = [names, ["--:" if name.endswith(":") else "---" for name in header], *rows]
    return [f"| {' | '.join(f'{cell:,}' if isinstance(cell, int) else cell for cell in line)} |" for line in lines]


def tests(build):
    if not (build / "dev/tests").is_dir():
        raise NoFigures(f"there is no {build / 'dev/tests'}")
    counts = {}
    for test in json.loads(output("ctest", "--test-dir", str(build / "dev"), "--show-only=json-v1"))["tests"]:
        for item in test["properties"]:
            if item["name"] == "LABELS":
                counts[item["value"][0]] = counts.get(item["value"][0], 0) + 1
    if not counts:
        raise NoFigures(f"ctest knows no tests of {build / 'dev'}")
    rows = [[f"`{label}`", count] for label, count in sorted(counts.items())]
    return ["`./dev test`, by label:", "", *table(["label", "tests:"], [*rows, ["all", sum(counts.values())]])]


def faults(build):
    lines = output(str(build / "dev/tests/fault_tests"), "--gtest_brief=1")
    rows = [[name, int(count)] for count, name in re.findall(r"\[ FAULTS   \] +(\d+) allocations: (.*)", lines)]
    total = re.search(r"\[ FAULTS   \] +(\d+) allocations failed in all", lines)
    if total is None:
        raise NoFigures("the fault tests print no total")
    others = int(total[1]) - sum(count for _, count in rows)
    return ["`./dev test -L fault`:", "",
            *table(["operation", "allocations failed:"],
                   [*rows, ["IP rules, and single structures", others], ["all", int(total[1])]])]


def properties(build):
    log = read(build / "dev/properties.log")
    rows = [[name if name == "all" else re.sub(r"^\w+", r"`\g<0>`", name), int(count)]
            for count, name in re.findall(r"^ *(\d+) comparisons: (.*)$", log, re.MULTILINE)]
    if not rows or "[  FAILED  ]" in log:
        raise NoFigures("the last run of the properties failed")
    return [f"`{log.splitlines()[0]}`, without a difference:", "", *table(["answers of", "comparisons:"], rows)]


def fuzz(build):
    lines = read(build / "fuzz/fuzz_table").splitlines()
    done = re.fullmatch(r"fuzz.sh: \d+ fuzzers of (\d+) s, \d+ failed", lines[-1])
    if done is None:
        raise NoFigures("the last run of the fuzzers did not end")
    rows = [line.split(None, 6) for line in lines[1:-1]]
    entries = {path.name.removesuffix("_fuzz.cpp") for path in (build.parent / "fuzz").glob("*_fuzz.cpp")}
    missing = entries - {row[0] for row in rows}
    if missing:
        raise NoFigures(f"the last run left {', '.join(sorted(missing))} out")
    cells = [[f"`{row[0]}`", *(int(cell) if cell.isdigit() else cell for cell in row[1:5]), row[6]] for row in rows]
    return [f"`./dev fuzz {done[1]}`:", "",
            *table(["target", "executions:", "a second:", "edges:", "features:", "finding"], cells)]


def coverage(build):
    report = json.loads(read(build / "coverage/coverage.json"))
    rows = [[what + "s", report[f"{what}_covered"], report[f"{what}_total"], f"{report[f'{what}_percent']} %"]
            for what in ("line", "branch")]
    rows[1][0] = "branches"
    return ["`./dev coverage`:", "", *table(["of `src/`", "run:", "all:", "share:"], rows)]


def mutants(build):
    results = read(build / "mutate/results.txt")
    command, *_ = results.splitlines() or [""]
    if not command.endswith(EVERY_FILE):
        raise NoFigures("the last run changed a part of the library only")
    counts = {}
    for verdict, folder in re.findall(r"^(killed|SURVIVED) src/(\w+)/", results, re.MULTILINE):
        count = counts.setdefault(folder, [0, 0])
        count[0] += 1
        count[1] += verdict == "SURVIVED"
    rows = [[f"`{folder}`", *count] for folder, count in sorted(counts.items())]
    return [f"`{command.removesuffix(EVERY_FILE)}`:", "",
            *table(["folder", "mutants:", "survived:"],
                   [*rows, ["all", *(sum(column) for column in zip(*counts.values()))]])]


def main():
    project = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent.parent)
    page = project / "docs/testing.md"
    text = page.read_text()
    for block in (tests, faults, properties, fuzz, coverage, mutants):
        name = block.__name__
        pattern = re.compile(rf"(<!-- figures: {name} -->\n).*?(<!-- end of figures -->)", re.DOTALL)
        if pattern.search(text) is None:
            sys.exit(f"testing_figures.py: {page} has no block for the figures of {name}")
        try:
            lines = "\n".join(["", *block(project / "build"), "", ""])
        except NoFigures as reason:
            print(f"testing_figures.py: {name} stays as it is: {reason}")
            continue
        text = pattern.sub(lambda found, lines=lines: found[1] + lines + found[2], text)
        print(f"testing_figures.py: {name} is written")
    page.write_text(text)


if __name__ == "__main__":
    main()
