"""Runs that fail: what they had gathered is out of their work file, as if it had been blanked out at once.

usage: test_failing_runs.py TOOL INJECT_LIBRARY

A traced run does blank out at once. The others put it off until they know that they fail.
"""
import signal

import scratch
from exports import (credentials, entry, everything, group, map_of_group, map_of_user, policy, policy_data,
                     user, users, users_entry)
from scratch import BY_MAPPED_TEXT, BY_NOTES, BY_READING, PROCESSING, ROADS, WRITING

WORK_FILE = "input.ldif.tmp"
HINT = "What had been gathered could not be taken out of the work file: remove it before you start again."
LONG = ["description: " + "x" * 3000] * 3  # so that the work file is many windows long, and no row too full


def shuffled(count):
    """Users whose entries stand in as many places as they can, with credentials between them."""
    return ("".join(map_of_user(f"u{i}") for i in range(count)) + credentials("web")
            + "".join(user(f"u{i}") for i in reversed(range(count))) + credentials("last")
            + "".join(policy(f"u{i}") + policy_data(f"u{i}") + users_entry(f"u{i}") for i in range(count)))


# Exports that end the run, by where they do.
DOUBLED = user("u9")
NO_MAP = user("alone")
ENDINGS = {
    "at the first entry": (group("staff") * 2 + users(4), 10),
    "at the last entry of the first pass": (users(10) + DOUBLED + credentials("web"), 11),
    "at the last entry of a later pass": (users(10) + DOUBLED + credentials("web"), 3),
    "in the last of many passes": (shuffled(10) + users_entry("u0"), 1),
    "between the entries of a user": (shuffled(4) + policy_data("u0") + shuffled(4), 10),
    "while the first pass is written": (NO_MAP + users(10), 3),
    "while a later pass is written": (users(10) + NO_MAP + credentials("web"), 3),
    "at a group": (users(7) + group("staff") + credentials("web") + map_of_group("staff") * 2, 2),
    "at an entry without an owner": (users(5) + entry("dn: cn=m", "objectclass: secMap", "secDN: cn=u0") + users(1), 2),
    "at an entry with too many lines": (users(5) + user("many", *["mail: m"] * 60), 2),
    "in the preparation": (users(5) + entry("dn: secAuthority=Default,cn=x", "objectclass: secUser"), 2),
    "behind a pass that was planned anew": (users(2) * 2 + users(5) + NO_MAP + users(6), 1),
    "in a large work file": (
        "".join(user(f"u{i}", *LONG) + map_of_user(f"u{i}") for i in range(70)) + map_of_user("u69")
        + credentials("web"), 8),
    "in a large work file of one pass": (
        "".join(map_of_user(f"u{i}", *LONG) + credentials(f"c{i}", *LONG) + user(f"u{i}") for i in range(50))
        + map_of_user("u9"), 100),
    "with everything": (everything() + group("lone"), 2),
}


class FailingRuns(scratch.ScratchTest):
    def run_failing(self, fault=None, trace=None):
        for name in (WORK_FILE, "output.ldif"):
            self.file(name).unlink(missing_ok=True)
        run = self.run_tool("input.ldif", "output.ldif", self.slots, self.slots, *([trace] if trace else []),
                            fault=fault)
        self.assertEqual(self.content("input.ldif").decode(), self.export)
        return run

    def prepare(self, export, slots):
        """Takes an export that ends the run, with how it ends and what it leaves when it blanks out at once."""
        self.export, self.slots = export, str(slots)
        self.write("input.ldif", export)
        self.failure = self.run_failing(trace="trace")
        self.assertEqual(self.failure.status, 255)
        self.left, self.written = self.content(WORK_FILE), self.output()

    def each_fault(self, check, call, file, **more):
        """Makes each of these calls fail, one in each run, and hands the results to a check."""
        for number in range(1, 1000):
            with self.subTest(call=call, number=number, **more):
                run = self.run_failing({"call": call, "file": file, "number": number, "report": "report", **more})
                if self.content("report") != b"delivered":
                    self.assertGreater(number, 1)
                    return
                check(run)

    def assertLeftAsIfBlankedAtOnce(self):
        self.assertTrue(self.content(WORK_FILE) == self.left, "the work file differs")


class AFailingRun(FailingRuns):
    def test_leaves_the_work_file_and_the_output_that_blanking_at_once_leaves(self):
        for where, (export, slots) in ENDINGS.items():
            self.prepare(export, slots)
            for road in ROADS:
                with self.subTest(where=where, road=road):
                    run = self.run_failing(road)
                    self.assertEqual((run.status, run.errors), (255, self.failure.errors))
                    self.assertLeftAsIfBlankedAtOnce()
                    self.assertOutput(self.written)

    def test_has_taken_some_of_its_entries_out_and_left_others(self):
        """Or the test above would hold nothing."""
        for where, (export, slots) in ENDINGS.items():
            with self.subTest(where=where):
                self.prepare(export, slots)
                blanks = sum(line.isspace() for line in self.left.split(b"\n"))
                self.assertEqual(blanks == 0, where == "in the preparation")
                self.assertIn(b"dn: ", self.left)

    def test_does_so_wherever_the_output_is_full(self):
        """In a pass, between passes, and in the final copy."""
        export = (users(9) + credentials("web", *LONG) + credentials("last")
                  + "".join(user(f"b{i}", *LONG * 4) + map_of_user(f"b{i}") for i in range(30)))
        self.write("input.ldif", export)
        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", "11", "1"))
        fault = {"call": "write", "file": "output.ldif", "errno": "ENOSPC", "report": "report"}
        self.export, self.slots = export, "11"
        number = 0
        for number in range(1, 1000):
            expected = self.run_failing({**fault, "number": number}, trace="trace")
            if self.content("report") != b"delivered":
                break
            self.left, self.written = self.content(WORK_FILE), self.output()
            for road in ROADS:
                with self.subTest(number=number, road=road):
                    run = self.run_failing({**fault, "number": number, **road})
                    self.assertEqual((run.status, run.errors), (255, expected.errors))
                    self.assertLeftAsIfBlankedAtOnce()
                    self.assertOutput(self.written)
        self.assertGreater(number, 5)


