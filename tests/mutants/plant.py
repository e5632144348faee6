#!/usr/bin/env python3
"""Plants the mistakes of mistakes.py, one at a time, in a copy of the sources and shows which test notices each.

    plant.py [--list] [TEXT ...]      only the mistakes whose name or file holds one of the texts; all without one

With --list none is planted; the exit status says whether each can be.
"""

import argparse
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
from typing import NamedTuple

from mistakes import mistakes

PROJECT = pathlib.Path(__file__).resolve().parents[2]
FAULT_TESTS = "signals changing_files standard_streams refused_runs swapped_folders two_runs progress"  # the quick ones
TIME_LIMIT = 180  # seconds for one run of a suite
LARGEST_FILE = 64 * 1024 * 1024  # bytes; a mistake may make the tool write for ever


class Suite(NamedTuple):
    name: str
    target: str   # of the build, or several parted by blanks
    command: list
    failure: str  # expression for the line of a failed test, its first group the test's name


def companionRuns(tree, build):
    """The commands that prove the companions, the quick ones first."""
    programs = f"--tool {build}/tqldif2v6 --check {build}/tqldif2v6-check"
    account = f"{programs} --account {build}/tqldif2v6-account"
    python, tests = f"{sys.executable} -u", f"{tree}/tests/companions"
    return [f"{python} {tests}/test_findings.py {build}/tqldif2v6-check {build}/tqldif2v6",
            f"{python} {tests}/test_accounts.py {build}/tqldif2v6 {build}/tqldif2v6-account",
            f"{python} {tests}/edge_agreement.py {account} rows",
            f"{python} {tests}/check_agreement.py {programs} --kind hostile --seeds 1-150",
            f"{python} {tests}/split_agreement.py {programs} --kind hostile --seeds 1-80",
            f"{python} {tests}/account_agreement.py {account} --kind hostile --seeds 1-80",
            f"{python} {tests}/test_faults.py {build}/tqldif2v6-check {build}/tqldif2v6-account"]


def suitesOf(tree, build):
    tool = str(build / "tqldif2v6")
    python = [sys.executable, "-u"]
    return [
        Suite("golden run", "tqldif2v6", [*python, str(tree / "tests/golden/run_golden.py"), "--tool", tool],
              r"FAILED (\S+)"),
        Suite("generated input", "tqldif2v6", [*python, str(tree / "tests/model/differential.py"), "--tool", tool,
                                               "--kind", "hostile", "--seeds", "1-200"], r"(hostile \d+ \w+):"),
        Suite("unit test", "unit_tests", [str(build / "unit_tests"), "--gtest_brief=1"],
              r"\[  FAILED  \] ([\w./]+)"),
        Suite("fault test", "inject", ["/bin/sh", "-c", f"for script in {FAULT_TESTS}; do "
                                       f'"{sys.executable}" -u "{tree}/tests/faults/test_$script.py" "{tool}" '
                                       f'"{build}/tests/faults/libinject.so"; done 2>&1'],
              r"(?:FAIL|ERROR): (\w+)"),
        Suite("companion run", "tqldif2v6 tqldif2v6-check tqldif2v6-account",
              ["/bin/sh", "-c", " ; ".join(companionRuns(tree, build)) + " 2>&1"], r"(?:FAILED )?([^ :][^:]*):"),
    ]


def copyProject(folder):
    tree = folder / "tree"
    shutil.copytree(PROJECT, tree, ignore=shutil.ignore_patterns("build", ".git"))
    build = folder / "build"
    # Warnings are off: a planted mistake often leaves something unused.
    subprocess.run(["cmake", "-S", tree, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_CXX_FLAGS=-O0 -w"], check=True, stdout=subprocess.DEVNULL)
    return tree, build


def builds(build, target):
    return subprocess.run(["cmake", "--build", build, "--target", *target.split(), "-j1"],
                          stdout=subprocess.DEVNULL).returncode == 0


def limitFiles():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))


