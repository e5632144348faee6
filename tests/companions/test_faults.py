#!/usr/bin/env python3
"""What the check and the account do when something around them fails: exit status 2, and nothing half-written.

usage: test_faults.py CHECK ACCOUNT
"""

import os
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest

CHECK, ACCOUNT = (os.path.abspath(path) for path in sys.argv[1:3])
USERS = 4000  # without maps: as many problems as fill a pipe
LIMIT = 60  # seconds


def users(count):
    """Users without maps: each is a problem, and a record that no output has."""
    return b"".join(b"dn: secAuthority=Default,cn=user%d,o=example\nobjectClass: secUser\nsecAuthority: Default\n"
                    b"principalName: user%d\ndescription: %s\n\n" % (i, i, b"x" * 60) for i in range(count))


def no_core_dump():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class Faults(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
        self.addCleanup(self.folder.cleanup)
        self.input = self.write("input.ldif", users(USERS))
        self.output = self.write("output.ldif", b"dn: o=example\nobjectClass: organization\n\n")

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, text):
        with open(self.path(name), "wb") as file:
            file.write(text)
        return self.path(name)

    def run_in_folder(self, command, **how):
        return subprocess.run(command, cwd=self.folder.name, capture_output=True, timeout=LIMIT, **how)

    def run_halted(self, command, change):
        """Runs a program until it waits for somebody to read what it says, changes something, and lets it go on."""
        with subprocess.Popen(command, cwd=self.folder.name, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            self.wait_until_asleep(process.pid)
            change()
            self.report, said = process.communicate(timeout=LIMIT)
        return process.returncode, said.decode()

    def wait_until_asleep(self, pid):
        """Until it writes into a full pipe."""
        until = time.monotonic() + LIMIT
        while time.monotonic() < until:
            with open(f"/proc/{pid}/wchan", encoding="ascii") as file:
                channel = file.read()
            with open(f"/proc/{pid}/stat", encoding="ascii") as file:
                state = file.read().rpartition(")")[2].split()[0]
            if state == "S" and ("pipe" in channel or channel in ("", "0")):
                return
            time.sleep(0.01)
        self.fail("the program does not wait for its reader")

    def shrink_input(self):
        os.truncate(self.input, 4096)

    def touch_input(self):
        with open(self.input, "ab") as file:
            file.write(b"dn: o=another\nobjectClass: organization\n")

    def test_an_input_that_shrinks_under_the_check_ends_it_with_2(self):
        status, said = self.run_halted([CHECK, "--json", self.input], self.shrink_input)
        self.assertEqual(status, 2, said)
        self.assertIn("something else has changed it", said)

    def test_an_input_that_shrinks_under_the_account_ends_it_with_2(self):
        status, said = self.run_halted([ACCOUNT, "--json", self.input, self.output], self.shrink_input)
        self.assertEqual(status, 2, said)
        self.assertIn("something else has changed it", said)

    def test_an_input_that_grows_under_the_check_ends_it_with_2(self):
        status, said = self.run_halted([CHECK, "--json", self.input], self.touch_input)
        self.assertEqual(status, 2, said)
        self.assertIn("it has changed while it was read", said)

    def test_an_input_that_grows_under_the_account_ends_it_with_2(self):
        status, said = self.run_halted([ACCOUNT, "--json", self.input, self.output], self.touch_input)
        self.assertEqual(status, 2, said)
        self.assertIn("it has changed while it was read", said)

    def overwrite_input(self, part):
        """The same length, and nothing of what stood there."""
        size = os.path.getsize(self.input)
        with open(self.input, "r+b") as file:
            file.write((part * (size // len(part) + 1))[:size])

    def test_an_input_that_is_overwritten_between_two_looks_ends_both_with_2(self):
        text = users(20_000)  # more than records are made of at once
        for command in ([CHECK, "--json"], [ACCOUNT, "--all"]):
            for part in (b"\n", b"\0", b"x", b"dn: x\n", text[100:]):
                self.write("input.ldif", text)
                output = [self.output] if ACCOUNT in command else []
                status, said = self.run_halted([*command, self.input, *output], lambda: self.overwrite_input(part))
                self.assertEqual(status, 2, f"{command[0]} {part[:9]}: {said}")
                self.assertRegex(said, "it has changed while it was read|something else has changed it")

    def test_an_account_of_an_input_that_changes_gives_no_verdict(self):
        status, said = self.run_halted([ACCOUNT, "--all", self.input, self.output], self.touch_input)
        self.assertEqual(status, 2, said)
        self.assertIn(b"line 1: ", self.report)
        self.assertNotIn(b"conversion of", self.report)

    def test_a_split_without_room_leaves_no_file(self):
        room = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (64 * 1024, 64 * 1024))
        done = self.run_in_folder([CHECK, "--split", "good", "rejected", self.input], preexec_fn=room)
        self.assertEqual(done.returncode, 2, done.stderr)
        self.assertIn(b"rejected: File too large", done.stderr)
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["input.ldif", "output.ldif"])

    def test_a_report_in_a_file_that_may_not_grow_is_a_failure(self):
        room = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))
        for command in ([CHECK, "--all", self.input], [ACCOUNT, "--all", self.input, self.output]):
            with open(self.path("report"), "wb") as report:
                done = subprocess.run(command, stdout=report, stderr=subprocess.PIPE, timeout=LIMIT, preexec_fn=room)
            self.assertEqual(done.returncode, 2, command[0])
            self.assertIn(b"standard output: File too large", done.stderr)

    def test_a_split_without_room_leaves_what_was_there(self):
        self.write("good", b"before")
        self.write("rejected", b"before")
        room = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (64 * 1024, 64 * 1024))
        self.run_in_folder([CHECK, "--split", "good", "rejected", self.input], preexec_fn=room)
        for name in ("good", "rejected"):
            with open(self.path(name), "rb") as file:
                self.assertEqual(file.read(), b"before")

    def test_a_split_that_is_interrupted_leaves_no_file(self):
        self.write("input.ldif", users(200_000))
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT, signal.SIGPIPE, signal.SIGXCPU):
            with subprocess.Popen([CHECK, "--split", "good", "rejected", self.input], cwd=self.folder.name,
                                  stdout=subprocess.DEVNULL, preexec_fn=no_core_dump) as process:
                while len(os.listdir(self.folder.name)) < 4 and process.poll() is None:
                    pass
                process.send_signal(number)
                self.assertEqual(process.wait(timeout=LIMIT), -number)
            self.assertEqual(sorted(os.listdir(self.folder.name)), ["input.ldif", "output.ldif"])

    def test_a_split_that_runs_out_of_memory_leaves_no_file(self):
        # Its many lines need memory once more, behind all others.
        long_entry = b"dn: o=long\n" + b"description: x\n" * 240_000
        self.write("input.ldif", users(200_000) + long_entry)
        with subprocess.Popen([CHECK, "--split", "good", "rejected", self.input], cwd=self.folder.name,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as process:
            while len(os.listdir(self.folder.name)) < 4 and process.poll() is None:
                pass
            resource.prlimit(process.pid, resource.RLIMIT_DATA, (1 << 20, 1 << 20))
            said = process.communicate(timeout=LIMIT)[1]
        self.assertEqual(process.returncode, 2, said)
        self.assertIn(b"memory is exhausted", said)
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["input.ldif", "output.ldif"])

    def test_a_split_whose_user_has_gone_is_finished_where_that_is_wanted(self):
        self.write("input.ldif", users(50_000))
        ignore = lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)
        with subprocess.Popen([CHECK, "--split", "good", "rejected", self.input], cwd=self.folder.name,
                              stdout=subprocess.DEVNULL, preexec_fn=ignore) as process:
            while len(os.listdir(self.folder.name)) < 4 and process.poll() is None:
                pass
            process.send_signal(signal.SIGHUP)
            self.assertEqual(process.wait(timeout=LIMIT), 1)
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["good", "input.ldif", "output.ldif", "rejected"])

    def test_a_split_into_a_folder_that_is_not_there_leaves_no_file(self):
        done = self.run_in_folder([CHECK, "--split", "good", "nowhere/rejected", self.input])
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"nowhere/rejected: No such file or directory", done.stderr)
        self.assertEqual(sorted(os.listdir(self.folder.name)), ["input.ldif", "output.ldif"])

    def test_no_memory_ends_both_with_2(self):
        self.write("large.ldif", users(300000))
        little = lambda: resource.setrlimit(resource.RLIMIT_DATA, (3 << 20, 3 << 20))
        for command in ([CHECK, "large.ldif"], [ACCOUNT, "large.ldif", "output.ldif"]):
            done = self.run_in_folder(command, preexec_fn=little)
            self.assertEqual(done.returncode, 2, done.stderr)
            self.assertIn(b"memory", done.stderr)

    def test_the_check_says_the_same_where_it_can_have_no_second_thread(self):
        def want_large_stacks():
            """Larger than the addresses of a process, so that no thread gets one."""
            resource.setrlimit(resource.RLIMIT_STACK, (1 << 47, resource.RLIM_INFINITY))

        if resource.getrlimit(resource.RLIMIT_STACK)[1] != resource.RLIM_INFINITY:
            self.skipTest("the size of stacks is limited here")
        alone = self.run_in_folder([CHECK, "--json", self.input], preexec_fn=want_large_stacks)
        self.assertEqual((alone.returncode, alone.stderr), (1, b""))
        self.assertEqual(alone.stdout, self.run_in_folder([CHECK, "--json", self.input]).stdout)

    def test_what_cannot_be_said_ends_both_with_2(self):
        with open("/dev/full", "wb") as full:
            for command in ([CHECK, self.input], [ACCOUNT, self.input, self.output],
                            *([program, option] for program in (CHECK, ACCOUNT)
                              for option in ("--help", "--version"))):
                done = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, check=False)
                self.assertEqual(done.returncode, 2)
                self.assertIn(b"standard output", done.stderr)

    def test_a_pipe_as_input_is_refused_without_waiting(self):
        os.mkfifo(self.path("pipe"))
        for command in ([CHECK, "pipe"], [ACCOUNT, "pipe", self.output], [ACCOUNT, self.input, "pipe"]):
            done = self.run_in_folder(command)
            self.assertEqual(done.returncode, 2)
            self.assertIn(b"it is not a regular file", done.stderr)

    def test_the_programs_write_no_file(self):
        os.chmod(self.folder.name, 0o500)
        self.addCleanup(os.chmod, self.folder.name, 0o700)
        for command in ([CHECK, "--all", self.input], [ACCOUNT, "--all", self.input, self.output]):
            before = {name: os.stat(self.path(name)).st_mtime_ns for name in os.listdir(self.folder.name)}
            self.assertEqual(self.run_in_folder(command).returncode, 1)
            after = {name: os.stat(self.path(name)).st_mtime_ns for name in os.listdir(self.folder.name)}
            self.assertEqual(before, after)


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    unittest.main(argv=sys.argv[:1])
