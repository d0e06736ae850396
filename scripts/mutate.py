#!/usr/bin/env python3
"""Changes the library in one place at a time and tells whether the tests notice.

usage: scripts/mutate.py [--count N] [--seed S] [--jobs J] [--only REGEX] WORK_DIR

A mutant is one small change of a line of src: a comparison turned or moved by one, a constant one larger, 'and' for
'or', a condition negated, a result swapped, a statement dropped. Those that do not compile do not count. The others are
killed when a test fails, crashes or hangs, and survive when none does. A survivor is either a test that is missing, or a
change that makes no difference; the list at the end is there to be read.

WORK_DIR gets a copy of the sources and a build for each job, and results.txt: the options, then a line for each mutant.
"""

import argparse
import concurrent.futures
import os
import pathlib
import queue
import random
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PARTS = ["CMakeLists.txt", "cmake", "include", "src", "tests", "packaging", "examples", "scripts", "fuzz"]

# What is replaced, and by what. Blanks around an operator tell it from a template's bracket or a pointer's star.
OPERATORS = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" < ", " > "), (r" > ", " < "), (r" == ", " != "), (r" != ", " == "),
    (r" && ", " || "), (r" \|\| ", " && "), (r" \+ ", " - "), (r" - ", " + "),
    (r" & ", " | "), (r" \| ", " & "), (r" << ", " >> "), (r" >> ", " << "),
    (r"\(!(?=\w)", "("), (r"return true;", "return false;"), (r"return false;", "return true;"),
    (r"return RULE_OK;", "return RULE_ERR_FAILED;"), (r" \? ", " == 0 ? "),
    (r"\+\+(?=\w)", "--"), (r" \+= ", " -= "),
]
NUMBER = re.compile(r"(?<![\w.\"'])(\d+)(?=U?\b)(?![\w.]*\")")
STATEMENT = re.compile(r"^\s+(?!return|break|continue|using|const|static|auto|delete|case|goto)"
                       r"[\w.>\[\]*-]+(\([^;{}]*\)|\s[|+-]?=\s[^;{}]*);$")
PASSED_OVER = re.compile(r"^\s*(//|#|static_assert|\[\[|template|using |\}|$)")

PROGRAMS = [("unit_tests", {}), ("fault_tests", {}), ("property_tests", {"RULESET_PROPERTY_CASES": "0.1"})]
SECONDS = 60  # for a program of tests; a mutant that takes longer hangs
BUILD_SECONDS = 1800


def mutants_of(path):
    """All mutants of a file, as (path, line number from 0, line as it is, line as changed)."""
    found = []
    for number, line in enumerate(path.read_text().split("\n")):
        code = line.split(" //")[0]
        if PASSED_OVER.match(line):
            continue
        changed = []
        for pattern, replacement in OPERATORS:
            for match in re.finditer(pattern, code):
                changed.append(code[:match.start()] + replacement + code[match.end():])
        for match in NUMBER.finditer(code):
            changed.append(code[:match.start(1)] + str(int(match.group(1)) + 1) + code[match.end(1):])
        if STATEMENT.match(code):
            changed.append(re.match(r"\s*", code).group() + ";")
        found += [(path.relative_to(ROOT), number, line, mutant) for mutant in changed]
    return found


def sample(count, seed, only):
    """Mutants in random order, the folders of src taking turns."""
    chooser = random.Random(seed)
    folders = {}
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix in (".cpp", ".h") and re.search(only, str(path.relative_to(ROOT))):
            folders.setdefault(path.parent.name, []).extend(mutants_of(path))
    for mutants in folders.values():
        chooser.shuffle(mutants)
    turns = []
    while any(folders.values()):
        turns += [mutants.pop() for mutants in folders.values() if mutants]
    # Some do not compile: more than asked for stand ready.
    return turns[: 2 * count]


def run(command, where, extra=None):
    environment = {**os.environ, **(extra or {})}
    try:
        done = subprocess.run(command, cwd=where, env=environment, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False,
                              timeout=BUILD_SECONDS if command[0] == "cmake" else SECONDS)
    except subprocess.TimeoutExpired:
        return None
    return done.returncode


