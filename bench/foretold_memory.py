#!/usr/bin/env python3
"""Compares the peak of memory that the check foretells with that of the run.

usage: bench/foretold_memory.py [--build FOLDER] [--folder FOLDER] [--users N ...] [--megabytes 50] [--runs 3]
                                [--cases REGEX]

Ordinary exports of so many users in one pass, in ten, and with one doubled user, small files with one long entry, and
the hostile files. The peak is the greatest of so many runs, five times as many of a small file, looked at
without a pause: what lasts but a moment can still be missed. Prints a Markdown table. Ends with 1 if a forecast is off
by more than a tenth.
"""
import argparse
import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from exports import Export
from hostile import built
from hostile_files import FILES
from hostile_pieces import other_entry
from measured_run import MEBIBYTE, watched_run
from tables import Limits, print_header, print_row

LONG_ENTRIES = (300, 600, 900, 2200)  # kilobytes
USERS = (3, 30, 300, 3000, 30_000)
MOST_OFF = 0.1
SMALL = 5 * MEBIBYTE


def foretold(setup, path, slots):
    command = [setup.build / "tqldif2v6-check", "--json", path, *map(str, slots)]
    return json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=False).stdout)["run"]["memory_bytes"]


def peak(setup, path, slots):
    output, work_file = setup.folder / "output.ldif", path.with_name(f"{path.name}.tmp")
    # What is over in a moment is missed more often.
    runs = setup.runs * (5 if path.stat().st_size < SMALL else 1)
    peaks = []
    for _ in range(runs):
        command = [setup.build / "tqldif2v6", path, output, *map(str, slots)]
        peaks.append(watched_run(command, work_file, 0).memory)
        for left_over in (output, work_file):
            left_over.unlink(missing_ok=True)
    return max(peaks)


def measure(setup, limits, what, path, slots):
    expected, measured = foretold(setup, path, slots), peak(setup, path, slots)
    ratio = expected / measured
    print_row(what, f"{slots[0]:,}, {slots[1]:,}", f"{measured / MEBIBYTE:.2f}", f"{expected / MEBIBYTE:.2f}",
              f"{ratio:.2f}", limits.judge(f"{what}: what the forecast is off by", abs(ratio - 1), MOST_OFF))


def measure_ordinary(setup, limits, users):
    export = Export(setup.build / "generate_export", setup.folder, users, "class")
    for passes in (1, 10):
        measure(setup, limits, f"{users:,} users, passes: {passes}", export.path, export.slots(passes))
    # The last entry stands there twice.
    irregular = setup.folder / "irregular.ldif"
    text = export.path.read_bytes().rstrip()
    irregular.write_bytes(text + b"\r\n" + text[text.rindex(b"\r\n\r\n"):] + b"\r\n")
    measure(setup, limits, f"{users:,} users, one entry doubled", irregular, export.slots(10))
    irregular.unlink()


def measure_long_entry(setup, limits, kilobytes, others):
    path = setup.folder / "long_entry.ldif"
    long_entry = other_entry(0, *[b"note: " + b"x" * 3000] * (kilobytes * 1000 // 3007))
    path.write_bytes(b"".join(other_entry(number, b"note: " + b"x" * 2000) for number in range(others)) + long_entry)
    measure(setup, limits, f"an entry of {kilobytes:,} KB behind {others} small ones", path, (1, 1))
    path.unlink()


def measure_hostile(setup, limits, hostile):
    path = setup.folder / "hostile.ldif"
    with path.open("wb") as file:
        file.writelines(hostile.pieces(setup.megabytes * 10**6))
    measure(setup, limits, hostile.what, path, (hostile.users, hostile.groups))
    path.unlink()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, default=built)
    parser.add_argument("--folder", type=Path)
    parser.add_argument("--users", type=int, nargs="*", default=USERS)
    parser.add_argument("--megabytes", type=int, default=50, help="of a hostile file")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--cases", default="", help="take only hostile files whose descriptions match")
    setup = parser.parse_args()
    limits = Limits()
    with tempfile.TemporaryDirectory() as scratch:
        setup.build, setup.folder = setup.build.resolve(), (setup.folder or Path(scratch)).resolve()
        print_header("File", "Slots", "Peak, MiB", "Foretold, MiB", "Ratio", f"Off by at most {MOST_OFF}")
        for users in setup.users:
            measure_ordinary(setup, limits, users)
        for kilobytes in LONG_ENTRIES:
            for others in (0, 200):
                measure_long_entry(setup, limits, kilobytes, others)
        for hostile in FILES:
            if re.search(setup.cases, hostile.what):
                measure_hostile(setup, limits, hostile)
    limits.print()
    return 1 if limits.broken else 0


if __name__ == "__main__":
    sys.exit(main())
