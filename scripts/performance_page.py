#!/usr/bin/env python3
"""Writes docs/performance.md and its charts: the library beside other libraries, and the command beside other commands.

usage: scripts/performance_page.py RUN.json [--project DIR]

RUN.json is a line about the run, what bench/peer_bench printed, and what scripts/bench_commands.py printed;
./dev bench --peers makes it and runs this. The page and docs/performance/ are written anew.
"""

import argparse
import json
import pathlib
import re

from performance_charts import chart, is_ours

NOT_MEASURED = "-"

# What is asked, and what differs between those that answer. A question's words are before its tables.
QUESTIONS = {
    "ipv4_hosts": ("IPv4 addresses", """\
*Which rule is for this address?* All rules are single addresses, scattered over the family. The maps go from the address
to the number of the rule. The sorted array is asked with `std::lower_bound`. `rte_fib`, the patricia tree and the database
have each address as a prefix of all its bits. `rte_fib` and "ruleset, bulk" are asked through bulk calls for 256 keys at a
time, all others with one key. The library returns the whole rule, with its value, id and `userData`; the others return its number, but for
the map that has whole rules as values."""),
    "ipv6_hosts": ("IPv6 addresses", """\
The same with 128 bits. `rte_fib6` and `rte_lpm6` are asked through their bulk calls. They are made for prefixes of networks:
a single address takes up to thirteen groups of 256 entries in them, so that a million take more memory than they get here."""),
    "ipv4_routes": ("Nested IPv4 prefixes", """\
*Which is the longest prefix that holds this address?* Prefixes have lengths as in a routing table. The library takes the
first rule that covers a key, so it is given the longest prefixes first; then both questions are the same. The sorted array
has the prefixes flattened into intervals, and is asked with `std::upper_bound`. The database is a file in the MaxMind
format, which the benchmark writes with the number of the rule as data: all answers can be compared, and no package needs to
ship one. Overlapping ranges, and rules in another order, are questions that these peers do not have."""),
    "ipv6_routes": ("Nested IPv6 prefixes", """\
The same with lengths from 32 to 64, eight of them under a /32 on average."""),
    "names": ("Host names", """\
*Which rule covers this name?* Rules are `*.example.com`, keys have a label or two in front, and one in sixteen begins with a
capital. The maps take the name in lower case and ask for every suffix. They know no escapes, no letters beyond ASCII and no
limits, which the library reads and checks."""),
    "public_suffixes": ("Public suffixes", """\
*Which part of this name is a public suffix?* The list of the package `publicsuffix`, as rules and in libpsl's two forms, the
list itself and the compiled one. A key is a name of no to two labels below a suffix. Exceptions are the first rules, then
the lines with most labels; the value of a rule says how many labels are the suffix, and the label is then searched from the
end of the name."""),
    "urls": ("URLs", """\
*Which rule covers this URL?* Rules are a host and the beginning of a path. The maps take the URL in lower case, cut it at
the first slash, and go from the host to its paths. They read no URL: escapes, users, ports and blanks are beyond them. With
uriparser or libcurl in front they do what a program does that has to read one."""),
}

TEXTS = {
    "text_ipv4": ("an IPv4 address as a number", "`inet_pton` takes a zero byte at the end instead of a length"),
    "text_ipv6": ("an IPv6 address as its bytes", "likewise; half of the addresses have `::`"),
    "text_names": ("a name in ASCII in canonical form", "libidn2 checks the rules of IDNA besides, and allocates the result"),
    "text_idn": ("a name with letters beyond ASCII as Punycode", "likewise"),
    "text_urls": ("host, and path with query, of a URL", "uriparser cuts, and leaves escapes and capitals as they are; "
                  "libcurl decodes and allocates each piece"),
}

THREADS = {"ipv4_hosts": "IPv4 addresses", "ipv6_hosts": "IPv6 addresses", "ipv4_overlapping": "overlapping IPv4 ranges",
           "names": "host names", "urls": "URLs"}

THREAD_WORDS = """\
Threads that look up in one group. The rate is by time of the processor, so that it shows what the threads take from each
other, and not what other programs take from them. More than twice is the noise of a busy machine."""

