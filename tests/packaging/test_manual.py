#!/usr/bin/env python3
"""Compares the messages of the manual page with those of the tool, and has the page checked."""

import pathlib
import re
import shutil
import subprocess
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
MANUAL = PROJECT / "packaging/man/tqldif2v6.1"
CATALOGUE = PROJECT / "src/platform/message_catalogue.cpp"

LITERAL = r'"((?:[^"\\]|\\.)*)"'


def joined(literals):
    return re.sub(r"\\(.)", r"\1", "".join(re.findall(LITERAL, literals)))


def messages_of_the_tool():
    """With N in place of every value."""
    source = re.sub(r"\{\d\d?\}", "N", CATALOGUE.read_text())
    entry = r"\{(\d+),\s*SEVERITY_(\w+),\s*\w+,((?:\s|\\\n|" + LITERAL + r")+)\}"
    return [f"{code} {severity}: {joined(text)}" for code, severity, text, _ in re.findall(entry, source)]


def messages_of_the_manual():
    return re.findall(r'^\.It "(\d{9} .*)"$', MANUAL.read_text(), re.MULTILINE)


class ManualTest(unittest.TestCase):
    def test_the_sixteen_messages_are_those_of_the_tool(self):
        self.assertEqual(len(messages_of_the_tool()), 16)
        self.assertEqual(messages_of_the_manual(), messages_of_the_tool())

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_mandoc_finds_nothing(self):
        run = subprocess.run(["mandoc", "-T", "lint", MANUAL], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             text=True)
        # Which other manuals are installed says nothing about this one.
        findings = [line for line in run.stdout.splitlines() if "referenced manual not found" not in line]
        self.assertEqual(findings, [])


if __name__ == "__main__":
    unittest.main()
