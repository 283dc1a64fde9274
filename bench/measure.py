"""Runs VoBgpBench: times by Google Benchmark, instructions by valgrind."""

import json
import re
import statistics
import subprocess
import tempfile

# What Google Benchmark appends to the name of a bench.
SUFFIX = re.compile(r"(/iterations:\d+)?(/real_time)?(?:/threads:(\d+))?$")


class Bench:
    """The program and its results so far."""

    def __init__(self, program, quick, expected):
        self.program = program
        self.repetitions = 5 if quick else 11
        self.seconds = 0.03 if quick else 0.1
        listed = subprocess.run(
            [program, "--benchmark_list_tests"], capture_output=True, text=True, check=True
        )
        self.names = {SUFFIX.sub("", line) for line in listed.stdout.split()}
        self._measured = {}
        for name in expected:
            if name not in self.names:
                raise RuntimeError(f"{program} has no bench {name}")

    def measure(self, names, repetitions):
        """Runs benches with interleaved repetitions, so that noise affects all alike."""
        key = tuple(names)
        if key not in self._measured:
            pattern = "|".join(re.escape(name) for name in names)
            with tempfile.NamedTemporaryFile(suffix=".json") as out:
                subprocess.run(
                    [
                        self.program,
                        f"--benchmark_filter=^({pattern})(/iterations.*|/real_time.*)?$",
                        f"--benchmark_repetitions={repetitions}",
                        f"--benchmark_min_time={self.seconds}",
                        "--benchmark_enable_random_interleaving=true",
                        f"--benchmark_out={out.name}",
                        "--benchmark_out_format=json",
                    ],
                    stdout=subprocess.DEVNULL,
                    stderr=subprocess.DEVNULL,
                    check=True,
                )
                self._measured[key] = json.load(open(out.name, encoding="utf-8"))["benchmarks"]
        return self._measured[key]

    def runs(self, names, name, threads=1, repetitions=None):
        """Yields the repetitions of one bench from a run of several."""
        for run in self.measure(names, repetitions or self.repetitions):
            if run["run_type"] != "iteration":
                continue
            match = SUFFIX.search(run["run_name"])
            if run["run_name"][: match.start()] == name and int(match[3] or 1) == threads:
                if "error_message" in run:
                    raise RuntimeError(f"{name}: {run['error_message']}")
                yield run


class Times:
    """Nanoseconds per operation over all repetitions of a bench.

    Processor time, which excludes other processes; or real time, for two threads that may wait
    for each other.
    """

    def __init__(self, runs, real=False):
        runs = list(runs)
        field = "real_time" if real else "cpu_time"
        self.values = [run[field] for run in runs]
        self.median = statistics.median(self.values)

    @property
    def spread(self):
        """The distance between the quartiles as a fraction of the median."""
        quarters = statistics.quantiles(self.values, n=4)
        return (quarters[2] - quarters[0]) / self.median


def count_instructions(program, name, operations):
    """Returns instructions and allocations per operation, including the loop."""
    done = subprocess.run(
        [
            "valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null",
            "--toggle-collect=*measuredOperations*",
            program, "--operations", name, str(operations),
        ],
        capture_output=True, text=True, check=False,
    )  # fmt: skip
    collected = re.search(r"Collected : (\d+)", done.stderr)
    allocations = re.search(r"allocations ([\d.]+)", done.stdout)
    if done.returncode != 0 or collected is None or allocations is None:
        raise RuntimeError(f"valgrind failed on {name}:\n{done.stderr}")
    return int(collected[1]) / operations, float(allocations[1])