class Workshop:
    """A copy of the sources with a build of its own."""

    def __init__(self, folder):
        self.source = folder / "source"
        self.build = folder / "build"
        for old in (self.source, self.build):  # whose objects may be those of a mutant
            shutil.rmtree(old, ignore_errors=True)
        for part in PARTS:
            origin = ROOT / part
            if origin.is_dir():
                shutil.copytree(origin, self.source / part)
            else:
                self.source.mkdir(parents=True, exist_ok=True)
                shutil.copy(origin, self.source / part)
        options = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DRULESET_WERROR=OFF",
                   "-DRULESET_BUILD_CLI=OFF", "-DRULESET_BUILD_DEMO=OFF", "-DRULESET_INSTALL=OFF"]
        if run(["cmake", "-S", str(self.source), "-B", str(self.build), "-G", "Ninja", *options], folder) != 0:
            sys.exit("mutate.py: the build cannot be configured")
        if not self.compiles() or not self.passes():
            sys.exit("mutate.py: the tests do not pass as they are")

    def compiles(self):
        targets = [name for name, _ in PROGRAMS]
        return run(["cmake", "--build", str(self.build), "--parallel", "1", "--target", *targets], self.build) == 0

    def passes(self):
        for name, extra in PROGRAMS:
            if run([str(self.build / "tests" / name), "--gtest_fail_fast", "--gtest_brief=1"], self.build, extra) != 0:
                return False
        return True

    def judge(self, mutant):
        path, number, line, changed = mutant
        target = self.source / path
        original = target.read_text()
        lines = original.split("\n")
        lines[number] = changed
        target.write_text("\n".join(lines))
        try:
            if not self.compiles():
                return None
            return not self.passes()
        finally:
            target.write_text(original)


def main():
    parser = argparse.ArgumentParser(description="Changes the library in one place at a time and runs the tests.")
    parser.add_argument("--count", type=int, default=300, help="mutants that compile")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", default="", help="regular expression for the files")
    parser.add_argument("work", type=pathlib.Path)
    arguments = parser.parse_args()

    arguments.work.mkdir(parents=True, exist_ok=True)
    work = arguments.work.resolve()
    workshops = queue.Queue()
    for job in range(arguments.jobs):
        folder = work / f"job{job}"
        folder.mkdir(exist_ok=True)
        workshops.put(Workshop(folder))
    print(f"mutate.py: the tests pass as they are, in {arguments.jobs} copies", flush=True)

    totals = {}
    survivors = []
    results = (work / "results.txt").open("w")
    results.write(f"./dev mutate {arguments.count} --seed {arguments.seed} --only '{arguments.only}'\n")

    def judge(mutant):
        if sum(killed + survived for killed, survived in totals.values()) >= arguments.count:
            return mutant, None
        workshop = workshops.get()
        try:
            return mutant, workshop.judge(mutant)
        finally:
            workshops.put(workshop)

    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        tasks = [pool.submit(judge, mutant) for mutant in sample(arguments.count, arguments.seed, arguments.only)]
        for done in concurrent.futures.as_completed(tasks):
            mutant, killed = done.result()
            if killed is None:
                continue
            path, number, line, changed = mutant
            total = totals.setdefault(path.parent.name, [0, 0])
            total[0 if killed else 1] += 1
            text = f"{path}:{number + 1}\n    - {line.strip()}\n    + {changed.strip()}"
            results.write(f"{'killed' if killed else 'SURVIVED'} {text}\n")
            results.flush()
            if not killed:
                survivors.append(text)
    for folder, (killed, survived) in sorted(totals.items()):
        print(f"{folder:14}{killed + survived:5} mutants {killed:5} killed {survived:5} survived")
    print(f"{'all':14}{sum(map(sum, totals.values())):5} mutants {len(survivors):5} survived")
    for text in survivors:
        print(text)


if __name__ == "__main__":
    main()
