"""Runs of the tool and of its companions over generated inputs, and what the scripts beside this one have in common."""

import argparse
import json
import multiprocessing
import os
import re
import shutil
import subprocess
import sys
import tempfile
import traceback
from pathlib import Path
from typing import NamedTuple

import ldif

sys.path.append(str(Path(__file__).resolve().parent.parent / "model"))
import generate  # noqa: E402

TIME_LIMIT = 10  # seconds for one run
INPUT, OUTPUT, TRACE = "input.ldif", "output.ldif", "trace.txt"
WORK_FILE = INPUT + ".tmp"
SLOTS = ((1, 1), (2, 1), (3, 3), (100, 100))


class Conversion(NamedTuple):
    """What a run of the tool left."""
    status: int
    stdout: str
    stderr: str
    output: bytes
    work_file_bytes: int   # as its preparation left it; None without a trace

    def has(self, message):
        return f"tqldif2v6: 380928{message} " in self.stdout

    def numbers(self, message):
        """The numbers in the text of a notice that stands once."""
        line = next(line for line in self.stdout.splitlines() if line.startswith(f"tqldif2v6: 380928{message} "))
        return [int(number) for number in re.findall(r"\d+", line.partition("NOTICE")[2])]


class Report(NamedTuple):
    """What a run of a companion said; `said` is None where that is no report."""
    status: int
    said: dict
    faults: list


def run(command, folder, umask=0o077):
    environment = {name: value for name, value in os.environ.items() if name != "DEBUG_ERROR"}
    return subprocess.run([str(word) for word in command], cwd=folder, env=environment | {"TZ": "UTC"}, umask=umask,
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=TIME_LIMIT)


def inFolderOfItsOwn(function):
    """Calls `function` with the path of an empty folder, which is gone afterwards."""
    folder = tempfile.mkdtemp(prefix="run-", dir=scratch)
    try:
        return function(folder)
    finally:
        shutil.rmtree(folder)


def write(folder, name, content):
    with open(os.path.join(folder, name), "wb") as file:
        file.write(content)


def read(folder, name):
    with open(os.path.join(folder, name), "rb") as file:
        return file.read()


def convert(tool, text, slots, traced=False):
    """Runs the tool over `text`."""
    def inside(folder):
        write(folder, INPUT, text)
        done = run([tool, INPUT, OUTPUT, *slots] + [TRACE] * traced, folder)
        return Conversion(done.returncode, done.stdout.decode("utf-8", "replace"),
                          done.stderr.decode("utf-8", "replace"), read(folder, OUTPUT),
                          os.path.getsize(os.path.join(folder, WORK_FILE)) if traced else None)
    return inFolderOfItsOwn(inside)


def ask(program, options, files, arguments=(), leaves=(), then=None):
    """Runs a companion with --json over `files`, by name in the order of its arguments.

    `leaves` names the files that it makes, whose modes must not need a umask. If it has, `then` is called with the
    folder and gives more faults.
    """
    def inside(folder):
        for name, content in files.items():
            write(folder, name, content)
        done = run([program, "--json", *options, *files, *arguments], folder, umask=0o022 if leaves else 0o077)
        said, faults = parsed(done)
        for name, content in files.items():
            if name not in os.listdir(folder) or read(folder, name) != content:
                faults.append(f"{name} was changed")
        left = set(os.listdir(folder)) - set(files)
        if said is not None and left != set(leaves):
            faults.append(f"files left: {sorted(left)}, not {sorted(leaves)}")
        elif said is not None and then:
            faults += then(folder)
        return Report(done.returncode, said, faults)
    return inFolderOfItsOwn(inside)


def parsed(done):
    """The object on standard output, or None, and what is wrong with the run."""
    if done.returncode not in (0, 1):
        return None, [f"exit status {done.returncode}: {done.stderr[:300]!r}"]
    faults = [f"standard error: {done.stderr[:300]!r}"] if done.stderr else []
    try:
        said = json.loads(done.stdout.decode("utf-8"))
    except ValueError as error:
        return None, faults + [f"no JSON: {error}: {done.stdout[:300]!r}"]
    if not isinstance(said, dict):
        return None, faults + [f"no object: {done.stdout[:300]!r}"]
    return said, faults


