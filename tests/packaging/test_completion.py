#!/usr/bin/env python3
"""Completes command lines in bash as its user would and looks at what is offered."""

import pathlib
import subprocess
import tempfile
import unittest

LIBRARY = pathlib.Path("/usr/share/bash-completion/bash_completion")
COMPLETION = pathlib.Path(__file__).resolve().parents[2] / "packaging/bash-completion/tqldif2v6"

# Takes the words of the line as arguments, the last one being completed; prints what is offered, a line each.
SCRIPT = """
. "$LIBRARY" && . "$COMPLETION" || exit 1
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
COMP_LINE="$*"
COMP_POINT=${#COMP_LINE}
COMPREPLY=()
_tqldif2v6 tqldif2v6 "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
"""


@unittest.skipUnless(LIBRARY.exists(), "bash-completion is not installed")
class CompletionTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in ("export.ldif", "export of may.ldif", "10users.ldif"):
            (self.folder / name).touch()

    def offered(self, *arguments):
        environment = {"LIBRARY": str(LIBRARY), "COMPLETION": str(COMPLETION), "PATH": "/usr/bin:/bin"}
        run = subprocess.run(["bash", "-c", SCRIPT, "bash", "tqldif2v6", *arguments], cwd=self.folder,
                             env=environment, stdout=subprocess.PIPE, check=True, text=True)
        return sorted(run.stdout.splitlines())

    def test_files_are_offered_for_the_input(self):
        self.assertEqual(self.offered("e"), ["export of may.ldif", "export.ldif"])

    def test_files_are_offered_for_the_output(self):
        self.assertEqual(self.offered("in", "exp"), ["export of may.ldif", "export.ldif"])

    def test_nothing_is_offered_for_the_slot_counts(self):
        self.assertEqual(self.offered("in", "out", "1"), [])
        self.assertEqual(self.offered("in", "out", "10", "1"), [])
        self.assertEqual(self.offered("in", "out", ""), [])

    def test_files_are_offered_for_the_trace(self):
        self.assertEqual(self.offered("in", "out", "10", "10", "10"), ["10users.ldif"])

    def test_nothing_is_offered_behind_the_trace(self):
        self.assertEqual(self.offered("in", "out", "10", "10", "trace", "e"), [])


if __name__ == "__main__":
    unittest.main()
