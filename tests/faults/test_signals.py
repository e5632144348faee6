"""Runs that are told to end: what they say, and that the work file goes even when they are told so more than once.

usage: test_signals.py TOOL INJECT_LIBRARY
"""
import os
import random
import signal
import subprocess
import time
import unittest
from pathlib import Path

import scratch
from exports import everything, padding, users

WORK_FILE = "input.ldif.tmp"
ENDING = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)
LONG = ("input.ldif", "output.ldif", "1", "1")  # as many passes as there are users


def signal_line(number, whole="not "):
    """What is said, in one line that has no number of a message."""
    return (rf"^tqldif2v6: (?!\d)[^\n]*{signal.Signals(number).name}[^\n]*\n$", "input.ldif", "output.ldif",
            f"is {whole}complete")


class Signals(scratch.ScratchTest):
    def assertTold(self, run, *numbers, whole="not "):
        """One of the signals is named, and only that."""
        named = [number for number in set(numbers) if signal.Signals(number).name in run.errors]
        self.assertEqual(len(named), 1, run.errors)
        pattern, *texts = signal_line(named[0], whole)
        self.assertRegex(run.errors, pattern)
        for text in texts:
            self.assertIn(text, run.errors)

    def start_long(self, **options):
        """A run that does not end: it shows more notices than a pipe holds that nobody reads. Returns when its work
        file is there."""
        self.empty_folder()
        self.write("input.ldif", users(1500, *padding(1000)))
        process = self.start(*LONG, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)
        self.addCleanup(self.end, process)
        self.wait_for(self.file(WORK_FILE).exists, "the work file", process)
        return process

    def assertNothingLeft(self):
        self.assertLessEqual(set(os.listdir(self.folder)), {"input.ldif", "output.ldif"})


class ARunThatIsInterrupted(Signals):
    def test_says_so(self):
        for number in ENDING:
            with self.subTest(signal=number):
                process = self.start_long()
                process.send_signal(number)
                process.wait(scratch.TIMEOUT)
                run = self.result(process)
                self.assertEqual(run.status, -number)
                self.assertTold(run, number)
                self.assertNothingLeft()

    def test_says_whether_its_output_is_whole(self):
        self.write("input.ldif", everything())
        self.assertSucceeded(self.run_tool(*LONG))
        expected = self.output()
        said = set()
        for step in ("open", "read", "write", "close", "fsync", "unlink"):
            for number in range(1, 1000):
                with self.subTest(step=step, number=number):
                    self.file("output.ldif").unlink(missing_ok=True)
                    process = self.start(*LONG, stderr=subprocess.PIPE,
                                         fault={"call": step, "number": number, "stop": 1})
                    stopped = False
                    for _ in self.stops(process):
                        stopped = True
                        process.send_signal(signal.SIGTERM)
                    run = self.result(process)
                    if stopped:
                        self.assertEqual(run.status, -signal.SIGTERM)
                        is_whole = "is complete" in run.errors
                        self.assertTold(run, signal.SIGTERM, whole="" if is_whole else "not ")
                        if is_whole:
                            self.assertOutput(expected)
                        said.add(is_whole)
                        self.assertNothingLeft()
                if not stopped:
                    break
        self.assertEqual(said, {False, True})

    def test_says_nothing_where_standard_error_is_closed_or_full(self):
        """And ends all the same; with a standard error that takes it, it says so."""
        for end in ("2>&-", "2>/dev/full", "2>errors"):
            process = self.start_long(command=("sh", "-c", f'exec "$@" {end}', "sh"))
            process.send_signal(signal.SIGTERM)
            process.wait(scratch.TIMEOUT)
            self.assertEqual(process.returncode, -signal.SIGTERM)
            self.assertFalse(self.file(WORK_FILE).exists())
        self.assertRegex(self.content("errors").decode(), signal_line(signal.SIGTERM)[0])


class ASecondSignal(Signals):
    def test_finds_no_moment_in_which_the_work_file_stays(self):
        """The first signal is being dealt with: the run is held before it removes the work file."""
        for first in ENDING:
            for others in ((first,), (signal.SIGTERM,), (signal.SIGINT, signal.SIGHUP, signal.SIGTERM)):
                with self.subTest(first=first, others=others):
                    process = self.start_long(fault={"call": "unlink", "file": WORK_FILE, "stop": "before"})
                    process.send_signal(first)
                    held = 0
                    for _ in self.stops(process):
                        held += 1
                        self.assertTrue(self.file(WORK_FILE).exists())
                        for number in others:
                            process.send_signal(number)
                    run = self.result(process)
                    self.assertEqual(held, 1)
                    self.assertIn(-run.status, {first, *others})
                    self.assertNothingLeft()
                    self.assertTold(run, first, *others)

    def test_may_come_at_any_time(self):
        chance = random.Random(1)
        term, interrupt, hangup = ENDING
        for pair in ((term, term), (term, interrupt), (hangup, term)):
            for number in range(40):
                with self.subTest(signals=pair, number=number):
                    process = self.start_long()
                    time.sleep(chance.uniform(0, 0.01))
                    for each in pair:
                        process.send_signal(each)
                        time.sleep(chance.choice((0, 0, 0.0001)))
                    process.wait(scratch.TIMEOUT)
                    run = self.result(process)
                    self.assertNothingLeft()
                    self.assertIn(-run.status, pair)
                    self.assertTold(run, *pair)


@unittest.skipUnless(os.geteuid() == 0, "only root can make a namespace of processes")
class TheFirstProcessOfANamespace(Signals):
    """No signal ends such a process by itself."""
    unshare = ("unshare", "--pid", "--fork")

    def setUp(self):
        super().setUp()
        if subprocess.run([*self.unshare, "true"], capture_output=True, check=False).returncode != 0:
            self.skipTest("this user may not make a namespace of processes")

    def child_of(self, process):
        children = Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
        self.assertEqual(len(children), 1)
        return int(children[0])

    def check(self, send):
        for number in ENDING:
            with self.subTest(signal=number):
                process = self.start_long(command=self.unshare)
                send(self.child_of(process), number)
                process.wait(scratch.TIMEOUT)
                run = self.result(process)
                self.assertTold(run, number)
                self.assertEqual(run.status, 255)
                self.assertNothingLeft()

    def test_is_ended_from_outside(self):
        self.check(os.kill)

    def test_is_ended_from_inside(self):
        """The sender ends with the namespace, at the latest when its first process does."""
        def send(pid, number):
            sender = subprocess.run(["nsenter", "--target", str(pid), "--pid", "sh", "-c", f"kill -{int(number)} 1"])
            self.assertIn(sender.returncode, (0, -signal.SIGKILL))

        self.check(send)


if __name__ == "__main__":
    scratch.main()
