#!/usr/bin/env python3
"""Measures whole conversions against a program that only copies the same file, line by line.

usage: bench/measure.py [--tool TOOL] [--linecopy LINECOPY] [--generator GENERATE_EXPORT] [--folder FOLDER]
                        [--megabytes 100 1000] [--pairs 5] [--large] [--before EARLIER_TOOL] [--cases REGEX]

Generates lifelike exports, once, in the folder (default: a folder of the system's temporary one, removed at the end).
Times are processor time, user and system; the input is in the page cache and what an earlier run has left is removed.
Programs that are compared run in turn, and medians count. Memory is a process's own: files that it maps are left out.
The machine should be idle and have five times as much memory as the largest file is long.
Prints Markdown tables and tells which limits are not kept; ends with 1 if there are any.
"""
import argparse
import os
import re
import statistics
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

from exports import USERS_IN_A_MEGABYTE, Export
from measured_run import MEBIBYTE, RunFailed, run, succeeded, watched_run
from tables import Limits, print_header, print_row

built = Path(__file__).resolve().parent.parent / "build" / "release"

MEMORY_BESIDE = 64 * MEBIBYTE  # that a run may have beside what it gathers
PAUSE = 0.002                  # seconds between two looks at a run

LARGE_USERS = 3_300_000        # more than 4 GB and 12 million entries to gather
LARGE_LIMITS = {10: None, 100: 1.2, 1000: 1.5}  # by passes; of the time of ten
LARGE_PAUSE = 0.02             # at runs that are timed as well

SMALL_USERS = 50
SMALL_PAIRS = 200
SMALL_WATCHED = 20
SMALL_LIMIT = 1.1
FEW_SLOTS, MANY_SLOTS = 100, 2_147_483_647

TRACED_USERS = 2000


class Case(NamedTuple):
    name: str
    order: str
    passes: int
    aim: float   # of the tool's time to that of linecopy
    limit: float


CASES = (
    Case("one pass, by class", "class", 1, 5, 7),
    Case("10 passes, by class", "class", 10, 5, 7),
    Case("100 passes, by class", "class", 100, 5, 7),
    Case("1,000 passes, by class", "class", 1000, 5, 7),
    Case("one pass, by user", "user", 1, 5, 7),
    Case("10 passes, by user", "user", 10, 5, 7),
    Case("100 passes, by user", "user", 100, 5, 7),
    Case("1,000 passes, by user", "user", 1000, 5, 7),
    Case("one pass, shuffled", "shuffled", 1, 7, 10),
    Case("100 passes, shuffled", "shuffled", 100, 7, 10),
)


def in_turn(first, second, pairs, clean, folder=None):
    """Runs two commands in turn, each in clean surroundings; returns the times of the one and of the other."""
    times = [], []
    for _ in range(pairs):
        for command, of_command in zip((first, second), times):
            clean()
            of_command.append(succeeded(run(command, folder)).seconds)
    return times


def judge_memory(limits, name, export, passes, watched):
    """Returns cells of a row: the memory and its limit, in MiB, and whether it is kept."""
    gathered = export.size if passes == 1 else watched.work_bytes / passes
    memory, limit = watched.memory / MEBIBYTE, (gathered + MEMORY_BESIDE) / MEBIBYTE
    return f"{memory:.0f}", f"{limit:.0f}", limits.judge(f"{name}: memory in MiB", memory, limit)


def spread(times):
    return f"{min(times):.3f} to {max(times):.3f}"


def compare_with_linecopy(setup, limits, name, megabytes, case):
    export = Export(setup.generator, setup.folder, megabytes * USERS_IN_A_MEGABYTE, case.order)
    export.warm_up()
    convert = export.conversion(setup.tool, export.slots(case.passes))
    copies, runs = in_turn(export.copying(setup.linecopy), convert, setup.pairs, export.prepare_run)
    export.remove_outputs()
    watched = succeeded(watched_run(convert, export.work_file, PAUSE))
    export.remove_outputs()
    copied, ran = statistics.median(copies), statistics.median(runs)
    print_row(name, f"{copied:.3f}", spread(copies), f"{ran:.3f}", spread(runs), f"{ran / copied:.1f}", f"{case.aim}",
              f"{case.limit}", limits.judge(f"{name}: ratio to linecopy", ran / copied, case.limit),
              *judge_memory(limits, name, export, case.passes, watched))


def measure_sizes(setup, limits):
    names = {f"{megabytes} MB, {case.name}": (megabytes, case) for megabytes in setup.megabytes for case in CASES}
    chosen = {name: what for name, what in names.items() if re.search(setup.cases, name)}
    if not chosen:
        return
    print_header("Case", "linecopy (s)", "Spread (s)", "Tool (s)", "Spread (s)", "Ratio", "Aim", "Limit", "Kept",
                 "Memory (MiB)", "Limit (MiB)", "Kept")
    for name, (megabytes, case) in chosen.items():
        try:
            compare_with_linecopy(setup, limits, name, megabytes, case)
        except RunFailed as failure:
            limits.fail(name, failure)


