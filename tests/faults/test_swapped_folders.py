"""A folder that is moved away from under a run, and a link to another one in its place: what is in that one stays.

usage: test_swapped_folders.py TOOL INJECT_LIBRARY
"""
import signal
import subprocess

import scratch
from exports import credentials, everything, users
from scratch import OPENING, PREPARATION, READING

STEPS = ("open", "fstat", "lseek", "read", "write", "close", "fsync", "unlink")


class ASwappedFolder(scratch.ScratchTest):
    def prepare(self):
        self.empty_folder()
        for folder in ("exports", "other"):
            self.file(folder).mkdir()
        self.write("exports/input.ldif", everything() + users(2))
        self.write("other/input.ldif", "kept\n")
        self.write("other/input.ldif.tmp", credentials("kept"))

    def swap(self):
        self.file("exports").rename(self.file("moved"))
        self.file("exports").symlink_to("other")

    @staticmethod
    def left_in(path):
        """The length of a file; none when it is gone."""
        return path.stat().st_size if path.exists() else None

    def each_moment(self, check, *signals):
        """Swaps the folders at every moment at which the work file is there, and hands what comes of it to a check."""
        swapped = 0
        for step in STEPS:
            for number in range(1, 1000):
                with self.subTest(step=step, number=number):
                    self.prepare()
                    process = self.start("exports/input.ldif", "output.ldif", "1", "1", stderr=subprocess.PIPE,
                                         stdout=subprocess.PIPE, fault={"call": step, "number": number, "stop": 1})
                    stopped = has_work_file = False
                    for _ in self.stops(process):
                        stopped = True
                        has_work_file = self.file("exports/input.ldif.tmp").exists()
                        if has_work_file:
                            self.swap()
                        for number_of_signal in signals:
                            process.send_signal(number_of_signal)
                    if has_work_file:
                        swapped += 1
                        self.assertEqual(self.content("other/input.ldif").decode(), "kept\n")
                        self.assertEqual(self.content("other/input.ldif.tmp").decode(), credentials("kept"))
                        self.assertEqual(self.content("moved/input.ldif").decode(), everything() + users(2))
                        check(self.result(process), self.left_in(self.file("moved/input.ldif.tmp")))
                if not stopped:
                    break
        self.assertGreater(swapped, 20)

    def test_loses_no_file_at_the_end(self):
        self.prepare()
        self.assertSucceeded(self.run_tool("exports/input.ldif", "output.ldif", "1", "1"))
        expected = self.output()
        converted = []

        def check(run, left):
            if run.status == 0:
                self.assertSucceeded(run)
                self.assertOutput(expected)
                self.assertIsNone(left)
                converted.append(run)
            else:
                self.assertRegex(run.errors, rf"^tqldif2v6: ({OPENING}|{PREPARATION}|{READING}) ERROR: ")
                self.assertEqual(run.status, 255)

        self.each_moment(check)
        self.assertTrue(converted)

    def test_loses_no_file_by_an_interruption(self):
        def check(run, left):
            self.assertEqual(run.status, -signal.SIGTERM)
            self.assertIn(left, (None, 0))  # empty: met when it had just come to be and was found no more

        self.each_moment(check, signal.SIGTERM)


if __name__ == "__main__":
    scratch.main()
