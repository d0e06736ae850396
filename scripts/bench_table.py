#!/usr/bin/env python3
"""Writes into bench/README.md what lookups and builds cost, now and before a change, and which targets are met.

usage: scripts/bench_table.py NOW.json [BEFORE.json] [--project DIR]

Both files are what bench/lookup_bench and bench/build_bench printed, one after the other, after a line about the run;
./dev bench makes them and runs this. The tables lie between <!-- bench: tables --> and <!-- end of tables -->, and
everything between is replaced.
"""

import argparse
import json
import pathlib
import re

NOT_MEASURED = "-"
STOPPED = "stopped"

HASHED = ("ipv4_hosts", "ipv6_hosts", "ip_port_ipv4", "ip_port_ipv6", "packet_filter_ipv4", "packet_filter_ipv6",
          "names_wire", "urls_split")
SEARCHED = ("ipv4_ranges", "ipv4_overlapping", "ipv6_prefixes")
MILLION = 1_000_000


class Run:
    """The lines of one run."""

    def __init__(self, path):
        rows = [json.loads(line) for line in path.read_text().splitlines() if line.startswith("{")]
        self.about = next((row for row in rows if row["bench"] == "run"), {"commit": path.stem, "machine": "unknown"})
        self.lookups = {}
        self.builds = {}
        self.stopped = set()
        for row in rows:
            if "stopped" in row:
                self.stopped.add((row["bench"], row["case"], row["rules"]))
            elif row["bench"] == "lookup":
                self.lookups[row["case"], size_of(row), row["keys"], row["call"]] = row
            elif row["bench"] == "build":
                self.builds[row["case"], size_of(row)] = row

    def is_stopped(self, bench, case, size):
        # The line about a stopped process has the name of its list.
        listed = case.removesuffix("_wire").removesuffix("_split")
        return (bench, listed, 0 if size is None else size) in self.stopped

    def lookup(self, case, size, keys, call):
        return self.lookups.get((case, size, keys, call))

    def build(self, case, size, field):
        row = self.builds.get((case, size))
        return None if row is None else row[field]


def size_of(row):
    """The number of rules; None for real lists, which have one size."""
    return None if row["case"].startswith("real_") else row["rules"]


def fastest_peer(row):
    return min(row["peer"], row.get("peer_small", row["peer"]))


def times_as_fast(row):
    return None if row is None else fastest_peer(row) / row["ours"]


# -------------------------------------------------------------------------------------------------------- figures

def against_peer(case, size, keys, call="loop"):
    return lambda run: times_as_fast(run.lookup(case, size, keys, call))


def against_ordered(case, keys):
    def figure(run):
        row = run.lookup(case, None, keys, "loop")
        return None if row is None else row["ordered"] / row["ours"]
    return figure


def ours_against_ours(left, right):
    def figure(run):
        rows = run.lookup(*left), run.lookup(*right)
        return None if None in rows else rows[0]["ours"] / rows[1]["ours"]
    return figure


def growth(case):
    return ours_against_ours((case, MILLION, "hit", "loop"), (case, 10_000, "hit", "loop"))


def build_figure(case, size, field):
    return lambda run: run.build(case, size, field)


def peak_figure(case):
    def figure(run):
        row = run.builds.get((case, MILLION))
        return None if row is None else row["peak_bytes"] / row["group_bytes"]
    return figure


def worst_at_ten_thousand(case):
    def figure(run):
        rows = [run.lookup(case, 10_000, keys, "loop") for keys in ("hit", "miss")]
        return None if None in rows else min(map(times_as_fast, rows))
    return figure


class Target:
    def __init__(self, case, bound, figure, is_least, unit="x"):
        self.case = case
        self.bound = bound
        self.figure = figure
        self.is_least = is_least  # whether the bound is the least that meets the target
        self.unit = unit

    @property
    def text(self):
        return f"{'at least' if self.is_least else 'at most'} {self.bound:g}{self.unit}"

    def cell(self, run):
        figure = None if run is None else self.figure(run)
        return NOT_MEASURED if figure is None else f"{shown(figure)}{self.unit}"

    def verdict(self, run):
        figure = self.figure(run)
        if figure is None:
            return "not measured"
        rounded = float(shown(figure).replace(",", ""))
        return "yes" if (rounded >= self.bound if self.is_least else rounded <= self.bound) else "**no**"