def measure_large(setup, limits):
    """One run of each number of passes, since they take minutes."""
    print_header("Case", "linecopy (s)", "Tool (s)", "Ratio", "To 10 passes", "Limit", "Kept", "Memory (MiB)",
                 "Limit (MiB)", "Kept")
    export = Export(setup.generator, setup.folder, LARGE_USERS, "class")
    export.warm_up()
    of_ten_passes = None
    for passes, limit in LARGE_LIMITS.items():
        name = f"{export.size // 10**6:,} MB, {passes:,} passes, by class"
        export.remove_outputs()
        copied = succeeded(run(export.copying(setup.linecopy))).seconds
        export.remove_outputs()
        convert = export.conversion(setup.tool, export.slots(passes))
        watched = succeeded(watched_run(convert, export.work_file, LARGE_PAUSE))
        of_ten_passes = of_ten_passes or watched.seconds
        ratio = watched.seconds / of_ten_passes
        print_row(name, f"{copied:.2f}", f"{watched.seconds:.2f}", f"{watched.seconds / copied:.1f}", f"{ratio:.2f}",
                  f"{limit or ''}", limits.judge(f"{name}: ratio to 10 passes", ratio, limit) if limit else "",
                  *judge_memory(limits, name, export, passes, watched))
    export.remove_outputs()


def peak_of_small_runs(command, export):
    """Runs that short are looked at without a pause, and more than one, so that the peak is seen."""
    peak = 0
    for _ in range(SMALL_WATCHED):
        export.remove_outputs()
        peak = max(peak, succeeded(watched_run(command, export.work_file, 0)).memory)
    export.remove_outputs()
    return peak


def measure_unused_slots(setup, limits):
    print_header("Slots of each kind", "Time (ms)", "Limit (ms)", "Kept", "Memory (KiB)", "Limit (KiB)", "Kept")
    export = Export(setup.generator, setup.folder, SMALL_USERS, "class")
    few, many = (export.conversion(setup.tool, (slots, slots)) for slots in (FEW_SLOTS, MANY_SLOTS))
    times = in_turn(few, many, SMALL_PAIRS, export.remove_outputs)
    milliseconds = [1000 * statistics.median(of_command) for of_command in times]
    kibibytes = [peak_of_small_runs(command, export) / 1024 for command in (few, many)]
    print_row(f"{FEW_SLOTS}", f"{milliseconds[0]:.2f}", "", "", f"{kibibytes[0]:.0f}", "", "")
    cells = [f"{MANY_SLOTS:,}"]
    for what, (of_few, of_many) in (("time in ms", milliseconds), ("memory in KiB", kibibytes)):
        limit = SMALL_LIMIT * of_few
        cells += [f"{of_many:.2f}", f"{limit:.2f}", limits.judge(f"unused slots: {what}", of_many, limit)]
    print_row(*cells)


def measure_traced(setup, _):
    print_header("Case", "Earlier tool (s)", "Tool (s)", "Ratio", "Trace (MB)")
    export = Export(setup.generator, setup.folder, TRACED_USERS, "class")
    trace, preserved = setup.folder / "trace", setup.folder / "TEMPORARY_INPUT_LDIF_FILE"

    def clean():
        export.remove_outputs()
        for path in (trace, preserved):
            path.unlink(missing_ok=True)

    for passes in (1, 10):
        earlier, now = (export.conversion(tool, export.slots(passes)) + [trace] for tool in (setup.before, setup.tool))
        before, after = map(statistics.median, in_turn(earlier, now, setup.pairs, clean, setup.folder))
        print_row(f"{export.size / 10**6:.1f} MB, traced, passes: {passes}", f"{before:.3f}", f"{after:.3f}",
                  f"{after / before:.2f}", f"{trace.stat().st_size // 10**6}")
        clean()


def measure_all(setup, limits):
    sections = [("", measure_sizes)]
    if setup.large:
        sections.append(("large", measure_large))
    sections.append(("unused slots", measure_unused_slots))
    if setup.before:
        sections.append(("traced", measure_traced))
    for name, measure in sections:
        if name and not re.search(setup.cases, name):
            continue
        try:
            measure(setup, limits)
        except RunFailed as failure:
            limits.fail(name, failure)


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tool", type=os.path.abspath, default=built / "tqldif2v6")
    parser.add_argument("--linecopy", type=os.path.abspath, default=built / "linecopy")
    parser.add_argument("--generator", type=os.path.abspath, default=built / "generate_export")
    parser.add_argument("--folder", type=Path)
    parser.add_argument("--megabytes", type=int, nargs="*", default=[100, 1000])
    parser.add_argument("--pairs", type=int, default=5)
    parser.add_argument("--large", action="store_true", help="measure more than 4 GB, too")
    parser.add_argument("--before", type=os.path.abspath, help="compare traced runs with those of this tool")
    parser.add_argument("--cases", default="", help="measure only what has a name that matches")
    return parser.parse_args()


def main():
    setup = read_arguments()
    limits = Limits()
    with tempfile.TemporaryDirectory() as scratch:
        setup.folder = (setup.folder or Path(scratch)).resolve()
        setup.folder.mkdir(parents=True, exist_ok=True)
        measure_all(setup, limits)
    limits.print()
    return 1 if limits.broken else 0


if __name__ == "__main__":
    sys.exit(main())
