"""Notes of so many entries that they lie in a file, and what becomes of the run when that file cannot be had.

usage: test_notes.py TOOL INJECT_LIBRARY

The file has no name. Without it there are no notes, and entries are read: the output is the same.
"""
import os

import scratch
from exports import credentials, map_of_user, padding, user, users
from scratch import BY_READING, PROCESSING, READING

WORK_FILE = "input.ldif.tmp"
FILE_OF_NOTES = " (deleted)"  # what the system shows of the name of a file that has none
ENTRIES = 352_000  # whose notes, of 24 bytes, are beyond the 8 MiB for which no file is made


class NotesInAFile(scratch.ScratchTest):
    @classmethod
    def setUpClass(cls):
        # Entries of users are few, so that the runs are short.
        many = "".join(f"dn: cn={i},cn=ResCreds,secAuthority=Default\nobjectclass: secResCreds\n\n"
                       for i in range(ENTRIES))
        cls.expected = None
        cls.export = users(10) + many + "".join(map_of_user(f"b{i}") for i in range(8)) + "".join(
            user(f"b{i}", *padding(400)) for i in range(8))

    def setUp(self):
        super().setUp()
        self.write("input.ldif", self.export)
        if self.expected is None:
            self.assertSucceeded(self.run_with())
            type(self).expected = self.output()

    def run_with(self, **fault):
        self.file(WORK_FILE).unlink(missing_ok=True)
        run = self.run_tool("input.ldif", "output.ldif", "4", "4", fault={"report": "report", **fault})
        self.assertLessEqual(set(os.listdir(self.folder)), {"input.ldif", "output.ldif", "report", WORK_FILE})
        return run

    def each_fault(self, check, **fault):
        """Makes each of these calls fail, one in each run; returns how many there are."""
        for number in range(1, 100):
            with self.subTest(number=number, **fault):
                run = self.run_with(number=number, **fault)
                if self.content("report") != b"delivered":
                    self.assertGreater(number, 1)
                    return number - 1
                check(run)
        self.fail("there is no end of these calls")

    def assertConverts(self, run):
        self.assertSucceeded(run)
        self.assertOutput(self.expected)
        self.assertFalse(self.file(WORK_FILE).exists())

    def test_are_not_needed_when_there_is_no_such_file(self):
        self.each_fault(self.assertConverts, call="tmpfile", errno="EOPNOTSUPP")
        self.assertConverts(self.run_with(call="tmpfile", errno="EIO", lasting=1))

    def test_are_not_needed_when_there_is_no_room_in_it(self):
        self.each_fault(self.assertConverts, call="fallocate", errno="ENOSPC", file=FILE_OF_NOTES)
        self.assertConverts(self.run_with(call="fallocate", errno="EOPNOTSUPP", file=FILE_OF_NOTES, lasting=1))

    def test_are_not_needed_when_it_cannot_be_mapped(self):
        self.each_fault(self.assertConverts, call="mmap", errno="ENOMEM", file=FILE_OF_NOTES)
        self.assertConverts(self.run_with(call="mmap", errno="ENODEV", file=FILE_OF_NOTES, lasting=1))

    def test_are_not_needed_when_no_memory_can_be_had(self):
        calls = self.each_fault(self.assertConverts, call="mmap", errno="ENOMEM", without="tmpfile")
        self.assertGreater(calls, 8)
        for number in range(calls - 4, calls + 1):
            with self.subTest(number=number):
                self.assertConverts(self.run_with(call="mmap", errno="ENOMEM", number=number, lasting=1,
                                                  without="tmpfile"))

    def test_do_not_matter_to_what_is_left_by_a_run_that_fails(self):
        self.write("input.ldif", self.export + user("b1") + user("alone") + credentials("last"))
        expected = self.run_with(**BY_READING)
        self.assertFailedCleanly(expected, PROCESSING)
        left = self.content(WORK_FILE)
        self.assertIn(b"dn: ", left)
        for fault in ({}, {"call": "tmpfile"}, {"call": "fallocate", "file": FILE_OF_NOTES},
                      {"call": "mmap", "file": FILE_OF_NOTES}, {"call": "mmap", "number": 6}):
            with self.subTest(**fault):
                run = self.run_with(errno="ENOSPC", lasting=1, **fault)
                self.assertEqual((run.status, run.errors), (255, expected.errors))
                self.assertTrue(self.content(WORK_FILE) == left, "the work file differs")

    def test_are_not_cut_by_a_work_file_that_is(self):
        """The file without a name is another one."""
        run = self.run_with(call="lseek", file=WORK_FILE, number=2, shrink=WORK_FILE)
        self.assertFailedCleanly(run, READING, "something else has changed it")

    def test_are_gone_when_the_run_has_been_killed(self):
        process = self.start("input.ldif", "output.ldif", "4", "4",
                             fault={"call": "mmap", "file": FILE_OF_NOTES, "stop": 1})
        stopped = 0
        for _ in self.stops(process):
            stopped += 1
            process.kill()
        self.assertGreater(stopped, 0)
        self.assertLessEqual(set(os.listdir(self.folder)), {"input.ldif", "output.ldif", "report", WORK_FILE})


if __name__ == "__main__":
    scratch.main()
