"""What the scripts beside this one share: runs of the tool in a scratch folder, and what a clean failure is.

A script that calls main() takes the paths of the tool and of the inject library, and ends with 77 when this machine
or user does not let it test everything.
"""
import io
import os
import re
import signal
import stat
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from typing import NamedTuple

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import skips  # noqa: E402  (one folder up)

tool = ""
library = ""
sanitizer = ""  # the runtime that a sanitized tool needs to be loaded first

# Thousands of runs are too many for a disk.
FOLDER = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None

MEMORY, POSITION, PROCESSING, OCCUPIED, OPENING, PREPARATION, WRITING, READING, USAGE, COMPLETE = (
    f"3809283{number}" for number in ("00", "01", "02", "03", "04", "05", "06", "07", "14", "15"))

# The ways in which a run can go about its work file, as settings of the inject library: by the notes with the text
# mapped into memory; by the notes, reading entry after entry, where the text cannot be mapped; and by reading all of it
# in every pass, where there is no room for notes.
BY_MAPPED_TEXT = {}
BY_NOTES = {"without": "mmap", "without_file": ".tmp"}
BY_READING = {"without": "mmap"}
ROADS = (BY_MAPPED_TEXT, BY_NOTES, BY_READING)

COPY = "TEMPORARY_INPUT_LDIF_FILE"
ARGUMENTS = ("input.ldif", "output.ldif", "10", "10")
NOBODY = 65534
TIMEOUT = 30  # seconds for one run


class Run(NamedTuple):
    status: int  # negative: ended by this signal
    notices: str
    errors: str


def environment(fault=None, echo=False):
    """The environment of a run; a fault is made of settings of the inject library."""
    # What a build that measures coverage is told must reach it.
    result = {name: value for name, value in os.environ.items() if name == "PATH" or name.startswith("GCOV_")}
    if sanitizer:
        result["ASAN_OPTIONS"] = "detect_leaks=0"  # a run that fails gives nothing back
    if echo:
        result["DEBUG_ERROR"] = ""
    if fault is not None:
        result["LD_PRELOAD"] = " ".join(filter(None, (sanitizer, library)))
        result |= {f"FAULT_{name.upper()}": str(value) for name, value in fault.items()}
    return result


class ScratchTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(dir=FOLDER)
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def file(self, name):
        return self.folder / os.fsdecode(name)

    def content(self, name):
        return self.file(name).read_bytes()

    def write(self, name, text, mode=0o600):
        self.file(name).write_bytes(text.encode())
        self.file(name).chmod(mode)

    def output(self, name="output.ldif"):
        """What a run has written, without the times at which it wrote."""
        return re.sub(rb"installDate: \d{14}", b"", self.content(name))

    def empty_folder(self):
        for path in self.folder.iterdir():
            if path.is_dir() and not path.is_symlink():
                subprocess.run(["rm", "-rf", path], check=True)
            else:
                path.unlink()

    def snapshot(self):
        """All there is in the folder: kinds and permissions, contents, targets of links."""
        files = {}
        for path in self.folder.rglob("*"):
            mode = path.lstat().st_mode
            content = os.readlink(path) if stat.S_ISLNK(mode) else path.read_bytes() if stat.S_ISREG(mode) else None
            files[str(path.relative_to(self.folder))] = (oct(mode), content)
        return files

    def start(self, *arguments, fault=None, echo=False, command=(), **options):
        """Starts the tool, or a command that is given the tool's command line."""
        options = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL} | options
        process = subprocess.Popen([*command, tool, *(arguments or ARGUMENTS)], cwd=self.folder,
                                   stdin=subprocess.DEVNULL, env=environment(fault, echo), **options)
        for stream in filter(None, (process.stdout, process.stderr)):
            self.addCleanup(stream.close)
        return process

    @staticmethod
    def end(process):
        """Ends a run that has not ended."""
        process.kill()
        process.wait()

    def run_tool(self, *arguments, **options):
        process = self.start(*arguments, **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | options)
        try:
            notices, errors = process.communicate(timeout=TIMEOUT)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            self.fail(f"the run does not end: {arguments}")
        return Run(process.returncode, (notices or b"").decode("latin-1"), (errors or b"").decode("latin-1"))

    @staticmethod
    def result(process):
        """The result of a run that has ended; what it wrote to pipes must have fitted into them."""
        texts = []
        for stream in (process.stdout, process.stderr):
            with stream or io.BytesIO() as pipe:
                texts.append(pipe.read().decode("latin-1"))
        return Run(process.returncode, *texts)

    def wait_for(self, condition, what, process=None):
        """Waits until a condition holds; fails when the run ends before, or when it takes too long."""
        end = time.monotonic() + TIMEOUT
        while not condition():
            self.assertTrue(process is None or process.poll() is None, f"the run ended before {what}")
            self.assertLess(time.monotonic(), end, f"waited in vain for {what}")
            time.sleep(0.001)

    def stops(self, process):
        """Continues a run that is told to stop at calls of a kind whenever it has stopped; yields before."""
        try:
            while True:
                _, status = os.waitpid(process.pid, os.WUNTRACED)
                if not os.WIFSTOPPED(status):
                    process.returncode = os.waitstatus_to_exitcode(status)
                    process.leftCore = os.WCOREDUMP(status)
                    return
                yield
                os.kill(process.pid, signal.SIGCONT)  # without asking whether it has ended
        finally:
            if process.returncode is None:
                process.kill()
                process.wait()

    def assertOutput(self, expected, name="output.ldif"):
        self.assertTrue(self.output(name) == expected, f"{name} differs")  # which would be too long to show

    def assertSucceeded(self, run):
        self.assertEqual((run.status, run.errors), (0, ""))
        self.assertIn(COMPLETE, run.notices)

    def assertFailedCleanly(self, run, code, *texts):
        """Ended with 255 and one message of this code that holds these texts."""
        self.assertEqual(run.status, 255, run.errors)
        lines = run.errors.split("\n")
        self.assertRegex(lines[0], rf"^tqldif2v6: {code} ERROR: ")
        for text in texts:
            self.assertIn(text, lines[0])
        if code == USAGE:
            self.assertRegex(lines[1], "^usage: ")
            self.assertEqual([line for line in lines[1:] if "tqldif2v6: " in line], [])
        else:
            self.assertEqual(lines[1:], [""])
        self.assertNotIn(COMPLETE, run.notices)


def sanitizer_of(program):
    """The path of the sanitizer runtime that the program is linked with; empty for none."""
    libraries = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
    found = re.search(r"libasan\S* => (\S+)", libraries)
    return found[1] if found else ""


def use(program, inject_library):
    global tool, library, sanitizer
    tool, library = (str(Path(path).resolve()) for path in (program, inject_library))
    sanitizer = sanitizer_of(tool)


def main():
    # What whoever started the tests ignores would be ignored by the runs, too.
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        if signal.getsignal(number) == signal.SIG_IGN:
            signal.signal(number, signal.SIG_DFL)
    use(sys.argv.pop(1), sys.argv.pop(1))
    skips.main()
