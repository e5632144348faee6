"""Conversions on a machine that fails: no memory, full or broken disks, closed and clogged standard streams.

usage: test_faults.py TOOL INJECT_LIBRARY

The library makes one call of a run fail, and every call has its turn. Whatever fails, a run must either give the
output of an undisturbed run, or end with status 255 and say why; and it must leave its input as it was.
"""
import itertools
import os
import re
import resource
import subprocess
import sys
import tempfile
import unittest
from dataclasses import dataclass
from pathlib import Path

import scratch
from exports import (EVERYTHING_DNS, authority, credentials, entry, everything, group, map_of_group, map_of_user,
                     padding, policy, policy_data, unit, user, users, users_entry)
from scratch import (BY_MAPPED_TEXT, BY_NOTES, BY_READING, COMPLETE, FOLDER, MEMORY, OPENING, POSITION, PREPARATION,
                     PROCESSING, READING, ROADS, WRITING)

DISK_ERRORS = ("ENOSPC", "EIO", "EFBIG")
WINDOW = 256 * 1024  # bytes of a file that the tool writes at once
READ_FIRST = 24 * 1024  # bytes that it reads first
MANY_SLOTS = 2_147_483_647  # as many as can be given


# Exports.

def several_windows():
    """More than a window of everything, so that each file is written and read in the middle of the run, too."""
    return (unit(*padding(WINDOW + 1000)) + map_of_user("anna", *padding(2500)) + user("anna", *padding(2500))
            + credentials("big", *padding(WINDOW + 1000)) + user("bert", *padding(2500)) + group("staff")
            + credentials("bigger", *padding(WINDOW + 1000)) + map_of_group("staff") + map_of_user("bert")
            + policy("anna", *padding(20000)))


def oversized():
    return (user("anna") + unit(*["a: b"] * 250_000) + map_of_user("anna") + unit("b: c"))


def long_lines():
    """Everything in lines too long for the small blocks of memory that lines are otherwise cut from."""
    name = "n" * 600
    more = ("mail: " + "m" * 600,)
    return (authority() + map_of_user(name, *more) + user(name, *more) + users_entry(name, *more) + policy(name, *more)
            + policy_data(name, *more) + group(name, *more) + map_of_group(name, *more) + credentials("c", *more))


LONG_NAME = "a:" * 300  # so that a folded line of it has a colon in every part


def one_class_each():
    """Entries of every class that open a slot of their own."""
    return (user(LONG_NAME) + map_of_user(LONG_NAME) + map_of_group("g" * 600) + group("g" * 600)
            + policy_data("b" * 600) + user("b" * 600) + map_of_user("b" * 600)
            + policy("c" * 600) + user("c" * 600) + map_of_user("c" * 600) + group("h" * 600) + map_of_group("h" * 600))


# Runs.

@dataclass
class Result:
    status: int
    output: bytes
    notices: str
    errors: str
    trace: str
    is_delivered: bool

    def codes(self):
        return re.findall(r"^tqldif2v6: (\d+) ERROR: ", self.errors, re.MULTILINE)


def masked(output):
    return re.sub(rb"installDate: \d{14}", b"installDate: <now>", output)


counts = {}


def count(call):
    counts[call] = counts.get(call, 0) + 1


class FaultTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(dir=FOLDER)
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.discarded = tempfile.TemporaryDirectory()
        self.addCleanup(self.discarded.cleanup)

    def file(self, name):
        return self.folder / name

    def content(self, name):
        return self.file(name).read_bytes() if self.file(name).exists() else b""

    def prepare(self, export, leftover=None):
        """Takes an export, the work file that an earlier run left, or none, and forgets the results of other runs."""
        self.export = export.encode()
        self.leftover = leftover
        self.file("input.ldif").write_bytes(self.export)
        self.file("input.ldif").chmod(0o600)

    def run_tool(self, users=10, groups=10, fault=None, trace=None, echo=False, command=(), **options):
        """Runs the tool, with the settings of the fault if there is one, and checks what holds for every run."""
        for name in ("output.ldif", "input.ldif.tmp", "trace", "report", "TEMPORARY_INPUT_LDIF_FILE"):
            self.file(name).unlink(missing_ok=True)
        if self.leftover is not None:
            self.file("input.ldif.tmp").write_text(self.leftover)
        environment = scratch.environment(fault and {"report": "report", **fault}, echo)
        if "preexec_fn" in options:  # limits, which would spoil what a build that measures coverage writes at the end
            environment["GCOV_PREFIX"] = self.discarded.name
        arguments = [*command, scratch.tool, "input.ldif", "output.ldif", str(users), str(groups)]
        arguments += [trace] if trace else []
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | options
        run = subprocess.run(arguments, cwd=self.folder, env=environment, check=False, **options)
        if fault is not None:
            self.assertIn(self.content("report"), (b"armed", b"delivered"))
        self.assertIn(run.returncode, (0, 255), f"{fault}: {(run.stderr or b'').decode()}")
        self.assertEqual(self.content("input.ldif"), self.export, fault)
        created = {"output.ldif", "input.ldif.tmp"} | ({trace, "TEMPORARY_INPUT_LDIF_FILE"} if trace else set())
        self.assertLessEqual(set(os.listdir(self.folder)), {"input.ldif", "report"} | created)
        return Result(run.returncode, masked(self.content("output.ldif")), (run.stdout or b"").decode("latin-1"),
                      (run.stderr or b"").decode("latin-1"), self.content("trace").decode("latin-1"),
                      self.content("report") == b"delivered")

    def undisturbed(self, **options):
        result = self.run_tool(**options)
        self.assertEqual((result.status, result.errors), (0, ""))
        return result.output

    def each_fault(self, check, fault, numbers=None, **options):
        """Makes the calls of one kind fail, one in each run, and hands every result to a check."""
        for number in numbers or range(1, 1000):
            result = None
            with self.subTest(**fault, number=number, **options):
                result = self.run_tool(fault={**fault, "number": number}, **options)
                if result.is_delivered:
                    count(fault["call"])
                    check(result)
            if result is not None and not result.is_delivered:
                break
        self.assertTrue(result is None or numbers or number > 1, f"no call to fail: {fault}")

    def assertSucceeded(self, result, expected):
        self.assertEqual((result.status, result.errors), (0, ""))
        self.assertTrue(result.output == expected, "the output differs")

    def assertHarmless(self, result, expected, *codes):
        if result.status == 0:
            self.assertSucceeded(result, expected)
        else:
            self.assertFailed(result, *codes)

    def assertFailed(self, result, *codes):
        """Ended with one message, which is one of these, each a code or a code and what it says."""
        self.assertEqual(result.status, 255)
        self.assertEqual(len(result.codes()), 1, result.errors)
        self.assertTrue(any(all(text in result.errors for text in code.split("|")) for code in codes), result.errors)
        self.assertNotIn(COMPLETE, result.notices)

    def assertFailedWriting(self, result, expected, *codes):
        """Failed, in silence if it was the empty line behind an entry of the final copy that could not be written."""
        written = result.output
        if result.errors == "" and written.endswith(b"\n") and expected[len(written):].startswith(b"\n"):
            self.assertIn(b"ResCreds", written.split(b"\n\n")[-1])
            self.assertEqual(result.status, 255)
        else:
            self.assertFailed(result, *codes)


