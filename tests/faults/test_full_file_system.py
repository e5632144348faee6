"""Conversions on file systems that are full before they end, or may not be written to: each run mounts its own.

usage: test_full_file_system.py TOOL INJECT_LIBRARY
"""

import scratch
from exports import credentials, entry, group, map_of_group, map_of_user, padding, unit, user
from scratch import OPENING, PROCESSING, WRITING

PAGE = 4096  # bytes, the least that can be had

# Gives the run a file system of its own, and leaves behind what is in it at the end.
IN_FILE_SYSTEM = """
mount -t tmpfs -o "$1" none full && cp input.ldif full && cd full || exit 99
shift
"$@"
status=$?
cp input.ldif ../input-at-the-end
for file in output.ldif input.ldif.tmp; do [ ! -e $file ] || cp $file ..; done
exit $status
"""


def in_file_system(options):
    return ("unshare", "--mount", "--map-root-user", "sh", "-c", IN_FILE_SYSTEM, "sh", options)


class AFullFileSystem(scratch.ScratchTest):
    def setUp(self):
        super().setUp()
        users = "".join(map_of_user(f"u{i}", *padding(1000)) + user(f"u{i}", *padding(2000)) for i in range(8))
        self.prepare(unit(*padding(2 * PAGE)) + users + group("staff") + map_of_group("staff")
                     + credentials("web", *padding(3 * PAGE)) + entry("dn: o=last"))
        run = self.run_tool("true", command=in_file_system("size=1m"))
        if run.status not in (0, 255):
            self.skipTest(f"this user may not mount: {run.errors.strip()}")

    def prepare(self, export):
        self.export = export
        self.write("input.ldif", export)
        self.file("full").mkdir(exist_ok=True)
        self.assertSucceeded(self.run_tool())
        self.expected = self.output()

    def run_in(self, options, *arguments):
        for name in ("output.ldif", "input.ldif.tmp", "input-at-the-end"):
            self.file(name).unlink(missing_ok=True)
        run = self.run_tool(*arguments, command=in_file_system(options))
        self.assertEqual(self.content("input-at-the-end").decode(), self.export)
        return run

    def test_ends_the_run_with_a_message(self):
        pages = len(self.export) // PAGE + 1
        statuses = set()
        for size in range(pages, 4 * pages):
            with self.subTest(pages=size):
                run = self.run_in(f"size={size * PAGE}")
                statuses.add(run.status)
                if run.status == 0:
                    self.assertSucceeded(run)
                    self.assertEqual(self.output(), self.expected)
                    self.assertFalse(self.file("input.ldif.tmp").exists())
                    if len(statuses) == 2:
                        break
                elif f" {PROCESSING} " in f" {run.errors} ":
                    self.assertFailedCleanly(run, PROCESSING)
                else:
                    self.assertFailedCleanly(run, WRITING, "Writing to the file ", "No space left on device")
        self.assertEqual(statuses, {0, 255})

    def test_ends_the_run_when_it_has_no_room_for_a_file(self):
        # The root, the input, the output.
        for files, name in ((2, "output.ldif"), (3, "input.ldif.tmp")):
            run = self.run_in(f"size=1m,nr_inodes={files}")
            self.assertFailedCleanly(run, OPENING, f"The file {name} could not be opened: No space left on device")
        self.assertSucceeded(self.run_in("size=1m,nr_inodes=4"))

    def test_may_hold_the_trace(self):
        script = 'mount -t tmpfs -o size=8192 none full && "$@" && cp full/trace trace'
        run = self.run_tool(*scratch.ARGUMENTS, "full/trace",
                            command=("unshare", "--mount", "--map-root-user", "sh", "-c", script, "sh"))
        self.assertSucceeded(run)
        self.assertEqual(self.output(), self.expected)
        self.assertEqual(len(self.content("trace")), 8192)


class AReadOnlyFileSystem(scratch.ScratchTest):
    def test_cannot_hold_any_of_the_files(self):
        script = "mount -t tmpfs none folder && cp input.ldif folder && mount -o remount,ro folder || exit 99\n" '"$@"'
        command = ("unshare", "--mount", "--map-root-user", "sh", "-c", script, "sh")
        self.file("folder").mkdir()
        self.write("input.ldif", unit())
        if self.run_tool(command=command).status not in (0, 255):
            self.skipTest("this user may not mount")
        for arguments in (("folder/input.ldif", "output.ldif"), ("input.ldif", "folder/output.ldif"),
                          ("input.ldif", "output.ldif", "folder/trace")):
            named = next(name for name in arguments if name.startswith("folder"))
            with self.subTest(file=named):
                run = self.run_tool(*arguments[:2], "1", "1", *arguments[2:], command=command)
                self.assertFailedCleanly(run, OPENING, f"The file {named} could not be opened: Read-only file system")
                remedy = " (the input must be writable, although it is never changed)\n"
                self.assertEqual(run.errors.endswith(remedy), named == arguments[0])


if __name__ == "__main__":
    scratch.main()
