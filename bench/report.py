#!/usr/bin/env python3
"""Runs VoBgpBench and prints its results with references, bars and stretch goals.

scripts/bench builds the program and calls this.
"""

import argparse
import concurrent.futures
import os
import pathlib
import re
import sys

import growth
from measure import Bench, Times, count_instructions
from pages import TOP, fill_in, machine, markdown_table, number, print_table
from rows import COUNTED, FIGURES, HIGHER_IS_BETTER, ROWS

RESULTS = TOP / "bench" / "RESULTS.md"


class Result:
    """The result of a row."""

    def __init__(self, row, value, subject, reference="", spread=None):
        self.row = row
        self.value = value
        self.subject = subject
        self.reference = reference
        self.spread = spread

    @property
    def noisy(self):
        """Whether the machine was too busy for a meaningful result."""
        return self.spread is not None and self.spread > 0.5

    def meets(self, limit):
        if self.row.measure in HIGHER_IS_BETTER:
            return self.value >= limit
        return self.value <= limit

    @property
    def verdict(self):
        if self.noisy:
            return ""
        if self.meets(self.row.stretch):
            return "stretch"
        return "bar" if self.meets(self.row.bar) else ""

    def cells(self):
        unit = {"longest": " us", "octets": " octets"}.get(self.row.measure, "")
        return [
            self.row.work,
            self.row.case,
            self.subject,
            self.reference,
            "too noisy" if self.noisy else number(self.value) + unit,
            "" if self.spread is None else f"{100 * self.spread:.0f} %",
            ("at least " if self.row.measure in HIGHER_IS_BETTER else "") + f"{self.row.bar:g}",
            f"{self.row.stretch:g}",
            self.verdict,
        ]


RATIO_HEADER = [
    "work", "case", "subject", "reference", "result", "spread", "bar", "stretch", "reached",
]  # fmt: skip


def nanoseconds(times):
    return f"{number(times.median)} ns"


def measure_row(bench, row):
    if row.measure in FIGURES:
        return measure_figure(bench, row)
    if row.measure == "threads":
        one = Times(bench.runs((row.subject,), row.subject, 1), real=True)
        two = Times(bench.runs((row.subject,), row.subject, 2), real=True)
        return Result(
            row, one.median / two.median, nanoseconds(two), nanoseconds(one),
            max(one.spread, two.spread),
        )  # fmt: skip
    threads = 2 if row.subject.startswith("hotValue") else 1
    names = (row.subject, row.reference)
    subject, reference = (
        Times(bench.runs(names, name, threads), real=threads > 1) for name in names
    )
    ratio = subject.median / reference.median
    return Result(
        row,
        1 / ratio if row.measure == "speed" else ratio,
        nanoseconds(subject),
        nanoseconds(reference),
        max(subject.spread, reference.spread),
    )


def measure_figure(bench, row):
    if row.measure == "longest":
        # The work of the library is the same each time; disturbances are not, so take the minimum.
        repetitions = 1 if row.slow else 3
        runs = list(bench.runs((row.subject,), row.subject, 1, repetitions))
        return Result(
            row,
            min(run["longest"] for run in runs),
            f"in {number(min(run['insertion'] for run in runs))} us, "
            f"out {number(min(run['release'] for run in runs))} us",
        )
    (run,) = bench.runs((row.subject,), row.subject, 1, 1)
    return Result(row, run["resident"], f"of these by new {number(run['newed'])}")


def ratios(bench, pattern, quick):
    """Measures the selected rows; prints a line of progress for each."""
    wanted = [row for row in ROWS if pattern.search(f"{row.work} {row.subject}")]
    wanted = [row for row in wanted if not (quick and row.slow)]
    results = []
    for place, row in enumerate(wanted, 1):
        print(f"{place}/{len(wanted)} {row.subject}", file=sys.stderr, flush=True)
        results.append(measure_row(bench, row))
    return results


# ---- Instructions -------------------------------------------------------------------------------


def instruction_table(bench, pattern):
    """Returns one line per operation."""

    def count(counted):
        instructions, allocations = count_instructions(
            bench.program, counted.subject, counted.operations
        )
        reference = None
        if counted.reference is not None:
            reference, _ = count_instructions(bench.program, counted.reference, counted.operations)
        return [
            counted.work,
            f"{instructions:,.0f}",
            f"{allocations:.3g}",
            "" if reference is None else f"{reference:,.0f}",
            "" if reference is None else counted.reference.split("/")[-2],
            "" if reference is None else f"{instructions / reference:.2f}",
        ]

    wanted = [each for each in COUNTED if pattern.search(each.work + " " + each.subject)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        lines = list(pool.map(count, wanted))
    return ["operation", "instructions", "allocations", "reference", "", "ratio"], lines


# ---- Output -------------------------------------------------------------------------------------


def record(results, instructions):
    """Writes bench/RESULTS.md."""
    fill_in(RESULTS, "machine", "\n".join(machine()))
    fill_in(RESULTS, "ratios", markdown_table(RATIO_HEADER, [each.cells() for each in results]))
    fill_in(RESULTS, "instructions", markdown_table(*instructions))


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--instructions", action="store_true")
    parser.add_argument("--record", action="store_true")
    parser.add_argument("--growth", action="store_true")
    parser.add_argument("filter", nargs="?", default="", type=re.compile)
    options = parser.parse_intermixed_args()

    expected = [*ROWS, *COUNTED]
    names = [row.subject for row in expected]
    names += [row.reference for row in expected if row.reference is not None]
    bench = Bench(options.program, options.quick, names)
    if options.growth:
        growth.write_pages(bench, 10_000 if options.quick else 10_000_000)
        return
    instructions = None
    if options.instructions or options.record:
        instructions = instruction_table(bench, options.filter)
    if options.instructions:
        print_table(*instructions)
        return
    results = ratios(bench, options.filter, options.quick)
    if options.record:
        record(results, instructions)
    else:
        print_table(RATIO_HEADER, [result.cells() for result in results])


if __name__ == "__main__":
    main()
