#!/usr/bin/env python3
"""Completes command lines in bash as its user would and looks at what is offered."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import skips  # noqa: E402  (one folder up)

LIBRARY = pathlib.Path("/usr/share/bash-completion/bash_completion")
COMPLETIONS = pathlib.Path(__file__).resolve().parents[2] / "packaging/bash-completion"

# Takes the words of the line as arguments, the last one being completed; prints what is offered, a line each.
SCRIPT = """
. "$LIBRARY" && . "$COMPLETION" || exit 1
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
COMP_LINE="$*"
COMP_POINT=${#COMP_LINE}
COMPREPLY=()
function=$(complete -p "$1")
function=${function#*-F }
${function%% *} "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
"""


@unittest.skipUnless(LIBRARY.exists(), "bash-completion is not installed")
class Completion(unittest.TestCase):
    program = ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in ("export.ldif", "export of may.ldif", "10users.ldif"):
            (self.folder / name).touch()

    def offered(self, *arguments):
        environment = {"LIBRARY": str(LIBRARY), "COMPLETION": str(COMPLETIONS / self.program), "PATH": "/usr/bin:/bin"}
        run = subprocess.run(["bash", "-c", SCRIPT, "bash", self.program, *arguments], cwd=self.folder,
                             env=environment, stdout=subprocess.PIPE, check=True, text=True)
        return sorted(run.stdout.splitlines())


class OfTheTool(Completion):
    program = "tqldif2v6"

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


class OfTheCheck(Completion):
    program = "tqldif2v6-check"

    def test_files_are_offered_for_the_input(self):
        self.assertEqual(self.offered("e"), ["export of may.ldif", "export.ldif"])
        self.assertEqual(self.offered("--json", "1"), ["10users.ldif"])

    def test_files_are_offered_for_both_names_of_the_split_and_the_input(self):
        for before in (["--split"], ["--split", "good"], ["--split", "good", "rejected"]):
            self.assertEqual(self.offered(*before, "exp"), ["export of may.ldif", "export.ldif"])

    def test_nothing_is_offered_for_the_slot_counts(self):
        self.assertEqual(self.offered("in", "1"), [])
        self.assertEqual(self.offered("--split", "good", "rejected", "in", "10", "1"), [])

    def test_options_are_offered(self):
        self.assertEqual(self.offered("--"), ["--all", "--help", "--json", "--split", "--values", "--version"])
        self.assertEqual(self.offered("in", "--j"), ["--json"])


class OfTheAccount(Completion):
    program = "tqldif2v6-account"

    def test_files_are_offered_for_the_input_and_the_output(self):
        self.assertEqual(self.offered("e"), ["export of may.ldif", "export.ldif"])
        self.assertEqual(self.offered("--all", "in", "exp"), ["export of may.ldif", "export.ldif"])

    def test_nothing_is_offered_behind_the_output(self):
        self.assertEqual(self.offered("in", "out", "e"), [])

    def test_nothing_is_offered_for_a_dn(self):
        self.assertEqual(self.offered("--entry", "e"), [])
        self.assertEqual(self.offered("--entry", "'cn=a,o=b'", "e"), ["export of may.ldif", "export.ldif"])

    def test_options_are_offered(self):
        self.assertEqual(self.offered("--"), ["--all", "--entry", "--help", "--json", "--values", "--version"])


del Completion

if __name__ == "__main__":
    skips.main()
