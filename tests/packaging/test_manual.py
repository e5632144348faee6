#!/usr/bin/env python3
"""Compares the manual pages with what the programs say, and has the pages checked."""

import pathlib
import re
import shutil
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
import skips  # noqa: E402  (one folder up)

PROJECT = pathlib.Path(__file__).resolve().parents[2]
PAGES = PROJECT / "packaging/man"
CATALOGUE = PROJECT / "src/platform/message_catalogue.cpp"
FINDINGS = PROJECT / "src/survey/findings.cpp"
COMPANIONS = ("check", "account")

LITERAL = r'"((?:[^"\\]|\\.)*)"'
LITERALS = rf"((?:\s*{LITERAL})+)"


def joined(literals):
    return re.sub(r"\\(.)", r"\1", "".join(re.findall(LITERAL, literals)))


def messages_of_the_tool():
    """With N in place of every value."""
    source = re.sub(r"\{\d\d?\}", "N", CATALOGUE.read_text())
    entry = r"\{(\d+),\s*SEVERITY_(\w+),\s*\w+,((?:\s|\\\n|" + LITERAL + r")+)\}"
    return [f"{code} {severity}: {joined(text)}" for code, severity, text, _ in re.findall(entry, source)]


def messages_of_the_manual():
    return re.findall(r'^\.It "(\d{9} .*)"$', (PAGES / "tqldif2v6.1").read_text(), re.MULTILINE)


def findings_of_the_check():
    """By effect, each as its identifier with what happens and what to do."""
    findings = {}
    for found in re.finditer(rf"\{{{LITERAL}, (\w+),{LITERALS},{LITERALS}(?:,\s*\w+)?\}}", FINDINGS.read_text()):
        identifier, effect, what, _, advice, _ = found.groups()
        findings.setdefault(effect.lower(), []).append((identifier, f"{joined(what)} {joined(advice)}"))
    return findings


def findings_of_the_manual():
    """The same, by what stands at the end of the headings."""
    findings = {}
    for heading, section in re.findall(r"^\.Ss Findings (.*)\n((?:(?!\.S[hs]).*\n)*)",
                                       (PAGES / "tqldif2v6-check.1").read_text(), re.MULTILINE):
        # A backslash is written as an escape there.
        findings[heading] = [(identifier, " ".join(text.split()).replace(r"\e", "\\"))
                             for identifier, text in re.findall(r"^\.It Li (.*)\n((?:[^.].*\n)*)", section, re.MULTILINE)]
    return findings


def options_of(companion):
    """Those of its usage."""
    source = (PROJECT / "src" / companion / "options.cpp").read_text()
    usage = re.search(rf"usage\[\] ={LITERALS};", source).group(1)
    return set(re.findall(r"--(\w+)", usage))


class ManualTest(unittest.TestCase):
    def test_the_sixteen_messages_are_those_of_the_tool(self):
        self.assertEqual(len(messages_of_the_tool()), 16)
        self.assertEqual(messages_of_the_manual(), messages_of_the_tool())

    def test_the_findings_are_those_of_the_check(self):
        found = findings_of_the_check()
        self.assertEqual(sum(map(len, found.values())), FINDINGS.read_text().count('\n    {"'))
        headings = {"stops": "that stop the conversion", "loses": "that lose something",
                    "changes": "that change something", "surroundings": "about the surroundings"}
        self.assertEqual(findings_of_the_manual(), {headings[effect]: found[effect] for effect in found})

    def test_the_options_are_those_of_the_companions(self):
        for companion in COMPANIONS:
            with self.subTest(companion):
                page = (PAGES / f"tqldif2v6-{companion}.1").read_text()
                listed = page.partition("The options:")[2].partition(".El")[0]
                self.assertEqual(set(re.findall(r"Fl -(\w+)", listed)), options_of(companion))
                synopsis = page.partition(".Sh SYNOPSIS")[2].partition(".Sh DESCRIPTION")[0]
                self.assertEqual(set(re.findall(r" -(\w+)", synopsis)), options_of(companion))

    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_mandoc_finds_nothing(self):
        for page in sorted(PAGES.iterdir()):
            with self.subTest(page.name):
                run = subprocess.run(["mandoc", "-T", "lint", page], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                     text=True)
                # Which other manuals are installed says nothing about this one.
                findings = [line for line in run.stdout.splitlines() if "referenced manual not found" not in line]
                self.assertEqual(findings, [])


if __name__ == "__main__":
    skips.main()
