#!/usr/bin/env python3
"""Runs the converter on the cases in the chapters beside this file and compares what it leaves behind.

    run_golden.py --tool PATH [NAME ...]      a NAME is a chapter, the name of a case, or both with a slash between
    run_golden.py --list

A case is a folder in a chapter, and its name says what holds in it. For the run it may hold:
  input.ldif   the input, copied into a scratch folder of the run's own under the name that the command line gives it
  leftover     a work file that an earlier run left
  setup.sh     commands run in the scratch folder before the tool
  arguments    the command line, quoted as in a shell; "input.ldif output.ldif 10 10" when absent, followed by
               "trace.txt" where a trace is expected
  environment  NAME=value lines

and what is expected of it:
  stderr       the text; without it there must be none. The exit status follows: 255 with it, 0 without it
  stdout       the text
  output.ldif  the bytes of the output
  workfile     the bytes of the work file at the end
  trace        lines that the trace holds in this order, with others between;
               a line that begins with "!" must not occur at all
  check.sh     commands run in the scratch folder afterwards, to end with 0

In a text, a line that begins with "~" is a regular expression for one line. "#" and the number of a message stand for
one line with that message, which holds the text behind the number; " ... " in it stands for anything. A last line
"..." allows anything to follow. The clock is masked: an install date of 14 digits reads "<now>".

Where cases differ in their command line alone, one folder holds them all: its file "cases" has a row for each, with the
name, a command to be run before if one is needed, the arguments and the message that they lead to, if any. The other
files of the folder are given to every row, and a stderr there follows the message.

Of every run is expected, besides:
  - Nothing changes in the scratch folder but the output, the work file, and with a trace that and the copy of the work
    file. Where a file cannot be opened, the work file does not change either; where the command line cannot be used,
    nothing does, and there is no notice.
  - A run that ends with 0 keeps its work file when there is a trace, and leaves none when there is not.
"""

import argparse
import difflib
import os
import pathlib
import re
import shlex
import stat
import subprocess
import sys
import tempfile
from typing import NamedTuple

GOLDEN = pathlib.Path(__file__).resolve().parent
TIMEOUT_SECONDS = 20
LONGEST_LINE_SHOWN = 200

FILES = {"cases", "input.ldif", "leftover", "setup.sh", "arguments", "environment", "stderr", "stdout", "output.ldif",
         "workfile", "trace", "check.sh"}

FILE_NOT_OPENED, USAGE_ERROR = "380928304", "380928314"
COPY = "TEMPORARY_INPUT_LDIF_FILE"

ROW = re.compile(r"(?P<name>\S+)\n"
                 r"(?:    \$ (?P<setup>.+)\n)?"
                 r"    (?P<arguments>.*?)(?: ?=> (?P<message>#.+))?\n")


class Case(NamedTuple):
    name: str     # chapter/name
    given: dict   # the contents of its files, by their names; a byte is a character

    @property
    def arguments(self):
        default = "input.ldif output.ldif 10 10" + (" trace.txt" if "trace" in self.given else "")
        return shlex.split(self.given.get("arguments", default))

    @property
    def status(self):
        return 255 if self.given.get("stderr") else 0

    def failsWith(self, number):
        return number in self.given.get("stderr", "")


def textOf(path):
    return path.read_bytes().decode("latin-1")


def rowsOf(chapter, given):
    table = given.pop("cases")
    rows = list(ROW.finditer(table))
    if "".join(row[0] for row in rows) != table:
        raise ValueError(f"{chapter}: a table of cases is not made of rows")
    for row in rows:
        ofRow = {"arguments": row["arguments"]}
        if row["setup"]:
            ofRow["setup.sh"] = row["setup"]
        if row["message"]:
            ofRow["stderr"] = f"{row['message']}\n{given.get('stderr', '')}"
        yield Case(f"{chapter}/{row['name']}", given | ofRow)


def cases():
    """All there are, in the order of their names."""
    found = []
    for folder in GOLDEN.glob("[!_]*/*"):
        given = {path.name: textOf(path) for path in folder.iterdir()}
        chapter = folder.parent.name
        if given.keys() - FILES:
            raise ValueError(f"{chapter}/{folder.name}: no file of a case: {', '.join(given.keys() - FILES)}")
        found += rowsOf(chapter, given) if "cases" in given else [Case(f"{chapter}/{folder.name}", given)]
    return sorted(found, key=lambda case: case.name)


def isNamed(case, name):
    return name in (case.name, *case.name.split("/"))


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
    number, _, parts = expected[1:].partition(" ")
    holds = ".*".join(re.escape(part) for part in parts.split(" ... "))
    return re.fullmatch(f"tqldif2v6: {number} (?:ERROR|WARNING|NOTICE): .*{holds}.*", actual) is not None


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
    expected, actual = withoutClock(expected), withoutClock(textOf(path))
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


def runShell(commands, scratch, environment):
    return subprocess.run(["/bin/sh", "-c", commands], cwd=scratch, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=TIMEOUT_SECONDS)


class SetupFailed(Exception):
    pass


