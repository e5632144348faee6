"""Values of the input are never shown, but for the DNs and names that messages say an entry by; nor are they dumped.

usage: test_secrets.py TOOL INJECT_LIBRARY

A marker stands before every value that no message needs: in the golden runs, which fail in every way there is, and in
runs on a machine that fails.
"""
import os
import re
import resource
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import scratch
from exports import (authority, credentials, entry, group, map_of_group, map_of_user, policy, policy_data, unit, user,
                     users_entry)
from scratch import MEMORY, OCCUPIED, OPENING, POSITION, PREPARATION, PROCESSING, READING, USAGE, WRITING

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "golden"))
import run_golden  # noqa: E402  (beside the golden runs)

MARKER = "Geheim7"

# What an entry is said by, and what decides what becomes of it.
SHOWN = {"dn", "objectclass", "secauthority", "principalname", "cn", "secdn", "version"}


def planted(text):
    """The text with the marker before the values of all attributes but those shown."""
    def plant(match):
        attribute, colon, value = match.groups()
        return attribute + colon + ("" if attribute.decode().lower() in SHOWN else MARKER).encode() + value

    return re.sub(rb"^([A-Za-z][\w;.-]*)(:[:<]?[ ]*)(.*)$", plant, text, flags=re.MULTILINE)


def codes(errors):
    return set(re.findall(r"^tqldif2v6: (\d+) ERROR", errors, re.MULTILINE))


class GoldenRuns(unittest.TestCase):
    def each_run(self, check, echo):
        """Hands the result of every golden run to a check, and whether a value that is not shown is in the output."""
        for case in run_golden.cases():
            with self.subTest(run=case.name), tempfile.TemporaryDirectory(dir=scratch.FOLDER) as folder:
                environment, arguments = run_golden.prepare(case, Path(folder))
                environment.pop("DEBUG_ERROR", None)
                if echo:
                    environment["DEBUG_ERROR"] = ""
                for path in Path(folder).rglob("*"):
                    if path.is_file() and not path.is_symlink():
                        path.write_bytes(planted(path.read_bytes()))
                run = subprocess.run([scratch.tool, *arguments], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                     capture_output=True, encoding="latin-1", check=False)
                output = Path(folder) / "output.ldif"
                check(run, output.is_file() and MARKER.encode() in output.read_bytes())

    def test_show_no_value(self):
        seen = set()
        converted = []

        def check(run, is_in_output):
            self.assertNotIn(MARKER, run.stdout + run.stderr)
            seen.update(codes(run.stderr))
            if run.returncode == 0 and is_in_output:
                converted.append(run)

        self.each_run(check, echo=False)
        self.assertEqual(seen, {PROCESSING, OCCUPIED, OPENING, WRITING, USAGE})
        self.assertGreater(len(converted), 30)

    def test_show_no_value_with_the_echo_either(self):
        """The texts of the echo ask for DNs, too."""
        self.each_run(lambda run, _: self.assertNotIn(MARKER, run.stdout + run.stderr), echo=True)


