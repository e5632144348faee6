#!/usr/bin/env python3
"""The line on a terminal that shows how far the check and the account are.

    test_progress.py TOOL CHECK ACCOUNT

They are slowed down by the reader of what they find: a value of every user is replaced.
"""
import os
import pty
import re
import select
import subprocess
import sys
import time
import tty
import unittest

import folder as folders
from folder import INPUT, OUTPUT, Folder
from pieces import map_of, user

USERS = 20_000
SLOTS = (USERS, 1)
PART = 32_768     # bytes read at once
RATE = 900_000   # bytes read in a second
TIME_LIMIT = 60   # seconds

DRAWN = re.compile(r"\r([^\r\n]+)\x1b\[K")
ERASED = "\r\x1b[K"


def drain(descriptor, shown):
    while select.select([descriptor], [], [], 0)[0]:
        shown.append(os.read(descriptor, PART).decode())


class Progress(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Folder(b"".join(user(f"u{number}", "description: own") + map_of(f"u{number}", "description: map's")
                                     for number in range(USERS)))
        cls.addClassCleanup(cls.folder.__exit__)
        run = cls.folder.convert(SLOTS)
        assert run.returncode == 0, run.stderr

    def terminal(self):
        master, slave = pty.openpty()
        tty.setraw(slave)  # so that what is shown comes out as it went in
        for descriptor in (master, slave):
            self.addCleanup(os.close, descriptor)
        return master, slave

    def run_slowly(self, *command):
        """Returns what the program shows on its terminal while its findings are read slowly."""
        master, slave = self.terminal()
        process = subprocess.Popen(command, cwd=self.folder.path, stdout=subprocess.PIPE, stderr=slave)
        self.addCleanup(process.stdout.close)
        shown, received, began = [], 0, time.monotonic()
        while part := os.read(process.stdout.fileno(), PART):
            received += len(part)
            drain(master, shown)
            self.assertLess(time.monotonic() - began, TIME_LIMIT)
            time.sleep(max(0, began + received / RATE - time.monotonic()))
        self.assertEqual(process.wait(TIME_LIMIT), 1)
        drain(master, shown)
        return "".join(shown)

    def assertShown(self, name, text):
        drawn = DRAWN.findall(text)
        self.assertGreater(len(drawn), 1)
        places = []
        for line in drawn:
            place = re.fullmatch(rf"{name}: (entries|records): ([0-9]+) %", line)
            self.assertIsNotNone(place, line)
            places.append((place[1], int(place[2])))
        self.assertEqual(places, sorted(places))  # the entries come first
        self.assertLessEqual(places[-1], ("records", 100))
        self.assertTrue(text.endswith(ERASED), repr(text[-100:]))

    def test_the_check_shows_it_and_takes_the_line_away(self):
        self.assertShown("tqldif2v6-check", self.run_slowly(folders.programs["check"], "--json", INPUT))

    def test_the_account_shows_it_and_takes_the_line_away(self):
        self.assertShown("tqldif2v6-account", self.run_slowly(folders.programs["account"], "--json", INPUT, OUTPUT))

    def test_none_is_shown_where_standard_error_is_no_terminal(self):
        with open(self.folder.path / "shown", "w+b") as shown:
            with subprocess.Popen([folders.programs["check"], "--json", INPUT], cwd=self.folder.path,
                                  stdout=subprocess.PIPE, stderr=shown) as process:
                while os.read(process.stdout.fileno(), PART):
                    time.sleep(PART / RATE)
            shown.seek(0)
            self.assertEqual(shown.read(), b"")


if __name__ == "__main__":
    folders.programs.update(zip(("tool", "check", "account"), (os.path.abspath(path) for path in sys.argv[1:4])))
    unittest.main(argv=sys.argv[:1])
