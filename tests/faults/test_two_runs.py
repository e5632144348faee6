"""Runs that share a file do so one at a time: the second is refused and changes nothing.

usage: test_two_runs.py TOOL INJECT_LIBRARY [PAIRS]   (pairs of runs that start together, of each kind; default 30)
"""
import fcntl
import os
import signal
import subprocess
import sys

import scratch
from exports import everything, unit, users
from scratch import COPY, OPENING

WORK_FILE = "input.ldif.tmp"
IN_USE = "another run is using it"
# One run may open a new file that another one, refused, takes away again.
REFUSED = (rf"^tqldif2v6: {OPENING} ERROR: The file \S+ could not be opened: "
           rf"({IN_USE}|something else has replaced it)\n$")
SLOTS = ("1", "20")  # several passes
IN_THE_PASSES = {"call": "mmap", "file": ".tmp", "stop": 1}

# Waits until the other end of an inherited pipe is closed.
AT_THE_GATE = 'read -r line <&"$1"; shift; exec "$@"'

pairs = 30


class ASecondRun(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        self.write("input.ldif", everything())
        self.assertConverts()
        self.expected = self.output()
        self.write("other.ldif", users(3))

    def assertConverts(self):
        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", *SLOTS))

    def is_locked(self, name="input.ldif"):
        with open(self.file(name), "rb") as file:
            try:
                fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                return True
        return False

    def assertRefused(self, name, *arguments):
        before = self.snapshot()
        run = self.run_tool(*(arguments or ("input.ldif", "output.ldif", *SLOTS)))
        self.assertFailedCleanly(run, OPENING)
        self.assertEqual(run.errors, f"tqldif2v6: {OPENING} ERROR: The file {name} could not be opened: {IN_USE}\n")
        self.assertEqual(self.snapshot(), before)

    def test_is_refused_in_every_moment_of_the_first(self):
        for step in ("open", "fstat", "lseek", "mmap", "read", "write", "close"):
            for number in range(1, 1000):
                with self.subTest(step=step, number=number):
                    process = self.start("input.ldif", "output.ldif", *SLOTS, stderr=subprocess.PIPE,
                                         fault={"call": step, "number": number, "stop": 1})
                    stopped = False
                    for _ in self.stops(process):
                        stopped = True
                        if self.is_locked():
                            self.assertRefused("input.ldif")
                        else:  # it has not begun with its files, or has ended with them
                            self.assertFalse(self.file(WORK_FILE).exists())
                            self.assertConverts()
                            self.assertOutput(self.expected)
                    self.assertEqual((self.result(process).errors, process.returncode), ("", 0))
                    self.assertOutput(self.expected)
                if not stopped:
                    self.assertGreater(number, 1)
                    break

    def test_is_refused_whatever_file_it_shares(self):
        self.file("alias.ldif").symlink_to("input.ldif")
        os.link(self.file("input.ldif"), self.file("hard.ldif"))
        self.file("alias of output").symlink_to("output.ldif")
        self.write("third.ldif", unit())
        cases = [
            ("alias.ldif", ("alias.ldif", "new")), ("hard.ldif", ("hard.ldif", "new")),
            ("output.ldif", ("other.ldif", "output.ldif")), ("alias of output", ("other.ldif", "alias of output")),
            ("output.ldif", ("output.ldif", "new")), (WORK_FILE, (WORK_FILE, "new")),
            (WORK_FILE, ("other.ldif", WORK_FILE)), ("trace", ("other.ldif", "trace")), (COPY, ("other.ldif", COPY)),
            ("input.ldif", ("other.ldif", "input.ldif")), ("trace", ("other.ldif", "new", "10", "10", "trace")),
            ("output.ldif", ("other.ldif", "new", "10", "10", "output.ldif")),
        ]
        process = self.start("input.ldif", "output.ldif", *SLOTS, "trace",
                             fault={"call": "read", "file": ".tmp", "lasting": 1, "stop": 1})
        held = 0
        for _ in self.stops(process):
            if not self.file(COPY).exists() or self.file(COPY).stat().st_size == 0:
                continue
            held += 1
            if held > 1:
                continue
            for name, arguments in cases:
                with self.subTest(arguments=arguments):
                    self.assertRefused(name, *(arguments + ("10", "10"))[:max(4, len(arguments))])
            with self.subTest("the place of the copy"):
                self.check_the_copy()
        self.assertGreater(held, 0)
        self.assertEqual(process.returncode, 0)
        self.assertOutput(self.expected)

    def check_the_copy(self):
        """The one file that a run can do without."""
        copy = self.content(COPY)
        run = self.run_tool("third.ldif", "third output", "10", "10", "third trace")
        if run.status == 0:
            self.assertIn(f"main():  The copy could not be made:  {IN_USE}  \n", self.content("third trace").decode())
        else:
            self.assertFailedCleanly(run, OPENING, f"The file {COPY} could not be opened: {IN_USE}")
        self.assertEqual(self.content(COPY), copy)

    def test_is_refused_when_its_work_file_is_the_output_of_the_first(self):
        self.write("kept.ldif", "of another day\n")
        process = self.start("input.ldif", "other.ldif.tmp", *SLOTS, fault=IN_THE_PASSES)
        stopped = False
        for _ in self.stops(process):
            stopped = True
            for output in ("new.ldif", "kept.ldif"):
                with self.subTest(output=output):
                    self.assertRefused("other.ldif.tmp", "other.ldif", output, *SLOTS)
        self.assertTrue(stopped)
        self.assertEqual(process.returncode, 0)
        self.assertOutput(self.expected, "other.ldif.tmp")

    def test_takes_no_file_away_from_the_one_that_refuses_it(self):
        """It has made the output, which is empty, but the other run has locked it before."""
        met = 0
        for number in range(1, 1000):
            with self.subTest(opening=number):
                self.file("output.ldif").unlink(missing_ok=True)
                refused = self.start("other.ldif", "output.ldif", *SLOTS, stderr=subprocess.PIPE,
                                     fault={"call": "open", "number": number, "stop": 1})
                stopped = False
                converting = None
                for _ in self.stops(refused):
                    stopped = True
                    if self.file("output.ldif").exists() and not self.is_locked("output.ldif"):
                        converting = self.start("input.ldif", "output.ldif", *SLOTS, stderr=subprocess.PIPE,
                                                fault={"call": "read", "file": "input.ldif", "stop": 1})
                        self.addCleanup(self.end, converting)
                        os.waitpid(converting.pid, os.WUNTRACED)
                        self.assertTrue(self.is_locked("output.ldif"))
                if converting is not None:
                    converting.send_signal(signal.SIGCONT)
                    converting.wait(scratch.TIMEOUT)
                    self.assertRegex(self.result(refused).errors, REFUSED)
                    self.assertEqual((self.result(converting).errors, converting.returncode), ("", 0))
                    self.assertOutput(self.expected)
                    met = number
            if not stopped:
                break
        self.assertGreater(met, 0)

    def test_starts_when_the_first_has_been_killed(self):
        process = self.start("input.ldif", "output.ldif", *SLOTS, fault=IN_THE_PASSES)
        for _ in self.stops(process):
            self.assertRefused("input.ldif")
            process.kill()
        self.file(WORK_FILE).unlink()
        self.assertConverts()
        self.assertOutput(self.expected)


class AFileThatCannotBeLocked(scratch.ScratchTest):
    def test_is_refused(self):
        for name in ("input.ldif", "output.ldif", WORK_FILE, "trace"):
            with self.subTest(file=name):
                self.write("input.ldif", everything())
                for other in ("output.ldif", WORK_FILE, "trace", COPY):
                    self.write(other, unit() if other == WORK_FILE else "of another day\n")
                before = self.snapshot()
                run = self.run_tool(*scratch.ARGUMENTS, "trace",
                                    fault={"call": "flock", "file": name, "errno": "ENOLCK"})
                self.assertFailedCleanly(run, OPENING, f"The file {name} could not be opened: No locks available")
                after = self.snapshot()
                if name != "trace":  # which tells of what comes behind its own opening
                    before["trace"] = after["trace"]
                self.assertEqual(after, before)


class RunsThatStartTogether(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        self.write("input.ldif", users(200))
        self.write("other.ldif", users(200, "mail: other"))
        self.inputs = {name: self.content(name) for name in ("input.ldif", "other.ldif")}
        self.expected = {}
        for name in self.inputs:
            self.assertSucceeded(self.run_tool(name, "output.ldif", "20", "20"))
            self.expected[name] = self.output()
        self.file("alias.ldif").symlink_to("input.ldif")
        self.expected["alias.ldif"] = self.expected["input.ldif"]

    def start_together(self, *commands):
        """Their results; with slots for some passes."""
        reading, writing = os.pipe()
        processes = [self.start(*command, "20", "20", command=("sh", "-c", AT_THE_GATE, "sh", str(reading)),
                                pass_fds=[reading], stderr=subprocess.PIPE) for command in commands]
        os.close(reading)
        os.close(writing)
        for process in processes:
            process.wait(scratch.TIMEOUT)
        return [self.result(process) for process in processes]

    def check(self, *commands):
        """One run at least gives the right output, and the others too or they change nothing."""
        refused = 0
        for pair in range(pairs):
            with self.subTest(commands=commands, pair=pair):
                for name in ("output.ldif", "second.ldif"):
                    self.file(name).unlink(missing_ok=True)
                converted = {}
                for (name, output), run in zip(commands, self.start_together(*commands)):
                    if run.status == 0:
                        self.assertEqual(run.errors, "")
                        converted.setdefault(output, []).append(self.expected[name])
                    else:
                        self.assertEqual(run.status, 255)
                        self.assertRegex(run.errors, REFUSED)
                        refused += 1
                self.assertTrue(converted, "all runs were refused")
                for name, contents in converted.items():
                    self.assertTrue(self.output(name) in contents, f"{name} is of no run")
                for name, content in self.inputs.items():
                    self.assertEqual(self.content(name), content)
                self.assertEqual(set(os.listdir(self.folder)), {*self.inputs, "alias.ldif", *converted})
        self.assertGreater(refused, 0)

    def test_by_the_same_command_line(self):
        self.check(("input.ldif", "output.ldif"), ("input.ldif", "output.ldif"))
        self.check(*[("input.ldif", "output.ldif")] * 4)

    def test_with_one_output(self):
        self.check(("input.ldif", "output.ldif"), ("other.ldif", "output.ldif"))

    def test_with_one_input_of_two_names(self):
        self.check(("input.ldif", "output.ldif"), ("alias.ldif", "second.ldif"))


if __name__ == "__main__":
    if sys.argv[-1].isdigit():
        pairs = int(sys.argv.pop())
    scratch.main()