class AnUndisturbedRun(FaultTest):
    def test_converts_every_class(self):
        self.prepare(everything())
        for users, groups in ((10, 10), (1, 1)):
            dns = re.findall(r"^dn: (.*)$", self.undisturbed(users=users, groups=groups).decode(), re.MULTILINE)
            self.assertEqual(sorted(dns), sorted(EVERYTHING_DNS))
        self.assertEqual(re.findall(r"^dn: (.*)$", self.undisturbed().decode(), re.MULTILINE), EVERYTHING_DNS)


class AnAllocationThatFails(FaultTest):
    # A stream that finds no memory could not be opened.
    ALLOWED = (MEMORY, f"{OPENING}|: Cannot allocate memory")

    def setUp(self):
        super().setUp()
        if scratch.sanitizer:
            self.skipTest("the sanitizer has an allocator of its own")

    def check(self, export, numbers=None, lasting=True, **options):
        self.prepare(export)
        expected = self.undisturbed(**options)
        for more in [{}] + [{"lasting": 1}] * lasting:
            self.each_fault(lambda result: self.assertHarmless(result, expected, *self.ALLOWED),
                            {"call": "malloc", **more}, numbers, **options)

    def test_ends_the_run_or_does_no_harm(self):
        self.check(everything())
        self.check(everything(), lasting=False, users=1, groups=1)
        self.check(long_lines(), lasting=False)
        self.check(several_windows(), lasting=False, users=1, groups=1)

    def test_ends_the_run_in_an_oversized_entry(self):
        self.check(oversized(), numbers=(20, 60, 120, 150))

    def test_is_named_in_the_trace(self):
        # The value that is unfolded stands in a left-over work file: those of this run are unfolded already.
        leftover = users_entry(LONG_NAME).replace("secDN: cn=", "secDN: c\n n=")
        named = 0

        def check(result):
            self.assertHarmless(result, expected, *self.ALLOWED)
            if MEMORY not in result.errors or "TRACING BACK ON" not in result.trace:
                return
            nonlocal named
            named += 1
            self.assertRegex(result.trace.splitlines()[-1], r"^\w+\(\):  malloc\(\) failure\.  EXITING\. $")

        for export, left in ((long_lines(), None), (one_class_each(), leftover)):
            self.prepare(export, left)
            expected = self.undisturbed(trace="trace")
            self.each_fault(check, {"call": "malloc"}, trace="trace")
        self.assertGreater(named, 0)


class MemoryThatIsShort(FaultTest):
    def setUp(self):
        super().setUp()
        if scratch.sanitizer:
            self.skipTest("the sanitizer needs all the addresses there are")

    def limited(self, size):
        return {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_AS, (size, size))}

    def test_is_enough_for_any_number_of_slots(self):
        self.prepare(everything())
        expected = self.undisturbed()
        for users, groups in ((MANY_SLOTS, 10), (10, MANY_SLOTS), (MANY_SLOTS, MANY_SLOTS)):
            for trace in (None, "trace"):
                with self.subTest(users=users, groups=groups, trace=trace):
                    self.assertSucceeded(self.run_tool(users, groups, trace=trace, **self.limited(256 << 20)), expected)

    def test_ends_the_run_wherever_it_runs_out(self):
        self.prepare(users(20_000) + several_windows())
        expected = self.undisturbed(users=30_000)
        statuses = []
        least = self.least_to_start()
        for size in range(least, least + (24 << 20), 1 << 20):
            with self.subTest(size=size):
                result = self.run_tool(users=30_000, **self.limited(size))
                self.assertHarmless(result, expected, *AnAllocationThatFails.ALLOWED)
                statuses.append(result.status)
        self.assertEqual((statuses[0], statuses[-1]), (255, 0))
        self.assertEqual(statuses, sorted(statuses, reverse=True))  # more memory is never worse

    def least_to_start(self):
        """So many addresses that the tool is loaded and can say that it wants arguments."""
        for size in range(1 << 20, 256 << 20, 1 << 20):
            status = subprocess.run([scratch.tool], stderr=subprocess.DEVNULL, check=False, **self.limited(size))
            if status.returncode == 255:
                return size
        self.fail("the tool does not start")


