#!/usr/bin/env python3
"""Writes into bench/README.md what hostile inputs cost, before a change and now.

usage: scripts/hostile_table.py BEFORE.json NOW.json [PROJECT_DIR]

Both files are what bench/hostile_bench printed; ./dev hostile makes them and runs this. BEFORE is named by its file.
The table lies between <!-- hostile: table --> and <!-- end of table -->, and everything between is replaced.

A row is a step of a family that stands out at one size at least, before or now: it was stopped, or it cost more than
three times as much as random input of the same size in the same run, and enough to matter. A family none of whose
steps does has the row of the step that comes nearest. A family that stands out now says why.
"""

import json
import pathlib
import re
import sys

SIZES = {4096: "4 KB", 65536: "64 KB", 1048576: "1 MB"}
STEPS = ("add", "build", "lookup", "delete", "memory")
FACTOR = 3  # of random input, from which on a cost is named
# What matters, from: nanoseconds and bytes. Deleting takes time in proportion to memory, and seldom needs a row.
LEAST = {"add": 10_000_000, "build": 10_000_000, "lookup": 10_000, "delete": 100_000_000, "memory": 5_000_000}
# What one rule alone may cost without being named, likewise.
MOST_OF_ONE_RULE = {step: 1_000_000_000 for step in STEPS} | {"memory": 64_000_000}
NOT_REACHED = "-"


def rounded(number):
    return f"{number:,.0f}" if number >= 99.5 else f"{number:.0f}" if number >= 9.95 else f"{number:.1f}"


def amount(step, number):
    """1234567 as "1.2 ms" or "1.2 MB"."""
    units = ("bytes", "KB", "MB", "GB") if step == "memory" else ("ns", "us", "ms", "s")
    power = 0
    while number >= 999.5 and power < 3:
        number /= 1000
        power += 1
    return f"{rounded(number)} {units[power]}"


class Cost:
    """What one step of a family cost at one size."""

    def __init__(self, rows, size, step):
        reached = [row for bytes_, row in sorted(rows.items()) if bytes_ <= size]
        row = rows.get(size)
        stop = reached[-1].get("stopped_in") if reached else None
        self.is_stopped = stop == step
        self.is_one_rule = row is not None and row["rules"] == 1
        self.number = None
        self.text = "stopped" if self.is_stopped else NOT_REACHED
        if row is not None and step == "memory":
            self.number = row["memory"]  # when it was stopped, until then
            self.text = ("over " if stop else "") + amount(step, self.number)
        elif row is not None and (stop is None or STEPS.index(step) < STEPS.index(stop)):
            self.number = row[step]
            self.text = amount(step, self.number)

    def times(self, random):
        """How many times as much as random input; 0 when that cannot be said."""
        return self.number / random.number if self.number is not None and random.number else 0

    def stands_out(self, step, random):
        if self.is_stopped:
            return True
        return self.number is not None and self.number > LEAST[step] and self.times(random) > FACTOR

    def is_dear(self, step, random):
        is_dear_alone = self.is_one_rule and self.number is not None and self.number > MOST_OF_ONE_RULE[step]
        return is_dear_alone or self.stands_out(step, random)


class Run:
    """The output of one run: rows by group, family and size."""

    def __init__(self, path):
        self.groups = {}
        for line in path.read_text().splitlines():
            row = json.loads(line)
            self.groups.setdefault(row["group"], {}).setdefault(row["family"], {})[row["bytes"]] = row

    def rows(self, group, family):
        return self.groups.get(group, {}).get(family, {})

    def cost(self, group, family, size, step):
        return Cost(self.rows(group, family), size, step)


def shown_steps(runs, group, family):
    def stands_out(step):
        return any(run.cost(group, family, size, step).stands_out(step, run.cost(group, "random", size, step))
                   for run in runs for size in SIZES)

    def most_times(step):
        costs = [(run.cost(group, family, size, step), run.cost(group, "random", size, step))
                 for run in runs for size in SIZES]
        return max((cost.times(random) for cost, random in costs if (cost.number or 0) > LEAST[step]), default=0)

    return [step for step in STEPS if stands_out(step)] or [max(STEPS, key=most_times)]


def group_table(before, now, group):
    families = now.groups[group]
    header = ["input", "step", *(cell for size in SIZES.values() for cell in (f"{size}: before", "now", "random"))]
    lines = ["", f"**{group}.** Random is {description(now, group, 'random')}.", "", line(header),
             line(["---", "---", *["--:"] * (3 * len(SIZES))])]
    for family in families:
        if family == "random":
            continue
        name = f"`{family}`"
        for step in shown_steps((before, now), group, family):
            cells = [run.cost(group, kind, size, step).text
                     for size in SIZES
                     for run, kind in ((before, family), (now, family), (now, "random"))]
            lines.append(line([name, step, *cells]))
            name = ""
    return [*lines, "", *(explanation(now, group, family) for family in families if family != "random")]


def explanation(now, group, family):
    """How an input is made; when it still costs too much, what makes it dear and what bounds it."""
    steps = [step for step in STEPS if any(
        now.cost(group, family, size, step).is_dear(step, now.cost(group, "random", size, step)) for size in SIZES)]
    row = next(iter(now.rows(group, family).values()))
    stays = f" **Stays dear** ({', '.join(steps)}): {row['why']}." if steps else ""
    return f"- `{family}`: {row['how']}.{stays}"


def line(cells):
    return f"| {' | '.join(cells)} |"


def description(run, group, family):
    return next(iter(run.rows(group, family).values()))["how"]


def table(before, now, name):
    lines = ["", f"Before is commit `{name}`; random is of the run that gave \"now\"."]
    for group in now.groups:
        lines += group_table(before, now, group)
    return [*lines, "", ""]


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    before_path, now_path = map(pathlib.Path, sys.argv[1:3])
    project = pathlib.Path(sys.argv[3] if len(sys.argv) > 3 else pathlib.Path(__file__).resolve().parent.parent)
    page = project / "bench/README.md"
    text = page.read_text()
    pattern = re.compile(r"(<!-- hostile: table -->\n).*?(<!-- end of table -->)", re.DOTALL)
    if pattern.search(text) is None:
        sys.exit(f"hostile_table.py: {page} has no block for the table")
    block = "\n".join(table(Run(before_path), Run(now_path), before_path.stem))
    page.write_text(pattern.sub(lambda found: found[1] + block + found[2], text))
    print(f"hostile_table.py: the table of {page} is written")


if __name__ == "__main__":
    main()
