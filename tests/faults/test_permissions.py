"""Files that a run creates can never be opened by anybody who cannot open its input.

usage: test_permissions.py TOOL INJECT_LIBRARY

The runs stop behind every opening of a file, so that the moment at which a file comes to be is looked at, too.
"""
import os
import stat
import subprocess
import unittest

import scratch
from exports import everything, user
from scratch import COPY, NOBODY, Run

CREATED = ("output.ldif", "input.ldif.tmp", "trace", COPY)
AT_EACH_OPENING = {"call": "open", "number": 1, "lasting": 1, "stop": 1}


class CreatedFiles(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        self.folder.chmod(0o755)

    def moments(self, mask=0, name="input.ldif"):
        """Runs the tool with a trace; yields the files that are there at every stop and, at last, at the end."""
        process = self.start(name, *scratch.ARGUMENTS[1:], "trace", fault=AT_EACH_OPENING, umask=mask)
        for _ in self.stops(process):
            yield self.created()
        self.run = Run(process.returncode, "", "")
        yield self.created()

    def created(self):
        return [name for name in CREATED if self.file(name).exists()]

    def bits(self, name):
        return stat.S_IMODE(self.file(name).stat().st_mode)

    def check(self, allowed, expected=CREATED, **options):
        """No file has a bit beyond those allowed, and those expected are met when they have just come to be."""
        new = set()
        for files in self.moments(**options):
            for name in files:
                self.assertEqual(oct(self.bits(name) & ~allowed), "0o0", f"{name} has {self.bits(name):o}")
                if self.file(name).stat().st_size == 0:
                    new.add(name)
        self.assertEqual(new, set(expected))

    def test_have_no_permission_beyond_those_of_the_input(self):
        for mode in (0o600, 0o640, 0o660, 0o644, 0o664, 0o666, 0o604, 0o602, 0o400, 0o440, 0o444, 0, 0o4755, 0o2640):
            for mask in (0, 0o022, 0o077, 0o007):
                with self.subTest(mode=oct(mode), umask=oct(mask)):
                    self.empty_folder()
                    self.write("input.ldif", everything(), mode)
                    if not os.access(self.file("input.ldif"), os.R_OK | os.W_OK):
                        continue
                    self.check(mode & 0o777 & ~mask, mask=mask)
                    self.assertEqual(self.run.status, 0)

    def test_have_no_permission_beyond_those_of_an_input_behind_a_link(self):
        self.write("export", everything(), 0o600)
        self.file("input.ldif").symlink_to("export")
        self.check(0o600)

    def test_have_those_of_the_owner_where_the_input_cannot_be_looked_at(self):
        for name in ("input.ldif", "missing/input.ldif", ""):
            with self.subTest(input=name):
                self.empty_folder()
                self.check(0o600, ("output.ldif", "trace"), name=name)
                self.assertEqual(self.run.status, 255)

    def test_have_no_permission_beyond_those_of_the_input_when_the_run_fails(self):
        self.write("input.ldif", everything() + user("lone"), 0o600)
        self.check(0o600)
        self.assertEqual(self.run.status, 255)

    @unittest.skipUnless(os.geteuid() == 0, "only root can try as another user")
    def test_cannot_be_opened_by_another_user_who_cannot_open_the_input(self):
        for mode, owner, group in ((0o600, 0, 0), (0o640, 0, 0), (0o660, 0, 0), (0o600, NOBODY, NOBODY), (0o644, 0, 0)):
            with self.subTest(mode=oct(mode), owner=owner):
                self.empty_folder()
                self.write("input.ldif", everything(), mode)
                os.chown(self.file("input.ldif"), owner, group)
                may_read = self.nobody_opens(["input.ldif"]) == ["input.ldif"]
                self.assertEqual(may_read, owner == NOBODY or mode == 0o644)
                for files in self.moments():
                    opened = self.nobody_opens(files)
                    # A file that the input's own user gets from root is root's.
                    self.assertEqual(opened, files if mode == 0o644 else [])

    @unittest.skipUnless(os.geteuid() == 0, "only root can try as another user")
    def test_cannot_be_opened_by_a_group_that_cannot_open_the_input(self):
        self.write("input.ldif", everything(), 0o640)
        os.chown(self.folder, 0, NOBODY)
        self.folder.chmod(0o2755)
        self.assertEqual(self.nobody_opens(["input.ldif"]), [])
        for files in self.moments():
            self.assertEqual(self.nobody_opens(files), [])

    def nobody_opens(self, names):
        """Those of the files that another user can open for reading."""
        script = 'for name; do (: <"$name") 2>/dev/null && echo "$name"; done; true'
        return subprocess.run(["sh", "-c", script, "sh", *names], cwd=self.folder, user=NOBODY, group=NOBODY,
                              extra_groups=[], capture_output=True, text=True, check=True).stdout.splitlines()


if __name__ == "__main__":
    scratch.main()