def faster(case, bound, figure):
    return Target(case, bound, figure, True)


def at_most(case, bound, figure, unit="x"):
    return Target(case, bound, figure, False, unit)


BUILD_LIMITS = {"ipv4_hosts": 0.6, "ipv4_ranges": 0.9, "ipv6_hosts": 0.9, "names": 1.0, "urls": 1.2}
BYTE_LIMITS = {"ipv4_hosts": 200, "ipv4_ranges": 290, "ipv6_hosts": 150, "names": 180, "urls": 280}

TARGETS = [
    faster("1 M IPv4 hosts, hit, loop: peer / ours", 1.2, against_peer("ipv4_hosts", MILLION, "hit")),
    faster("1 M IPv4 hosts, miss, loop: peer / ours", 1.0, against_peer("ipv4_hosts", MILLION, "miss")),
    faster("10 M IPv4 hosts, hit, loop: peer / ours", 1.5, against_peer("ipv4_hosts", 10 * MILLION, "hit")),
    faster("1 M IPv6 hosts, hit, loop: peer / ours", 1.0, against_peer("ipv6_hosts", MILLION, "hit")),
    faster("1 M IPv6 hosts, miss, loop: peer / ours", 1.0, against_peer("ipv6_hosts", MILLION, "miss")),
    faster("real overlapping IPv4 ranges, hit, loop: peer / ours", 8,
           against_peer("real_ipv4_overlapping", None, "hit")),
    faster("real IPv6 prefixes, hit, loop: tree / ours", 8, against_ordered("real_ipv6_prefixes", "hit")),
    faster("1 M names in wire form, hit, loop: peer / ours", 1.8, against_peer("names_wire", MILLION, "hit")),
    faster("1 M names in wire form, miss, loop: peer / ours", 2, against_peer("names_wire", MILLION, "miss")),
    faster("1 M split URLs, hit, loop: peer / ours", 1.6, against_peer("urls_split", MILLION, "hit")),
    faster("1 M split URLs, miss, loop: peer / ours", 1.4, against_peer("urls_split", MILLION, "miss")),
    at_most("a host with 3,000 paths / hosts with one or two", 3,
            ours_against_ours(("urls_of_crowded_host", 10_000, "hit", "loop"),
                              ("urls_of_other_hosts", 10_000, "hit", "loop"))),
    at_most("IPv4 hosts, hit, loop: 1 M / 10 k", 6, growth("ipv4_hosts")),
    at_most("names, hit, loop: 1 M / 10 k", 4.5, growth("names")),
    *(at_most(f"build of {case}, {size // MILLION} M rules, a million of them", limit,
              build_figure(case, size, "build"), " s")
      for case, limit in BUILD_LIMITS.items() for size in (MILLION, 10 * MILLION)),
    *(at_most(f"group of {case}, 1 M rules, each", limit, build_figure(case, MILLION, "group_bytes"), " bytes")
      for case, limit in BYTE_LIMITS.items()),
    *(at_most(f"group of {case}, 1 M rules: most while building / result", 1.5, peak_figure(case))
      for case in BYTE_LIMITS),
    *(faster(f"10 k {case}, hit or miss, loop: peer / ours", 1.0, worst_at_ten_thousand(case))
      for case in HASHED + SEARCHED),
]


# --------------------------------------------------------------------------------------------------------- tables

def shown(number):
    """1,234, 123, 12.3, 1.23, 0.12, 0.0012."""
    digits = 0 if number >= 99.95 else 1 if number >= 9.995 else 2 if number >= 0.0995 else 4
    return f"{number:,.{digits}f}"


def line(cells):
    return f"| {' | '.join(map(str, cells))} |"


def head(names, texts):
    """The first columns are texts, the others numbers."""
    return ["", line(names), line(["---"] * texts + ["--:"] * (len(names) - texts))]