class RunsWithSecrets(scratch.ScratchTest):
    more = (f"userPassword: {MARKER}", f"secPwdHistory: {MARKER}", f"description: {MARKER} x", f"secKey:: {MARKER}",
            "photo: a", f" {MARKER}")
    failing = user("lone", *more)

    def setUp(self):
        super().setUp()
        more = self.more
        self.export = (authority() + unit(*more) + map_of_user("anna", *more) + user("anna", *more)
                       + users_entry("anna", *more) + policy("anna", *more) + policy_data("anna", *more)
                       + map_of_group("staff", *more) + group("staff", *more) + credentials("web", *more))
        self.write("input.ldif", self.export)

    def assertNothingShown(self, run):
        self.assertNotIn(MARKER, run.notices + run.errors)

    def test_show_none_when_they_succeed(self):
        for slots in (("10", "10"), ("1", "1")):
            for trace in ((), ("trace",)):
                for echo in (False, True):
                    run = self.run_tool("input.ldif", "output.ldif", *slots, *trace, echo=echo)
                    self.assertSucceeded(run)
                    self.assertNothingShown(run)
                    self.file("input.ldif.tmp").unlink(missing_ok=True)
        self.assertIn(MARKER.encode(), self.content("output.ldif"))
        self.assertIn(MARKER.encode(), self.content("trace"))  # which is for nobody else

    def test_show_none_when_the_machine_fails(self):
        seen = set()
        faults = [("malloc", {}), ("open", {}), ("read", {"file": "input.ldif"}), ("read", {"file": ".tmp"}),
                  ("write", {"errno": "ENOSPC"}), ("close", {}), ("lseek", {"errno": "ESPIPE"}), ("ftruncate", {}),
                  ("fstat", {}), ("unlink", {})]
        for call, more in faults:
            if call == "malloc" and scratch.sanitizer:
                continue
            for number in range(1, 200):
                for echo in (False, True):
                    with self.subTest(call=call, number=number, echo=echo):
                        fault = {"call": call, "number": number, "report": "report", **more}
                        run = self.run_tool("input.ldif", "output.ldif", "1", "1", fault=fault, echo=echo)
                        self.assertNothingShown(run)
                        self.file("input.ldif.tmp").unlink(missing_ok=True)
                        seen |= codes(run.errors)
                if self.content("report") != b"delivered":
                    break
        expected = {MEMORY, POSITION, OPENING, PREPARATION, WRITING, READING}
        self.assertEqual(seen | ({MEMORY} if scratch.sanitizer else set()), expected)

    def test_echo_the_lines_of_the_failure_and_no_more(self):
        self.write("input.ldif", self.export + self.failing)
        run = self.run_tool(echo=True)
        self.assertFailedCleanly(run, PROCESSING, "The user secAuthority=Default,cn=lone,o=example (line ")
        echoed = [line for line in run.notices.splitlines() if not line.startswith("tqldif2v6: ")]
        self.assertEqual(echoed, [
            "DEBUG_ERROR flag is on................ ",
            "main():  input_ldif_filename           = input.ldif ",
            "main():  output_ldif_filename          = output.ldif ",
            "main():  max_number_of_secuser_slots   = 10 ",
            "main():  max_number_of_secgroup_slots  = 10 ",
            "writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() ",
            "secUser_matrix = dn: secAuthority=Default,cn=lone,o=example", "",
            "secMap_for_secUser_matrix = NULL"])

    def test_show_none_when_an_entry_begins_with_another_line_than_its_dn(self):
        broken = user("anna").rstrip("\n") + "\n\n" + entry(f"userPassword: {MARKER}", "objectclass: secUser")
        self.write("input.ldif", broken)
        run = self.run_tool()
        self.assertFailedCleanly(run, PROCESSING, "whose DN cannot be shown (line 7)")
        self.assertNothingShown(run)

    @unittest.skipIf(resource.getrlimit(resource.RLIMIT_CORE)[1] == 0, "cores are not allowed here")
    def test_leave_no_core(self):
        hard = resource.getrlimit(resource.RLIMIT_CORE)[1]
        # A sanitizer makes a report of the third.
        for number in (signal.SIGQUIT, signal.SIGABRT, signal.SIGSEGV)[:2 if scratch.sanitizer else 3]:
            with self.subTest(signal=number):
                # Stopped at the end of the first pass, with everything in memory.
                process = self.start(fault={"call": "close", "number": 2, "file": ".tmp", "stop": 1},
                                     preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (hard, hard)))
                for _ in self.stops(process):
                    process.send_signal(number)
                self.assertEqual(process.returncode, -number)
                self.assertFalse(process.leftCore)
                self.assertEqual([name for name in os.listdir(self.folder) if "core" in name], [])
                self.file("input.ldif.tmp").unlink()


if __name__ == "__main__":
    scratch.main()
