"""A failed run leaves its work file behind; the run after it reads that, too, and says so when it fails for it.

usage: test_left_over.py TOOL
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

project = Path(__file__).resolve().parent.parent.parent

tool = ""

USER = """\
dn: secAuthority=Default,cn={0},o=example
objectclass: secUser
secAuthority: Default
principalName: {0}

"""
MAP = """\
dn: cn=map-{0},cn=Users,secAuthority=Default
objectclass: secMap
secDN: cn={0},o=example

"""
WITHOUT_NAME = """\
dn: secAuthority=Default,cn=carl,o=example
objectclass: secUser
secAuthority: Default

"""


HINT = "A work file from an earlier run was converted as well and can be the cause."


class WorkFileLeftOver(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.work_file = self.folder / "input.ldif.tmp"

    def convert(self, *pieces, slots="10"):
        (self.folder / "input.ldif").write_text("".join(pieces))
        return subprocess.run([tool, "input.ldif", "output.ldif", slots, slots], cwd=self.folder, capture_output=True,
                              text=True, check=False)

    def assertFailed(self, run, code, *hints):
        """Failed with one message, which blames a work file only where it says so."""
        self.assertEqual(run.returncode, 255)
        self.assertRegex(run.stderr, rf"^tqldif2v6: {code} ERROR: [^\n]*\n$")
        self.assertEqual(re.findall(HINT, run.stderr), list(hints))

    def assertTold(self, run, size):
        """The notice about the preparation says whether there was a work file."""
        told = f"A work file from an earlier run is there, and its {size} bytes will be converted as well."
        self.assertIn(told if size is not None else "There is no work file from an earlier run.", run.stdout)

    def check_the_way_out(self, code, *mended):
        """The mended input fails as well, until the work file has been removed."""
        size = self.work_file.stat().st_size
        run = self.convert(*mended)
        self.assertTold(run, size)
        self.assertFailed(run, code, HINT)
        self.assertTrue(self.work_file.exists())
        self.work_file.unlink()
        run = self.convert(*mended)
        self.assertTold(run, None)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertFalse(self.work_file.exists())

    def test_that_holds_the_same_entries_is_blamed(self):
        self.assertFailed(self.convert(USER.format("anna"), MAP.format("anna"), WITHOUT_NAME), 380928302)
        self.check_the_way_out(380928303, USER.format("anna"), MAP.format("anna"))

    def test_that_holds_what_the_input_has_lost_is_blamed(self):
        self.assertFailed(self.convert(MAP.format("anna"), WITHOUT_NAME), 380928302)
        self.check_the_way_out(380928302, USER.format("bert"), MAP.format("bert"))

    def test_of_a_failure_in_the_passes_is_blamed(self):
        lone = USER.format("anna")
        both = USER.format("bert") + MAP.format("bert")
        self.assertFailed(self.convert(lone, both, slots="1"), 380928302)
        self.check_the_way_out(380928303, lone, MAP.format("anna"), both)

    def test_may_hold_an_entry_that_just_fills_the_memory_for_one(self):
        """The input cannot bring one into the work file."""
        entry = "dn: cn=web,cn=ResCreds,secAuthority=Default\nobjectclass: secResCreds\n" + "a: b\n" * 249_998
        self.work_file.write_text(entry + "\n")
        run = self.convert()
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual((self.folder / "output.ldif").read_text(), entry + "\n")

    def test_is_spoken_of_by_the_documents(self):
        """That it is appended to, and to be removed."""
        for name in ("README.md", "packaging/man/tqldif2v6.1"):
            text = re.sub(r"\s+", " ", (project / name).read_text(encoding="utf-8"))
            with self.subTest(document=name):
                found = re.search(r"remove it before the next run ?, which would append to it and (read|convert)", text)
                self.assertIsNotNone(found)


if __name__ == "__main__":
    tool = str(Path(sys.argv.pop(1)).resolve())
    unittest.main()