class SlotsThatAreNotUsed(scratch.ScratchTest):
    def test_occupy_no_memory(self):
        self.write("input.ldif", everything() + users(50))
        few = self.resident(100, 100)
        for slots in ((MANY_SLOTS, 100), (100, MANY_SLOTS), (MANY_SLOTS, MANY_SLOTS)):
            with self.subTest(slots=slots):
                self.assertLess(self.resident(*slots), few + 512)

    def resident(self, *slots):
        """The most that a run has had in memory by the time at which it removes its work file, in kilobytes."""
        process = self.start("input.ldif", "output.ldif", *map(str, slots), fault={"call": "unlink", "stop": "before"})
        most = None
        for _ in self.stops(process):
            most = int(re.search(r"^VmHWM:\s*(\d+) kB$", Path(f"/proc/{process.pid}/status").read_text(),
                                 re.MULTILINE)[1])
        self.assertEqual(process.returncode, 0)
        return most


class ADiskThatFails(FaultTest):
    EXPORTS = ((everything, 10, 10), (everything, 1, 1), (several_windows, 1, 1))

    def each_export(self, exports=EXPORTS, roads=(BY_MAPPED_TEXT,)):
        for export, users, groups in exports:
            self.prepare(export())
            self.expected = self.undisturbed(users=users, groups=groups)
            self.slots = {"users": users, "groups": groups}
            for self.road in roads:
                yield

    def faults(self, check, call, file, error="EIO", numbers=None, **more):
        fault = {"call": call, "file": file, "errno": error, **self.road, **more}
        self.each_fault(check, fault, numbers, **self.slots)

    def succeeds(self, result):
        self.assertSucceeded(result, self.expected)

    def fails(self, *codes):
        return lambda result: self.assertFailed(result, *codes)

    def fails_writing_output(self, result):
        self.assertFailedWriting(result, self.expected, f"{WRITING}|Writing to the file output.ldif failed: ")

    def test_fails_a_write_to_the_output(self):
        for _ in self.each_export():
            for error in DISK_ERRORS:
                self.faults(self.fails_writing_output, "write", "output.ldif", error)
            self.faults(self.fails_writing_output, "write", "output.ldif", "ENOSPC", lasting=1)

    def test_fails_a_write_to_the_work_file(self):
        # Where nothing more is to be blanked out, it is the closing that tells.
        check = self.fails(f"{WRITING}|Writing to the file input.ldif.tmp failed: ", PROCESSING)
        for _ in self.each_export(roads=ROADS):
            for error in DISK_ERRORS:
                self.faults(check, "write", "input.ldif.tmp", error)
            self.faults(check, "write", "input.ldif.tmp", "ENOSPC", lasting=1)

    def test_writes_little_at_a_time_or_is_interrupted(self):
        for _ in self.each_export(roads=(BY_MAPPED_TEXT, BY_READING)):
            for file in ("output.ldif", "input.ldif.tmp"):
                self.faults(self.succeeds, "write", file, "EINTR")
                self.faults(self.succeeds, "write", file, short=1)
                self.faults(self.succeeds, "write", file, numbers=(1,), short=1, lasting=1)

    def test_reads_little_at_a_time_or_is_interrupted(self):
        for _ in self.each_export(roads=(BY_NOTES, BY_READING)):  # mapped text is not read
            for file in ("input.ldif", "input.ldif.tmp"):
                self.faults(self.succeeds, "read", file, "EINTR")
                self.faults(self.succeeds, "read", file, short=1)

    def test_fails_a_read_of_the_input(self):
        check = self.fails(f"{PREPARATION}|The input file input.ldif could not be prepared: Input/output error")
        for _ in self.each_export():
            self.faults(check, "read", "input.ldif")
            self.faults(check, "read", "input.ldif", lasting=1)

    def test_fails_a_read_of_the_input_in_the_middle_of_a_user(self):
        # The names that every user must have come behind the part that can be read.
        lines = user("anna").splitlines()[:-1]
        self.prepare(entry(*lines[:2], *["description: " + "x" * 3900] * 3, *lines[2:]) + map_of_user("anna"))
        self.slots = self.road = {}
        self.undisturbed()
        self.faults(self.fails(f"{PREPARATION}|The input file input.ldif could not be prepared: Input/output error"),
                    "read", "input.ldif")

    def test_fails_a_read_of_the_work_file(self):
        codes = (f"{READING}|The next entry of the work file input.ldif.tmp could not be read: ", PROCESSING)
        for _ in self.each_export(roads=(BY_NOTES, BY_READING)):
            self.faults(self.fails(*codes), "read", "input.ldif.tmp", lasting=1)
            if self.road == BY_NOTES:
                self.faults(self.fails(*codes), "read", "input.ldif.tmp")
                continue
            statuses = []

            def check(result, statuses=statuses):
                self.assertHarmless(result, self.expected, *codes)
                statuses.append(result.status)

            self.faults(check, "read", "input.ldif.tmp")
            self.assertEqual(statuses, [0] + [255] * (len(statuses) - 1))  # notes that cannot be made are not needed

    def test_fails_a_close(self):
        for _ in self.each_export(roads=(BY_MAPPED_TEXT, BY_READING)):
            for file in ("output.ldif", "input.ldif.tmp"):
                for error in ("ENOSPC", "EIO"):
                    self.faults(self.fails(f"{WRITING}|Writing to the file {file} failed: "), "close", file, error)
            self.faults(self.succeeds, "close", "input.ldif")

    def test_fails_an_opening(self):
        for _ in self.each_export(self.EXPORTS[:2]):
            for file in ("output.ldif", "input.ldif", "input.ldif.tmp"):
                for error in ("EACCES", "EMFILE", "EIO", "ENOSPC"):
                    self.faults(self.fails(f"{OPENING}|The file {file} could not be opened: "), "open", file, error)

    def test_fails_in_an_oversized_entry(self):
        self.prepare(oversized())
        self.expected = self.undisturbed()
        self.slots = self.road = {}
        # Every line of the entry is a write of its own.
        self.faults(self.fails_writing_output, "write", "output.ldif", "ENOSPC", numbers=(1, 2, 250_001, 250_002))
        self.faults(self.fails(f"{PREPARATION}|The input file input.ldif could not be prepared: "), "read",
                    "input.ldif", numbers=(1, 5, 8))

    def test_fails_to_truncate(self):
        for _ in self.each_export(self.EXPORTS[:1]):
            for error in DISK_ERRORS:
                self.faults(self.fails(f"{OPENING}|The file output.ldif could not be opened: "), "ftruncate",
                            "output.ldif", error)

    def test_fails_to_truncate_although_the_file_has_a_length(self):
        """What the call says of a pipe or a device is a failure for a regular file."""
        for _ in self.each_export(self.EXPORTS[:1]):
            self.faults(self.fails(f"{OPENING}|The file output.ldif could not be opened: Invalid argument"),
                        "ftruncate", "output.ldif", "EINVAL")

    def test_fails_to_show_the_state_of_a_file(self):
        for _ in self.each_export(self.EXPORTS[:2], ROADS):
            for file in ("input.ldif", "input.ldif.tmp"):
                codes = []

                def check(result, file=file, codes=codes):
                    # A look at a name before anything is opened may be in vain.
                    self.assertHarmless(result, self.expected, f"{OPENING}|The file {file} could not be opened: ",
                                        PREPARATION, READING, WRITING)
                    codes.extend(result.codes())

                self.faults(check, "fstat", file)
                self.assertIn(OPENING, codes)

    def test_fails_to_show_the_flags_of_a_file(self):
        for _ in self.each_export(self.EXPORTS[:2]):
            for file in ("input.ldif", "input.ldif.tmp"):
                self.faults(self.fails(f"{OPENING}|The file {file} could not be opened: "), "fcntl", file)

    def test_fails_to_lock_a_file(self):
        for _ in self.each_export(self.EXPORTS[:2]):
            for file in ("input.ldif", "output.ldif", "input.ldif.tmp"):
                self.faults(self.fails(f"{OPENING}|The file {file} could not be opened: No locks available"), "flock",
                            file, "ENOLCK")

    def test_fails_to_bring_the_output_to_the_disk(self):
        """Nor the folder, when the output is new in it."""
        folder = self.folder.name
        for _ in self.each_export():
            for file in ("output.ldif", folder):
                for error in ("EIO", "ENOSPC"):
                    self.faults(self.fails(f"{WRITING}|Writing to the file output.ldif failed: "), "fsync", file, error)

    def test_keeps_the_work_file_and_says_so(self):
        reasons = {"EIO": "Input/output error", "EPERM": "Operation not permitted", "EROFS": "Read-only file system"}
        for _ in self.each_export(self.EXPORTS[:2]):
            for error, reason in reasons.items():
                def check(result, reason=reason):
                    self.assertSucceeded(result, self.expected)
                    self.assertRegex(result.notices.splitlines()[-1], rf"^tqldif2v6: {COMPLETE} NOTICE: ")
                    self.assertTrue(result.notices.endswith(
                        f" The work file input.ldif.tmp could not be removed: {reason}.\n"), result.notices)
                    self.assertTrue(self.file("input.ldif.tmp").exists())

                self.faults(check, "unlink", "input.ldif.tmp", error)
                self.file("input.ldif.tmp").unlink(missing_ok=True)

    def test_loses_nothing_where_a_position_is_lost(self):
        """In the last pass and in the final copy least of all: nobody would miss what stands behind it."""
        export = everything() + credentials("big", *padding(WINDOW + 1000)) + credentials("last")
        for leftover in (None, credentials("left", "description: over")):
            self.prepare(export, leftover)
            for slots in (10, 1):
                expected = self.undisturbed(users=slots, groups=slots)
                for trace, error in itertools.product((None, "trace"), ("EIO", "ESPIPE")):
                    for more in ({}, {"lasting": 1}):
                        self.each_fault(
                            lambda result: self.assertHarmless(result, expected, POSITION, OPENING, PREPARATION,
                                                               WRITING, READING),
                            {"call": "lseek", "errno": error, **more}, users=slots, groups=slots, trace=trace)

    def test_has_no_positions(self):
        for leftover in (None, credentials("left", "description: over")):
            self.prepare(everything(), leftover)
            for users in (10, 1):
                expected = self.undisturbed(users=users)
                for file in ("input.ldif", "input.ldif.tmp", "output.ldif"):
                    self.each_fault(lambda result: self.assertHarmless(result, expected, POSITION, OPENING),
                                    {"call": "lseek", "file": file, "errno": "ESPIPE"}, users=users, trace="trace")

    def test_cannot_be_positioned_for_the_next_pass(self):
        lines = set()

        def check(result):
            if POSITION in result.errors:
                self.assertRegex(result.errors, r"ERROR: f[gs]etpos\(\) failed with return code -1: ")
                lines.add(result.trace.splitlines()[-1])

        self.prepare(everything())
        self.each_fault(check, {"call": "lseek", "file": ".tmp", "errno": "ESPIPE"}, users=1, groups=1, trace="trace")
        self.assertLessEqual({"getNextObjectFromTemporaryInputLDIFFile():  fgetpos() failed with rc = -1 (dec)  ",
                              "main():  fsetpos() failed with rc = -1 (dec)  "}, lines)

    def test_cannot_map_memory_or_the_work_file(self):
        """Neither is needed: entries are read one by one then, or all of them in every pass."""
        for _ in self.each_export():
            for error in ("ENOMEM", "ENODEV", "EACCES"):
                for more in ({}, {"lasting": 1}):
                    self.each_fault(self.succeeds, {"call": "mmap", "errno": error, **more}, **self.slots)
                self.faults(self.succeeds, "mmap", "input.ldif.tmp", error)