def workFileOf(arguments):
    return arguments[0] + ".tmp"


def prepare(case, scratch):
    """Puts what the run of a case needs into a scratch folder. Returns its environment and its arguments."""
    environment = {name: value for name, value in os.environ.items() if name != "DEBUG_ERROR"}
    environment.update(TZ="UTC", LC_ALL="C")
    for line in case.given.get("environment", "").splitlines():
        name, _, value = line.partition("=")
        environment[name] = value

    arguments = case.arguments
    if "input.ldif" in case.given:
        name = arguments[0] if arguments else "input.ldif"
        (scratch / name).write_bytes(case.given["input.ldif"].encode("latin-1"))
    if "leftover" in case.given:
        (scratch / workFileOf(arguments)).write_bytes(case.given["leftover"].encode("latin-1"))
    if "setup.sh" in case.given and runShell(case.given["setup.sh"], scratch, environment).returncode != 0:
        raise SetupFailed
    return environment, arguments


def snapshot(folder):
    """All there is in the folder: modes, contents, targets of links."""
    files = {}
    for path in folder.rglob("*"):
        mode = path.lstat().st_mode
        content = os.readlink(path) if stat.S_ISLNK(mode) else path.read_bytes() if stat.S_ISREG(mode) else None
        files[str(path.relative_to(folder))] = mode, content
    return files


def changeable(case, arguments):
    """The names of the files that the run may change."""
    if case.failsWith(USAGE_ERROR):
        return set()
    names = [arguments[1], *arguments[4:]]
    if not case.failsWith(FILE_NOT_OPENED):
        names += [workFileOf(arguments), *[COPY for _ in arguments[4:]]]
    return {os.path.normpath(name) for name in names}


def changesBeyond(names, before, after):
    return [f"{shown(name)}: has changed" for name in sorted(before.keys() | after.keys())
            if name not in names and before.get(name) != after.get(name)]


def compareWorkFile(case, arguments, scratch):
    path = scratch / workFileOf(arguments)
    if "workfile" in case.given:
        return compareBytes("the work file", case.given["workfile"], path)
    isKept = len(arguments) > 4
    if case.status == 0 and os.path.lexists(path) != isKept:
        return [f"the work file {'is gone' if isKept else 'still exists'}"]
    return []


def compareFiles(case, arguments, scratch):
    failures = []
    if "output.ldif" in case.given:
        failures += compareBytes("output.ldif", case.given["output.ldif"], scratch / arguments[1])
    if arguments:
        failures += compareWorkFile(case, arguments, scratch)
    if "trace" in case.given:
        failures += compareTrace(case.given["trace"], scratch / arguments[4])
    return failures


def failuresOf(case, command, scratch):
    """Runs the command, which is the tool or runs it, on what the case gives. Returns what differs."""
    try:
        environment, arguments = prepare(case, scratch)
    except SetupFailed:
        return ["setup.sh failed"]
    before = snapshot(scratch)
    try:
        run = subprocess.run([*command, *arguments], cwd=scratch, env=environment, stdin=subprocess.DEVNULL,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired:
        return [f"the tool did not end within {TIMEOUT_SECONDS} seconds"]
    after = snapshot(scratch)

    failures = []
    if run.returncode != case.status:
        failures.append(f"exit status: expected {case.status}, got {run.returncode}")
    failures += compareText("stderr", case.given.get("stderr", ""), run.stderr.decode("latin-1"))
    if "stdout" in case.given or case.failsWith(USAGE_ERROR):
        failures += compareText("stdout", case.given.get("stdout", ""), run.stdout.decode("latin-1"))
    failures += compareFiles(case, arguments, scratch)
    failures += changesBeyond(changeable(case, arguments), before, after)
    if "check.sh" in case.given:
        check = runShell(case.given["check.sh"], scratch, environment)
        if check.returncode != 0:
            failures.append(f"check.sh ended with {check.returncode} {check.stdout.decode('latin-1')}")
    return failures


def main():
    parser = argparse.ArgumentParser(description="Runs the converter's golden runs.")
    parser.add_argument("--tool", help="the converter")
    parser.add_argument("--list", action="store_true", help="only list the names of the runs")
    parser.add_argument("names", nargs="*", metavar="NAME", help="a chapter or a run to make; all when none is named")
    options = parser.parse_args()

    every = cases()
    if options.list:
        print("\n".join(case.name for case in every))
        return 0
    if not options.tool:
        parser.error("--tool is needed")
    unknown = [name for name in options.names if not any(isNamed(case, name) for case in every)]
    if unknown:
        parser.error("no such golden run or chapter: " + ", ".join(unknown))

    tool = os.path.abspath(options.tool)
    passed = failed = 0
    for case in every:
        if options.names and not any(isNamed(case, name) for name in options.names):
            continue
        with tempfile.TemporaryDirectory(prefix="golden-") as scratch:
            failures = failuresOf(case, [tool], pathlib.Path(scratch))
        if failures:
            failed += 1
            print(f"FAILED {case.name}")
            for failure in failures:
                print("    " + failure.replace("\n", "\n    "))
        else:
            passed += 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
