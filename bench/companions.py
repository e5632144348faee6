#!/usr/bin/env python3
"""Measures the check and the account against the conversion of the same export in one pass.

    companions.py --build FOLDER --folder FOLDER [--megabytes N ...] [--pairs N] [--orders ORDER ...]

The exports are made in the folder by generate_export, which stands in the build folder as the programs do. Elapsed time
and processor time (user and system), in turn, medians; the memory is that of their own.
"""
import argparse
import pathlib
import statistics
import sys

import exports
import measured_run

ORDERS = ("class", "user", "shuffled")
BYTES_OF_AN_ENTRY = 64
BYTES_BESIDES = 64 * measured_run.MEBIBYTE
PAUSE = 0.002  # seconds between two looks at the memory


def entriesOf(path):
    with open(path, "rb") as file:
        return sum(line.startswith(b"dn:") for line in file)


def measure(export, build, pairs):
    """Returns the median seconds of conversion, check and account, elapsed and of processor time, and the largest
    memory of the two companions."""
    conversion = export.conversion(build / "tqldif2v6", export.slots(1))
    check = [build / "tqldif2v6-check", export.path]
    account = [build / "tqldif2v6-account", export.path, export.output]
    runs = {"conversion": [], "check": [], "account": []}
    memory = {"check": 0, "account": 0}
    for _ in range(pairs):
        export.remove_outputs()
        runs["conversion"].append(measured_run.run(conversion))
        for name, command in (("check", check), ("account", account)):
            # Looking at the memory takes a processor's time, too, which the program may want.
            memory[name] = max(memory[name], measured_run.watched_run(command, export.work_file, PAUSE).memory)
            run = measured_run.run(command)
            if run.status not in (0, 1):
                raise measured_run.RunFailed(f"{name} ended with {run.status}")
            runs[name].append(run)
    export.remove_outputs()
    elapsed = {name: statistics.median(run.elapsed for run in ofName) for name, ofName in runs.items()}
    processor = {name: statistics.median(run.seconds for run in ofName) for name, ofName in runs.items()}
    return elapsed, processor, memory


def main():
    parser = argparse.ArgumentParser(description="Measure the companions against the conversion.")
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--folder", type=pathlib.Path, required=True)
    parser.add_argument("--megabytes", type=int, nargs="+", default=[100])
    parser.add_argument("--orders", nargs="+", default=ORDERS, choices=ORDERS)
    parser.add_argument("--pairs", type=int, default=5)
    arguments = parser.parse_args()
    print("| Export | time | conversion, s | check, s | x conversion (1) | account, s | x conversion (2) "
          "| check, MiB (limit) | account, MiB |\n|---|---|---|---|---|---|---|---|---|")
    for megabytes in arguments.megabytes:
        for order in arguments.orders:
            export = exports.Export(arguments.build / "generate_export", arguments.folder,
                                    megabytes * exports.USERS_IN_A_MEGABYTE, order)
            elapsed, processor, memory = measure(export, arguments.build, arguments.pairs)
            limit = (entriesOf(export.path) * BYTES_OF_AN_ENTRY + BYTES_BESIDES) / measured_run.MEBIBYTE
            for name, seconds in (("elapsed", elapsed), ("processor", processor)):
                ratios = {name: seconds[name] / seconds["conversion"] for name in ("check", "account")}
                print(f"| {megabytes} MB by {order} | {name} | {seconds['conversion']:.2f} | {seconds['check']:.2f} "
                      f"| {ratios['check']:.2f} | {seconds['account']:.2f} | {ratios['account']:.2f} "
                      f"| {memory['check'] / measured_run.MEBIBYTE:.0f} ({limit:.0f}) "
                      f"| {memory['account'] / measured_run.MEBIBYTE:.0f} |", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