def differs(what, expected, found):
    """A list of the sentence that says so, or an empty one."""
    return [] if expected == found else [f"{what}: expected {expected!r}, found {found!r}"]


def inJSON(text):
    """`text` as it stands in JSON. How many U+FFFD bytes that are not UTF-8 become is free, see `sameText`."""
    return None if text is None else text.decode("utf-8", "replace")


def sameText(first, second):
    return isinstance(first, str) == isinstance(second, str) and (
        not isinstance(first, str) or re.sub("\ufffd+", "\ufffd", first) == re.sub("\ufffd+", "\ufffd", second))


def secrets(text):
    """Values of the input that no program may show: long ones with a digit, not found in names or first lines."""
    names = (b"dn", b"cn", b"secdn", b"secauthority", b"principalname", b"objectclass")
    lines = [line.text for entry in ldif.entries(text) for line in entry.lines]
    shown = b"\n".join(line for line in lines if (ldif.nameOf(line) or b"dn").lower().strip() in names)
    shown += b"\n".join(entry.lines[0].text for entry in ldif.entries(text))
    values = {ldif.valueOf(line) for line in lines if ldif.nameOf(line)}
    return [value.decode() for value in values
            if 9 <= len(value) < 200 and re.fullmatch(rb"[ -~]*[0-9][ -~]*", value) and value not in shown]


def shownSecrets(text, said):
    """What a report, as one text, shows of the values of `text`."""
    everything = json.dumps(said)
    return [f"the value {value!r} is shown" for value in secrets(text) if json.dumps(value)[1:-1] in everything]


# The scripts' main part.

scratch = None


def caseOf(kind, seed):
    return generate.hostileCase(seed) if kind == "hostile" else generate.lifelikeCase(seed)


def examineSafely(job):
    """(kind, seed, differences); a job is (examine, programs, kind, seed, keep, scratch)."""
    global scratch
    examine, programs, kind, seed, keep, scratch = job
    case = caseOf(kind, seed)
    try:
        differences = examine(programs, case, seed)
    except subprocess.TimeoutExpired as error:
        differences = [str(error)]
    except (ArithmeticError, AttributeError, LookupError, TypeError, ValueError) as error:
        place = traceback.extract_tb(error.__traceback__)[-1]
        differences = [f"a report in another shape? {error!r} in line {place.lineno} of {place.filename}"]
    if differences and keep:
        folder = os.path.join(keep, f"{kind}-{seed}")
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        write(folder, INPUT, case.input)
        write(folder, "slots", f"{case.max_users} {case.max_groups}\n".encode())
        write(folder, "differences", ("\n".join(differences) + "\n").encode("utf-8", "replace"))
    return kind, seed, differences


def main(description, names, examine):
    """`examine` is called with the programs by name, a case and its seed, and returns differences as sentences."""
    parser = argparse.ArgumentParser(description=description)
    for name in names:
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--seeds", default="1-200", help="FROM-TO, both included")
    parser.add_argument("--kind", choices=("hostile", "lifelike", "both"), default="both")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--keep", metavar="FOLDER", help="write every differing case there")
    arguments = parser.parse_args()
    first, _, last = arguments.seeds.partition("-")
    kinds = ("hostile", "lifelike") if arguments.kind == "both" else (arguments.kind,)
    for name in names:
        if not os.access(getattr(arguments, name), os.X_OK):
            parser.error(f"{getattr(arguments, name)} cannot be run")
    os.umask(0o077)
    passed = failed = 0
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as folder:
        # Copies, so that a build under way cannot take the programs away in the middle of the comparison.
        programs = {name: shutil.copy(getattr(arguments, name), os.path.join(folder, name)) for name in names}
        jobs = [(examine, programs, kind, seed, arguments.keep, folder)
                for kind in kinds for seed in range(int(first), int(last or first) + 1)]
        with multiprocessing.Pool(arguments.jobs) as pool:
            for kind, seed, differences in pool.imap(examineSafely, jobs, chunksize=4):
                passed += not differences
                failed += bool(differences)
                if differences:
                    print(f"{kind} {seed}:", *differences, sep="\n    ", flush=True)
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0
