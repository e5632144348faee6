#!/usr/bin/env python3
"""Runs the tool and the model over generated cases and compares all that they leave behind.

    differential.py --tool PATH [--seeds FROM-TO] [--kind hostile|lifelike|both] [--ways plain,debug,trace]
                    [--jobs N] [--keep FOLDER]
"""

import argparse
import ast
import multiprocessing
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

import generate
import model

TIME_LIMIT = 10  # seconds for one run of the tool

TEXTS = {  # of the messages that the model gives no text for; the endings are free
    300: b"Memory is exhausted. Give the conversion more memory or smaller slot counts.",
    301: b"%s failed with return code %d: a position in a file could not be saved or restored.",
    304: b"The file %s could not be opened",
    305: b"The input file %s could not be prepared",
    306: b"Writing to the file %s failed",
    307: b"The next entry of the work file %s could not be read",
    314: b"The command line cannot be used",
}


def messageText(message):
    text = message.text
    if text is None:
        text = TEXTS[message.code - 380928000]
        text = text % message.arguments if message.arguments else text
    return b"tqldif2v6: %d %s: " % (message.code, b"ERROR" if message.stream == "stderr" else b"NOTICE") + text


def errorPattern(message):
    """What standard error holds of a message, its free ending included."""
    pattern = re.escape(messageText(message))
    code = message.code - 380928000
    if message.text is not None or code == 300:
        return pattern + rb"\n"
    if code == 301:
        return pattern + rb"( Concerned: [^\n]+)?\n"
    if code <= 307:
        return pattern + rb": [^\n]+\n"
    return pattern + rb": .*\n"


def compareErrors(messages, actual):
    pattern = b"".join(errorPattern(message) for message in messages if message.stream == "stderr")
    if re.fullmatch(pattern, actual, re.DOTALL):
        return None
    return "standard error differs"


def compareStdout(items, actual):
    """Everything but the places marked FREE is compared byte for byte."""
    segments = [b""]
    for item in items:
        if item is model.FREE:
            segments.append(b"")
        else:
            segments[-1] += messageText(item) + b"\n" if isinstance(item, model.Message) else item
    if len(segments) == 1:
        return None if actual == segments[0] else "standard output differs"
    if not actual.startswith(segments[0]) or not actual.endswith(segments[-1]):
        return "standard output differs"
    return None


# The trace. Every text of the model's trace must stand in the tool's trace, in order. What stands between two of them
# must be whole lines of free wording: no line that reads like one of fixed wording.

# This line is fixed where an attribute is not found and may stand elsewhere, too.
FREE_ELSEWHERE = {b"obtainAttributeValueFromObjArray():  FUNCTION EXIT \n"}


def fixedWordings():
    with open(model.__file__, "rb") as file:
        tree = ast.parse(file.read())
    wordings = set(model.DYNAMIC_TEMPLATES)
    for node in ast.walk(tree):
        if isinstance(node, ast.Call) and isinstance(node.func, ast.Attribute) and node.args:
            if node.func.attr in ("trace", "report", "continued") and isinstance(node.args[0], ast.Constant):
                wordings.add(node.args[0].value)
        if isinstance(node, ast.Constant) and isinstance(node.value, bytes) and node.value.startswith(b"\ndumpData()"):
            wordings.add(node.value)
    patterns = []
    for wording in wordings - FREE_ELSEWHERE:
        beginning = re.split(rb"%-?\d*[sd]", wording.strip(b"\n"))
        if len(beginning[0].replace(b" ", b"")) >= 8:
            patterns.append(rb".*?".join(re.escape(piece) for piece in beginning))
    return re.compile(rb"(?m)^ ?(?:" + b"|".join(sorted(patterns)) + rb")")


FIXED = None
GAPS_SEEN = {}


def gapIsFree(gap, may_end_anywhere=False):
    global FIXED
    if gap not in GAPS_SEEN:
        if FIXED is None:
            FIXED = fixedWordings()
        GAPS_SEEN[gap] = bool(gap.strip()) and not FIXED.search(gap)
    return GAPS_SEEN[gap] and (may_end_anywhere or gap.endswith(b"\n"))