COMMANDS = {
    "ranges": ("Addresses in ranges", """\
Which of these addresses lie in these ranges? All print the addresses; `ruleset` prints the rule, its place, value and id
after each as well."""),
    "names": ("Names below names", """\
Which of these names are below a name of the list? The lines are made so that a name of the list is a word in them at the end
only: there "the line has the word" and "the name is below" are the same question. `rg -F` asks for less, the text anywhere
in the line; whether it selects the same lines is said. `rg -F -w`, which would ask the same, takes minutes for twenty
thousand lines and is left out."""),
    "many_names": ("Many names, many lines", "The command alone."),
    "many_names_fewer_lines": ("Many names, a tenth of the lines", "What the memory of the run above is compared with."),
}


class Run:
    """The lines of one run."""

    def __init__(self, path):
        rows = [json.loads(line) for line in path.read_text().splitlines() if line.startswith("{")]
        self.about = next(row for row in rows if row["bench"] == "run")
        self.lookups = {}   # question, keys -> contender -> rules -> ns
        self.builds = {}    # question -> contender -> rules -> row
        self.left_out = {}  # question, contender, rules -> bytes
        self.threads = {}
        self.commands = {}  # case -> name -> row
        for row in rows:
            kind = row["bench"]
            if kind == "peer_lookup":
                table = self.lookups.setdefault((row["question"], row["keys"]), {})
                table.setdefault(row["contender"], {})[row["rules"]] = row["ns"]
            elif kind == "peer_build":
                self.builds.setdefault(row["question"], {}).setdefault(row["contender"], {})[row["rules"]] = row
            elif kind == "peer_left_out":
                self.left_out[row["question"], row["contender"], row["rules"]] = row["bytes"]
            elif kind == "threads":
                self.threads[row["case"]] = row
            elif kind == "command":
                self.commands.setdefault(row["case"], {})[row["name"]] = row

    def command(self, case, *names):
        """The first of several names that was measured."""
        rows = self.commands.get(case, {})
        return next((rows[name] for name in names if name in rows), None)


# -------------------------------------------------------------------------------------------------------- figures

def ratio(left, right, field):
    return None if left is None or right is None else left[field] / right[field]


def of_one_thread(run, case):
    return run.command(case, "ruleset -j 1", "ruleset")


def grepcidr_ratio(run):
    return ratio(run.command("ranges", "grepcidr"), of_one_thread(run, "ranges"), "processor")


def two_threads_ratio(run):
    return ratio(run.command("ranges", "ruleset -j 1"), run.command("ranges", "ruleset -j 2"), "seconds")


def bytes_per_range(run):
    row = of_one_thread(run, "ranges")
    return None if row is None else row["resident"] / row["rules"]


def many_lines_a_second(run):
    row = run.command("many_names", "ruleset -j 2")
    return None if row is None else row["keys"] / row["seconds"] / 1e6


def memory_growth(run):
    return ratio(of_one_thread(run, "many_names"), of_one_thread(run, "many_names_fewer_lines"), "resident")


def readers_ratio(case):
    def figure(run):
        row = run.threads.get(case)
        return None if row is None else row["two"] / row["one"]
    return figure


# What is measured, the bound, whether it is the least that meets the target, the unit, and the figure of a run.
TARGETS = [
    ("`ruleset match` beside grepcidr, ranges, one thread, processor time", 2, True, "x", grepcidr_ratio),
    ("`ruleset match`, ranges, two threads / one", 1.8, True, "x", two_threads_ratio),
    ("`ruleset match`, ranges, resident memory for a rule", 140, False, " bytes", bytes_per_range),
    ("`ruleset match`, many names, many lines, two threads", 5, True, " M lines/s", many_lines_a_second),
    ("`ruleset match`, resident memory, ten times the lines", 1.05, False, "x", memory_growth),
    *((f"two reader threads / one, {name}", 1.8, True, "x", readers_ratio(case)) for case, name in THREADS.items()),
]


# --------------------------------------------------------------------------------------------------------- tables

def shown(number):
    """1,234, 123, 12.3, 1.23, 0.12, 0.0012."""
    digits = 0 if number >= 99.95 else 1 if number >= 9.995 else 2 if number >= 0.0995 else 4
    return f"{number:,.{digits}f}"


def table(names, texts, rows):
    """The first columns are texts, the others numbers."""
    lines = [names, ["---"] * texts + ["--:"] * (len(names) - texts), *rows]
    return ["", *(f"| {' | '.join(map(str, line))} |" for line in lines), ""]


def verdict(figure, bound, is_least):
    if figure is None:
        return "not measured"
    rounded = float(shown(figure).replace(",", ""))
    return "yes" if (rounded >= bound if is_least else rounded <= bound) else "**no**"


