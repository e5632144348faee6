#!/usr/bin/env python3
"""Checks hostile files and accounts for their conversions, and compares the time with that of converting an ordinary
export of the same size in one pass.

usage: bench/hostile_companions.py [--build FOLDER] [--folder FOLDER] [--megabytes 50] [--limit SECONDS]
                                   [--cases REGEX]

Prints a Markdown table; times are processor time, user and system, and memory is that of their own. A file whose
conversion fails is not accounted for. A run that has used as much as the limit is ended. Ends with 1 if a check takes
more than ten times as long, or an account more than twenty times.
"""
import argparse
import sys
from pathlib import Path

from hostile import RATIO_LIMIT, built, measure_files
from measured_run import MEBIBYTE, run, watched_run
from tables import print_row

LIMITS = {"check": RATIO_LIMIT, "account": 2 * RATIO_LIMIT}
PAUSE = 0.002  # seconds between two looks at the memory


def commands(setup, path, output, hostile):
    """Returns those of the companions that have something to do."""
    slots = [str(hostile.users), str(hostile.groups)]
    found = {"check": [setup.build / "tqldif2v6-check", path, *slots]}
    work_file = path.with_name(f"{path.name}.tmp")
    converted = run([setup.tool, path, output, *slots], limit=setup.limit)
    work_file.unlink(missing_ok=True)
    if converted.status == 0:
        found["account"] = [setup.build / "tqldif2v6-account", path, output]
    return found


def measure(setup, limits, seconds_of_a_byte, number, hostile):
    path, output = setup.folder / "hostile.ldif", setup.folder / "output.ldif"
    with path.open("wb") as file:
        file.writelines(hostile.pieces(setup.megabytes * 10**6))
    output.unlink(missing_ok=True)
    for name, command in commands(setup, path, output, hostile).items():
        seconds = run(command, limit=setup.limit).seconds
        memory = watched_run(command, path, PAUSE).memory if seconds < setup.limit else 0
        ratio = seconds / (path.stat().st_size * seconds_of_a_byte)
        judged = limits.judge(f"{hostile.what}: ratio of the {name}", ratio, LIMITS[name])
        print_row(f"{number}", hostile.what, name, f"{seconds:.2f}", f"{ratio:.1f}", f"{LIMITS[name]}", judged,
                  f"{memory / MEBIBYTE:.0f}")
    for left_over in (path, output):
        left_over.unlink(missing_ok=True)


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=built)
    parser.add_argument("--folder", type=Path)
    parser.add_argument("--megabytes", type=int, default=50)
    parser.add_argument("--limit", type=int, default=60, help="seconds of processor time for a run")
    parser.add_argument("--cases", default="", help="take only files whose descriptions match")
    setup = parser.parse_args()
    setup.build = setup.build.resolve()
    setup.tool, setup.generator = setup.build / "tqldif2v6", setup.build / "generate_export"
    return setup


if __name__ == "__main__":
    sys.exit(measure_files(read_arguments(), ("File", "What it is", "Program", "Time (s)", "Ratio", "At most", "Kept",
                                              "MiB"), measure))
