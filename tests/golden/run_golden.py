#!/usr/bin/env python3
"""Runs the converter on the folders beside this file and compares what it leaves behind.

    run_golden.py --tool PATH [NAME ...]
    run_golden.py --list

A folder may hold, for the run:
  input.ldif   the input, copied into a scratch folder of the run's own
  leftover     a work file that an earlier run left, copied to input.ldif.tmp
  setup.sh     commands run in the scratch folder before the tool
  arguments    the command line, quoted as in a shell; "input.ldif output.ldif 10 10" when absent
  environment  NAME=value lines

and what is expected of it:
  exit         the exit status; 0 when absent
  stdout, stderr
               the text. A line that begins with "~" is a regular expression for one line; "#" and the
               number of a message stand for one line with that message, of which a text behind the
               number must be a part; a last line "..." allows anything to follow. Without stderr, a run
               that ends with 0 must write none.
  output.ldif  the bytes of the output
  workfile     the bytes of input.ldif.tmp at the end; without it that file must be gone, unless
               the empty file workfile-any says that nobody minds
  trace        lines that the trace holds in this order, with others between; "~" as above;
               a line that begins with "!" must not occur at all
  check.sh     commands run in the scratch folder afterwards, to end with 0

The clock is masked: an install date of 14 digits reads "<now>".
"""

import argparse
import difflib
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

GOLDEN = pathlib.Path(__file__).resolve().parent
TIMEOUT_SECONDS = 20
LONGEST_LINE_SHOWN = 200


def names():
    return sorted(folder.name for folder in GOLDEN.iterdir() if folder.is_dir() and folder.name != "__pycache__")


def textOf(path):
    return path.read_bytes().decode("latin-1")


def withoutClock(text):
    return re.sub(r"installDate: [0-9]{14}\.0Z", "installDate: <now>", text)


def shown(line):
    line = line.encode("unicode_escape").decode("ascii")
    if len(line) > LONGEST_LINE_SHOWN:
        return f"{line[:LONGEST_LINE_SHOWN]}... ({len(line)} characters)"
    return line


def difference(title, expected, actual):
    lines = difflib.unified_diff([shown(line) for line in expected], [shown(line) for line in actual],
                                 f"{title} (expected)", f"{title} (actual)", lineterm="")
    return "\n".join(lines)


def lineMatches(expected, actual):
    if expected.startswith("~"):
        return re.fullmatch(expected[1:], actual) is not None
    return expected == actual


def messageMatches(expected, actual):
    number, _, part = expected[1:].partition(" ")
    message = re.fullmatch(f"tqldif2v6: {number} (?:ERROR|WARNING|NOTICE): (.*)", actual, re.DOTALL)
    return message is not None and part in message[1]


def textLineMatches(expected, actual):
    return (messageMatches if re.match("#[0-9]", expected) else lineMatches)(expected, actual)


def compareText(title, expected, actual):
    expected, actual = expected.split("\n"), actual.split("\n")
    compared = actual
    if expected[-2:] == ["...", ""]:
        expected = expected[:-2]
        compared = actual[:len(expected)]
    if len(expected) == len(compared) and all(map(textLineMatches, expected, compared)):
        return []
    # What matches reads alike, so that only the rest is shown as a difference.
    matched = [a if textLineMatches(e, a) else e for e, a in zip(expected, compared)]
    return [difference(title, matched + expected[len(compared):], actual)]


def compareBytes(title, expected, path):
    if not path.is_file():
        return [f"{title}: the file does not exist"]
    # Split at the newline only, so that a carriage return stays visible in the difference.
    expected, actual = withoutClock(textOf(expected)), withoutClock(textOf(path))
    return [] if expected == actual else [difference(title, expected.split("\n"), actual.split("\n"))]


def compareTrace(expected, path):
    if not path.is_file():
        return ["trace: the file does not exist"]
    traced = textOf(path).split("\n")
    failures = []
    position = 0
    for line in expected.rstrip("\n").split("\n"):
        if line.startswith("!"):
            if line[1:] in traced:
                failures.append(f"trace: must not occur: {shown(line[1:])}")
            continue
        found = next((i for i in range(position, len(traced)) if lineMatches(line, traced[i])), None)
        if found is None:
            failures.append(f"trace: missing after line {position}: {shown(line)}")
        else:
            position = found + 1
    return failures