class BlankingAtTheEnd(FailingRuns):
    EXPORTS = ("at the last entry of a later pass", "in a large work file", "in a large work file of one pass")

    def each_export(self):
        for where in self.EXPORTS:
            self.prepare(*ENDINGS[where])
            yield

    def is_failure_as_such(self, run):
        """Whether it is what ends the undisturbed run, and not the fault, that has ended this one."""
        self.assertEqual(run.status, 255)
        return run.errors.startswith(self.failure.errors.rstrip("\n"))

    def assertHinted(self, run):
        self.assertEqual(run.errors, self.failure.errors.rstrip("\n") + f" {HINT}\n")

    def test_says_so_when_it_cannot_be_written(self):
        for _ in self.each_export():
            for error in ("ENOSPC", "EIO", "EFBIG", "EDQUOT"):
                for more in ({}, {"lasting": 1}):
                    hinted = []

                    def check(run, hinted=hinted):
                        if self.is_failure_as_such(run):
                            self.assertHinted(run)
                            hinted.append(run)
                        else:  # in the preparation
                            self.assertFailedCleanly(run, WRITING)

                    self.each_fault(check, "write", WORK_FILE, errno=error, **more)
                    self.assertNotEqual(hinted, [])

    def test_does_not_change_the_reason_of_the_failure(self):
        self.write("input.ldif", users(3))
        run = self.run_tool("input.ldif", "/dev/full", "2", "2",
                            fault={"call": "write", "file": WORK_FILE, "number": 2, "errno": "EIO"})
        self.assertFailedCleanly(run, WRITING, "Writing to the file /dev/full failed: No space left on device", HINT)

    def test_is_done_or_says_so_whatever_fails(self):
        def check(run):
            if not self.is_failure_as_such(run):
                self.assertNotIn(PROCESSING, run.errors)
            elif self.content(WORK_FILE) != self.left:
                self.assertHinted(run)

        for _ in self.each_export():
            for call in ("fcntl", "fstat", "lseek", "read", "close"):
                for more in ({}, {"lasting": 1}):
                    self.each_fault(check, call, WORK_FILE, errno="EIO", **more)

    def test_is_done_in_small_steps_or_after_interruptions(self):
        def check(run):
            self.assertEqual((run.status, run.errors), (255, self.failure.errors))
            self.assertLeftAsIfBlankedAtOnce()

        for _ in self.each_export():
            for call in ("read", "write"):
                for more in ({"errno": "EINTR"}, {"short": 1}, {"short": 1, "lasting": 1}):
                    self.each_fault(check, call, WORK_FILE, **more)

    def test_says_so_after_reading_entry_by_entry(self):
        """The other road that puts it off; the third has nothing left to do at the end."""
        for _ in self.each_export():
            hinted = []
            for road in (BY_MAPPED_TEXT, BY_NOTES, BY_READING):
                errors = []
                self.each_fault(lambda run, errors=errors: errors.append(run.errors), "write", WORK_FILE,
                                errno="ENOSPC", lasting=1, **road)
                hinted.append(sum(HINT in error for error in errors))
            self.assertGreater(hinted[0], 0)
            self.assertEqual(hinted, [hinted[0], hinted[0], 0])


class AnInterruptionWhileBlanking(FailingRuns):
    def setUp(self):
        super().setUp()
        self.prepare(*ENDINGS["in a large work file"])

    def interrupt(self, call, number, signals):
        """Sends signals behind a call. Returns whether the work file was there, or None when there is no such call."""
        self.file(WORK_FILE).unlink(missing_ok=True)
        process = self.start("input.ldif", "output.ldif", self.slots, self.slots,
                             fault={"call": call, "file": WORK_FILE, "number": number, "stop": 1})
        was_there = None
        for _ in self.stops(process):
            was_there = self.file(WORK_FILE).exists()
            for sent in signals:
                process.send_signal(sent)
        self.assertEqual(self.content("input.ldif").decode(), self.export)
        self.status = process.returncode
        return was_there

    def each_step(self, signals, check):
        for call in ("fcntl", "fstat", "lseek", "read", "write", "close"):
            number = 1
            while True:
                with self.subTest(call=call, number=number, signals=signals):
                    if self.interrupt(call, number, signals) is None:
                        break
                    check()
                number += 1
            self.assertGreater(number, 2)
            self.assertEqual(self.status, 255)
            self.assertLeftAsIfBlankedAtOnce()

    def test_takes_the_work_file_away_and_ends_by_the_signal(self):
        for signals in ((signal.SIGTERM,), (signal.SIGINT,), (signal.SIGHUP,), (signal.SIGTERM, signal.SIGINT)):
            def check(signals=signals):
                self.assertIn(-self.status, signals)
                self.assertFalse(self.file(WORK_FILE).exists())

            self.each_step(signals, check)

    def test_by_kill_leaves_a_work_file_at_most(self):
        whole = []

        def check():
            self.assertEqual(self.status, -signal.SIGKILL)
            if not self.file(WORK_FILE).exists():
                return
            self.assertLessEqual(len(self.content(WORK_FILE)), len(self.left))
            whole.append(len(self.content(WORK_FILE)) == len(self.left))

        self.each_step((signal.SIGKILL,), check)
        self.assertGreater(sum(whole), 10)


if __name__ == "__main__":
    scratch.main()