def target_table(run):
    rows = []
    for name, bound, is_least, unit, figure_of in TARGETS:
        figure = figure_of(run)
        rows.append([name, f"at {'least' if is_least else 'most'} {bound:g}{unit}",
                     NOT_MEASURED if figure is None else f"{shown(figure)}{unit}", verdict(figure, bound, is_least)])
    return table(["case", "target", "now", "met"], 2, rows)


def fastest_of_ours(contenders, rules):
    times = [times[rules] for name, times in contenders.items() if is_ours(name) and rules in times]
    return min(times) if times else None


def gigabytes(size):
    return f"{size / 1e9:.1f} GB"


def lookup_cell(run, question, contenders, name, rules):
    nanoseconds = contenders[name].get(rules)
    if nanoseconds is None:
        size = run.left_out.get((question, name, rules))
        return NOT_MEASURED if size is None else f"left out: {gigabytes(size)}"
    ours = fastest_of_ours(contenders, rules)
    beside = "" if is_ours(name) or ours is None else f" ({shown(nanoseconds / ours)}x)"
    return f"{shown(nanoseconds)}{beside}"


def sizes_of(contenders):
    return sorted({rules for times in contenders.values() for rules in times})


def lookup_table(run, question, keys):
    contenders = run.lookups[question, keys]
    sizes = sizes_of(contenders)
    rows = [[f"**{name}**" if is_ours(name) else name,
             *(lookup_cell(run, question, contenders, name, rules) for rules in sizes)] for name in contenders]
    return table([keys, *(f"{rules:,}" for rules in sizes)], 1, rows)


def build_table(run, question):
    contenders = run.builds[question]
    sizes = sizes_of(contenders)

    def cell(name, rules):
        row = contenders[name].get(rules)
        return NOT_MEASURED if row is None else f"{shown(row['bytes'] / rules)}, {shown(row['build_us'] / rules)}"
    rows = [[f"**{name}**" if is_ours(name) else name, *(cell(name, rules) for rules in sizes)] for name in contenders]
    return table(["bytes a rule, µs a rule", *(f"{rules:,}" for rules in sizes)], 1, rows)


def text_table(run):
    rows = []
    for question, (what, differs) in TEXTS.items():
        contenders = run.lookups.get((question, "all"), {})
        ours = fastest_of_ours(contenders, 0)
        for name, times in contenders.items():
            if is_ours(name):
                rows.append([what, f"**{name}**", "", shown(times[0]), ""])
            else:
                rows.append(["", name, differs, shown(times[0]), f"{shown(times[0] / ours)}x"])
                differs = ""
    return table(["what is read", "by", "what differs", "ns", "beside ours"], 3, rows)


def thread_table(run):
    rows = [[name, f"{run.threads[case]['rules']:,}", shown(run.threads[case]["one"]), shown(run.threads[case]["two"]),
             f"{shown(run.threads[case]['two'] / run.threads[case]['one'])}x"]
            for case, name in THREADS.items() if case in run.threads]
    return table(["keys", "rules", "one thread, M/s", "two threads, M/s", "two / one"], 1, rows)


def command_table(rows):
    first = next(iter(rows.values()))

    def cells(row):
        yield f"`{row['command']}`"
        yield "" if row is first else "yes" if row["same"] else "no"
        for field in ("seconds", "processor"):
            beside = "" if is_ours(row["name"]) else f" ({shown(row[field] / first[field])}x)"
            yield f"{shown(row[field])}{beside}"
        yield f"{row['resident'] / 1e6:,.0f}"
    return table(["command", "same lines", "seconds", "of the processor", "MB"], 2, map(cells, rows.values()))


# ----------------------------------------------------------------------------------------------------------- page

def series_of(contenders, value):
    """Contender -> points; values of 0 have no place on a logarithmic axis."""
    series = {}
    for name, by_rules in contenders.items():
        points = [(rules, value(rules, by_rules[rules])) for rules in sorted(by_rules)]
        series[name] = [point for point in points if point[1] > 0]
    return {name: points for name, points in series.items() if points}


def charts(run, question):
    """File name -> SVG, of a question that is asked with several numbers of rules."""
    title, _ = QUESTIONS[question]
    lookups = [(f"{title}, {keys}: ns a lookup", series_of(run.lookups[question, keys], lambda _, ns: ns))
               for keys in ("hit", "miss") if (question, keys) in run.lookups]
    builds = [(f"{title}: bytes a rule", series_of(run.builds[question], lambda rules, row: row["bytes"] / rules)),
              (f"{title}: µs a rule to build",
               series_of(run.builds[question], lambda rules, row: row["build_us"] / rules))]
    return {f"{question}.svg": chart(f"{title}: time of a lookup over the number of rules", lookups),
            f"{question}_build.svg": chart(f"{title}: memory and time to build over the number of rules", builds)}