def end(process):
    """Ends a suite so that it still tidies up, and then what it has left running: it leads a group of its own."""
    if process.poll() is None:
        process.send_signal(signal.SIGINT)
        try:
            process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            pass
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def runSuite(suite, scratch, known=None):
    """Returns the failed tests and the exit status. With the failures known from the sound sources, ends at the first
    test that fails only now."""
    failed = set()
    process = subprocess.Popen(suite.command, cwd=scratch, env=dict(os.environ, TMPDIR=str(scratch)),
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               encoding="latin-1", start_new_session=True, preexec_fn=limitFiles)
    timer = threading.Timer(TIME_LIMIT, end, [process])
    timer.start()
    for line in process.stdout:
        match = re.match(suite.failure, line)
        if match:
            failed.add(match[1])
            if known is not None and match[1] not in known:
                break
    timer.cancel()
    if known is None or failed <= known:
        process.wait()
    end(process)
    return failed, process.wait()


def noticedBy(suites, sound, build, scratch):
    """Returns what tells the mistake apart, or null when nothing does."""
    for suite in suites:
        if not builds(build, suite.target):
            raise RuntimeError(f"{suite.target} does not build")
        known, soundStatus = sound[suite.name]
        failed, status = runSuite(suite, scratch, known)
        if failed - known:
            return f"{suite.name} {min(failed - known)}"
        if status != soundStatus:
            return f"{suite.name}s, which ended with {status}"
    return None


def runSound(suites, build, scratch):
    """Runs every suite without a mistake; returns those that can be used, and their failures and exit status."""
    sound = {}
    for suite in suites:
        if not builds(build, suite.target):
            print(f"{suite.target} does not build; no {suite.name}s are made")
            continue
        sound[suite.name] = runSuite(suite, scratch)
        for name in sorted(sound[suite.name][0]):
            print(f"fails without a mistake: {suite.name} {name}")
    return [suite for suite in suites if suite.name in sound], sound


def checkMistakes(chosen, tree):
    """Returns the mistakes whose text stands exactly once in its file, and the number of the others."""
    plantable = []
    for mistake in chosen:
        name, file, old, _ = mistake
        count = (tree / "src" / file).read_text().count(old)
        if count == 1:
            plantable.append(mistake)
        else:
            print(f"ERROR {file}: {name}: its text stands there {count} times")
    return plantable, len(chosen) - len(plantable)


def suitesFor(file, suites):
    """Those that can notice a mistake in the file: the tool does not stand on the companions."""
    isOfCompanions = file.startswith(("survey/", "check/", "account/"))
    return [suite for suite in suites if suite.name == "companion run" or not isOfCompanions]


def plant(mistake, suites, sound, tree, build, scratch):
    """Returns True when a test notices the mistake."""
    name, file, old, new = mistake
    path = tree / "src" / file
    source = path.read_text()
    path.write_text(source.replace(old, new))
    try:
        notice = noticedBy(suitesFor(file, suites), sound, build, scratch)
    except RuntimeError as error:
        print(f"ERROR {file}: {name}: {error}", flush=True)
        return False
    finally:
        path.write_text(source)
    print(f"noticed {file}: {name}: {notice}" if notice else f"SURVIVED {file}: {name}", flush=True)
    return notice is not None


def main():
    parser = argparse.ArgumentParser(description="Plants mistakes and shows which test notices each.")
    parser.add_argument("--list", action="store_true", help="list the mistakes, and see that they fit the sources")
    parser.add_argument("texts", nargs="*", metavar="TEXT", help="part of the name or file of the mistakes to plant")
    options = parser.parse_args()
    chosen = [mistake for mistake in mistakes
              if not options.texts or any(text in " ".join(mistake[:2]) for text in options.texts)]
    if options.list:
        for name, file, _, _ in chosen:
            print(f"{file}: {name}")
        return 1 if checkMistakes(chosen, PROJECT)[1] else 0

    passed = 0
    with tempfile.TemporaryDirectory(prefix="mistakes-") as folder:
        tree, build = copyProject(pathlib.Path(folder))
        chosen, failed = checkMistakes(chosen, tree)
        scratch = pathlib.Path(folder) / "scratch"
        scratch.mkdir()
        needed = {suite.name for mistake in chosen for suite in suitesFor(mistake[1], suitesOf(tree, build))}
        suites = [suite for suite in suitesOf(tree, build) if suite.name in needed]
        suites, sound = runSound(suites, build, scratch)
        for mistake in chosen:
            if plant(mistake, suites, sound, tree, build, scratch):
                passed += 1
            else:
                failed += 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
