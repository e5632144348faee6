"""Runs of the check and of the tool in scratch folders, and what the scripts by hand beside this one have in common."""
import json
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

from pieces import Finding

INPUT, OUTPUT, WORK_FILE, GOOD, REJECTED = "input.ldif", "output.ldif", "input.ldif.tmp", "good.ldif", "rejected.ldif"
NOBODY = 65534
TIME_LIMIT = 60     # seconds for one run

programs = {}   # paths, by name
scratch = None  # folder


class Skipped(Exception):
    """A rule that cannot be looked at here."""


class Folder:
    """A scratch folder, with an input if there is a text; gone at the end."""
    def __init__(self, text=None):
        self.path = Path(tempfile.mkdtemp(dir=scratch))
        if text is not None:
            self.write(INPUT, text)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.path)

    def write(self, name, content):
        (self.path / name).write_bytes(content)

    def read(self, name):
        return (self.path / name).read_bytes()

    def names(self):
        return sorted(os.listdir(self.path))

    def run(self, *command, **more):
        options = {"capture_output": True, "cwd": self.path, "stdin": subprocess.DEVNULL, "timeout": TIME_LIMIT,
                   "env": {"PATH": os.environ["PATH"], "TZ": "UTC"}}
        return subprocess.run([str(word) for word in command], check=False, **options | more)

    def check(self, *arguments, **more):
        return self.run(programs["check"], *arguments, **more)

    def convert(self, slots, name=INPUT):
        """Converts into a new output; returns the run, and removes what it leaves besides."""
        (self.path / OUTPUT).unlink(missing_ok=True)
        run = self.run(programs["tool"], name, OUTPUT, *slots)
        (self.path / f"{name}.tmp").unlink(missing_ok=True)
        return run


def differs(what, expected, found):
    """A list of the sentence that says so, or an empty one."""
    return [] if expected == found else [f"{what}: expected {expected!r}, found {found!r}"]


def text_of(run):
    return (run.stdout + run.stderr).decode("utf-8", "replace")


def as_somebody():
    """Options of a run as a user who must keep to the permissions of files."""
    return {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}


# What the check says as JSON.

def found_by(said):
    return sorted((Finding(*(one[name] for name in Finding._fields)) for one in said["problems"]), key=str)


def check_report(folder, findings, arguments):
    """Asks for JSON. Returns it, or None, and what is wrong with it."""
    before = folder.names()
    run = folder.check("--json", INPUT, *arguments)
    faults = differs("exit status", 1 if findings else 0, run.returncode) + differs("standard error", b"", run.stderr)
    faults += differs("files", before, folder.names())
    try:
        said = json.loads(run.stdout)
    except ValueError as error:
        return None, faults + [f"no JSON: {error}"]
    expected = sorted(findings, key=str)
    found = found_by(said)
    faults += [f"not found: {tuple(one)}" for one in expected if one not in found]
    faults += [f"found: {tuple(one)}" for one in found if one not in expected]
    faults += [f"found more than once: {tuple(one)}" for one in sorted(set(found)) if found.count(one) > 1]
    return said, faults


def check_verdict(said, is_stopped):
    return (differs("verdict", "stops" if is_stopped else "converts", said["verdict"])
            + differs("exit status foretold", 255 if is_stopped else 0, said["run"]["exit"]))