def compareTrace(items, actual):
    position = 0
    region = None
    after_free = False
    line_ends_freely = False

    def missing(text):
        return (f"trace: expected {text[:300]!r} at offset {position}, found "
                f"{actual[position:position + 300]!r}")

    for item in items:
        if item is model.FREE:
            after_free = True
            continue
        if isinstance(item, model.RegionStart):
            region = position
            continue
        if isinstance(item, model.RegionEnd):
            place = actual.find(item.until, position)
            if place < 0:
                return missing(item.until)
            for text in item.texts:
                if text not in actual[region:place]:
                    return f"trace: {text!r} is not among {actual[region:place][:2000]!r}"
            position = actual.find(b"\n", place) + 1
            region = None
            line_ends_freely = True
            continue
        loose = isinstance(item, model.Loose)
        text = item.text if loose else item
        if actual.startswith(text, position):
            position += len(text)
            line_ends_freely = False
            continue
        place = actual.find(text, position)
        if place < 0:
            return missing(text)
        gap = actual[position:place]
        if loose:
            gap = gap.rstrip(b" ")
        # A DN shown in a region may lack its line end.
        if (gap and not after_free and not (line_ends_freely and not gap.strip())
                and not gapIsFree(gap, region is not None)):
            return missing(text)
        position = place + len(text)
        after_free = False
        line_ends_freely = loose and not text.endswith((b" ", b"\n"))
    rest = actual[position:]
    if rest and not after_free and not gapIsFree(rest):
        return f"trace: superfluous end {rest[:300]!r}"
    return None


# One case in one way.

class Run:
    """The files that a run of the tool left, its status and its streams."""

    def __init__(self, tool, case, way, folder):
        files = {"input.ldif": case.input}
        if case.work is not None:
            files["input.ldif.tmp"] = case.work
        for name, content in files.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content)
        command = [tool, "input.ldif", "output.ldif", str(case.max_users), str(case.max_groups)]
        environment = dict(os.environ, TZ="UTC")
        environment.pop("DEBUG_ERROR", None)
        if way == "debug":
            environment["DEBUG_ERROR"] = ""
        if way == "trace":
            command.append("trace.txt")
        self.timed_out = False
        self.begun = int(time.time())
        try:
            done = subprocess.run(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                  capture_output=True, timeout=TIME_LIMIT)
            self.status, self.stdout, self.stderr = done.returncode, done.stdout, done.stderr
        except subprocess.TimeoutExpired as expired:
            self.timed_out = True
            self.status, self.stdout, self.stderr = None, expired.stdout or b"", expired.stderr or b""
        self.ended = int(time.time())
        self.files = {}
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), "rb") as file:
                self.files[name] = file.read()


def firstDifference(name, expected, actual):
    if expected == actual:
        return None
    if expected is None or actual is None:
        return f"{name} is {'there' if expected is None else 'missing'}"
    place = next((i for i, (a, b) in enumerate(zip(expected, actual)) if a != b), min(len(expected), len(actual)))
    return (f"{name} differs at offset {place}: expected {expected[max(0, place - 60):place + 100]!r}, "
            f"found {actual[max(0, place - 60):place + 100]!r}")


def compare(run, result, case, way):
    """The differences between a run of the tool and the model's result, as sentences."""
    if run.timed_out:
        return ["the tool did not end in time"]
    expected_files = {"input.ldif": case.input, "output.ldif": result.output, "input.ldif.tmp": result.work,
                      "TEMPORARY_INPUT_LDIF_FILE": result.copy}
    found = []
    if run.status != result.status:
        found.append(f"exit status: expected {result.status}, found {run.status}")
    for name, expected in expected_files.items():
        found.append(firstDifference(name, expected, run.files.get(name)))
    known = set(expected_files) | ({"trace.txt"} if way == "trace" else set())
    found += [f"unexpected file {name}" for name in sorted(set(run.files) - known)]
    found.append(compareErrors(result.messages, run.stderr))
    found.append(compareStdout(result.stdout, run.stdout))
    if way == "trace":
        found.append(compareTrace(result.trace, run.files.get("trace.txt", b"")))
    return [one for one in found if one]


