"""What was there when a run could not begin is there unchanged behind it.

usage: test_refused_runs.py TOOL INJECT_LIBRARY
"""
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import scratch
from exports import everything
from scratch import COPY, NOBODY, OPENING, PREPARATION, USAGE, WRITING

WORK_FILE = "input.ldif.tmp"
NOT_WRITABLE = " (the input must be writable, although it is never changed)\n"
OF_ANOTHER_DAY = "of another day\n"


class ARefusedRun(scratch.ScratchTest):
    def prepare(self, *existing):
        self.empty_folder()
        self.write("input.ldif", everything())
        for name in existing:
            self.write(name, OF_ANOTHER_DAY)

    def assertRefused(self, reason, *arguments, code=OPENING, created=(), **options):
        """Nothing that was there is changed, and nothing is created."""
        before = self.snapshot()
        run = self.run_tool(*(arguments or scratch.ARGUMENTS), **options)
        self.assertFailedCleanly(run, code, reason)
        after = self.snapshot()
        self.assertEqual({name: after.get(name) for name in before}, before)
        self.assertLessEqual(after.keys() - before.keys(), set(created))
        return run


class RefusedRuns(ARefusedRun):
    def test_change_no_output_when_the_input_cannot_be_had(self):
        def mkfifo():
            self.file("input.ldif").unlink()
            os.mkfifo(self.file("input.ldif"))

        def mkdir():
            self.file("input.ldif").unlink()
            self.file("input.ldif").mkdir()

        obstacles = {"missing": lambda: self.file("input.ldif").unlink(), "a folder": mkdir, "a pipe": mkfifo}
        for kind, lay in obstacles.items():
            for trace in ((), ("trace",)):
                with self.subTest(input=kind, trace=trace):
                    self.prepare("output.ldif")
                    lay()
                    # A trace may tell of it.
                    self.assertRefused("The file input.ldif could not be opened: ", *scratch.ARGUMENTS, *trace,
                                       created=trace)

    def test_change_no_output_when_a_call_fails_before_they_begin(self):
        for name in ("input.ldif", WORK_FILE, "output.ldif"):
            for call in ("open", "flock"):
                with self.subTest(file=name, call=call):
                    self.prepare("output.ldif")
                    self.assertRefused(f"The file {name} could not be opened: Permission denied",
                                       fault={"call": call, "file": name, "errno": "EACCES"}, created=(WORK_FILE,))

    def test_create_nothing_by_a_usage_error(self):
        """Whatever turns out first: none of the new files stays."""
        for arguments in (("input.ldif", "new", "10", "10", "new"), ("input.ldif", "new", "10", "10", WORK_FILE),
                          ("input.ldif", "new", "10", "10", "input.ldif"), ("input.ldif", WORK_FILE, "10", "10", "new"),
                          ("input.ldif", "new", "10", "10", COPY)):
            with self.subTest(arguments=arguments):
                self.prepare()
                self.assertRefused("two names lead to the same file: ", *arguments, code=USAGE)
        self.prepare("output.ldif")
        with open(self.file("output.ldif"), "ab") as stream:
            for trace in ((), ("new",)):
                self.assertRefused("standard output leads to the file output.ldif", *scratch.ARGUMENTS, *trace,
                                   code=USAGE, stdout=stream)
        with open(self.file("trace"), "ab") as stream:
            self.assertRefused("standard output leads to the file trace", "input.ldif", "new", "10", "10", "trace",
                               code=USAGE, stdout=stream)


@unittest.skipUnless(os.geteuid() == 0, "only root can try as another user")
class AnInputOfAnotherUser(ARefusedRun):
    def setUp(self):
        super().setUp()
        # The other user may not be able to reach the tool where it is.
        tools = tempfile.TemporaryDirectory()
        self.addCleanup(tools.cleanup)
        Path(tools.name).chmod(0o755)
        self.copied_tool = str(shutil.copy(scratch.tool, tools.name))
        os.chmod(self.copied_tool, 0o755)
        self.folder.chmod(0o777)

    def run_as_nobody(self, *arguments):
        run = subprocess.run([self.copied_tool, *(arguments or scratch.ARGUMENTS)], cwd=self.folder, user=NOBODY,
                             group=NOBODY, extra_groups=[], stdin=subprocess.DEVNULL, capture_output=True, check=False,
                             env=scratch.environment())
        return scratch.Run(run.returncode, run.stdout.decode(), run.stderr.decode())

    def check(self, mode, reason):
        self.prepare()
        self.file("input.ldif").chmod(mode)
        self.write("output.ldif", OF_ANOTHER_DAY)
        os.chown(self.file("output.ldif"), NOBODY, NOBODY)
        before = self.snapshot()
        run = self.run_as_nobody()
        self.assertFailedCleanly(run, OPENING)
        self.assertEqual(run.errors, f"tqldif2v6: {OPENING} ERROR: The file input.ldif could not be opened: "
                                     f"Permission denied{reason}")
        self.assertEqual(self.snapshot(), before)

    def test_is_refused_with_what_can_be_done_about_it(self):
        for mode in (0o644, 0o444, 0o604):
            with self.subTest(mode=oct(mode)):
                self.check(mode, NOT_WRITABLE)
        for mode in (0o600, 0o602, 0o000):
            with self.subTest(mode=oct(mode)):
                self.check(mode, "\n")


class ALinkThatIsLaidInTheMeantime(scratch.ScratchTest):
    """Between the look at a file and its opening, the output becomes another name of the input."""
    STEPS = ("open", "fstat", "fcntl", "flock", "lseek", "ftruncate", "read", "close")

    def lay(self, link):
        self.file("output.ldif").unlink(missing_ok=True)
        link(self.file("input.ldif"), self.file("output.ldif"))

    def check(self, link, existing):
        refused = 0
        for step in self.STEPS:
            for number in range(1, 1000):
                with self.subTest(link=link.__name__, existing=existing, step=step, number=number):
                    self.empty_folder()
                    self.write("input.ldif", everything())
                    if existing:
                        self.write("output.ldif", OF_ANOTHER_DAY)
                    process = self.start(fault={"call": step, "number": number, "stop": 1}, stderr=subprocess.PIPE)
                    stopped = False
                    for _ in self.stops(process):
                        stopped = True
                        self.lay(link)
                    run = self.result(process)
                    self.assertEqual(self.content("input.ldif").decode(), everything())
                    if run.status != 0:
                        self.assertEqual(run.status, 255)
                        self.assertRegex(run.errors, rf"^tqldif2v6: ({OPENING}|{PREPARATION}|{WRITING}|{USAGE}) ERROR: ")
                        refused += 1
                if not stopped:
                    break
        self.assertGreater(refused, 0)

    def test_never_leads_to_the_input(self):
        for link in (os.symlink, os.link):
            for existing in (False, True):
                self.check(link, existing)


if __name__ == "__main__":
    scratch.main()
