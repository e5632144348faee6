"""Runs of the check and of the tool in scratch folders, and what the scripts by hand beside this one have in common."""
import os
import shutil
import subprocess
import tempfile
from pathlib import Path

INPUT, OUTPUT, WORK_FILE, GOOD, REJECTED = "input.ldif", "output.ldif", "input.ldif.tmp", "good.ldif", "rejected.ldif"
NOBODY = 65534
TIME_LIMIT = 60     # seconds for one run

programs = {}   # paths, by name
scratch = None  # folder


class Folder:
    """A scratch folder with an input, gone at the end."""
    def __init__(self, text=None):
        self.text = text

    def __enter__(self):
        self.path = Path(tempfile.mkdtemp(dir=scratch))
        if self.text is not None:
            self.write(INPUT, self.text)
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
