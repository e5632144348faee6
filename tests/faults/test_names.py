"""Files of any name: they are used under that very name, or refused with one message; no shell, no format, no option
is seen in one.

usage: test_names.py TOOL INJECT_LIBRARY
"""
import itertools
import os
import unicodedata

import scratch
from exports import everything
from scratch import COPY, OPENING, USAGE

INPUT, OUTPUT, TRACE = b"input.ldif", b"output.ldif", b"trace"
ROLES = {"input": 0, "output": 1, "trace": 4}  # where on the command line

NAMES = (
    b" ", b"a b", b" before", b"behind ", b"\t", b"new\nline", b"\n", b"return\r", b"back\bspace", b"\x1b[2J", b"\x7f",
    b"it's", b'"quoted"', b"`touch owned`", b"$(touch owned)", b"${HOME}", b"$HOME", b"a;touch owned", b"a&touch owned",
    b"a|touch owned", b"a>owned", b"<owned", b"a\ntouch owned\n", b"*", b"?", b"[a-z]", b"{a,b}", b"~", b"~root", b"!1",
    b"#", b"a#", b"\\", b"a\\nb", b"%s", b"%n%n%n%n", b"%1$s", b"%", b"-", b"--", b"-rf", b"--help", b"-v", b"=",
    b"a=b", b":", b"a:b", b"@", b"(", b")", b"...", b".hidden", b"\xff", b"a\xff\xfeb", b"\xc3", b"\xc0\xaf",
    b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"\xe2\x82", b"\xc2\x9b2J", b"\x9b2J", "ä€😀".encode(), b"a\xc2\x85b",
    b"1", b"stdout", b"con", b"input.ldif.tm", b"x" * 251,
)


def visible(name):
    """A name as messages show it: its characters, but for those that a terminal may obey and what is no character."""
    shown = bytearray()
    for character in name.decode("utf-8", "surrogateescape"):
        encoded = character.encode("utf-8", "surrogateescape")
        hidden = unicodedata.category(character) in ("Cc", "Cs")  # control characters, and bytes of no character
        shown += b"".join(b"\\x%02X" % byte for byte in encoded) if hidden else encoded
    return shown.decode("latin-1")


def spelled_at_length(name, length):
    """The same file by a name of so many characters."""
    return b"." + b"/" * (length - 1 - len(name)) + name


class Names(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        self.prepare(INPUT)
        self.assertSucceeded(self.run_tool())
        self.expected = self.output(OUTPUT)

    def prepare(self, name):
        self.empty_folder()
        self.write(name, everything())

    def arguments(self, role, name, trace):
        arguments = [INPUT, OUTPUT, b"10", b"10"] + ([TRACE] if trace else [])
        arguments[ROLES[role]:ROLES[role] + 1] = [name]
        return arguments

    def assertConverts(self, arguments, short=None):
        """Converts; the names of the files there are then are the short ones, which are those of the arguments."""
        run = self.run_tool(*arguments)
        self.assertSucceeded(run)
        given, output, *trace = (short or arguments)[:2] + (short or arguments)[4:]
        created = {output, *trace} | ({given + b".tmp", COPY.encode()} if trace else set())
        self.assertEqual(set(map(os.fsencode, os.listdir(self.folder))), {given} | created)
        self.assertEqual(self.content(given).decode(), everything())
        self.assertEqual(self.output(output), self.expected)
        if trace:
            self.assertTrue(self.content(trace[0]).startswith(b"main():  FUNCTION ENTRY  \n"))
            self.assertIn(b" cp " + given + b".tmp TEMPORARY_INPUT_LDIF_FILE  \n", self.content(trace[0]))

    def test_are_taken_as_they_are(self):
        for name, role, trace in itertools.product(NAMES, ROLES, (False, True)):
            with self.subTest(name=name, role=role, trace=trace):
                arguments = self.arguments(role, name, trace)
                self.prepare(arguments[0])
                self.assertConverts(arguments)

    def test_can_be_as_long_as_their_limit(self):
        for role, length in (("input", 4091), ("output", 4095), ("trace", 1023)):
            with self.subTest(role=role):
                short = self.arguments(role, b"name", trace=False)
                self.prepare(short[0])
                long = self.arguments(role, spelled_at_length(b"name", length), trace=False)
                self.assertConverts(long, short)

    def assertRefused(self, arguments, code, *texts):
        before = self.snapshot()
        run = self.run_tool(*arguments)
        self.assertFailedCleanly(run, code, *texts)
        after = self.snapshot()
        self.assertLessEqual(before.items(), after.items())
        created = set(map(os.fsencode, after.keys() - before.keys()))
        self.assertLessEqual(created, set(arguments[1:2] + arguments[4:5]) if code == OPENING else set())

    def test_beyond_their_limit_are_a_usage_error(self):
        for role, length in (("input", 4092), ("output", 4096), ("trace", 1024), ("input", 100000), ("output", 100000),
                             ("trace", 100000)):
            with self.subTest(role=role, length=length):
                self.prepare(INPUT)
                self.assertRefused(self.arguments(role, spelled_at_length(INPUT, length), trace=False), USAGE,
                                   ": a file name is too long")

    def test_that_no_folder_can_hold_are_refused(self):
        too_long = "File name too long"
        for role, length in (("input", 256), ("output", 256), ("trace", 256), ("input", 4000), ("output", 4000)):
            with self.subTest(role=role, length=length):
                self.prepare(INPUT)
                name = b"x" * length
                self.assertRefused(self.arguments(role, name, trace=False), OPENING, name.decode(), too_long)
        for length in range(252, 256):
            with self.subTest(role="work file", length=length + 4):
                name = b"x" * length
                self.prepare(name)
                self.assertRefused(self.arguments("input", name, trace=False), OPENING, name.decode() + ".tmp",
                                   too_long)

    def test_that_lead_to_no_file_are_refused(self):
        reasons = {b"": "No such file or directory", b"missing/file": "No such file or directory",
                   b"missing/": "", b"input.ldif/": "directory", b"input.ldif/file": "Not a directory",
                   b".": "directory", b"/": "directory", b"..": "directory", b"loop": ""}
        for name, reason in reasons.items():
            for role in ROLES:
                with self.subTest(name=name, role=role):
                    self.prepare(INPUT)
                    self.file("loop").symlink_to("loop")
                    if role == "trace" and name == b"loop":
                        reason = "a symbolic link stands in its place"
                    elif role == "input" and name in (b".", b"/", b".."):
                        reason = ""
                    self.assertRefused(self.arguments(role, name, trace=False), OPENING, name.decode(), reason)

    def test_cannot_fake_a_message(self):
        """A name is shown in one line and with nothing that a terminal obeys."""
        for name in NAMES + (b"x: y\ntqldif2v6: 380928315 NOTICE: The conversion is complete.",):
            with self.subTest(name=name):
                self.prepare(INPUT)
                run = self.run_tool(name, *scratch.ARGUMENTS[1:])
                self.assertEqual(run.errors, f"tqldif2v6: {OPENING} ERROR: The file {visible(name)} could not be opened:"
                                             " No such file or directory\n")
                self.assertEqual(run.status, 255)


if __name__ == "__main__":
    scratch.main()
