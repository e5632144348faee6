"""Files that something else changes under a run: the run notices it, and never ends as if nothing had been.

usage: test_changing_files.py TOOL INJECT_LIBRARY

The runs are stopped behind their calls, and their files are changed then.
"""
import os
import random
import shutil
import subprocess
import time

import scratch
from exports import credentials, map_of_user, padding, policy, unit, user, users
from scratch import BY_MAPPED_TEXT, BY_NOTES, BY_READING, OPENING, PREPARATION, READING, ROADS, WRITING

WORK_FILE = "input.ldif.tmp"
SLOTS = ("1", "10")
LONG_AGO = (10**9, 10**9)  # seconds; so that a time that is taken now is another one

INPUT_CHANGED = "The input file input.ldif could not be prepared: it has changed while it was read"
WORK_FILE_CHANGED = f"The next entry of the work file {WORK_FILE} could not be read: something else has changed it"
WORK_FILE_MISSING = f"The file {WORK_FILE} could not be opened: No such file or directory"


class ChangingFiles(scratch.ScratchTest):
    road = BY_MAPPED_TEXT
    least_to_change = 0  # bytes: a file that has fewer is left alone

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

    def changed(self, call, file, number, change, name):
        """The result of a run behind one of whose calls a file is changed; none when there is no such call."""
        self.prepare()
        fault = {"call": call, "number": number, "stop": 1, **self.road} | ({"file": file} if file else {})
        process = self.start("input.ldif", "output.ldif", *SLOTS, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             fault=fault)
        self.left_by_change = None
        stopped = False
        for _ in self.stops(process):
            stopped = True
            if self.file(name).exists() and self.file(name).stat().st_size >= self.least_to_change:
                change(name)
                self.left_by_change = self.content(name) if self.file(name).exists() else b""
        run = self.result(process)
        return run if stopped else None

    def each_change(self, call, file, changes, check, name=None, at_least=3):
        """Changes a file behind each call on a file, by default the same."""
        for change in changes:
            for number in range(1, 1000):
                with self.subTest(change=change.__name__, call=call, number=number, road=self.road):
                    run = self.changed(call, file, number, change, name or file)
                    if run is not None:
                        check(change, number, run)
                if run is None:
                    self.assertGreater(number, at_least)
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
    # What a run does that goes by notes: it opens its file, plans, gathers, writes and copies.
    MOMENTS = (("open", WORK_FILE), ("lseek", WORK_FILE), ("fstat", WORK_FILE), ("mmap", None), ("malloc", None),
               ("write", "output.ldif"), ("close", WORK_FILE))

    def setUp(self):
        super().setUp()
        if scratch.sanitizer:  # which has an allocator of its own
            self.MOMENTS = [moment for moment in self.MOMENTS if moment[0] != "malloc"]
        self.changes = (self.empty, self.cut, self.append, self.replace, self.remove)
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

    def assertNotWrittenTo(self, change):
        """What somebody else has made of it or put there is as they left it, but for entries that are blanked out."""
        left = self.content(WORK_FILE) if change != self.remove else b""
        self.assertEqual(len(left), len(self.left_by_change))
        if change == self.replace:
            self.assertTrue(left == self.left_by_change)
        self.assertFalse(b"\0" in left)

    def test_between_two_passes_ends_the_run(self):
        for self.road in ROADS:
            for change in self.changes:
                self.noticed = 0
                self.each_change("close", WORK_FILE, (change,), lambda change, number, run: self.check(change, run))
                with self.subTest(change=change.__name__):
                    self.assertGreaterEqual(self.noticed, 7)  # as many as there are passes

    def test_in_any_moment_of_a_planned_run_ends_it(self):
        def check(change, _, run):
            if self.left_by_change is None:  # it was not there yet, or not any more
                self.assertSucceeded(run)
                return
            self.check(change, run)
            if run.status != 0:
                self.assertNotWrittenTo(change)

        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", *SLOTS, "trace"))
        self.least_to_change = len(self.content(WORK_FILE))
        for self.road in (BY_MAPPED_TEXT, BY_NOTES):
            for call, file in self.MOMENTS:
                for change in self.changes:
                    self.noticed = 0
                    self.each_change(call, file, (change,), check, name=WORK_FILE)
                    # What is added before the length is taken once more is not looked at.
                    if (call, change) != ("lseek", self.append):
                        with self.subTest(change=change.__name__, call=call, road=self.road):
                            self.assertGreater(self.noticed, 0)

    def test_in_a_pass_that_reads_does_not_spoil_the_output(self):
        def check(_change, _number, run):
            if run.status == 0:
                self.assertSucceeded(run)
                self.assertOutput(self.expected)
            else:
                self.noticed += 1
                self.assertEqual(run.status, 255)
                self.assertNotEqual(run.errors, "")

        for self.road in (BY_NOTES, BY_READING):
            for change in self.changes:
                self.noticed = 0
                self.each_change("read", WORK_FILE, (change,), check)
                with self.subTest(change=change.__name__):
                    self.assertGreater(self.noticed, 0)