def question_section(run, question):
    title, words = QUESTIONS[question]
    kinds = [keys for asked, keys in run.lookups if asked == question]
    lines = [f"### {title}", "", words]
    if "hit" in kinds:
        lines += ["", f"![{title}: time of a lookup](performance/{question}.svg)"]
    for keys in kinds:
        lines += lookup_table(run, question, keys)
    if "hit" in kinds:
        lines += [f"![{title}: memory and time to build](performance/{question}_build.svg)"]
    return lines + build_table(run, question)


def about_table(about):
    names = {"date": "date", "commit": "commit", "machine": "machine", "memory": "memory", "kernel": "kernel",
             "compiler": "compiler", "packages": "Debian packages", "options": "sizes and passes"}
    return table(["", ""], 2, [[name, about[key]] for key, name in names.items() if key in about])


INTRODUCTION = """\
# Performance, beside others

The library and the libraries that answer the same question, in one program and one run; the command and the commands that
do, in turn. `./dev bench --peers` installs the packages, measures, and writes this page and its charts.
[bench/README.md](../bench/README.md) compares with earlier states of this library, and has its targets for lookups.

**Only ratios within a run count.** The machine was busy with other work during this run: of lookups and builds the time of
the processor is counted, not time on the clock, but caches and memory are shared. The same lookup differs between machines, and between minutes, by
more than most of these differences are worth.

- **Equal answers.** Before anything is timed, all answers to all keys are compared with those of the library. A difference
  ends the run.
- **In turn.** Contenders are timed one after the other, several times over, and the median counts. One core, one thread.
- **Keys** come in random order: hits lie inside of random rules, misses next to rules.
- **Memory** is what the allocators hold for a structure: of C, of DPDK, and files that are mapped. Big tables ask for huge
  pages, all of them.
- **Building** is from numbers and texts in memory. The library reads the texts of rules, which is a part of its time; the
  maps of names and URLs keep pointers to texts, which are not a part of their memory.
- DPDK runs without huge page files and without a device, and may use its vector code of 512 bits.

- `-` was not measured: trees and tables of prefixes are asked with up to a million rules.

A number in parentheses is how many times as long as the library's fastest call a contender takes: above 1x we are faster.
"""


def page(run):
    lines = [INTRODUCTION, "## The run", *about_table(run.about),
             "## Targets", "", "Of the command, and of threads. Targets of single lookups are in bench/README.md.",
             *target_table(run), "## Lookups", "", "Nanoseconds.", ""]
    for question in QUESTIONS:
        if question in run.builds:
            lines += question_section(run, question)
    if any(question in TEXTS for question, _ in run.lookups):
        lines += ["## Reading texts", "", "No rules are asked. A number is made of what was read, and compared.",
                  *text_table(run)]
    if run.threads:
        lines += ["## Reader threads", "", THREAD_WORDS,
                  *thread_table(run)]
    if run.commands:
        lines += ["## Whole commands", "", "From the start of the process to its end, with reading the rules, in the C "
                  "locale. `same lines` tells whether the lines", "selected are those of the first command. Memory is the "
                  "most that was resident.", ""]
    for case, (title, words) in COMMANDS.items():
        if case in run.commands:
            rows = run.commands[case]
            first = next(iter(rows.values()))
            lines += [f"### {title}", "", words, "", f"{first['rules']:,} rules, {first['keys']:,} lines.",
                      *command_table(rows)]
    return re.sub(r"\n{3,}", "\n\n", "\n".join(lines)).rstrip() + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("run", type=pathlib.Path)
    parser.add_argument("--project", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
    arguments = parser.parse_args()
    run = Run(arguments.run)
    folder = arguments.project / "docs/performance"
    folder.mkdir(parents=True, exist_ok=True)
    for old in folder.glob("*.svg"):
        old.unlink()
    for question in QUESTIONS:
        if (question, "hit") in run.lookups:
            for name, text in charts(run, question).items():
                (folder / name).write_text(text)
    written = arguments.project / "docs/performance.md"
    written.write_text(page(run))
    print(f"performance_page.py: {written} is written")


if __name__ == "__main__":
    main()
