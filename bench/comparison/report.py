"""The results as tables, as a page and as plots."""

import collections
import datetime
import os
import pathlib
import platform
import re
import statistics

from comparison.plots import Panel, ratio_plot, scale_plot
from comparison.rows import NOP, OWN, PLACES, ROWS

MILLION = 1_000_000


class Comparison:
    """Of one row in one place."""

    def __init__(self):
        self.seconds = collections.defaultdict(list)
        self.mebibytes = 0.0

    def median(self, program):
        return statistics.median(self.seconds[program])

    def ratio(self, program):
        return self.median(OWN) / self.median(program)


class Results:
    def __init__(self):
        self._comparisons = collections.defaultdict(Comparison)
        self._scale = collections.defaultdict(list)
        self._scale_memory = collections.defaultdict(float)
        self.calls = []

    def add(self, place, row, program, seconds):
        self._comparisons[place, row.name].seconds[program].append(seconds)

    def add_memory(self, place, row, mebibytes):
        comparison = self._comparisons[place, row.name]
        comparison.mebibytes = max(comparison.mebibytes, mebibytes)

    def add_scale(self, name, objects, has_all, seconds, mebibytes):
        """Of all objects or, with the number of all, of one."""
        self._scale[name, objects, has_all].append(seconds)
        self._scale_memory[name, objects] = max(self._scale_memory[name, objects], mebibytes)

    def discard(self, place, row):
        self._comparisons.pop((place, row.name), None)

    def at(self, place):
        """Each row that was compared there with its comparison."""
        for row in (*ROWS, NOP):
            comparison = self._comparisons.get((place, row.name))
            if comparison and len(comparison.seconds) > 1 and OWN in comparison.seconds:
                yield row, comparison

    def scaled(self):
        """The name of each row with (objects, seconds for a million, MiB) for each number of objects."""
        rows = collections.defaultdict(list)
        for name, objects in sorted(self._scale_memory, key=lambda key: key[1]):
            all_objects, one = (statistics.median(self._scale[name, objects, has_all]) for has_all in (True, False))
            rows[name].append((objects, (all_objects - one) / objects * MILLION, self._scale_memory[name, objects]))
        return rows


def table(heads, rows):
    lines = [heads, ["---"] + ["---:"] * (len(heads) - 1), *rows]
    return "\n".join(f"| {' | '.join(line)} |" for line in lines) + "\n"


def time_text(seconds):
    if seconds < 0.001:
        return f"{seconds * 1e6:.1f} µs"
    return f"{seconds * 1000:.0f} ms" if seconds < 1 else f"{seconds:.2f} s"


def comparison_cells(row, comparison):
    tool, *_ = row.tools
    peers = [name for name in row.tools if name != tool and name in comparison.seconds]
    fastest = min(peers, key=comparison.median, default=None)

    def beside(program):
        if program not in comparison.seconds:
            return ["–", "–"]
        return [f"{program}: {time_text(comparison.median(program))}", f"{comparison.ratio(program):.2f}"]

    return [row.name, time_text(comparison.median(OWN)), *beside(tool), *beside(fastest),
            f"{row.pause * 1000:.0f} ms" if row.pause else "–",
            f"{comparison.mebibytes:.1f}" if comparison.mebibytes else "–"]


