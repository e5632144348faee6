"""The line on a terminal that shows how far a run is.

usage: test_progress.py TOOL INJECT_LIBRARY

A run is slowed down by the reader of the pipe that it writes to. The terminal is its standard error and output.
"""
import os
import pty
import re
import select
import signal
import subprocess
import termios
import time
import tty

import scratch
from exports import everything, group, padding, unit, users
from scratch import COMPLETE, PROCESSING

SIZE = 2_000_000  # bytes of either half of the output
PART = 32_768  # bytes read at once
RATE = 800_000  # bytes read in a second

DRAWN = re.compile(r"\r([^\r\n]+)\x1b\[K")
ERASED = "\r\x1b[K"


class Progress(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        # In entries of which no one takes long; the second half is written by many passes.
        half = SIZE // 4000
        self.export = unit(*padding(4000)) * half + users(half, *padding(3000))
        self.write("input.ldif", self.export)
        os.mkfifo(self.file("pipe"))

    def run_slowly(self, stdout, stderr, reading):
        """Reads what a run shows from a descriptor, while its output is read slowly; returns what it showed, piece by
        piece, each with the seconds since the start."""
        pipe = os.open(self.file("pipe"), os.O_RDONLY | os.O_NONBLOCK)
        self.addCleanup(os.close, pipe)
        began = time.monotonic()
        self.process = self.start("input.ldif", "pipe", "20", "20", stdout=stdout, stderr=stderr)
        self.addCleanup(self.end, self.process)
        shown = []
        received = 0
        while self.process.poll() is None:
            now = time.monotonic() - began
            self.assertLess(now, scratch.TIMEOUT)
            if received < now * RATE and select.select([pipe], [], [], 0)[0]:
                received += len(os.read(pipe, PART))
            if select.select([reading], [], [], 0.005)[0]:
                shown.append((now, os.read(reading, 65536).decode()))
        while select.select([reading], [], [], 0)[0]:
            shown.append((time.monotonic() - began, os.read(reading, 65536).decode()))
        return shown

    def terminal(self):
        master, slave = pty.openpty()
        tty.setraw(slave)  # so that what is shown comes out as it went in
        for descriptor in (master, slave):
            self.addCleanup(os.close, descriptor)
        return master, slave

    def pipe(self):
        reading, writing = os.pipe()
        for descriptor in (reading, writing):
            self.addCleanup(os.close, descriptor)
        return reading, writing

    def assertTidy(self, text):
        """Every message begins where nothing else is shown, and no line of progress is left."""
        for message in re.finditer("tqldif2v6: [0-9]", text):
            before = text[:message.start()]
            self.assertTrue(before == "" or before.endswith(("\n", ERASED)), repr(before[-100:]))
        self.assertNotIn("\x1b", text.split("\n")[-1].replace(ERASED, "", 1))
        self.assertEqual(re.sub(r"\r[^\r\n]*\x1b\[K", "", text).count("\r"), 0)

    def test_is_shown_on_a_terminal(self):
        master, slave = self.terminal()
        shown = self.run_slowly(slave, slave, master)
        self.assertEqual(self.process.returncode, 0)
        text = "".join(piece for _, piece in shown)
        self.assertIn(COMPLETE, text)
        lines = DRAWN.findall(text)
        self.assertGreaterEqual(len(lines), 2, text)
        for line in lines:
            self.assertRegex(line, r"\bpreparation\b|\bpasses\b")
            self.assertRegex(line, r"\b\d{1,3} %")
            self.assertRegex(line, r"\b\d+(\.\d+)? [kKMG]?B/s")
            self.assertIn("left", line)
        for part in ("preparation", "passes"):
            percentages = [int(re.search(r"(\d+) %", line)[1]) for line in lines if part in line]
            self.assertTrue(percentages, f"no line shows the {part}")
            self.assertEqual(percentages, sorted(percentages))
            self.assertLessEqual(percentages[-1], 100)
        self.assertIn(ERASED, text)
        self.assertTidy(text)
        first = next(now for now, piece in shown if "\x1b" in piece)
        self.assertGreater(first, 0.9)
        self.assertLess(first, 3)
        # A run that has ended by then shows none.
        self.write("input.ldif", everything())
        self.assertEqual(self.run_tool(stderr=slave).status, 0)
        self.assertEqual(select.select([master], [], [], 0)[0], [])

    def test_is_shown_on_standard_error_alone(self):
        master, slave = self.terminal()
        reading, writing = self.pipe()
        for stdout, stderr, end, is_drawn in ((writing, slave, master, True), (slave, writing, reading, False)):
            text = "".join(piece for _, piece in self.run_slowly(stdout, stderr, end))
            self.assertEqual(self.process.returncode, 0)
            self.assertEqual("\x1b" in text, is_drawn)
            if not is_drawn:
                self.assertEqual(text, "")
            # What the other end got has not been read.
            other = master if end == reading else reading
            self.assertNotIn(b"\x1b", os.read(other, 65536))

    def test_keeps_no_interrupted_run_from_ending(self):
        """A terminal that has been stopped takes nothing, not even the line that says what was interrupted."""
        master, slave = self.terminal()
        process = self.start("input.ldif", "pipe", "10", "10", stdout=subprocess.DEVNULL, stderr=slave)
        self.addCleanup(self.end, process)
        reader = os.open(self.file("pipe"), os.O_RDONLY)
        self.addCleanup(os.close, reader)
        os.read(reader, 4096)
        time.sleep(1.2)  # from now on a line is drawn
        for _ in range(8):
            os.read(reader, 65536)
            time.sleep(0.1)
        termios.tcflow(slave, termios.TCOOFF)
        process.send_signal(signal.SIGTERM)
        try:
            self.assertEqual(process.wait(10), -signal.SIGTERM)
        finally:
            termios.tcflow(slave, termios.TCOON)

    def test_makes_way_for_the_message_of_a_failure(self):
        self.write("input.ldif", self.export + group("lone"))
        master, slave = self.terminal()
        text = "".join(piece for _, piece in self.run_slowly(slave, slave, master))
        self.assertEqual(self.process.returncode, 255)
        self.assertRegex(text, DRAWN)
        self.assertRegex(text, rf"tqldif2v6: {PROCESSING} ERROR: [^\r\x1b]*\n$")
        self.assertTidy(text)


if __name__ == "__main__":
    scratch.main()