class ATimeThatIsNotKnown(FaultTest):
    def test_ends_the_run_that_needs_it(self):
        self.prepare(unit() + authority())
        result = self.run_tool(fault={"call": "localtime"})
        self.assertFailed(result, f"{PROCESSING}|The entry secAuthority=Default (line 4) gets no install date because "
                                  "the local time is not known, and the conversion has stopped. "
                                  "Mend the time zone or add an installDate line.")
        self.prepare(unit() + authority().rstrip("\n") + "\ninstallDate: 20200101000000.0Z\n\n")
        expected = self.undisturbed()
        self.assertSucceeded(self.run_tool(fault={"call": "localtime"}), expected)


class AFileThatMayNotGrow(FaultTest):
    def test_ends_the_run_with_a_message(self):
        for export, sizes in ((everything(), 40), (several_windows(), 12)):
            self.prepare(export)
            expected = self.undisturbed(trace="trace")
            needed = {name: len(self.content(name)) for name in ("output.ldif", "input.ldif.tmp")}
            largest = max(needed.values())
            limits = {largest * i // sizes for i in range(sizes + 1)} | {
                size + i for size in needed.values() for i in (-1, 0, 1)} | {1, 4096, WINDOW - 1, WINDOW, WINDOW + 1}
            for limit in sorted(limits):
                with self.subTest(limit=limit):
                    result = self.run_tool(preexec_fn=self.limited(limit))
                    if limit >= largest:
                        self.assertSucceeded(result, expected)
                    else:
                        self.assertFailedWriting(result, expected, f"{WRITING}|failed: File too large", PROCESSING)

    def test_never_makes_a_whole_output_of_a_part(self):
        """Wherever it ends, between the lines of an entry or within one."""
        export = everything() + unit(*padding(3 * 4096)) + credentials("big", *padding(3 * 4096))
        for users, groups in ((10, 10), (1, 1)):
            self.prepare(export)
            expected = self.undisturbed(users=users, groups=groups)
            statuses = set()
            for limit in [*range(1, 5000, 97), *range(4096, len(export) * 2, 4096)]:
                with self.subTest(limit=limit, users=users):
                    result = self.run_tool(users, groups, preexec_fn=self.limited(limit))
                    statuses.add(result.status)
                    if result.status == 0:
                        self.assertSucceeded(result, expected)
                    else:
                        self.assertFailed(result, f"{WRITING}|failed: File too large", PROCESSING)
            self.assertEqual(statuses, {0, 255})

    def test_may_be_the_trace(self):
        self.prepare(everything())
        expected = self.undisturbed(trace="trace")
        length = len(self.content("trace"))
        for size in [8192, *range(10_000, length, 17_777), length - 1]:
            with self.subTest(size=size):
                result = self.run_tool(trace="trace", preexec_fn=self.limited(size))
                self.assertSucceeded(result, expected)
                self.assertEqual(len(result.trace), size)

    def limited(self, size):
        return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class AFailedWriteInThePasses(FaultTest):
    """The trace and the echo name what was being written or blanked out."""
    NOT_TAKEN_OUT = r" could not be taken out of the work file input\.ldif\.tmp \(Input/output error\), "

    def test_is_named_by_the_writer(self):
        export = (user("anna", "changetype: add", "mail: user") + users_entry("anna") + map_of_user("anna")
                  + policy("anna", "secPwdMinLength: 7") + group("staff", "mail: group") + map_of_group("staff")
                  + credentials("web", "mail: web") + credentials("last"))
        anna = "principalName=anna,cn=Users,secAuthority=default"
        writers = [
            ("writeSecUserAddToOutputFile", "", f"dn: {anna}"),
            ("writeSecUserAddToOutputFile", "", "mail: user"),
            ("writeSecUserAddToOutputFile", "", f"\ndn: cn=Policies,{anna}"),
            ("writePolicyContainerAddToOutputFile", "#1 ", f"dn: cn=Policies,{anna}"),
            ("writePolicyContainerAddToOutputFile", "#2 ", "changetype: add\nobjectclass: container"),
            ("writePolicyContainerAddToOutputFile", "#3 ", "objectclass: container\nobjectclass: top"),
            ("writePolicyContainerAddToOutputFile", "#4 ", "objectclass: top\ncn: Policies"),
            ("writePolicyContainerAddToOutputFile", "#5 ", "cn: Policies\n"),
            ("writeSecPolicyAddToOutputFile", "", f"dn: cn=Policy,cn=Policies,{anna}"),
            ("writeSecPolicyAddToOutputFile", "", "secPwdMinLength: 7"),
            ("writeSecPolicyAddToOutputFile", "", "\ndn: cn=staff,cn=Groups"),
            ("writeSecGroupAddToOutputFile", "", "dn: cn=staff,cn=Groups"),
            ("writeSecGroupAddToOutputFile", "", "mail: group"),
            ("writeSecGroupAddToOutputFile", "", "\ndn: cn=web"),
        ]
        for writer, number, text in writers:
            with self.subTest(writer=writer, text=text):
                result = self.fail_when_reaching(text, export)
                self.assertFailed(result, PROCESSING)
                side, dn = ("secGroup_dn", "dn: cn=staff,cn=Groups,secAuthority=default") if "Group" in writer else (
                    "secUser_dn", f"dn: {anna}")
                returning = f"copyAllAccumulatedDataToOutputFile() - {writer}() failure.  RETURNING. \n"
                exiting = ("main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file."
                           "  EXITING.  \n")
                self.assertTrue(result.trace.endswith(
                    f"{writer}():  fputs() {number}failed with rc=-1 \n{returning}{exiting}"), result.trace[-400:])
                self.assertTrue(result.notices.endswith(f"{returning}{side} = {dn}\n\n{exiting}"),
                                result.notices[-400:])

        for text in ("dn: cn=web", "mail: web"):
            result = self.fail_when_reaching(text, export)
            self.assertFailed(result, f"{WRITING}|Writing to the file output.ldif failed: ")
            self.assertIn("copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=-1 \n", result.trace)

    def test_is_told_by_the_trace_alone_at_the_end_of_a_copied_entry(self):
        self.prepare(credentials("web") + credentials("last"))
        expected = self.undisturbed()
        failed = []

        def check(result):
            if result.errors == "":
                self.assertFailedWriting(result, expected)
                self.assertTrue(result.trace.endswith(
                    "copyRemainingObjectsToOutputLDIFFile():  fputs() failed with rc=-1 \n"))
                self.assertNotIn(COMPLETE, result.notices)
                failed.append(len(result.output))

        self.each_fault(check, {"call": "write", "file": "output.ldif", "errno": "ENOSPC"}, trace="trace")
        self.assertEqual(failed, [expected.index(b"\n\n") + 1, len(expected) - 1])

    def fail_when_reaching(self, text, export):
        """Fails the write of the first window, which ends in the text: an empty line is the first that does not fit."""
        first = 1000
        self.prepare(unit(*padding(first)) + export)
        place = WINDOW if text.startswith("\n") else WINDOW - 1
        before = self.undisturbed().index(text.encode())
        self.prepare(unit(*padding(first + place - before)) + export)
        self.assertEqual(self.undisturbed().index(text.encode()), place)
        # The end of the preparation pass writes the window once before, as far as it is filled by then.
        result = self.run_tool(fault={"call": "write", "number": 2, "file": "output.ldif", "errno": "ENOSPC"},
                               trace="trace", echo=True)
        self.assertTrue(result.is_delivered)
        return result

    def test_is_named_by_the_processor(self):
        """What is blanked out is written when more must be read, in the middle of the entry then shown."""
        user_dn, user_map_dn, group_dn, no_dn = (
            "secUser_dn is : %s\n", "secUser_dn is: %s \n", "secGroup_dn is : %s\n", "")
        cases = [
            # before, the entry in the middle, its processor, its class, the owner's DN as echoed
            (map_of_user, user, "SecUser", "secUser", user_dn),
            (user, users_entry, "SecUser", "secUser", user_dn),
            (user, policy_data, "SecPolicyData", "secPolicyData", user_dn),
            (user, policy, "SecPolicy", "secPolicy", user_dn),
            (user, map_of_user, "SecMap", "secUser", user_map_dn),
            (map_of_group, group, "SecGroup", "secGroup", group_dn),
            (group, map_of_group, "SecMap", "secUser", no_dn),
            # with slots of their own
            (user, group, "SecGroup", "secGroup", no_dn),
            (user, map_of_group, "SecMap", "secUser", no_dn),
            (group, policy, "SecPolicy", "secPolicy", no_dn),
            (group, map_of_user, "SecMap", "secUser", no_dn),
        ]
        for before, middle, processor, kind, echo in cases:
            with self.subTest(before=before.__name__, middle=middle.__name__):
                error = (f"process{processor}ObjectFromTempInputLDIFFile():  ERROR: deleteNextObjectFromTemporaryInput"
                         f"LDIFFile() failed deleting a {kind} object.  EXITING. \n")
                dn = "secAuthority=Default,cn=anna,o=example\n"
                result = self.fail_when_blanking(before("anna", *padding(13_000)), middle("anna", *padding(13_000)))
                self.assertFailed(result, PROCESSING)
                self.assertTrue(result.trace.endswith(error), result.trace[-400:])
                self.assertTrue(result.notices.endswith(error + echo.replace("%s", dn)), result.notices[-400:])

    def test_is_named_by_the_final_copy(self):
        result = self.fail_when_blanking(credentials("a", *padding(12_000)), credentials("b", *padding(18_000)))
        self.assertFailed(result, PROCESSING)
        error = ("copyRemainingObjectsToOutputLDIFFile():  ERROR: deleteNextObjectFromTemporaryInputLDIFFile() failed "
                 "deleting a ResCreds container or secResCreds object.  EXITING. \n")
        self.assertTrue(result.trace.endswith(error))
        self.assertTrue(result.notices.endswith(error))

    def test_is_told_with_its_entry_and_its_reason(self):
        result = self.fail_when_blanking(map_of_user("anna", *padding(13_000)), user("anna", *padding(13_000)))
        self.assertRegex(result.errors, r" secAuthority=Default,cn=anna,o=example \(line \d+\)" + self.NOT_TAKEN_OUT)

    def test_is_told_with_its_entry_by_the_final_copy(self):
        result = self.fail_when_blanking(credentials("a", *padding(12_000)), credentials("b", *padding(18_000)))
        self.assertRegex(result.errors,
                         r" The entry cn=[ab],cn=ResCreds,secAuthority=Default \(line \d+\)" + self.NOT_TAKEN_OUT)

    def fail_when_blanking(self, before, middle):
        """Fails the write that the reading of the second entry, which crosses the first read, brings with it."""
        self.prepare(before + middle)
        # The first write to the work file is that of the preparation pass.
        result = self.run_tool(fault={"call": "write", "number": 2, "file": ".tmp", "errno": "EIO"}, trace="trace",
                               echo=True)
        self.assertTrue(result.is_delivered)
        self.assertLess(len(before), READ_FIRST)
        self.assertGreater(len(self.content("input.ldif.tmp")), READ_FIRST)
        return result


