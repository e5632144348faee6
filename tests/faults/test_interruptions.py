"""Runs that are interrupted at random moments, and what they leave behind.

usage: test_interruptions.py TOOL [MOMENTS]   (moments for each signal; default 12)
"""
import os
import random
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "model"))
import generate  # noqa: E402  (beside the model)

tool = ""
moments = 12


class Interruption(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.export = b"".join(generate.lifelikePieces(5, 3000, 30, "shuffled"))
        with tempfile.TemporaryDirectory() as folder:
            began = time.perf_counter()
            cls.expected = cls.convert(Path(folder))
            cls.duration = time.perf_counter() - began

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.random = random.Random(1)

    @classmethod
    def start(cls, folder, *trace, **options):
        (folder / "input.ldif").write_bytes(cls.export)
        return subprocess.Popen([tool, "input.ldif", "output.ldif", "300", "3", *trace], cwd=folder,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)

    @classmethod
    def convert(cls, folder):
        assert cls.start(folder).wait() == 0
        return cls.output(folder)

    @classmethod
    def output(cls, folder):
        lines = (folder / "output.ldif").read_bytes().splitlines()
        return [line for line in lines if not line.startswith(b"installDate: ")]

    def interrupt(self, number, *trace, times=1, **options):
        """Interrupts a run at a random moment; returns its status."""
        run = self.start(self.folder, *trace, **options)
        time.sleep(self.random.uniform(0, self.duration * (20 if trace else 1)))
        for _ in range(times):
            run.send_signal(number)
        if run.wait() == 0:
            self.assertEqual(self.output(self.folder), self.expected)
        return run.returncode

    def check_what_is_left(self):
        self.assertEqual((self.folder / "input.ldif").read_bytes(), self.export)

    def test_by_a_signal_takes_the_work_file_away_and_leaves_by_the_signal(self):
        """Two at once are what some commands send."""
        for number, times in ((signal.SIGINT, 1), (signal.SIGTERM, 1), (signal.SIGHUP, 1), (signal.SIGTERM, 2)):
            interrupted = 0
            for moment in range(moments):
                with self.subTest(signal=number, times=times, moment=moment):
                    status = self.interrupt(number, times=times)
                    interrupted += status == -number
                    self.assertIn(status, (0, -number))
                    self.check_what_is_left()
                    self.assertFalse((self.folder / "input.ldif.tmp").exists())
            self.assertGreater(interrupted, 0)
            self.assertEqual(self.convert(self.folder), self.expected)

    def test_by_kill_leaves_the_input_as_it_was(self):
        for moment in range(moments):
            with self.subTest(moment=moment):
                self.assertIn(self.interrupt(signal.SIGKILL), (0, -signal.SIGKILL))
                self.check_what_is_left()
                (self.folder / "input.ldif.tmp").unlink(missing_ok=True)
        self.assertEqual(self.convert(self.folder), self.expected)

    def test_of_a_traced_run_leaves_the_work_file(self):
        run = self.start(self.folder, "trace")
        while not (self.folder / "input.ldif.tmp").exists():
            time.sleep(0.001)
        run.send_signal(signal.SIGTERM)
        self.assertEqual(run.wait(), -signal.SIGTERM)
        self.assertTrue((self.folder / "input.ldif.tmp").exists())

    def test_by_an_ignored_signal_does_nothing(self):
        ignore = {"preexec_fn": lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)}
        self.assertEqual(self.interrupt(signal.SIGHUP, **ignore), 0)

    def test_by_a_crash_leaves_no_core(self):
        self.assertEqual(self.interrupt(signal.SIGQUIT) in (0, -signal.SIGQUIT), True)
        self.assertEqual([name for name in os.listdir(self.folder) if "core" in name], [])


if __name__ == "__main__":
    tool = str(Path(sys.argv.pop(1)).resolve())
    if len(sys.argv) > 1 and sys.argv[1].isdigit():
        moments = int(sys.argv.pop(1))
    unittest.main()
