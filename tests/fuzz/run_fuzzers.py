#!/usr/bin/env python3
"""Runs the fuzzers of the build with the preset fuzz, as many at once as there are processors.

    run_fuzzers.py [--seconds N] [--jobs N] [--build FOLDER] [TARGET ...]      all targets without one
    run_fuzzers.py --minimise [TARGET ...]      makes tests/fuzz/corpus anew, of few and short inputs

Each starts from its inputs in tests/fuzz/corpus and from what earlier runs have found, which is kept in the build
folder: inputs that reach something new in corpus/TARGET, those that fail in failures. Ends with 1 when one has failed.
"""

import argparse
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

FUZZ = pathlib.Path(__file__).resolve().parent
TARGETS = ["stream", "reader", "merge", "dn", "conversion", "survey"]
LONGEST_INPUT = 4096  # bytes; repetition marks make more of them
LONGEST_KEPT_INPUT = 1024  # bytes, of the inputs in the tree
TIME_LIMIT = 20  # seconds for one input
TIMED_OUT = 70  # exit status of a fuzzer whose input took longer
INPUT_WRITTEN = r"Test unit written to (\S+)"
SCRATCH = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # every input is written to a file


def environment(scratch):
    kept = {name: value for name, value in os.environ.items() if name not in ("NLSPATH", "DEBUG_ERROR")}
    return dict(kept, TMPDIR=scratch, LC_ALL="C", UBSAN_OPTIONS="print_stacktrace=1")


def fuzz(target, build, *arguments):
    """Returns the exit status and what the fuzzer has printed."""
    with tempfile.TemporaryDirectory(prefix="fuzz-", dir=SCRATCH) as scratch:
        process = subprocess.run([build / f"{target}_fuzzer", "-close_fd_mask=3", *arguments], env=environment(scratch),
                                 stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                 encoding="latin-1")
    return process.returncode, process.stderr


def last(pattern, text):
    found = re.findall(pattern, text)
    return found[-1] if found else "?"


def showReach(target, printed):
    executions, speed, places, features = (last(pattern, printed) for pattern in (
        r"stat::number_of_executed_units: +(\d+)", r"stat::average_exec_per_sec: +(\d+)", r"cov: (\d+)", r"ft: (\d+)"))
    print(f"{target}: {executions} executions, {speed} a second; reached {places} places, {features} features", flush=True)


def isClean(target, status, printed, build):
    """Returns True when nothing was found, and tells what was."""
    if status == 0:
        return True
    finding = re.search(r"FINDING: .*|.*(?:ERROR: \w*(?:Sanitizer|Fuzzer): |runtime error: ).*", printed)
    print(f"FAILED {target}: {finding[0] if finding else f'ended with {status}'}")
    path = last(INPUT_WRITTEN, printed)
    print(f"    input: {path}\n    replay: {build / f'{target}_fuzzer'} {path}", flush=True)
    return False


def run(target, build, seconds):
    corpus, failures = build / "corpus" / target, build / "failures"
    for folder in (corpus, failures):
        folder.mkdir(parents=True, exist_ok=True)
    end = time.monotonic() + seconds
    while True:
        left = max(1, round(end - time.monotonic()))
        status, printed = fuzz(target, build, f"-max_total_time={left}", f"-max_len={LONGEST_INPUT}",
                               f"-timeout={TIME_LIMIT}", f"-dict={FUZZ / 'attributes.dict'}", "-print_final_stats=1",
                               f"-artifact_prefix={failures}/{target}-", corpus, FUZZ / "corpus" / target)
        if status != TIMED_OUT:
            return status, printed
        # It may have been the machine that stood still.
        input = last(INPUT_WRITTEN, printed)
        if fuzz(target, build, f"-timeout={TIME_LIMIT}", input)[0] != 0:
            return status, printed
        os.remove(input)
        if time.monotonic() >= end:
            return 0, printed


def minimise(target, build):
    """Keeps in the tree what has a name of its own, and as few of the other known inputs, the short ones, as reach every
    place."""
    tree = FUZZ / "corpus" / target
    with tempfile.TemporaryDirectory(prefix=f"{target}-", dir=build) as folder:
        every, fewest = pathlib.Path(folder) / "every", pathlib.Path(folder) / "fewest"
        every.mkdir()
        fewest.mkdir()
        for file in [*tree.iterdir(), *(build / "corpus" / target).glob("*")]:
            hasName = not re.fullmatch(r"[0-9a-f]{40}", file.name)
            if hasName or file.stat().st_size <= LONGEST_KEPT_INPUT:
                shutil.copyfile(file, (fewest if hasName else every) / file.name)
        status, printed = fuzz(target, build, "-set_cover_merge=1", "-use_counters=0", fewest, every)
        if status == 0:
            shutil.rmtree(tree)
            shutil.copytree(fewest, tree)
            print(f"{target}: {len(list(tree.iterdir()))} inputs", flush=True)
    return status, printed


def main():
    parser = argparse.ArgumentParser(description="Runs the fuzzers.")
    parser.add_argument("--seconds", type=int, default=60, help="for each target (default: %(default)s)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="targets at once (default: %(default)s)")
    parser.add_argument("--build", type=pathlib.Path, default=FUZZ.parent.parent / "build" / "fuzz",
                        help="build folder (default: %(default)s)")
    parser.add_argument("--minimise", action="store_true", help="make tests/fuzz/corpus anew instead")
    parser.add_argument("targets", nargs="*", metavar="TARGET", help=" ".join(TARGETS))
    options = parser.parse_args()
    unknown = set(options.targets) - set(TARGETS)
    if unknown:
        parser.error(f"no such target: {' '.join(sorted(unknown))}")
    build = options.build.resolve()

    def work(target):
        if options.minimise:
            status, printed = minimise(target, build)
        else:
            status, printed = run(target, build, options.seconds)
            showReach(target, printed)
        return isClean(target, status, printed, build)

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as executor:
        results = list(executor.map(work, options.targets or TARGETS))
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
