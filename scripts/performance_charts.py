"""Charts as SVG, for scripts/performance_page.py: lines over the number of rules, both axes logarithmic.

Colours are classes of a style sheet in the file, which has a second set for dark pages. Each line has its name at its
end, in its own colour: there is no legend. Needs nothing beyond the standard library.
"""

import math
from xml.sax.saxutils import escape

WIDTH = 860
HEIGHT = 330
PANEL = WIDTH // 2
LEFT, RIGHT, TOP, BOTTOM = 52, 146, 44, 40  # around the axes of a panel
LABEL_STEP = 14

# For light pages and for dark ones.
INK = {"paper": ("#ffffff", "#0d1117"), "text": ("#1f2328", "#e6edf3"), "quiet": ("#59636e", "#9198a1"),
       "grid": ("#d8dee4", "#262c34")}
SERIES = {
    "ruleset": ("#0757ba", "#6cb2ff"),
    "absl::flat_hash_map": ("#b04500", "#ff9d57"),
    "absl, whole rules": ("#b04500", "#ff9d57"),
    "std::unordered_map": ("#805a00", "#d9a72e"),
    "sorted array": ("#59636e", "#9aa4af"),
    "rte_fib": ("#147233", "#49c764"),
    "rte_fib6": ("#147233", "#49c764"),
    "rte_lpm6": ("#b0307f", "#ff86c8"),
    "nDPI patricia": ("#7440c9", "#c39bff"),
    "libmaxminddb": ("#c01c28", "#ff8078"),
    "uriparser and map": ("#7440c9", "#c39bff"),
    "libcurl and map": ("#c01c28", "#ff8078"),
}
SECOND = {"absl, whole rules"}  # dashed, like further calls of the library
OTHER = ("#59636e", "#9aa4af")


def is_ours(name):
    return name.startswith("ruleset")


def colours_of(name):
    return SERIES["ruleset"] if is_ours(name) else SERIES.get(name, OTHER)


def style(names):
    """The style sheet: light, and the same rules for dark pages."""
    def rules(which):
        lines = [f".paper{{fill:{INK['paper'][which]}}}", f".text{{fill:{INK['text'][which]}}}",
                 f".quiet{{fill:{INK['quiet'][which]}}}", f".grid{{stroke:{INK['grid'][which]}}}"]
        for i, name in enumerate(names):
            colour = colours_of(name)[which]
            lines.append(f".line{i}{{stroke:{colour}}} .name{i}{{fill:{colour}}}")
        return "\n".join(lines)
    return ("<style>\ntext{font:12px system-ui,'Segoe UI',Helvetica,Arial,sans-serif}\n"
            ".title{font-size:14px;font-weight:600}\n.ours{font-weight:700}\n"
            "path{fill:none;stroke-width:1.8;stroke-linejoin:round}\npath.own{stroke-width:3.2}\n"
            f"path.second{{stroke-dasharray:7 4}}\n{rules(0)}\n"
            f"@media (prefers-color-scheme: dark){{\n{rules(1)}\n}}\n</style>")


def short(number):
    """1,000 as 1 k."""
    for factor, unit in ((1_000_000_000, " G"), (1_000_000, " M"), (1_000, " k")):
        if number >= factor:
            return f"{number / factor:g}{unit}"
    return f"{number:g}"


def spread(places, low, high):
    """Moves labels apart, in their order from top to bottom, so that none covers another."""
    order = sorted(range(len(places)), key=lambda i: places[i])
    moved = list(places)
    for previous, i in zip([None, *order], order):
        if previous is not None:
            moved[i] = max(moved[i], moved[previous] + LABEL_STEP)
    excess = max(moved, default=low) - high
    for after, i in zip([None, *reversed(order)], reversed(order)):
        if excess > 0:
            limit = high if after is None else moved[after] - LABEL_STEP
            moved[i] = min(moved[i], limit)
    return moved


class Scale:
    """A logarithmic axis from a power of ten to another."""

    def __init__(self, values, begin, end):
        self.low = math.floor(math.log10(min(values)) + 1e-9)
        self.high = max(math.ceil(math.log10(max(values)) - 1e-9), self.low + 1)
        self.begin, self.end = begin, end

    def place(self, value):
        return self.begin + (math.log10(value) - self.low) / (self.high - self.low) * (self.end - self.begin)

    def ticks(self):
        return [10.0 ** power for power in range(self.low, self.high + 1)]


def panel(left, title, series, names):
    """series is a dictionary from a name to its points, pairs of a number of rules and a value above 0."""
    points = [point for line in series.values() for point in line]
    x = Scale([rules for rules, _ in points], left + LEFT, left + PANEL - RIGHT)
    y = Scale([value for _, value in points], HEIGHT - BOTTOM, TOP)
    parts = [f'<text class="title text" x="{left + 8}" y="20">{escape(title)}</text>']
    for tick in y.ticks():
        place = y.place(tick)
        parts.append(f'<line class="grid" x1="{x.begin}" x2="{x.end}" y1="{place:.1f}" y2="{place:.1f}"/>')
        parts.append(f'<text class="quiet" text-anchor="end" x="{x.begin - 7}" y="{place + 4:.1f}">{short(tick)}</text>')
    for tick in x.ticks():
        parts.append(f'<text class="quiet" text-anchor="middle" x="{x.place(tick):.1f}" '
                     f'y="{HEIGHT - BOTTOM + 18}">{short(tick)}</text>')
    parts.append(f'<text class="quiet" text-anchor="middle" x="{(x.begin + x.end) / 2}" y="{HEIGHT - 6}">rules</text>')

    present = [name for name in names if series.get(name)]
    ends = spread([y.place(series[name][-1][1]) for name in present], TOP, HEIGHT - BOTTOM)
    for name, end in sorted(zip(present, ends), key=lambda pair: is_ours(pair[0])):
        number = names.index(name)
        way = " L".join(f"{x.place(rules):.1f} {y.place(value):.1f}" for rules, value in series[name])
        own = " own" if is_ours(name) else ""
        second = " second" if name in SECOND or own and name != "ruleset" else ""
        last = x.place(series[name][-1][0])
        parts.append(f'<path class="line{number}{own}{second}" d="M{way}"/>')
        for rules, value in series[name]:
            parts.append(f'<circle class="name{number}" r="{3 if own else 2.2}" cx="{x.place(rules):.1f}" '
                         f'cy="{y.place(value):.1f}"/>')
        if last < x.end - 1:  # a line that ends early is led to its name
            parts.append(f'<path class="line{number}" style="stroke-width:.7;stroke-dasharray:2 3" '
                         f'd="M{last:.1f} {y.place(series[name][-1][1]):.1f} L{x.end + 5:.1f} {end:.1f}"/>')
        parts.append(f'<text class="name{number}{" ours" if own else ""}" x="{x.end + 8}" '
                     f'y="{end + 4:.1f}">{escape(name)}</text>')
    return parts


def chart(description, panels):
    """An SVG of two panels: pairs of a title and its series."""
    names = list(dict.fromkeys(name for _, series in panels for name in series))
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" '
             f'height="{HEIGHT}" role="img">', f"<title>{escape(description)}</title>", style(names),
             f'<rect class="paper" width="{WIDTH}" height="{HEIGHT}" rx="6"/>']
    for i, (title, series) in enumerate(panels):
        parts += panel(i * PANEL, title, series, names)
    return "\n".join([*parts, "</svg>", ""])