def runShell(script, scratch, environment):
    return subprocess.run(["/bin/sh", str(script)], cwd=scratch, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=TIMEOUT_SECONDS)


class SetupFailed(Exception):
    pass


def prepare(folder, scratch):
    """Puts what the run of a folder needs into a scratch folder. Returns its environment and its arguments."""
    given = {path.name: path for path in folder.iterdir()}

    environment = {name: value for name, value in os.environ.items() if name != "DEBUG_ERROR"}
    environment.update(TZ="UTC", LC_ALL="C")
    if "environment" in given:
        for line in textOf(given["environment"]).splitlines():
            name, _, value = line.partition("=")
            environment[name] = value

    if "input.ldif" in given:
        shutil.copyfile(given["input.ldif"], scratch / "input.ldif")
    if "leftover" in given:
        shutil.copyfile(given["leftover"], scratch / "input.ldif.tmp")
    if "setup.sh" in given and runShell(given["setup.sh"], scratch, environment).returncode != 0:
        raise SetupFailed

    arguments = ["input.ldif", "output.ldif", "10", "10"]
    if "arguments" in given:
        arguments = shlex.split(textOf(given["arguments"]))
    return environment, arguments


def failuresOf(folder, command, scratch):
    """Runs the command, which is the tool or runs it, on what the folder holds. Returns what differs."""
    given = {path.name: path for path in folder.iterdir()}
    try:
        environment, arguments = prepare(folder, scratch)
    except SetupFailed:
        return ["setup.sh failed"]
    try:
        run = subprocess.run([*command, *arguments], cwd=scratch, env=environment, stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired:
        return [f"the tool did not end within {TIMEOUT_SECONDS} seconds"]
    stdout, stderr = run.stdout.decode("latin-1"), run.stderr.decode("latin-1")

    failures = []
    status = int(textOf(given["exit"])) if "exit" in given else 0
    if run.returncode != status:
        failures.append(f"exit: expected {status}, got {run.returncode}")
        if "stderr" not in given and stderr:
            failures.append(f"stderr: {stderr.rstrip()}")
    if "stdout" in given:
        failures += compareText("stdout", textOf(given["stdout"]), stdout)
    if "stderr" in given:
        failures += compareText("stderr", textOf(given["stderr"]), stderr)
    elif status == 0:
        failures += compareText("stderr", "", stderr)
    if "output.ldif" in given:
        failures += compareBytes("output.ldif", given["output.ldif"], scratch / "output.ldif")
    if "workfile" in given:
        failures += compareBytes("input.ldif.tmp", given["workfile"], scratch / "input.ldif.tmp")
    elif "workfile-any" not in given and os.path.lexists(scratch / "input.ldif.tmp"):
        failures.append("input.ldif.tmp: still exists")
    if "trace" in given:
        failures += compareTrace(textOf(given["trace"]), scratch / arguments[4])
    if "check.sh" in given:
        check = runShell(given["check.sh"], scratch, environment)
        if check.returncode != 0:
            failures.append(f"check.sh ended with {check.returncode} {check.stdout.decode('latin-1')}")
    return failures


def main():
    parser = argparse.ArgumentParser(description="Runs the converter's golden runs.")
    parser.add_argument("--tool", help="the converter")
    parser.add_argument("--list", action="store_true", help="only list the names of the runs")
    parser.add_argument("names", nargs="*", metavar="NAME", help="the runs to make; all when none is named")
    options = parser.parse_args()

    if options.list:
        print("\n".join(names()))
        return 0
    if not options.tool:
        parser.error("--tool is needed")
    unknown = sorted(set(options.names) - set(names()))
    if unknown:
        parser.error("no such golden run: " + ", ".join(unknown))

    tool = os.path.abspath(options.tool)
    passed = failed = 0
    for name in options.names or names():
        with tempfile.TemporaryDirectory(prefix="golden-") as scratch:
            failures = failuresOf(GOLDEN / name, [tool], pathlib.Path(scratch))
        if failures:
            failed += 1
            print(f"FAILED {name}")
            for failure in failures:
                print("    " + failure.replace("\n", "\n    "))
        else:
            passed += 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