def target_table(now, before):
    lines = head(["case", "target", "before", "now", "met"], 2)
    return lines + [line([target.case, target.text, target.cell(before), target.cell(now), target.verdict(now)])
                    for target in TARGETS]


def ratio_cell(run, key):
    figure = None if run is None else times_as_fast(run.lookup(*key))
    if figure is None:
        case, size, *_ = key
        return STOPPED if run is not None and run.is_stopped("lookup", case, size) else NOT_MEASURED
    return f"{shown(figure)}x"


def lookup_cells(now, before, case, size, call):
    for keys in ("hit", "miss"):
        key = case, size, keys, call
        row = now.lookup(*key)
        yield NOT_MEASURED if row is None else shown(row["ours"])
        yield NOT_MEASURED if row is None else shown(fastest_peer(row))
        yield ratio_cell(before, key)
        yield ratio_cell(now, key)


def lookup_table(now, before, call):
    columns = [f"{keys}: {name}" for keys in ("hit", "miss")
               for name in ("ours, ns", "peer, ns", "ratio before", "ratio now")]
    lines = head(["keys", "rules", *columns], 1)
    seen = dict.fromkeys((case, size) for case, size, _, _ in now.lookups)
    for case, size in seen:
        row = next(row for key, row in now.lookups.items() if key[:2] == (case, size))
        lines.append(line([f"`{case}`", f"{row['rules']:,}", *lookup_cells(now, before, case, size, call)]))
    return lines


def build_cells(now, before, key):
    row = now.builds[key]
    past = None if before is None else before.builds.get(key)
    stopped = STOPPED if before is not None and before.is_stopped("build", *key) else NOT_MEASURED
    yield shown(row["add"])
    yield stopped if past is None else shown(past["build"])
    yield shown(row["build"])
    yield shown(row["free_group"])
    yield shown(row["set_bytes"])
    yield stopped if past is None else shown(past["group_bytes"])
    yield shown(row["group_bytes"])
    yield shown(max(row["group_bytes"] - row["ordered_bytes"], 0))
    yield f"{shown(row['peak_bytes'] / row['group_bytes'])}x"
    yield shown(row["resident_bytes"])
    yield f"{row['allocations']:,}"


def build_table(now, before):
    lines = head(["list", "rules", "add", "build before", "now", "free", "set", "group before", "now", "flat", "peak",
                  "resident", "allocations"], 1)
    return lines + [line([f"`{key[0]}`", f"{row['rules']:,}", *build_cells(now, before, key)])
                    for key, row in now.builds.items()]


def tables(now, before):
    about = f"Now is commit `{now.about['commit']}`, on {now.about['machine']}."
    if before is not None:
        about += f" Before is commit `{before.about['commit']}`."
    return ["", about,
            "", "### Targets", *target_table(now, before),
            "", "### Lookups in a loop",
            "", "A ratio is that of the fastest peer's time to ours in the same run: above 1 we are faster.",
            *lookup_table(now, before, "loop"),
            "", "### Lookups that wait for each other", *lookup_table(now, before, "chain"),
            "", "### Builds and memory",
            "", "Times are seconds for a million rules, memory is bytes a rule.", *build_table(now, before), "", ""]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("now", type=pathlib.Path)
    parser.add_argument("before", type=pathlib.Path, nargs="?")
    parser.add_argument("--project", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
    arguments = parser.parse_args()
    page = arguments.project / "bench/README.md"
    text = page.read_text()
    pattern = re.compile(r"(<!-- bench: tables -->\n).*?(<!-- end of tables -->)", re.DOTALL)
    if pattern.search(text) is None:
        parser.exit(1, f"bench_table.py: {page} has no block for the tables\n")
    block = "\n".join(tables(Run(arguments.now), Run(arguments.before) if arguments.before else None))
    page.write_text(pattern.sub(lambda found: found[1] + block + found[2], text))
    print(f"bench_table.py: the tables of {page} are written")


if __name__ == "__main__":
    main()
