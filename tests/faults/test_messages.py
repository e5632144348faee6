"""Each message and each sentence of its details stands whole somewhere: in a golden run or, where only a machine that
fails brings it about, here.

usage: test_messages.py TOOL INJECT_LIBRARY
"""
import re
import sys
import unittest
from pathlib import Path

import scratch
from exports import authority, everything, map_of_user, user
from scratch import BY_NOTES, BY_READING

project = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(project / "tests" / "golden"))
import run_golden  # noqa: E402  (beside the golden runs)

CATALOGUE = project / "src/platform/message_catalogue.cpp"

STOPPED = "and the conversion has stopped."
NOT_BLANKED_HINT = "What had been gathered could not be taken out of the work file: remove it before you start again."

# Several windows, between which what has been blanked out is written.
LARGE = "".join(make(f"u{i}", *["description: " + "x" * 3000] * 3) for make in (user, map_of_user) for i in range(3))

# What the machine fails at, and the message whole.
FAILURES = (
    ({"call": "malloc", "number": 5},
     "380928300 ERROR: Memory is exhausted. Give the conversion more memory or smaller slot counts."),
    ({"call": "lseek", "errno": "ESPIPE"},
     "380928301 ERROR: fgetpos() failed with return code -1: a position in a file could not be saved or restored."),
    ({"call": "localtime"},
     "380928302 ERROR: The entry secAuthority=Default (line 1) gets no install date because the local time is not "
     f"known, {STOPPED} Mend the time zone or add an installDate line."),
    ({"call": "write", "file": ".tmp", "number": 2, **BY_READING},
     "380928302 ERROR: The entry cn=m-u0,cn=Users,secAuthority=Default (line 28) could not be taken out of the work "
     f"file input.ldif.tmp (Input/output error), {STOPPED} Make room or mend the disk, remove the work file and start "
     "again."),
    ({"call": "read", "file": "input.ldif"},
     "380928305 ERROR: The input file input.ldif could not be prepared: Input/output error"),
    ({"call": "read", "file": ".tmp", **BY_NOTES},
     "380928307 ERROR: The next entry of the work file input.ldif.tmp could not be read: Input/output error"),
    ({"call": "read", "file": ".tmp", "number": 2, "lasting": 1, **BY_NOTES},
     "380928307 ERROR: The next entry of the work file input.ldif.tmp could not be read: Input/output error "
     + NOT_BLANKED_HINT),
)
WORK_FILE_STAYS = ("380928315 NOTICE: The conversion is complete. Written: users 0, groups 0, policies 0, "
                   "resource credentials 0, entries copied as they were 1. Not written: policy data 0. "
                   "The work file input.ldif.tmp could not be removed: Input/output error.")

# Sentences that none of these runs comes to. The model has those of an entry whole.
NOT_REACHED = {"NOT_STEPPED_OVER", "NOTHING_GATHERED", "POLICY_WITHOUT_AUTHORITY"}
# Parts of messages, and lines of their own, that the tests of streams, progress and interruptions and the unit tests
# ask for.
ASKED_FOR_ELSEWHERE = {"CONCERNED", "HIDDEN_SUBJECT", "REASON_BEHIND", "LED_TO_BY_STREAM", "TOO_MANY_STREAMS",
                       "NO_POSITION", "STANDARD_ERROR_USED", "STANDARD_OUTPUT_USED", "PROGRESS_OF_PREPARATION",
                       "PROGRESS_OF_PASSES", "INTERRUPTED_AT_FIRST", "INTERRUPTED", "INTERRUPTED_WHEN_COMPLETE"}


class AFailingMachine(scratch.ScratchTest):
    def test_is_told_in_whole_messages(self):
        for fault, message in FAILURES:
            with self.subTest(message=message):
                if scratch.sanitizer and fault["call"] == "malloc":
                    self.skipTest("the sanitizer has an allocator of its own")
                self.empty_folder()
                self.write("input.ldif", LARGE if fault["call"] == "write" else everything())
                run = self.run_tool("input.ldif", "output.ldif", "1", "1", fault=fault)
                self.assertEqual((run.status, run.errors), (255, f"tqldif2v6: {message}\n"))

    def test_is_told_behind_the_last_notice(self):
        self.write("input.ldif", authority())
        run = self.run_tool(fault={"call": "unlink"})
        self.assertEqual((run.status, run.errors), (0, ""))
        self.assertEqual(run.notices.splitlines()[-1], f"tqldif2v6: {WORK_FILE_STAYS}")


def catalogue():
    """The texts of the messages by their numbers, and the sentences of the details by their names."""
    source = CATALOGUE.read_text()
    macros = re.findall(r"^#define (\w+) (.*)$", source, re.MULTILINE)
    for name, value in reversed(macros):  # each uses those before it
        source = re.sub(rf"\b{name}\b", lambda _, value=value: value, source)
    literals = r'((?:"[^"]*"\s*)+)'
    messages = re.findall(r"\{(\d+), \w+, \w+,\s*" + literals + r"\}", source)
    details = re.findall(literals + ",", re.search(r"detailTexts\[\] = \{(.*?)\n\};", source, re.DOTALL)[1])
    names = re.findall(r"^  ([A-Z_]+)", (project / "src/platform/detail_texts.h").read_text(), re.MULTILINE)
    return ({number: joined(text) for number, text in messages},
            dict(zip(names[:-1], map(joined, details), strict=True)))


def joined(literals):
    return "".join(re.findall(r'"([^"]*)"', literals)).replace(r"\n", "\n")


def pattern(text):
    return re.sub(r"%[sd]|\\\{\d+\\\}", ".+", re.escape(text))


class Messages(unittest.TestCase):
    def setUp(self):
        self.texts, self.details = catalogue()
        expected = [case.given.get(name, "") for case in run_golden.cases() for name in ("stdout", "stderr")]
        lines = [line for text in expected for line in text.split("\n")]
        self.whole = [line for line in lines if line.startswith("tqldif2v6: ")]
        self.whole += [f"tqldif2v6: {message}" for message in (*(message for _, message in FAILURES), WORK_FILE_STAYS)]
        # A sentence may stand by itself, too, where other tests ask for it.
        scripts = [path.read_text() for path in Path(__file__).parent.glob("*.py")]
        self.told = self.whole + [line for line in lines if line.startswith("#")] + expected + scripts

    def assertWhole(self, regex, what, texts):
        self.assertTrue(any(re.search(regex, text) for text in texts), f"no run has the whole text of {what}")

    def test_stand_whole_in_a_run(self):
        codes = re.findall(r"= (\d{9})", (project / "src/platform/message_codes.h").read_text())
        self.assertEqual(sorted(codes), sorted(self.texts))
        # A sentence of the details takes the place of these texts.
        replaced = re.findall(r"\{(\d+), \w+, SENTENCE_IN_PLACE", CATALOGUE.read_text())
        for number, text in self.texts.items():
            with self.subTest(number=number):
                self.assertWhole(f"^tqldif2v6: {number} [A-Z]+: {'' if number in replaced else pattern(text)}", number,
                                 self.whole)

    def test_stand_with_every_sentence_of_their_details(self):
        for name, text in self.details.items():
            if name not in NOT_REACHED | ASKED_FOR_ELSEWHERE:
                with self.subTest(detail=name):
                    self.assertWhole(pattern(text), name, self.told)


if __name__ == "__main__":
    scratch.main()