def machine():
    cpu = re.search(r"model name\s*:\s*(.*)", pathlib.Path("/proc/cpuinfo").read_text())
    memory = int(re.search(r"MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text())[1]) / 2**20
    release = re.search(r'PRETTY_NAME="(.*)"', pathlib.Path("/etc/os-release").read_text())
    return (f"{os.cpu_count()} processors ({cpu[1] if cpu else platform.machine()}), {memory:.0f} GiB, "
            f"{release[1] if release else 'Linux'}, Linux {platform.release()}")


PAGE = """# Performance

This page is written by `bench/compare --output docs`, as root on a quiet machine. It compares operations of the daemon
with the usual tool and with the fastest peer that Debian packages. A ratio below 1 means that the daemon is faster.

Machine: {machine}.
Date: {date}, rounds: {rounds}, seed: {seed}{quick}.

## Ratios

![The time of the daemon divided by that of the usual tool, for each operation and place](performance-ratios.svg)

{tables}
## Method

- A run is one start of a program. For the daemon this is `qrtctl`, which sends the request to a daemon that already
  listens, so the time has the start of `qrtctl`, the connection, the authorization and the work.
- An operation with feedback waits 250 ms before it closes the feedback connection. This pause is subtracted from the
  time; the column "Pause" shows it.
- Each run has its own daemon. "Peak MiB" is the largest resident memory (VmHWM) of a daemon in all runs of the row.
- All runs of a round are in random order. The numbers are medians of the rounds; rows with 1,000,000 objects have at
  most three, on ext4 one.
- The tree has {objects:,} objects: empty files, ten in a folder, a hundred folders in each outer folder. Flat folders
  have {divisor}the number of files in their name. A device has {mebibytes} MiB.
- Warm: the objects were just made or read. One core: `taskset -c 0` for daemon, client and tool.
- ext4 is in a loop device with direct I/O and has a journal. Cold: before each run the file system is mounted again and
  the caches are dropped; the programs themselves are read first.
- Parallel tools use as many processes or threads as there are processors, on a cold disk sixteen. One core is for the
  usual tool only.
- The bare call is the same message between two processes with sd-bus and without the daemon.
{skipped}"""


class Page:
    def __init__(self, results, options, skipped):
        self._results, self._options, self._skipped = results, options, skipped

    def tables(self):
        heads = ["Work", "qrtctl", "Usual tool", "Ratio", "Fastest peer", "Ratio", "Pause", "Peak MiB"]
        text = ""
        for place in PLACES:
            rows = [comparison_cells(*pair) for pair in self._results.at(place)]
            text += f"### {place}\n\n{table(heads, rows)}\n" if rows else ""
        return text + self._scale() + self._calls()

    def _scale(self):
        scaled = self._results.scaled()
        if not scaled:
            return ""
        numbers = [objects for objects, _, _ in next(iter(scaled.values()))]
        rows = [[name, *(f"{seconds:.2f} s, {mebibytes:.1f} MiB" for _, seconds, mebibytes in points)]
                for name, points in scaled.items()]
        return ("## Time and memory per million objects\n\nOn tmpfs, without the time of the same operation on one "
                "object; the memory is the daemon's peak.\n\n"
                "![Time and memory per million objects](performance-scale.svg)\n\n"
                + table(["Objects", *(f"{number:,}" for number in numbers)], rows) + "\n")

    def _calls(self):
        if not self._results.calls:
            return ""
        return ("## System calls per object\n\nCounted with strace in the daemon, with 2,000 objects, without locks "
                "and memory. These figures have no noise. The test `system_calls` keeps them within the "
                "last column.\n\n"
                + table(["Operation", "Calls", "Allowed"], self._results.calls) + "\n")

    def write(self, folder):
        options = self._options
        sizes = options.sizes
        skipped = "".join(f"- Not measured: {text}.\n" for text in self._skipped)
        (folder / "performance.md").write_text(PAGE.format(
            machine=machine(), date=datetime.date.today(), rounds=options.rounds, seed=options.seed,
            quick=", with `--quick`" if options.quick else "", tables=self.tables(), objects=sizes.objects,
            divisor="" if sizes.divisor == 1 else f"1/{sizes.divisor} of ", mebibytes=sizes.mebibytes, skipped=skipped))
        (folder / "performance-ratios.svg").write_text(self._ratio_plot())
        if self._results.scaled():
            (folder / "performance-scale.svg").write_text(self._scale_plot())

    def _ratio_plot(self):
        ratios = collections.defaultdict(dict)
        for place in PLACES:
            for row, comparison in self._results.at(place):
                tool = next(iter(row.tools))
                if tool in comparison.seconds:
                    ratios[f"{row.name} / {tool}"][place] = comparison.ratio(tool)
        return ratio_plot(list(ratios.items()), PLACES)

    def _scale_plot(self):
        scaled = self._results.scaled()
        return scale_plot(list(scaled), [
            Panel("Seconds per million objects", [[(n, seconds) for n, seconds, _ in p] for p in scaled.values()]),
            Panel("Peak memory of the daemon in MiB", [[(n, memory) for n, _, memory in p] for p in scaled.values()]),
        ])
