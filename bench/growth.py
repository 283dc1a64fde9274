"""How time and memory grow with what is interned: writes docs/performance.md and its plot."""

import dataclasses
import math

from measure import Times
from pages import TOP, machine, markdown_table, number

PAGE = TOP / "docs" / "performance.md"
PLOT = TOP / "docs" / "performance.svg"

SIZES = [10**digits for digits in range(3, 8)]


def repetitions(size):
    """The largest populations take minutes to set up."""
    return 3 if size < 10**7 else 1


TEXT = """\
# Performance

How time and memory grow with what is interned. [bench/RESULTS.md](../bench/RESULTS.md) compares the
same operations with references and explains the terms.

    scripts/bench --growth     # measures and writes this page

![Time and memory against the number of values or lists](performance.svg)

Every figure is for one operation or one object, in a table that holds as many values or lists as
the row says. With one thread it is processor time. With two threads it is real time divided by the
operations of both: half of what one thread takes is perfect scaling. A list is interned from the
octets of its path attribute, by the one call, in thread-safe mode; half of an extended list's
members are route targets. The fewer lists there are, the more members of a new one are new, too.
Memory is resident memory, tables included; the extended lists share their classification lists.
"""


@dataclasses.dataclass(frozen=True)
class Column:
    """One figure for each size: nanoseconds of an operation, or octets of memory."""

    title: str
    bench: str
    threads: int = 1

    @property
    def octets(self):
        return self.bench.startswith("octets/")

    def name(self, size):
        return f"{self.bench}/{size}"

    def measure(self, bench, size):
        """Returns None for a size that the bench does not have."""
        name = self.name(size)
        if name not in bench.names:
            return None
        if self.octets:
            (run,) = bench.runs((name,), name, 1, 1)
            return run["resident"]
        runs = bench.runs((name,), name, self.threads, repetitions(size))
        return Times(runs, real=self.threads > 1).median


def values(work):
    return [
        Column("plain", f"{work}/plain/library"),
        Column("thread-safe", f"{work}/threadSafe/library"),
        Column("two threads", f"{work}/twoThreads/library", threads=2),
    ]


def lists(work):
    return [
        Column(kind + threads_text, f"{work}/{kind}/library", threads)
        for kind in ("standard", "extended")
        for threads, threads_text in ((1, ""), (2, ", two threads"))
    ]


# The tables of the page, each also a panel of the plot, by heading.
TABLES = {
    "value there already (ns)": values("valueHit"),
    "new value, then released (ns)": values("valueMiss"),
    "list of 8 there already (ns)": lists("listHitOf8"),
    "new list of 8, then released (ns)": lists("listMissOf8"),
    "memory for each (octets)": [
        Column("value", "octets/value"),
        Column("route target", "octets/routeTarget"),
        Column("standard list of 8", "octets/standardListOf8"),
        Column("extended list of 8", "octets/extendedListOf8"),
    ],
}


def size_text(size):
    return f"10^{round(math.log10(size))}"


class Panel:
    """A panel of the plot with logarithmic axes."""

    WIDTH, HEIGHT = 250, 190
    COLOURS = ["#1b6ca8", "#c8553d", "#2e8b57", "#8e44ad"]

    def __init__(self, title, columns, figures, left, top):
        self.title, self.columns, self.figures = title, columns, figures
        self.left, self.top = left, top
        known = [value for line in figures for value in line if value is not None]
        self.low = 10 ** math.floor(math.log10(min(known)))
        self.high = 10 ** math.ceil(math.log10(max(known) * 1.001))

    def x(self, size):
        part = math.log10(size / SIZES[0]) / math.log10(SIZES[-1] / SIZES[0])
        return self.left + self.WIDTH * part

    def y(self, value):
        part = math.log10(value / self.low) / math.log10(self.high / self.low)
        return self.top + self.HEIGHT * (1 - part)

    def axes(self):
        yield text(self.left, self.top - 12, self.title, weight="bold")
        for size in SIZES:
            x = self.x(size)
            yield line(x, self.top, x, self.top + self.HEIGHT)
            yield text(x, self.top + self.HEIGHT + 16, power(size), anchor="middle")
        value = self.low
        while value <= self.high:
            yield line(self.left, self.y(value), self.left + self.WIDTH, self.y(value))
            yield text(self.left - 6, self.y(value) + 4, f"{value:,}", anchor="end")
            value *= 10

    def curves(self):
        for place, column in enumerate(self.columns):
            colour = self.COLOURS[place]
            points = [
                (self.x(size), self.y(line[place]))
                for size, line in zip(SIZES, self.figures)
                if line[place] is not None
            ]
            path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
            yield f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>'
            for x, y in points:
                yield f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{colour}"/>'
            legend = self.top + self.HEIGHT + 36 + 16 * place
            yield f'<rect x="{self.left}" y="{legend - 8}" width="14" height="4" fill="{colour}"/>'
            yield text(self.left + 20, legend, column.title)


def text(x, y, content, anchor="start", weight="normal"):
    return (
        f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-weight="{weight}">'
        f"{content}</text>"
    )


def line(x1, y1, x2, y2):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="#ddd"/>'


def power(size):
    return f'10<tspan dy="-4" font-size="8">{round(math.log10(size))}</tspan>'


def plot(figures):
    """Returns an SVG with a panel for each table."""
    across, width, height = 3, 350, 330
    parts = []
    for place, (title, columns) in enumerate(TABLES.items()):
        left, top = 70 + width * (place % across), 40 + height * (place // across)
        panel = Panel(title, columns, figures[title], left, top)
        parts += [*panel.axes(), *panel.curves()]
    rows = -(-len(TABLES) // across)
    return "\n".join(
        [
            '<svg xmlns="http://www.w3.org/2000/svg" font-family="sans-serif" font-size="11"'
            f' viewBox="0 0 {width * across} {height * rows}">',
            f'<rect width="{width * across}" height="{height * rows}" fill="white"/>',
            *parts,
            "</svg>\n",
        ]
    )


def write_pages(bench, largest):
    """Measures populations up to `largest` and writes the page and the plot."""
    figures, tables = {}, []
    for title, columns in TABLES.items():
        figures[title] = [
            [column.measure(bench, size) if size <= largest else None for column in columns]
            for size in SIZES
        ]
        lines = [
            [size_text(size), *("" if value is None else number(value) for value in values)]
            for size, values in zip(SIZES, figures[title])
            if size <= largest
        ]
        header = [title, *(column.title for column in columns)]
        tables.append(markdown_table(header, lines))
    PAGE.write_text("\n".join([TEXT, "\n".join(machine()), *("\n" + each for each in tables), ""]))
    PLOT.write_text(plot(figures))
