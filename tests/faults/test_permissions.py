"""Files that a run creates can be opened by nobody but the user who makes it; files that were there stay as they were.

usage: test_permissions.py TOOL INJECT_LIBRARY

The runs stop behind every opening of a file, so that the moment at which a file comes to be is looked at, too.
"""
import contextlib
import os
import stat
import struct
import subprocess
import unittest

import scratch
from exports import everything, user
from scratch import COPY, NOBODY, Run

CREATED = ("output.ldif", "input.ldif.tmp", "trace", COPY)
PRIVATE = 0o600
OF_THE_INPUT = (0o600, 0o640, 0o660, 0o644, 0o664, 0o666, 0o604, 0o602, 0o400, 0o440, 0o444, 0, 0o4755, 0o2640)
AT_EACH_OPENING = {"call": "open", "number": 1, "lasting": 1, "stop": 1}

# The parts of an access control list, and what is allowed in one: to read, write and pass.
OWNER, USER, GROUP, MASK, OTHERS = 0x01, 0x02, 0x04, 0x10, 0x20
ALL = 7


def access_list(*entries):
    """As the kernel takes it; an entry is a part, what it is allowed, and the user when it is one."""
    nobody_in_particular = 0xFFFFFFFF
    return struct.pack("<I", 2) + b"".join(
        struct.pack("<HHI", part, allowed, *(named or [nobody_in_particular])) for part, allowed, *named in entries)


FOR_NOBODY = access_list((OWNER, ALL), (USER, ALL, NOBODY), (GROUP, ALL), (MASK, ALL), (OTHERS, ALL))


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

    def check(self, expected=CREATED, mask=0, **options):
        """No file has a bit beyond those allowed, and those expected are met when they have just come to be."""
        allowed = PRIVATE & ~mask
        new = set()
        for files in self.moments(mask=mask, **options):
            for name in files:
                self.assertEqual(oct(self.bits(name) & ~allowed), "0o0", f"{name} has {self.bits(name):o}")
                if self.file(name).stat().st_size == 0:
                    new.add(name)
        self.assertEqual(new, set(expected))
        for name in self.created():
            self.assertEqual(oct(self.bits(name)), oct(allowed), name)

    def test_are_private_whatever_the_input_is(self):
        for mode in OF_THE_INPUT:
            for mask in (0, 0o022, 0o077, 0o007, 0o111):
                with self.subTest(mode=oct(mode), umask=oct(mask)):
                    self.empty_folder()
                    self.write("input.ldif", everything(), mode)
                    if not os.access(self.file("input.ldif"), os.R_OK | os.W_OK):
                        continue
                    self.check(mask=mask)
                    self.assertEqual(self.run.status, 0)

    def test_are_private_when_the_input_is_behind_a_link(self):
        self.write("export", everything(), 0o666)
        self.file("input.ldif").symlink_to("export")
        self.check()

    def test_are_private_when_the_run_fails(self):
        self.write("input.ldif", everything() + user("lone"), 0o666)
        self.check()
        self.assertEqual(self.run.status, 255)

    def test_stay_as_they_were_when_they_were_there(self):
        """Those of the same run that were not there are private."""
        modes = {"output.ldif": 0o644, "input.ldif.tmp": 0o640, "trace": 0o604, COPY: 0o660}
        for missing in (None, *CREATED):
            with self.subTest(missing=missing):
                self.empty_folder()
                self.write("input.ldif", everything(), 0o666)
                for name, mode in modes.items():
                    if name != missing:
                        self.write(name, "", mode)
                for _ in self.moments():
                    pass
                self.assertEqual(self.run.status, 0)
                self.assertEqual({name: oct(self.bits(name)) for name in modes},
                                 {name: oct(PRIVATE if name == missing else mode) for name, mode in modes.items()})

    def allow(self, name, kind, entries):
        try:
            os.setxattr(self.file(name), f"system.posix_acl_{kind}", entries)
        except OSError as error:
            self.skipTest(f"this file system has no access control lists: {error.strerror}")

    def test_are_private_whatever_their_folder_gives_to_new_files(self):
        for mode in (0o600, 0o660, 0o666):
            with self.subTest(mode=oct(mode)):
                self.empty_folder()
                self.allow(".", "default", FOR_NOBODY)
                self.write("input.ldif", everything(), mode)
                self.assertIn("system.posix_acl_access", os.listxattr(self.file("input.ldif")))
                self.check()
                self.assertEqual(self.run.status, 0)

    @unittest.skipUnless(os.geteuid() == 0, "only root can try as another user")
    def test_cannot_be_opened_by_another_user(self):
        for mode in OF_THE_INPUT:
            for way in ("nothing more", "a list of the input", "a list of the folder", "the other user's group"):
                with self.subTest(mode=oct(mode), way=way):
                    self.prepare_folder(way, mode)
                    for files in self.moments():
                        self.assertEqual(self.nobody_opens(files), [])
                    self.assertEqual(self.run.status, 0)

    def prepare_folder(self, way, mode):
        """One in which much is allowed to the other user, in this way."""
        self.empty_folder()
        with contextlib.suppress(OSError):  # where there are no such lists
            os.removexattr(self.folder, "system.posix_acl_default")
        os.chown(self.folder, 0, NOBODY if way == "the other user's group" else 0)
        self.folder.chmod(0o2755 if way == "the other user's group" else 0o755)
        if way == "a list of the folder":
            self.allow(".", "default", FOR_NOBODY)
        self.write("input.ldif", everything(), mode)
        if way == "a list of the input":
            self.allow("input.ldif", "access", FOR_NOBODY)

    def nobody_opens(self, names):
        """Those of the files that another user can open for reading."""
        script = 'for name; do (: <"$name") 2>/dev/null && echo "$name"; done; true'
        return subprocess.run(["sh", "-c", script, "sh", *names], cwd=self.folder, user=NOBODY, group=NOBODY,
                              extra_groups=[], capture_output=True, text=True, check=True).stdout.splitlines()


if __name__ == "__main__":
    scratch.main()
