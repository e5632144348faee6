#!/usr/bin/env python3
"""Converts hostile files and compares the time with that of an ordinary export of the same size in one pass.

usage: bench/hostile.py [--tool TOOL] [--generator GENERATE_EXPORT] [--folder FOLDER] [--megabytes 50]
                        [--limit SECONDS] [--cases REGEX] [--keep]

Prints a Markdown table; times are processor time, user and system. A run that has used as much as the limit is ended.
Ends with 1 if a file takes more than ten times as long, or the tool ends with another status than it should.
"""
import argparse
import os
import re
import signal
import statistics
import sys
import tempfile
from pathlib import Path

from exports import USERS_IN_A_MEGABYTE, Export
from hostile_files import FILES
from measured_run import run, succeeded
from tables import Limits, print_header, print_row

built = Path(__file__).resolve().parent.parent / "build" / "release"

RATIO_LIMIT = 10
ORDINARY_RUNS = 5


def ordinary_seconds(setup):
    """Returns what a byte of an ordinary export takes."""
    export = Export(setup.generator, setup.folder, setup.megabytes * USERS_IN_A_MEGABYTE, "class")
    export.warm_up()
    times = []
    for _ in range(ORDINARY_RUNS):
        export.remove_outputs()
        times.append(succeeded(run(export.conversion(setup.tool, export.slots(1)))).seconds)
    export.remove_outputs()
    return statistics.median(times) / export.size


def convert(setup, number, hostile):
    """Returns the size of the file and the run."""
    path, output = setup.folder / f"hostile-{number}.ldif", setup.folder / "output.ldif"
    work_file = setup.folder / f"{path.name}.tmp"
    with path.open("wb") as file:
        file.writelines(hostile.pieces(setup.megabytes * 10**6))
    size = path.stat().st_size
    for left_over in (output, work_file):
        left_over.unlink(missing_ok=True)
    result = run([setup.tool, path, output, str(hostile.users), str(hostile.groups)], limit=setup.limit)
    for left_over in (output, work_file) + (() if setup.keep else (path,)):
        left_over.unlink(missing_ok=True)
    return size, result


def measure(setup, limits, seconds_of_a_byte, number, hostile):
    size, result = convert(setup, number, hostile)
    ratio = result.seconds / (size * seconds_of_a_byte)
    was_ended = result.status == -signal.SIGKILL
    more_than, status = ("> ", "ended") if was_ended else ("", f"{result.status}")
    judged = limits.judge(f"{hostile.what}: ratio", ratio, RATIO_LIMIT)
    if not was_ended and result.status != hostile.status:
        status += f", not {hostile.status}"
        limits.broken.append(f"{hostile.what}: the status is {status}")
    print_row(f"{number}", hostile.what, f"{hostile.users:,}, {hostile.groups:,}", f"{size / 10**6:.1f}", status,
              f"{more_than}{result.seconds:.2f}", f"{more_than}{ratio:.1f}", judged)


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tool", type=os.path.abspath, default=built / "tqldif2v6")
    parser.add_argument("--generator", type=os.path.abspath, default=built / "generate_export")
    parser.add_argument("--folder", type=Path)
    parser.add_argument("--megabytes", type=int, default=50)
    parser.add_argument("--limit", type=int, default=300, help="seconds of processor time for a run")
    parser.add_argument("--cases", default="", help="convert only files whose descriptions match")
    parser.add_argument("--keep", action="store_true", help="leave the files in the folder")
    return parser.parse_args()


def measure_files(setup, titles, measure_file):
    """Measures what an ordinary export takes, and then each of the files that are wanted. Returns the exit status."""
    limits = Limits()
    with tempfile.TemporaryDirectory() as scratch:
        setup.folder = (setup.folder or Path(scratch)).resolve()
        setup.folder.mkdir(parents=True, exist_ok=True)
        seconds_of_a_byte = ordinary_seconds(setup)
        print(f"\nConverting an ordinary export takes {seconds_of_a_byte * setup.megabytes * 10**6:.2f} s.")
        print_header(*titles)
        for number, hostile in enumerate(FILES, 1):
            if re.search(setup.cases, hostile.what):
                measure_file(setup, limits, seconds_of_a_byte, number, hostile)
    limits.print()
    return 1 if limits.broken else 0


if __name__ == "__main__":
    sys.exit(measure_files(read_arguments(), ("File", "What it is", "Slots", "MB", "Status", "Time (s)", "Ratio",
                                              f"At most {RATIO_LIMIT}"), measure))
