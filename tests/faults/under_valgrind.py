#!/usr/bin/env python3
"""Makes the golden runs and some whole conversions under valgrind: no error in any, and no leak where the run succeeds.

    under_valgrind.py [--every N] TOOL

The tool must be built without sanitizers. With --every, only every Nth golden run is made.
"""
import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

tests = Path(__file__).resolve().parent.parent
sys.path[:0] = [str(tests / "golden"), str(tests / "model")]
import generate  # noqa: E402  (beside the model)
import run_golden  # noqa: E402  (beside the golden runs)

VALGRIND = ["valgrind", "--quiet", "--error-exitcode=99"]
LEAKS = ["--leak-check=full", "--show-leak-kinds=definite,indirect,possible",
         "--errors-for-leak-kinds=definite,indirect,possible",
         f"--suppressions={Path(__file__).resolve().parent / 'valgrind.supp'}"]
TIMEOUT_SECONDS = 600


def reports(folder):
    return "".join(log.read_text() for log in Path(folder).iterdir())


def golden_run(tool, case):
    # A run that fails gives nothing back.
    leaks = LEAKS if case.status == 0 else []
    with tempfile.TemporaryDirectory() as scratch, tempfile.TemporaryDirectory() as logs:
        command = [*VALGRIND, f"--log-file={logs}/%p", *leaks, tool]
        failures = run_golden.failuresOf(case, command, Path(scratch))
        return "\n".join([reports(logs), *failures]).strip()


def conversion(tool, export, *arguments, echo=False):
    with tempfile.TemporaryDirectory() as scratch, tempfile.TemporaryDirectory() as logs:
        (Path(scratch) / "input.ldif").write_bytes(export)
        environment = {name: value for name, value in os.environ.items() if name != "DEBUG_ERROR"}
        run = subprocess.run([*VALGRIND, f"--log-file={logs}/%p", *LEAKS, tool, "input.ldif", "output.ldif", *arguments],
                             cwd=scratch, env=environment | ({"DEBUG_ERROR": ""} if echo else {}), capture_output=True,
                             text=True, timeout=TIMEOUT_SECONDS, check=False)
        return "\n".join([reports(logs), run.stderr, f"ended with {run.returncode}" if run.returncode else ""]).strip()


def jobs(tool, every):
    """The names of the runs, and what makes each of them and returns what is wrong."""
    for case in run_golden.cases()[::every]:
        yield case.name, lambda case=case: golden_run(tool, case)
    example = (tests.parent / "examples" / "registry-export.ldif").read_bytes()
    for arguments in (("100", "100"), ("4", "2"), ("1", "1"), ("100", "100", "trace")):
        yield f"example {' '.join(arguments)}", lambda given=arguments: conversion(tool, example, *given, echo=True)
    for order in ("grouped", "class", "shuffled"):
        export = b"".join(generate.lifelikePieces(7, 600 // every + 20, 20, order))
        for slots in ("1000", "30"):
            yield f"{order} {slots}", lambda given=export, slots=slots: conversion(tool, given, slots, slots)


def main():
    parser = argparse.ArgumentParser(description="Makes the golden runs and some whole conversions under valgrind.")
    parser.add_argument("--every", type=int, default=1, metavar="N", help="make only every Nth golden run")
    parser.add_argument("tool")
    options = parser.parse_args()
    tool = os.path.abspath(options.tool)
    run_golden.TIMEOUT_SECONDS = TIMEOUT_SECONDS

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        runs = [(name, pool.submit(job)) for name, job in jobs(tool, options.every)]
        for name, run in runs:
            if run.result():
                failed += 1
                print(f"FAILED {name}\n{re.sub('^', '    ', run.result(), flags=re.MULTILINE)}")
    print(f"{len(runs) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
