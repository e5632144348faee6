"""Files that something else changes under a run: the run notices it, and never ends as if nothing had been.

usage: test_changing_files.py TOOL INJECT_LIBRARY

The runs are stopped while they read, and their files are changed then.
"""
import os
import shutil
import subprocess
import time

import scratch
from exports import credentials, padding, unit, users
from scratch import OPENING, PREPARATION, READING, WRITING

WORK_FILE = "input.ldif.tmp"
SLOTS = ("1", "10")
LONG_AGO = (10**9, 10**9)  # seconds; so that a time that is taken now is another one

INPUT_CHANGED = "The input file input.ldif could not be prepared: it has changed while it was read"
WORK_FILE_CHANGED = f"The next entry of the work file {WORK_FILE} could not be read: something else has changed it"
WORK_FILE_MISSING = f"The file {WORK_FILE} could not be opened: No such file or directory"


class ChangingFiles(scratch.ScratchTest):
    def empty(self, name):
        os.truncate(self.file(name), 0)

    def cut(self, name):
        os.truncate(self.file(name), self.file(name).stat().st_size // 2)

    def append(self, name):
        with open(self.file(name), "ab") as file:
            file.write(credentials("appended").encode())

    def touch(self, name):
        os.utime(self.file(name))

    def overwrite(self, name):
        with open(self.file(name), "r+b") as file:
            file.write(b"DN")

    def replace(self, name):
        """By a file that differs in nothing."""
        shutil.copy2(self.file(name), self.file("replacement"))
        os.replace(self.file("replacement"), self.file(name))

    def remove(self, name):
        self.file(name).unlink()

    def prepare(self):
        self.empty_folder()
        self.write("input.ldif", self.export)
        os.utime(self.file("input.ldif"), LONG_AGO)

    def convert(self):
        self.prepare()
        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", *SLOTS))
        return self.output()

    def changed(self, call, file, number, change):
        """The result of a run behind one of whose calls a file is changed; none when there is no such call."""
        self.prepare()
        process = self.start("input.ldif", "output.ldif", *SLOTS, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             fault={"call": call, "file": file, "number": number, "stop": 1})
        stopped = False
        for _ in self.stops(process):
            stopped = True
            if self.file(file).exists():
                change(file)
        run = self.result(process)
        return run if stopped else None

    def each_change(self, call, file, changes, check):
        for change in changes:
            for number in range(1, 1000):
                with self.subTest(change=change.__name__, call=call, number=number):
                    run = self.changed(call, file, number, change)
                    if run is not None:
                        check(change, number, run)
                if run is None:
                    self.assertGreater(number, 3)
                    break


class AnInputThatChanges(ChangingFiles):
    def setUp(self):
        super().setUp()
        # Half of it is in the middle of an entry that may end anywhere.
        self.export = users(3) + unit(*padding(600_000)) + credentials("web")

    def assertNoticed(self, run):
        self.assertFailedCleanly(run, PREPARATION, INPUT_CHANGED)

    def test_ends_the_run(self):
        changes = (self.empty, self.cut, self.append, self.touch, self.overwrite, self.replace)
        self.each_change("read", "input.ldif", changes, lambda change, number, run: self.assertNoticed(run))

    def test_ends_the_run_when_it_shrinks_before_a_read(self):
        for number in range(1, 100):
            for length in ({}, {"length": 0}, {"length": 1000}):
                with self.subTest(number=number, **length):
                    self.prepare()
                    fault = {"call": "read", "file": "input.ldif", "number": number, "shrink": "input.ldif",
                             "report": "report", **length}
                    run = self.run_tool("input.ldif", "output.ldif", *SLOTS, fault=fault)
                    delivered = self.content("report") == b"delivered"
                    if delivered:
                        self.assertNoticed(run)
            if not delivered:
                self.assertGreater(number, 3)
                break

    def test_ends_a_run_that_is_slow(self):
        """Held by a tracer, without a library of ours in the run."""
        if shutil.which("strace") is None:
            self.skipTest("strace is not installed")
        tracer = ("strace", "-f", "-o", os.devnull, "-P", str(self.file("input.ldif")), "-e", "trace=read,pread64",
                  "-e", "inject=read,pread64:delay_enter=700000:when=2")
        self.prepare()
        if self.run_tool(command=("strace", "-o", os.devnull)).status != 0:
            self.skipTest("this user may not trace")
        for change in (self.cut, self.append, self.touch, self.replace):
            with self.subTest(change=change.__name__):
                self.prepare()
                process = self.start("input.ldif", "output.ldif", *SLOTS, command=tracer, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE)
                self.addCleanup(self.end, process)
                self.wait_for(self.file(WORK_FILE).exists, "the work file", process)
                time.sleep(0.1)
                change("input.ldif")
                process.wait(scratch.TIMEOUT)
                self.assertNoticed(self.result(process))


class AWorkFileThatChanges(ChangingFiles):
    def setUp(self):
        super().setUp()
        self.export = users(7, *padding(4_000)) + credentials("web", *padding(300_000)) + credentials("last")
        self.expected = self.convert()
        self.noticed = 0

    def check(self, change, run):
        """Either the change came too late to matter, or it was noticed."""
        if run.status == 0:
            self.assertSucceeded(run)
            self.assertOutput(self.expected)
            return
        self.noticed += 1
        expected = WORK_FILE_MISSING if change == self.remove else WORK_FILE_CHANGED
        self.assertFailedCleanly(run, OPENING if change == self.remove else READING, expected)

    def test_between_two_passes_ends_the_run(self):
        for change in (self.empty, self.cut, self.append, self.replace, self.remove):
            self.noticed = 0
            self.each_change("close", WORK_FILE, (change,), lambda change, number, run: self.check(change, run))
            with self.subTest(change=change.__name__):
                self.assertGreaterEqual(self.noticed, 7)  # as many as there are passes

    def test_in_a_pass_does_not_spoil_the_output(self):
        def check(change, _, run):
            if run.status == 0:
                self.assertSucceeded(run)
                self.assertOutput(self.expected)
            else:
                self.noticed += 1
                self.assertEqual(run.status, 255)
                self.assertNotEqual(run.errors, "")

        for change in (self.empty, self.cut, self.append, self.replace, self.remove):
            self.noticed = 0
            self.each_change("read", WORK_FILE, (change,), check)
            with self.subTest(change=change.__name__):
                self.assertGreater(self.noticed, 0)


class AFileThatIsBeingWritten(ChangingFiles):
    """Writing goes on at the place that the run has reached: what was cut off before would be filled with NULs."""

    def setUp(self):
        super().setUp()
        self.export = users(60, *padding(3_500)) + credentials("web", *padding(300_000)) + credentials("last")
        self.expected = self.convert()

    def test_is_missed_when_it_is_the_work_file(self):
        def check(_change, number, run):
            if run.status == 0:  # nothing more was to be read
                self.assertGreater(number, 10)
                self.assertOutput(self.expected)
                return
            self.assertEqual(run.status, 255)
            self.assertRegex(run.errors, rf"^tqldif2v6: ({OPENING}|{WRITING}|{READING}) ERROR: [^\n]*\n$")

        # The first writes are those of the preparation.
        self.each_change("write", WORK_FILE, (self.empty, self.cut, self.append, self.replace, self.remove), check)

    def test_is_missed_when_it_is_the_output(self):
        def check(_change, _number, run):
            self.assertFailedCleanly(run, WRITING, "Writing to the file output.ldif failed: ")

        self.each_change("write", "output.ldif", (self.empty, self.cut, self.append, self.replace, self.remove), check)


if __name__ == "__main__":
    scratch.main()