class AFileThatCannotBeUsed(FaultTest):
    def last_trace(self, call, file, number, **options):
        self.prepare(everything())
        result = self.run_tool(fault={"call": call, "file": file, "number": number}, trace="trace", echo=True,
                               **options)
        self.assertTrue(result.is_delivered)
        return result.trace

    def test_is_named_in_the_trace(self):
        self.assertTrue(self.last_trace("open", "output.ldif", 1).endswith(
            "main() - Unable to open output file output.ldif.  Exiting. \n"))
        ends = {"main():  ERROR", "copyRemainingObjectsToOutputLDIFFile():  ERROR"}
        self.prepare(everything())

        def check(result):
            line = f":  Unable to open temporary input LDIF file:  input.ldif.tmp. \n{' ' * 17}EXITING \n"
            ends.difference_update(end for end in set(ends) if result.trace.endswith(end + line))

        self.each_fault(check, {"call": "open", "file": "input.ldif.tmp"}, trace="trace", echo=True)
        self.assertEqual(ends, set())
        self.assertTrue(self.last_trace("read", "input.ldif", 1).endswith(
            "main():  Failed to copy original input ldif file to the temporary input ldif file  \n"
            "         that will be used for processing.                                         \n"))

    def test_is_named_in_the_trace_when_an_entry_cannot_be_read(self):
        self.prepare(everything())
        expected = self.undisturbed()
        lines = set()

        def check(result):
            self.assertHarmless(result, expected, READING)
            if result.status == 255:
                lines.add(result.trace.splitlines()[-1])

        self.each_fault(check, {"call": "read", "file": ".tmp"}, trace="trace")
        error = "():  ERROR:  The next object could not be read successfully.  EXITING.  "
        self.assertEqual(lines, {"main" + error, "copyRemainingObjectsToOutputLDIFFile" + error})

    def test_does_no_harm_when_it_is_the_copy_for_inspection(self):
        self.prepare(several_windows())
        expected = self.undisturbed()
        for call in ("open", "write", "close", "ftruncate", "fstat"):
            self.each_fault(lambda result: self.assertSucceeded(result, expected),
                            {"call": call, "file": "TEMPORARY_INPUT_LDIF_FILE"}, trace="trace")

    def test_is_named_when_it_is_the_trace(self):
        self.prepare(everything())
        expected = self.undisturbed(trace="trace")
        message = f"{OPENING}|The file trace could not be opened: Input/output error"
        for call in ("open", "ftruncate", "flock", "fcntl"):
            self.each_fault(lambda result: self.assertFailed(result, message), {"call": call, "file": "trace"},
                            trace="trace")
        codes = []

        def check(result):
            # A look at its name before it is opened may be in vain.
            self.assertHarmless(result, expected, f"{OPENING}|The file trace could not be opened: ")
            codes.extend(result.codes())

        self.each_fault(check, {"call": "fstat", "file": "trace"}, trace="trace")
        self.assertIn(OPENING, codes)


