#!/usr/bin/env python3
"""Measures whole conversions against cp of the same file.

usage: bench/measure.py [--tool TOOL] [--folder FOLDER] [--megabytes 100 1000] [--pairs 5]

Generates lifelike exports, once, in the folder (default: a folder of the system's temporary one, removed at the
end). Tool and cp are timed in turn, output files removed before each; the input is in the page cache. Prints one
table row a case: medians, spread, ratio, peak memory, how much of it is beyond what the users and groups of one pass
hold (their cells, used or not, and their lines), system calls for each gathered entry.
"""
import argparse
import re
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

project = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(project / "tests" / "model"))
import generate  # noqa: E402  (beside the tests' model)

USERS_IN_A_MEGABYTE = 800  # what the generator makes, roughly
USERS_FOR_A_GROUP = 100
CELLS_OF_A_USER = 4 * 50 + 500 + 2  # of the tables, 8 bytes each
CELLS_OF_A_GROUP = 2 * 50 + 1
ROOM_OF_A_LINE = 10  # bytes that a line has behind its text
GATHERED = re.compile(rb"^objectclass: sec(user|group|map|policy|policydata)\r?$", re.IGNORECASE | re.MULTILINE)

# name, order of the entries, number of passes, limit: of the ratio to cp, or to the one-pass time of the same file
CASES = (
    ("one pass, by class", "class", 1, "8 x cp"),
    ("10 passes, by class", "class", 10, "1.3 x one pass"),
    ("100 passes, by class", "class", 100, "1.3 x one pass"),
    ("1,000 passes, by class", "class", 1000, "1.3 x one pass"),
    ("one pass, shuffled", "shuffled", 1, "12 x cp"),
    ("100 passes, shuffled", "shuffled", 100, "12 x cp"),
)


class Export:
    """A generated file and what is known of it."""

    def __init__(self, folder, megabytes, order):
        self.users = megabytes * USERS_IN_A_MEGABYTE
        self.groups = self.users // USERS_FOR_A_GROUP
        self.path = folder / f"export-{megabytes}-{order}.ldif"
        if not self.path.exists():
            with self.path.open("wb") as file:
                file.writelines(generate.lifelikePieces(1, self.users, self.groups, order))
        self.entries = self.lines = 0
        with self.path.open("rb") as file:
            for block in iter(lambda: file.read(1 << 24), b""):
                self.entries += len(GATHERED.findall(block))
                self.lines += block.count(b"\n")

    def slots(self, passes):
        return [-(-count // passes) for count in (self.users, self.groups)]

    def held(self, passes):
        """What the users and groups gathered in one pass hold, in MiB."""
        users, groups = self.slots(passes)
        cells = users * CELLS_OF_A_USER + groups * CELLS_OF_A_GROUP
        return (8 * cells + (self.path.stat().st_size + ROOM_OF_A_LINE * self.lines) / passes) / 2**20


# A process begins with the peak memory of the one that starts it, so that one has to be small.
SMALL_STARTER = """
import os, sys
child = os.posix_spawnp(sys.argv[1], sys.argv[1:], os.environ)
print(os.wait4(child, 0)[2].ru_maxrss, file=sys.stderr)
"""


def timed(command, *outputs):
    """Runs a command; returns its time in seconds."""
    for path in outputs:
        path.unlink(missing_ok=True)
    began = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.perf_counter() - began


def peak_memory(command, output):
    """Runs a command; returns its peak memory in MiB."""
    output.unlink(missing_ok=True)
    run = subprocess.run([sys.executable, "-I", "-S", "-c", SMALL_STARTER, *command], check=True,
                         stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    return int(run.stderr) / 1024


def system_calls(command, output):
    """Counts the system calls of a command."""
    output.unlink(missing_ok=True)
    with tempfile.NamedTemporaryFile("r") as report:
        subprocess.run(["strace", "-f", "-c", "-U", "calls,name", "-o", report.name, *command], check=True,
                       stdout=subprocess.DEVNULL)
        return int(re.search(r"^\s*(\d+)\s+total$", report.read(), re.MULTILINE).group(1))


def measure(tool, export, passes, pairs):
    output, copy = export.path.with_name("output.ldif"), export.path.with_name("copy.ldif")
    convert = [tool, str(export.path), str(output), *map(str, export.slots(passes))]
    copying = ["cp", str(export.path), str(copy)]
    copies, runs = [], []
    for _ in range(pairs):
        copies.append(timed(copying, output, copy))
        runs.append(timed(convert, output, copy))
    memory = peak_memory(convert, output)
    calls = system_calls(convert, output)
    for path in (output, copy):
        path.unlink(missing_ok=True)
    return copies, runs, memory, calls / export.entries


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tool", default=str(project / "build" / "release" / "tqldif2v6"))
    parser.add_argument("--folder", type=Path)
    parser.add_argument("--megabytes", type=int, nargs="+", default=[100, 1000])
    parser.add_argument("--pairs", type=int, default=5)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as scratch:
        folder = arguments.folder or Path(scratch)
        folder.mkdir(parents=True, exist_ok=True)
        print("| Size | Case | Limit | cp (s) | Tool (s) | Spread (s) | Ratio to cp | To one pass | Memory (MiB) "
              "| Beyond (MiB) | Calls an entry |\n|---|---|---|---|---|---|---|---|---|---|---|")
        for megabytes in arguments.megabytes:
            exports, one_pass = {}, {}
            for name, order, passes, limit in CASES:
                export = exports.setdefault(order, None) or Export(folder, megabytes, order)
                exports[order] = export
                copies, runs, memory, calls = measure(arguments.tool, export, passes, arguments.pairs)
                copied, ran = statistics.median(copies), statistics.median(runs)
                one_pass.setdefault(order, ran)
                print(f"| {export.path.stat().st_size // 1000000} MB | {name} | {limit} | {copied:.3f} | {ran:.3f} "
                      f"| {min(runs):.3f} to {max(runs):.3f} | {ran / copied:.1f} | {ran / one_pass[order]:.2f} "
                      f"| {memory:.0f} | {memory - export.held(passes):.0f} | {calls:.3f} |", flush=True)


if __name__ == "__main__":
    main()
