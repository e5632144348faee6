"""What stands in the place of the work file, the trace or the copy of the work file is never written through.

usage: test_places.py TOOL INJECT_LIBRARY
"""
import os
import socket
import stat
import subprocess
import unittest

import scratch
from exports import everything
from scratch import COPY, NOBODY, OPENING, READING

WORK_FILE = "input.ldif.tmp"

LINK, SECOND_LINK, IRREGULAR, FOREIGN = (
    "a symbolic link stands in its place", "the file has a second hard link", "not a regular file",
    "the file belongs to another user")


class Places(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        # What is laid in a place, and why it is refused.
        self.obstacles = {
            "a symbolic link to a file": (lambda place: self.file(place).symlink_to("target"), LINK),
            "a symbolic link to another user's file": (lambda place: self.file(place).symlink_to("foreign"), LINK),
            "a symbolic link to nothing": (lambda place: self.file(place).symlink_to("nothing"), LINK),
            "a symbolic link to a device": (lambda place: self.file(place).symlink_to("/dev/null"), LINK),
            "a hard link to another file": (lambda place: os.link(self.file("target"), self.file(place)), SECOND_LINK),
            "a pipe": (lambda place: os.mkfifo(self.file(place)), IRREGULAR),
            "a folder": (lambda place: self.file(place).mkdir(), "Is a directory"),
            "a socket": (self.lay_socket, "No such device or address"),
        }
        if os.geteuid() == 0:
            self.obstacles["another user's file"] = (self.lay_foreign_file, FOREIGN)

    def lay_socket(self, place):
        listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(listener.close)
        listener.bind(os.path.relpath(self.file(place)))  # whose length is limited

    def lay_foreign_file(self, place):
        self.write(place, "kept\n", 0o666)
        os.chown(self.file(place), NOBODY, NOBODY)

    def prepare(self):
        self.empty_folder()
        self.write("input.ldif", everything())
        self.write("output.ldif", "of another day\n")
        self.write("target", "kept\n", 0o666)
        self.write("foreign", "kept\n", 0o666)
        if os.geteuid() == 0:
            os.chown(self.file("foreign"), NOBODY, NOBODY)

    def each_obstacle(self, place, check):
        """Lays every obstacle in a place and has a check run the tool; nothing that was there may change."""
        for kind, (lay, reason) in self.obstacles.items():
            with self.subTest(obstacle=kind):
                self.prepare()
                lay(place)
                self.watched(place, lambda reason=reason: check(reason))

    def watched(self, place, run):
        """Makes a run; what was there before stays as it was, the output too when the run is refused, and nothing comes
        out of a pipe."""
        before = self.snapshot()
        output = before.pop("output.ldif")
        pipe = None
        if stat.S_ISFIFO(self.file(place).lstat().st_mode):
            pipe = os.open(self.file(place), os.O_RDONLY | os.O_NONBLOCK)
        run()
        if pipe is not None:
            with open(pipe, "rb") as reader:
                self.assertEqual(reader.read() or b"", b"")
        after = self.snapshot()
        if place != COPY:
            self.assertEqual(after["output.ldif"], output)
        self.assertLessEqual(before.items(), after.items())
        self.assertLessEqual(after.keys() - before.keys(), {"output.ldif", WORK_FILE, "trace", COPY})

    def test_of_the_work_file_are_refused(self):
        for trace in ((), ("trace",)):
            self.each_obstacle(WORK_FILE, lambda reason: self.assertFailedCleanly(
                self.run_tool(*scratch.ARGUMENTS, *trace), OPENING, f"The file {WORK_FILE} could not", reason))

    def test_of_the_trace_are_refused(self):
        def check(reason):
            run = self.run_tool(*scratch.ARGUMENTS, "trace")
            self.assertFailedCleanly(run, OPENING, "The file trace could not", reason)

        self.each_obstacle("trace", check)

    def test_of_the_copy_are_left_alone(self):
        self.prepare()
        self.assertSucceeded(self.run_tool())
        expected = self.output()

        def check(reason):
            self.assertSucceeded(self.run_tool(*scratch.ARGUMENTS, "trace"))
            self.assertOutput(expected)
            self.assertIn(f"main():  The copy could not be made:  {reason}  \n", self.content("trace").decode())

        self.each_obstacle(COPY, check)

    def test_of_the_work_file_are_refused_in_the_middle_of_the_run_too(self):
        """Something is laid there whenever the work file has been closed, to be opened again for the next pass."""
        missing = {"nothing": (lambda place: None, "No such file or directory")}
        for kind, (lay, reason) in (self.obstacles | missing).items():
            for number in range(1, 100):
                with self.subTest(obstacle=kind, closed=number):
                    self.prepare()
                    if not self.swap_work_file(number, lay, reason):
                        self.assertGreater(number, 3)
                        break

    def swap_work_file(self, number, lay, reason):
        """Returns false when the work file is not closed so often, or not opened again."""
        process = self.start("input.ldif", "output.ldif", "1", "1", stderr=subprocess.PIPE,
                             fault={"call": "close", "file": ".tmp", "number": number, "stop": 1})
        stopped = False
        for _ in self.stops(process):
            stopped = True
            self.file(WORK_FILE).unlink()
            lay(WORK_FILE)
            before = self.snapshot()
        with process.stderr as stream:
            errors = stream.read().decode()
        if not stopped:
            self.assertEqual(process.returncode, 0)
            return False
        after = self.snapshot()
        changing = {"output.ldif"}
        if process.returncode == 0:  # that was the last time, and it is removed
            changing.add(WORK_FILE)
            self.assertEqual(after["target"], before["target"])
        else:
            self.assertEqual(process.returncode, 255)
            self.assertIn(errors, (
                f"tqldif2v6: {OPENING} ERROR: The file {WORK_FILE} could not be opened: {reason}\n",
                f"tqldif2v6: {READING} ERROR: The next entry of the work file {WORK_FILE} could not be read: "
                "something else has changed it\n"))
        for name in changing:
            before.pop(name, None)
            after.pop(name, None)
        self.assertEqual(after, before)
        return process.returncode == 255

    @unittest.skipUnless(os.geteuid() == 0, "only root can make a device")
    def test_of_the_work_file_and_the_copy_are_refused_when_they_are_devices(self):
        def lay_device(place):
            os.mknod(self.file(place), stat.S_IFCHR | 0o666, os.makedev(1, 3))  # takes all and holds nothing

        self.obstacles = {"a device": (lay_device, IRREGULAR)}
        self.test_of_the_work_file_are_refused()
        self.test_of_the_copy_are_left_alone()


if __name__ == "__main__":
    scratch.main()