class TheTraceAndTheNotices(FaultTest):
    """Whatever is lost of them, the conversion goes on and ends as it would."""

    # Every one up to here, and some of the many that follow.
    NUMBERS = [*range(1, 60), *range(60, 3000, 61)]

    def test_may_lose_a_line_of_the_trace(self):
        self.prepare(everything())
        expected = self.undisturbed(trace="trace")
        for more in ({}, {"lasting": 1}):
            self.each_fault(lambda result: self.assertSucceeded(result, expected),
                            {"call": "fflush", "file": "trace", "errno": "ENOSPC", **more}, self.NUMBERS, trace="trace")

    def test_may_lose_a_line_of_the_trace_of_a_run_that_fails(self):
        self.prepare(everything() + group("lone"))
        for more in ({}, {"lasting": 1}):
            self.each_fault(lambda result: self.assertFailed(result, PROCESSING),
                            {"call": "fflush", "file": "trace", **more}, self.NUMBERS[::3], trace="trace")

    def test_may_lose_a_notice(self):
        notices = tempfile.TemporaryFile(dir=FOLDER)  # which has no name any more
        self.addCleanup(notices.close)

        def check(result):
            self.assertEqual(result.status, 0)
            self.assertTrue(result.output == expected, "the output differs")

        self.prepare(everything())
        for echo in (False, True):
            for more in ({}, {"lasting": 1}):
                expected = self.undisturbed()
                self.each_fault(check, {"call": "fflush", "file": " (deleted)", **more}, echo=echo, stdout=notices)

    def test_may_lose_the_message_of_the_failure(self):
        self.prepare(everything() + group("lone"))
        errors = tempfile.TemporaryFile(dir=FOLDER)
        self.addCleanup(errors.close)
        self.each_fault(lambda result: self.assertEqual(result.status, 255),
                        {"call": "fflush", "file": " (deleted)"}, stderr=errors)


