"""Writes tables to the terminal and to pages."""

import datetime
import os
import pathlib
import re
import subprocess

TOP = pathlib.Path(__file__).resolve().parent.parent


def number(value):
    """Formats a number with three significant digits."""
    if abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def print_table(header, lines):
    widths = [max(len(line[i]) for line in [header, *lines]) for i in range(len(header))]
    for line in [header, *lines]:
        print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())


def markdown_table(header, lines):
    rows = [header, ["---"] * len(header), *lines]
    return "\n".join("| " + " | ".join(row) + " |" for row in rows)


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    memory = re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True)
    version = subprocess.run(
        ["git", "-C", TOP, "describe", "--always"], capture_output=True, text=True, check=False
    )
    return [
        f"- {os.cpu_count()} cores of {cpu[1] if cpu else 'an unknown processor'}, virtual or not,"
        f" {int(memory[1]) // 2**20} GiB of memory",
        f"- {compiler.stdout.splitlines()[0]}, preset `bench` (`-O2`)",
        f"- {datetime.date.today()}, commit {version.stdout.strip() or 'unknown'},"
        f" load average {os.getloadavg()[0]:.1f}",
    ]


def fill_in(page, mark, text):
    """Replaces the text between `<!-- MARK -->` and `<!-- end -->` in a page."""
    before, found, after = page.read_text().partition(f"<!-- {mark} -->\n")
    _, end, after = after.partition("<!-- end -->")
    if not found or not end:
        raise RuntimeError(f"{page} has no mark {mark}")
    page.write_text(f"{before}{found}{text}\n{end}{after}")