class AWorkFileInMemory(ChangingFiles):
    """What somebody else cuts off is lost while the run has it in memory."""

    # The step that tells how long the file is comes before: from here on the run looks at the text alone.
    BEFORE_THE_PASS = {"call": "lseek", "file": WORK_FILE, "number": 2, "shrink": WORK_FILE}

    def setUp(self):
        super().setUp()
        lines = ["description: " + "x" * 3000] * 2
        names = [f"u{i}" for i in range(20)]
        self.export = ("".join(map(user, names)) + "".join(map_of_user(name, *lines) for name in names)
                       + "".join(policy(name, *lines) for name in names) + credentials("web", *lines)
                       + credentials("last"))
        self.prepare()
        self.slots = "30"
        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", self.slots, self.slots))
        self.expected = self.output()

    def run_cut(self, echo=False, **fault):
        self.prepare()
        run = self.run_tool("input.ldif", "output.ldif", self.slots, self.slots, fault={"report": "report", **fault},
                            echo=echo)
        self.assertEqual(self.content("input.ldif").decode(), self.export)
        return run if self.content("report") == b"delivered" else None

    def assertNoticed(self, run):
        self.assertFailedCleanly(run, READING, WORK_FILE_CHANGED)

    def test_may_be_cut_anywhere(self):
        length = len(self.export)
        for self.slots in ("30", "3"):
            for left in sorted({0, *range(1, 4096, 300), *range(4095, length, 8192), *range(4096, length, 8192),
                                *range(4097, length, 20_000)}):
                with self.subTest(left=left, slots=self.slots):
                    self.assertNoticed(self.run_cut(**self.BEFORE_THE_PASS, length=left, echo=left % 2 == 1))
                    self.assertEqual(len(self.content(WORK_FILE)), left)

    def test_may_be_cut_at_any_time(self):
        """While it is gathered, written, or copied."""
        for self.slots in ("30", "3"):
            for call, file in (("malloc", None), ("write", "output.ldif"), ("mmap", None), ("fstat", WORK_FILE)):
                if call == "malloc" and scratch.sanitizer:
                    continue
                for left in (0, 5000, 200_000):
                    noticed = 0
                    for number in range(1, 1000):
                        with self.subTest(call=call, number=number, left=left, slots=self.slots):
                            run = self.run_cut(call=call, number=number, shrink=WORK_FILE, length=left,
                                               **({"file": file} if file else {}))
                            if run is None:
                                break
                            if run.status == 0:  # there was nothing to be cut yet, or it was not needed any more
                                self.assertSucceeded(run)
                                self.assertOutput(self.expected)
                            elif READING in run.errors:
                                self.assertNoticed(run)
                                noticed += 1
                            else:
                                self.assertFailedCleanly(run, WRITING, f"Writing to the file {WORK_FILE} failed: ")
                    self.assertGreater(noticed, 0)

    def test_may_be_cut_where_nothing_more_can_be_mapped(self):
        """Nothing is to be had then that could take the place of what is lost."""
        self.prepare()
        planned = 0
        while self.run_cut(call="mmap", number=planned + 1, stop=0, shrink="no file") is not None:
            planned += 1
        run = self.run_cut(**self.BEFORE_THE_PASS, length=5000, without="mmap", without_from=planned + 1)
        self.assertNoticed(run)

    def test_may_be_cut_and_made_whole_again(self):
        """Nothing can be seen of it then, but what was looked at meanwhile was not there."""
        lines = ["description: " + "x" * 3000] * 6
        self.export = users(20) + map_of_user("a") + user("a", *lines) + credentials("web", *lines)
        self.prepare()
        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", "30", "1", "trace"))
        self.expected, self.least_to_change = self.output(), len(self.content(WORK_FILE))
        for left in (self.least_to_change - 14_000, self.least_to_change - 32_000):
            noticed = 0
            for first in range(1, 1000):
                with self.subTest(first=first, left=left):
                    run = self.cut_and_made_whole(first, left)
                    if run is None:
                        break
                    if run.status == 0:
                        self.assertEqual(run.errors, "")
                        self.assertOutput(self.expected)
                    else:
                        self.assertNoticed(run)
                        noticed += 1
            self.assertGreater(noticed, 0)

    def cut_and_made_whole(self, first, left):
        """Cuts the work file behind this look at it, if it is complete, and makes it whole behind the next one."""
        self.prepare()
        process = self.start("input.ldif", "output.ldif", "30", "1", stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             fault={"call": "fstat", "file": WORK_FILE, "number": first, "lasting": 1, "stop": 1})
        stops, whole = 0, None
        for _ in self.stops(process):
            stops += 1
            if whole is not None and self.file(WORK_FILE).exists():
                self.file(WORK_FILE).write_bytes(whole)
            whole = None
            if stops == 1 and self.file(WORK_FILE).exists() and len(self.content(WORK_FILE)) == self.least_to_change:
                whole = self.content(WORK_FILE)
                os.truncate(self.file(WORK_FILE), left)
        run = self.result(process)
        return run if stops > 0 else None

    def test_may_be_overwritten_without_harm_to_the_machine(self):
        """What was written into it is not told from what was there, but it brings the run down by no signal."""
        numbers = random.Random(1)

        def scribble(name):
            with open(self.file(name), "r+b") as file:
                for _ in range(40):
                    file.seek(numbers.randrange(len(self.export)))
                    file.write(numbers.choice((b"\0" * 300, b"\n", b"\n\n", b"x" * 5000, b":", b"dn: ", b"#", b"\r\n")))
            os.truncate(self.file(name), self.length)

        self.length = None
        for call, file in (("lseek", WORK_FILE), ("write", "output.ldif"), ("fstat", WORK_FILE)):
            for number in range(2, 40):
                with self.subTest(call=call, number=number):
                    self.prepare()
                    process = self.start("input.ldif", "output.ldif", "7", "7", stderr=subprocess.PIPE,
                                         fault={"call": call, "file": file, "number": number, "stop": 1})
                    stopped = False
                    for _ in self.stops(process):
                        stopped = True
                        if self.file(WORK_FILE).exists():
                            self.length = self.file(WORK_FILE).stat().st_size
                            scribble(WORK_FILE)
                    self.assertIn(process.returncode, (0, 255))
                    self.assertEqual(self.content("input.ldif").decode(), self.export)
                if not stopped:
                    break


