"""No file plays two roles in a run, by whatever names it is given: such a command line is refused and nothing changes.

usage: test_roles.py TOOL INJECT_LIBRARY
"""
import itertools
import os
import subprocess

import scratch
from exports import everything
from scratch import COPY, USAGE

ROLES = {"input": "input.ldif", "output": "output.ldif", "trace": "trace", "work": "input.ldif.tmp", "copy": COPY}
FREE = ("input", "output", "trace")  # those that the command line names


class Roles(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        self.spellings = {
            "its own name": lambda name: name,
            "the current folder": lambda name: f"./{name}",
            "slashes": lambda name: f".//.///{name}",
            "the way out of a folder": lambda name: f"folder/../{name}",
            "a linked folder": lambda name: f"linked/{name}",
            "the way out of a linked folder": lambda name: f"folder/up/{name}",
            "an absolute path": lambda name: f"{self.folder}/{name}",
            "the process": lambda name: f"/proc/self/cwd/{name}",
            "a symbolic link": lambda name: self.linked(name, os.symlink, name),
            "a symbolic link by an absolute path": lambda name: self.linked(name, os.symlink, f"{self.folder}/{name}"),
            "a symbolic link in a folder": lambda name: self.linked(name, os.symlink, f"../{name}", "folder/link"),
            "two symbolic links": lambda name: self.linked(self.linked(name, os.symlink, name), os.symlink, "link",
                                                           "second"),
            "a hard link": lambda name: self.linked(name, os.link, self.file(name)),
        }

    def linked(self, _, link, target, name="link"):
        link(target, self.file(name))
        return name

    def prepare(self, *existing):
        self.empty_folder()
        self.file("folder").mkdir()
        self.file("linked").symlink_to(".")
        self.file("folder/up").symlink_to("..")
        for role in {"input", *existing}:
            self.write(ROLES[role], everything() if role == "input" else f"{role} of another day\n")

    def assertRefused(self, names, traced, command=()):
        before = self.snapshot()
        run = self.run_tool(names["input"], names["output"], "10", "10", *([names["trace"]] if traced else []),
                            command=command)
        self.assertFailedCleanly(run, USAGE, "two names lead to the same file: ")
        self.assertEqual(self.snapshot(), before)

    def pairs(self):
        """Every two roles, with a trace, and without one where they are not of the trace."""
        for pair in itertools.combinations(ROLES, 2):
            yield pair, True
            if not {"trace", "copy"} & set(pair):
                yield pair, False

    def test_are_not_shared_by_a_name_of_the_command_line(self):
        for pair, traced in self.pairs():
            for free, other in (pair, pair[::-1]):
                if free not in FREE or {free, other} == {"input", "work"}:
                    continue
                for (way, spell), exists in itertools.product(self.spellings.items(), (True, False)):
                    if way == "a hard link" and not exists and other != "input":
                        continue
                    with self.subTest(role=free, other=other, way=way, exists=exists, traced=traced):
                        self.prepare(*([other] if exists else []))
                        self.assertRefused(ROLES | {free: spell(ROLES[other])}, traced)

    def test_are_not_shared_by_a_link_in_the_place_of_the_work_file_or_the_copy(self):
        links = {
            "symbolic": lambda fixed, other: self.file(fixed).symlink_to(other),
            "symbolic, absolute": lambda fixed, other: self.file(fixed).symlink_to(self.file(other)),
            "symbolic, through a folder": lambda fixed, other: self.file(fixed).symlink_to(f"folder/../{other}"),
            "hard": lambda fixed, other: os.link(self.file(other), self.file(fixed)),
        }
        for pair, traced in self.pairs():
            for fixed, other in (pair, pair[::-1]):
                if fixed in FREE:
                    continue
                for (way, link), exists in itertools.product(links.items(), (True, False)):
                    if way == "hard" and not exists and other != "input":
                        continue
                    with self.subTest(role=fixed, other=other, way=way, exists=exists, traced=traced):
                        self.prepare(*([other] if exists else []))
                        link(ROLES[fixed], ROLES[other])
                        self.assertRefused(ROLES, traced)

    def test_are_not_shared_by_a_folder_mounted_at_two_places(self):
        self.prepare()
        self.file("mounted").mkdir()
        mount = ("unshare", "--mount", "--map-root-user", "sh", "-c", 'mount --bind folder mounted && exec "$@"', "sh")
        if subprocess.run([*mount, "true"], cwd=self.folder, capture_output=True, check=False).returncode != 0:
            self.skipTest("this user may not mount")
        self.assertRefused(ROLES | {"output": "folder/file", "trace": "mounted/file"}, True, command=mount)

    def test_are_free_to_lie_side_by_side(self):
        """The same folder and the same contents are not the same file."""
        self.prepare("output", "trace", "copy")
        self.write("output.ldif", everything())
        self.assertSucceeded(self.run_tool(*scratch.ARGUMENTS, "linked/folder/input.ldif"))


if __name__ == "__main__":
    scratch.main()
