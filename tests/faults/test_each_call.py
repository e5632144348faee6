"""Every call of a run fails once: the run then gives the output of an undisturbed one, or does not end as if it had.

usage: test_each_call.py TOOL INJECT_LIBRARY [EVERY]   (allocations beyond the first hundred: every so many; default 11)
"""
import os
import stat
import sys

import scratch
from exports import credentials, everything, group, map_of_group, map_of_user, user, users
from scratch import BY_MAPPED_TEXT, BY_NOTES, BY_READING, COPY

CALLS = ("malloc", "mmap", "read", "write", "open", "close", "dup", "lseek", "ftruncate", "fcntl", "fstat", "fsync",
         "flock", "unlink")
NOT_OF_A_TRACED_RUN = {"mmap", "unlink"}
NEEDED = set(CALLS) - {"dup", "fcntl"}  # those that every run makes
ALL_UP_TO = 100

every = 11


class EachCall(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        self.road = BY_MAPPED_TEXT
        self.prepare(users(7) + group("staff") + map_of_group("staff") + credentials("web")
                     + everything().replace("staff", "guests") + credentials("last"))

    def prepare(self, export):
        self.write("input.ldif", export)
        self.write("bystander", "kept\n", 0o600)
        self.kept = {name: self.content(name) for name in ("input.ldif", "bystander")}

    def numbers(self, call):
        yield from range(1, ALL_UP_TO)
        yield from range(ALL_UP_TO, 100_000, every if call == "malloc" else 1)

    def run_with(self, arguments, call, number, error):
        """A run in which this call fails; none when there is no such call."""
        for name in ("output.ldif", "input.ldif.tmp", "trace", COPY):
            self.file(name).unlink(missing_ok=True)
        run = self.run_tool(*arguments, fault={"call": call, "number": number, "errno": error, "report": "report",
                                               **self.road})
        return run if self.content("report") == b"delivered" else None

    def assertHarmless(self, run, expected):
        self.assertIn(run.status, (0, 255))
        if run.status == 0:
            self.assertOutput(expected)
        for name, content in self.kept.items():
            self.assertEqual(self.content(name), content)
        for path in self.folder.iterdir():
            self.assertEqual(stat.S_IMODE(path.stat().st_mode) & 0o077, 0, path.name)
        self.assertLessEqual(set(os.listdir(self.folder)),
                             {*self.kept, "report", "output.ldif", "input.ldif.tmp", "trace", COPY})

    def check(self, *arguments):
        self.assertSucceeded(self.run_tool(*arguments))
        expected = self.output()
        for call in CALLS:
            if call == "malloc" and scratch.sanitizer:
                continue  # which has an allocator of its own
            delivered = 0
            for number in self.numbers(call):
                with self.subTest(arguments=arguments, call=call, number=number):
                    run = self.run_with(arguments, call, number, "EINVAL" if call == "ftruncate" else "EIO")
                    if run is not None:
                        delivered += 1
                        self.assertHarmless(run, expected)
                if run is None:
                    break
            is_missing = call == "mmap" and self.road != BY_MAPPED_TEXT
            if call in NEEDED - (NOT_OF_A_TRACED_RUN if len(arguments) > 4 else set()) and not is_missing:
                with self.subTest(arguments=arguments, call=call):
                    self.assertGreater(delivered, 0, "no call to fail")

    def test_of_one_pass(self):
        self.check("input.ldif", "output.ldif", "20", "20")

    def test_of_many_passes(self):
        self.check("input.ldif", "output.ldif", "1", "1")

    def test_of_many_passes_that_cannot_map_the_work_file(self):
        self.road = BY_NOTES
        self.check("input.ldif", "output.ldif", "1", "1")

    def test_of_many_passes_that_have_no_room_for_notes(self):
        self.road = BY_READING
        self.check("input.ldif", "output.ldif", "1", "1")

    def test_of_passes_that_are_planned_anew(self):
        """Of a user that is there twice a pass takes what comes first."""
        twice = "".join(user(f"u{i}") * 2 + map_of_user(f"u{i}") * 2 for i in range(3))
        self.prepare(credentials("web") + twice + group("staff") + map_of_group("staff"))
        self.check("input.ldif", "output.ldif", "1", "1")

    def test_of_a_traced_run(self):
        self.check("input.ldif", "output.ldif", "1", "20", "trace")


if __name__ == "__main__":
    if sys.argv[-1].isdigit():
        every = int(sys.argv.pop())
    scratch.main()
