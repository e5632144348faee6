"""An output that is a pipe: the run waits for its reader, and misses it when it leaves.

usage: test_pipes.py TOOL INJECT_LIBRARY
"""
import os
import re
import select
import signal
import subprocess
import threading
import time

import scratch
from exports import credentials, everything, padding, unit, users
from scratch import COPY, WRITING

WORK_FILE = "input.ldif.tmp"
WAITING = 0.5  # seconds in which a run that does not wait would have ended
MORE_THAN_A_PIPE_HOLDS = 300_000  # bytes


class AnOutputPipe(scratch.ScratchTest):
    def prepare(self, export):
        self.empty_folder()
        self.export = export
        self.write("input.ldif", export)
        os.mkfifo(self.file("pipe"))

    def start_waiting(self, *arguments):
        process = self.start("input.ldif", "pipe", *(arguments or ("10", "10")), stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE)
        self.addCleanup(self.end, process)
        time.sleep(WAITING)
        self.assertIsNone(process.poll(), "the run did not wait for a reader")
        return process

    def read_all(self):
        """What comes out of the pipe until its writer is gone; nothing when it never had one."""
        descriptor = os.open(self.file("pipe"), os.O_RDONLY | os.O_NONBLOCK)
        self.assertTrue(select.select([descriptor], [], [], scratch.TIMEOUT)[0], "nothing is written to the pipe")
        os.set_blocking(descriptor, True)
        with open(descriptor, "rb") as reader:
            return reader.read()

    def test_gives_its_reader_the_whole_output(self):
        slots = {"one pass": ("10", "10"), "several passes": ("1", "1"), "a trace": ("1", "1", "trace")}
        exports = {"small": everything(), "large": everything() + unit(*padding(MORE_THAN_A_PIPE_HOLDS))
                   + credentials("big", *padding(MORE_THAN_A_PIPE_HOLDS))}
        for size, export in exports.items():
            for kind, arguments in slots.items():
                with self.subTest(export=size, run=kind):
                    self.prepare(export)
                    self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", *arguments))
                    for name in (WORK_FILE, "trace", COPY):
                        self.file(name).unlink(missing_ok=True)
                    process = self.start_waiting(*arguments)
                    received = self.read_all()
                    process.wait(scratch.TIMEOUT)
                    self.assertSucceeded(self.result(process))
                    self.assertTrue(re.sub(rb"installDate: \d{14}", b"", received) == self.output(),
                                    "the reader gets something else")
                    self.assertEqual(self.file(WORK_FILE).exists(), kind == "a trace")

    def test_that_nobody_reads_can_be_interrupted(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(signal=number):
                self.prepare(everything())
                process = self.start_waiting()
                process.send_signal(number)
                self.assertEqual(process.wait(scratch.TIMEOUT), -number)
                self.assertEqual(set(os.listdir(self.folder)), {"input.ldif", "pipe"})
                self.assertEqual(self.content("input.ldif").decode(), self.export)

    def test_is_missed_when_its_reader_leaves(self):
        for size in (1, 100_000):
            for arguments in (("10", "10"), ("1", "1")):
                with self.subTest(read=size, slots=arguments):
                    self.prepare(everything() + unit(*padding(MORE_THAN_A_PIPE_HOLDS)) + unit(*padding(1000)))
                    reader = threading.Thread(target=self.read_some, args=(size,))
                    reader.start()
                    run = self.run_tool("input.ldif", "pipe", *arguments)
                    reader.join()
                    self.assertFailedCleanly(run, WRITING, "Writing to the file pipe failed: Broken pipe")
                    self.assertEqual(self.content("input.ldif").decode(), self.export)

    def test_is_missed_wherever_the_run_is(self):
        """In the preparation, in a pass with more than is collected, in the final copy, behind an entry of it."""
        self.prepare(unit(*padding(2000)) + users(100, *padding(3_500)) + credentials("web", *padding(70_000))
                     + credentials("last"))
        self.assertSucceeded(self.run_tool("input.ldif", "output.ldif", "100", "1"))
        length = len(self.output())
        for size in (1, *range(20_000, length, length // 40), length - 70_000, length - 100, length - 1):
            with self.subTest(read=size):
                reader = threading.Thread(target=self.read_some, args=(size,))
                reader.start()
                run = self.run_tool("input.ldif", "pipe", "100", "1")
                reader.join()
                if run.status == 0:  # the rest was in the pipe when the reader left
                    self.assertGreater(size, length - 70_000)
                else:
                    self.assertFailedCleanly(run, WRITING, "Writing to the file pipe failed: Broken pipe")
                self.file(WORK_FILE).unlink(missing_ok=True)

    def read_some(self, size):
        with open(self.file("pipe"), "rb", buffering=0) as reader:
            while size > 0:
                size -= len(reader.read(size))


if __name__ == "__main__":
    scratch.main()