class StandardStreams(FaultTest):
    def setUp(self):
        super().setUp()
        self.prepare(everything())
        self.expected = self.undisturbed()

    def shell(self, redirections):
        return ("sh", "-c", f'exec "$@" {redirections}', "sh")

    def test_may_be_closed_at_the_start(self):
        ends = ("<&-", ">&-", "2>&-")
        for count in (1, 2, 3):
            for closed in itertools.combinations(ends, count):
                with self.subTest(closed=closed):
                    result = self.run_tool(command=self.shell(" ".join(closed)), trace="trace", echo=True)
                    self.assertSucceeded(result, self.expected)
                    self.assertTrue(result.trace.startswith("main():  FUNCTION ENTRY  \n"))
                    self.assertNotIn("tqldif2v6: ", result.trace)
                    self.assertNotIn(b"tqldif2v6: ", self.content("input.ldif.tmp"))

    def test_may_be_closed_when_the_run_fails(self):
        self.prepare(everything() + group("lone"))
        result = self.run_tool(command=self.shell("<&- >&- 2>&-"), trace="trace", echo=True)
        self.assertEqual(result.status, 255)
        for name in ("output.ldif", "input.ldif.tmp", "trace"):
            self.assertNotIn(b"tqldif2v6: ", self.content(name))

    def test_cannot_be_replaced_when_closed_without_a_null_device(self):
        for closed in (">&-", ">&- 2>&-", "<&- >&- 2>&-"):
            result = self.run_tool(command=self.shell(closed), fault={"call": "open", "number": 1, "file": "/dev/null"})
            self.assertTrue(result.is_delivered)
            if result.status == 0:
                self.assertTrue(result.output == self.expected, "the output differs")

    def test_may_be_a_full_device(self):
        for echo in (False, True):
            for trace in (None, "trace", "/dev/full"):
                result = self.run_tool(command=self.shell(">/dev/full 2>/dev/full"), trace=trace, echo=echo)
                self.assertSucceeded(result, self.expected)
        self.assertSucceeded(self.run_tool(trace="/dev/full"), self.expected)

    def test_may_be_a_pipe_that_nobody_reads(self):
        for echo in (False, True):
            result = self.run_tool(stdout=self.broken_pipe(), stderr=self.broken_pipe(), trace="trace", echo=echo)
            self.assertSucceeded(result, self.expected)
        self.prepare(everything() + group("lone"))
        self.assertEqual(self.run_tool(stdout=self.broken_pipe(), stderr=self.broken_pipe(), echo=True).status, 255)

    def test_may_be_a_full_pipe_that_is_not_waited_for(self):
        for echo in (False, True):
            result = self.run_tool(stdout=self.full_pipe(), stderr=self.full_pipe(), trace="trace", echo=echo)
            self.assertSucceeded(result, self.expected)
        self.prepare(everything() + group("lone"))
        self.assertEqual(self.run_tool(stdout=self.full_pipe(), stderr=self.full_pipe(), echo=True).status, 255)

    def full_pipe(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        os.set_blocking(writing, False)
        for size in (4096, 1):
            try:
                while True:
                    os.write(writing, b"x" * size)
            except BlockingIOError:
                pass
        return writing

    def broken_pipe(self):
        reading, writing = os.pipe()
        os.close(reading)
        self.addCleanup(os.close, writing)
        return writing


if __name__ == "__main__":
    scratch.use(sys.argv.pop(1), sys.argv.pop(1))
    program = unittest.main(exit=False)
    print("faults delivered:", dict(sorted(counts.items())), file=sys.stderr)
    sys.exit(not program.result.wasSuccessful())