def examine(job):
    tool, kind, seed, way, keep, scratch = job
    case = generate.hostileCase(seed) if kind == "hostile" else generate.lifelikeCase(seed)
    folder = tempfile.mkdtemp(prefix="differential-", dir=scratch)
    try:
        run = Run(tool, case, way, folder)
    finally:
        shutil.rmtree(folder)
    # The run has read the clock once between its start and its end, or just before by a clock that lags a little.
    for second in range(run.begun - 1, run.ended + 1):
        result = model.convert(case.input, case.work, case.max_users, case.max_groups, debug_error=way == "debug",
                               tracing=way == "trace", now=time.gmtime(second))
        differences = compare(run, result, case, way)
        if not differences:
            break
    if differences and keep:
        keepCase(os.path.join(keep, f"{kind}-{seed}-{way}"), case, run, result, differences)
    return kind, seed, way, differences


def keepCase(folder, case, run, result, differences):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    trace = b"".join(item if isinstance(item, bytes) else repr(item).encode() + b"\n" for item in result.trace)
    stdout = b"".join(item if isinstance(item, bytes) else messageText(item) + b"\n"
                      if isinstance(item, model.Message) else b"FREE\n" for item in result.stdout)
    stderr = b"".join(messageText(message) + b"\n" for message in result.messages if message.stream == "stderr")
    files = {"input.ldif": case.input, "input.ldif.tmp": case.work,
             "arguments": f"{case.max_users} {case.max_groups}\n".encode(),
             "differences": ("\n".join(differences) + "\n").encode(),
             "expected.output": result.output, "expected.work": result.work, "expected.stdout": stdout,
             "expected.stderr": stderr, "expected.trace": trace, "found.output": run.files.get("output.ldif"),
             "found.work": run.files.get("input.ldif.tmp"), "found.stdout": run.stdout, "found.stderr": run.stderr,
             "found.trace": run.files.get("trace.txt")}
    for name, content in files.items():
        if content is not None:
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content)


def main():
    parser = argparse.ArgumentParser(description="Compare the tool with the model over generated cases.")
    parser.add_argument("--tool", required=True)
    parser.add_argument("--seeds", default="1-200", help="FROM-TO, both included")
    parser.add_argument("--kind", choices=("hostile", "lifelike", "both"), default="both")
    parser.add_argument("--ways", default="plain,debug,trace")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--keep", metavar="FOLDER", help="write every differing case there")
    arguments = parser.parse_args()
    first, _, last = arguments.seeds.partition("-")
    kinds = ("hostile", "lifelike") if arguments.kind == "both" else (arguments.kind,)
    ways = arguments.ways.split(",")
    if set(ways) - {"plain", "debug", "trace"}:
        parser.error("--ways takes plain, debug and trace, separated by commas")
    if not os.access(arguments.tool, os.X_OK):
        parser.error(f"{arguments.tool} cannot be run")
    failed = 0
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as scratch:
        # A copy, so that a build under way cannot take the tool away in the middle of the comparison.
        tool = shutil.copy(arguments.tool, os.path.join(scratch, "tool"))
        jobs = [(tool, kind, seed, way, arguments.keep, scratch)
                for kind in kinds for seed in range(int(first), int(last or first) + 1) for way in ways]
        with multiprocessing.Pool(arguments.jobs) as pool:
            for kind, seed, way, differences in pool.imap(examine, jobs, chunksize=8):
                if differences:
                    failed += 1
                    print(f"{kind} {seed} {way}:")
                    for one in differences:
                        print("    " + one)
    print(f"{len(jobs) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