class AFileThatIsBeingWritten(ChangingFiles):
    """Writing goes on at the place that the run has reached: what was cut off before would be filled with NULs."""

    def setUp(self):
        super().setUp()
        self.changes = (self.empty, self.cut, self.append, self.replace, self.remove)
        self.export = users(60, *padding(3_500)) + credentials("web", *padding(300_000)) + credentials("last")
        self.expected = self.convert()

    def test_is_missed_when_it_is_the_work_file(self):
        def check(_change, number, run):
            if run.status == 0 and self.road == BY_READING:  # nothing more was to be read
                self.assertGreater(number, 10)
                self.assertOutput(self.expected)
                return
            self.assertEqual(run.status, 255)
            self.assertRegex(run.errors, rf"^tqldif2v6: ({OPENING}|{WRITING}|{READING}) ERROR: [^\n]*\n$")

        # The first writes are those of the preparation, and but for a run that reads there are no others.
        for self.road, at_least in ((BY_MAPPED_TEXT, 2), (BY_READING, 10)):
            self.each_change("write", WORK_FILE, self.changes, check, at_least=at_least)

    def test_is_missed_when_it_is_the_output(self):
        def check(_change, _number, run):
            self.assertFailedCleanly(run, WRITING, "Writing to the file output.ldif failed: ")

        self.each_change("write", "output.ldif", self.changes, check)


if __name__ == "__main__":
    scratch.main()
