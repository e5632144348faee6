"""Runs that are interrupted behind every step that they make with a file, and what they leave behind.

usage: test_interrupted_steps.py TOOL INJECT_LIBRARY
"""
import os
import signal

import scratch
from exports import credentials, everything
from scratch import COPY

STEPS = ("open", "fstat", "flock", "lseek", "mmap", "ftruncate", "read", "write", "fsync", "close", "unlink")
ARGUMENTS = ("input.ldif", "output.ldif", "1", "1")  # several passes
WORK_FILE = "input.ldif.tmp"


class Interruption(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        # The work file goes beyond what is held in memory of it.
        self.export = everything() + credentials("big", *["description: " + "x" * 80] * 3500)
        self.write("input.ldif", self.export)
        self.assertSucceeded(self.run_tool(*ARGUMENTS))
        self.expected = self.output()

    def at_each_step(self, numbers, check, *trace, **options):
        """Stops a run behind every step, sends it these signals, and has a check look at how it ended."""
        for step in STEPS:
            for number in range(1, 1000):
                with self.subTest(signals=numbers, step=step, number=number):
                    process = self.start(*ARGUMENTS, *trace, fault={"call": step, "number": number, "stop": 1},
                                         **options)
                    had_work_file = None
                    for _ in self.stops(process):
                        had_work_file = self.file(WORK_FILE).exists()
                        for signal_number in numbers:
                            process.send_signal(signal_number)
                    if had_work_file is not None:
                        self.assertEqual(self.content("input.ldif").decode(), self.export)
                        check(process.returncode, had_work_file)
                if had_work_file is None:
                    # A traced run maps and removes nothing.
                    self.assertEqual(number == 1, step in ("mmap", "unlink") and trace != (), f"steps: {step}")
                    break
            self.tidy()

    def files(self):
        return set(os.listdir(self.folder))

    def tidy(self):
        for name in (WORK_FILE, "trace", COPY):
            self.file(name).unlink(missing_ok=True)

    def assertConverts(self):
        self.assertSucceeded(self.run_tool(*ARGUMENTS))
        self.assertEqual(self.output(), self.expected)

    def test_takes_the_work_file_away_and_ends_by_the_signal(self):
        for numbers in ((signal.SIGINT,), (signal.SIGTERM,), (signal.SIGHUP,), (signal.SIGINT, signal.SIGTERM),
                        (signal.SIGTERM, signal.SIGTERM)):
            def check(status, _, numbers=numbers):
                self.assertIn(-status, numbers)
                self.assertLessEqual(self.files(), {"input.ldif", "output.ldif"})
                self.assertConverts()

            self.at_each_step(numbers, check)

    def test_by_kill_leaves_a_work_file_at_most(self):
        def check(status, _):
            self.assertEqual(status, -signal.SIGKILL)
            self.assertLessEqual(self.files(), {"input.ldif", "output.ldif", WORK_FILE})
            self.tidy()
            self.assertConverts()

        self.at_each_step((signal.SIGKILL,), check)

    def test_of_a_traced_run_leaves_the_work_file(self):
        def check(status, had_work_file):
            self.assertEqual(status, -signal.SIGTERM)
            is_left = self.file(WORK_FILE).exists()
            if had_work_file:
                self.assertTrue(is_left)
            elif is_left:  # signals wait until a file that is being opened is there
                self.assertEqual(self.content(WORK_FILE), b"")
            self.tidy()

        self.at_each_step((signal.SIGTERM,), check, "trace")

    def test_by_a_signal_that_is_ignored_does_nothing(self):
        numbers = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

        def ignore():
            for number in numbers:
                signal.signal(number, signal.SIG_IGN)

        def check(status, _):
            self.assertEqual(status, 0)
            self.assertEqual(self.output(), self.expected)
            self.assertEqual(self.files(), {"input.ldif", "output.ldif"})

        self.at_each_step(numbers, check, preexec_fn=ignore)


class TheEnd(scratch.ScratchTest):
    def test_brings_the_output_and_its_folder_to_the_disk_before_the_work_file_goes(self):
        """What is lost with the power of the machine can be had again, until nothing can be lost any more."""
        self.write("input.ldif", everything())
        self.assertSucceeded(self.run_tool())
        expected = self.output()
        for exists, synced, syncs in ((False, "output.ldif", 1), (False, self.folder.name, 1),
                                      (True, "output.ldif", 1), (True, self.folder.name, 0)):
            with self.subTest(exists=exists, synced=synced):
                self.file("output.ldif").unlink()
                if exists:
                    self.write("output.ldif", "of another day\n")
                process = self.start(fault={"call": "fsync", "file": synced, "number": 1, "lasting": 1, "stop": 1})
                stops = 0
                for _ in self.stops(process):
                    stops += 1
                    self.assertTrue(self.file(WORK_FILE).exists())
                    self.assertOutput(expected)
                self.assertEqual((process.returncode, stops), (0, syncs))
                self.assertFalse(self.file(WORK_FILE).exists())


if __name__ == "__main__":
    scratch.main()
