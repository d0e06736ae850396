#!/usr/bin/env python3
"""Whole commands that answer the same question, in turn: a line of JSON for each, which scripts/performance_page.py reads.

usage: scripts/bench_commands.py INPUTS RULESET FOLDER [--passes N] [--scale FRACTION]

INPUTS is bench/peer_inputs, which writes the files, and RULESET the command. Files go to FOLDER, and are removed at the
end. A command's figures are medians of its passes: seconds on the clock, seconds of the processor (of all threads,
the system's for them included), and the largest resident memory of any pass. What a command selects is compared where the
question is the same; a difference ends the run.

--scale makes fewer lines and rules, for a test of the script.
"""

import argparse
import hashlib
import json
import os
import pathlib
import statistics
import subprocess
import sys
import time

RANGES = 411_961
ADDRESSES = 10_000_000
NAMES = 100_000
LINES = 1_000_000
MANY_NAMES = 1_000_000
MANY_LINES = 10_000_000


class Command:
    """A command line, the file on its standard input, if any, and whether it asks what the first command asks."""

    def __init__(self, name, words, keys=None, asks_the_same=True):
        self.name = name
        self.words = words
        self.keys = keys
        self.asks_the_same = asks_the_same
        self.selects_the_same = True
        self.runs = []

    def shown(self, folder):
        words = [word.removeprefix(f"{folder}/") for word in self.words]
        words[0] = pathlib.Path(words[0]).name
        return " ".join(words) + (f" <{self.keys.name}" if self.keys else "")

    def run(self, output):
        environment = os.environ | {"LC_ALL": "C"}
        with open(self.keys or os.devnull, "rb") as keys, open(output, "wb") as out:
            start = time.monotonic()
            child = subprocess.Popen(self.words, stdin=keys, stdout=out, env=environment)
            _, status, usage = os.wait4(child.pid, 0)
            seconds = time.monotonic() - start
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode not in (0, 1):
            sys.exit(f"bench_commands.py: {' '.join(self.words)}: status {child.returncode}")
        self.runs.append((seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024))


def keys_of(output):
    """A digest of what was selected: the command prints the key first, then a tab and the rule.

    Nothing is kept, as the memory of this process would count as that of the commands after it.
    """
    digest = hashlib.sha256()
    with open(output, "rb") as lines:
        for line in lines:
            digest.update(line.rstrip(b"\n").split(b"\t", 1)[0] + b"\n")
    return digest.hexdigest()



def measure(case, rules, keys, commands, folder, passes):
    output = folder / "output.txt"
    selected = None
    for number in range(passes):
        for command in commands:
            command.run(output)
            if number == 0:
                found = keys_of(output)
                selected = selected or found
                command.selects_the_same = found == selected
                if command.asks_the_same and not command.selects_the_same:
                    sys.exit(f"bench_commands.py: {command.shown(folder)} selects other lines than {commands[0].name}")
    for command in commands:
        seconds, processor, _ = (statistics.median(column) for column in zip(*command.runs))
        print(json.dumps({
            "bench": "command", "case": case, "name": command.name, "command": command.shown(folder),
            "rules": rules, "keys": keys, "seconds": round(seconds, 3), "processor": round(processor, 3),
            "resident": max(resident for _, _, resident in command.runs), "same": command.selects_the_same}), flush=True)


def our_commands(ruleset, kind, rules, keys):
    """One command, or one for each number of threads if it knows them."""
    words = [ruleset, "match", "-t", kind, "-r", str(rules)]
    help_text = subprocess.run([ruleset, "match", "--help"], capture_output=True, text=True, check=True).stdout
    if " -j" not in help_text:
        return [Command("ruleset", words, keys)]
    return [Command(f"ruleset -j {threads}", [*words, "-j", str(threads)], keys) for threads in (1, 2)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("inputs")
    parser.add_argument("ruleset")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--passes", type=int, default=3)
    parser.add_argument("--scale", type=float, default=1.0)
    arguments = parser.parse_args()
    folder, passes = arguments.folder, arguments.passes
    folder.mkdir(parents=True, exist_ok=True)

    def write_inputs(*counts):
        scaled = [max(int(count * arguments.scale), 1) for count in counts]
        subprocess.run([arguments.inputs, folder, *map(str, scaled)], check=True)
        return scaled

    try:
        ranges, addresses, names, lines = write_inputs(RANGES, ADDRESSES, NAMES, LINES)
        file = {stem: folder / f"{stem}.txt" for stem in ("ranges", "addresses", "names", "words", "lines")}
        grepcidr = Command("grepcidr", ["grepcidr", "-f", str(file["ranges"]), str(file["addresses"])])
        measure("ranges", ranges, addresses,
                [*our_commands(arguments.ruleset, "ip", file["ranges"], file["addresses"]), grepcidr], folder, passes)

        grep = [str(file["words"]), str(file["lines"])]
        measure("names", names, lines, [
            *our_commands(arguments.ruleset, "domain", file["names"], file["lines"]),
            Command("grep -F -w", ["grep", "-F", "-w", "-f", *grep]),
            Command("rg -F", ["rg", "-F", "-f", *grep], asks_the_same=False)], folder, passes)

        _, _, names, lines = write_inputs(1, 1, MANY_NAMES, MANY_LINES)
        some = folder / "some_lines.txt"
        with open(file["lines"], "rb") as all_lines, open(some, "wb") as first:
            first.writelines(line for _, line in zip(range(lines // 10), all_lines))
        measure("many_names", names, lines,
                our_commands(arguments.ruleset, "domain", file["names"], file["lines"]), folder, passes)
        measure("many_names_fewer_lines", names, lines // 10,
                our_commands(arguments.ruleset, "domain", file["names"], some), folder, passes)
    finally:
        for stem in ("ranges", "addresses", "names", "words", "lines", "some_lines", "output"):
            (folder / f"{stem}.txt").unlink(missing_ok=True)


if __name__ == "__main__":
    main()
