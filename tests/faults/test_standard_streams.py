"""Standard output and standard error never lead to a file of the run: such a run is refused and nothing changes.

usage: test_standard_streams.py TOOL INJECT_LIBRARY
"""
import itertools
import os
import re

import scratch
from exports import everything, group, unit
from scratch import COMPLETE, COPY, PROCESSING, USAGE, Run

ROLES = {"input": "input.ldif", "output": "output.ldif", "work": "input.ldif.tmp", "trace": "trace", "copy": COPY}
STREAMS = {"stdout": "standard output", "stderr": "standard error"}
# As the links of these names in /dev lead to, which not every machine has.
NAMES = {"stdout": "/proc/self/fd/1", "stderr": "/proc/self/fd/2"}


def refusal(stream, name):
    return f"The command line cannot be used: {STREAMS[stream]} leads to the file {name}, which this run uses"


class StandardStreams(scratch.ScratchTest):
    def prepare(self, *existing, export=None):
        self.empty_folder()
        self.write("input.ldif", export or everything())
        for role in existing:
            if role != "input":
                self.write(ROLES[role], unit() if role == "work" else f"{role} of another day\n")

    def opened(self, name):
        """A descriptor that appends, to the file of this name."""
        descriptor = os.open(self.file(name), os.O_WRONLY | os.O_APPEND | os.O_CREAT)
        self.addCleanup(os.close, descriptor)
        return descriptor

    def each_role(self):
        """Every role, with a trace, and without one where it is not of the trace."""
        for role in ROLES:
            yield role, ("trace",)
            if role not in ("trace", "copy"):
                yield role, ()

    def assertRefused(self, message, *arguments, **streams):
        """The message comes on standard error, or in its place on standard output, or nowhere."""
        before = self.snapshot()
        run = self.run_tool(*(arguments or scratch.ARGUMENTS), **streams)
        self.assertEqual(self.snapshot(), before)
        self.assertEqual(run.status, 255)
        if "stderr" not in streams:
            self.assertEqual(run.notices, "")
        elif "stdout" not in streams:
            run = Run(run.status, "", run.notices)
        else:
            return
        self.assertFailedCleanly(run, USAGE, message)

    def test_do_not_lead_to_a_file_of_the_run(self):
        for stream in STREAMS:
            for role, trace in self.each_role():
                for existing in ({role}, set(ROLES) - ({"trace", "copy"} if not trace else set())):
                    with self.subTest(stream=stream, role=role, trace=trace, existing=existing):
                        self.prepare(*existing)
                        name = ROLES[role]
                        self.assertRefused(refusal(stream, name), *scratch.ARGUMENTS, *trace,
                                           **{stream: self.opened(name)})

    def test_do_not_lead_there_by_another_name(self):
        for stream in STREAMS:
            for role in ("input", "output", "trace"):
                with self.subTest(stream=stream, role=role):
                    self.prepare(*ROLES)
                    os.link(self.file(ROLES[role]), self.file("link"))
                    self.file("alias").symlink_to(ROLES[role])
                    arguments = ["alias" if name == ROLES[role] else name for name in (*scratch.ARGUMENTS, "trace")]
                    self.file("alias.tmp").unlink(missing_ok=True)
                    self.assertRefused(refusal(stream, "alias"), *arguments, **{stream: self.opened("link")})

    def test_that_both_lead_to_files_of_the_run_get_no_message(self):
        for first, second in itertools.product(ROLES, repeat=2):
            with self.subTest(stdout=first, stderr=second):
                self.prepare(*ROLES)
                self.assertRefused("", *scratch.ARGUMENTS, "trace", stdout=self.opened(ROLES[first]),
                                   stderr=self.opened(ROLES[second]))

    def test_may_be_any_other_file(self):
        """One and the same, too; and a file that only a traced run would use. Those of the run may still not be."""
        self.prepare("trace")
        for streams in (("both", "both"), ("first", "second"), ("trace", "trace"), (COPY, COPY)):
            with self.subTest(streams=streams):
                run = self.run_tool(stdout=self.opened(streams[0]), stderr=self.opened(streams[1]))
                self.assertEqual(run.status, 0)
                self.assertIn(COMPLETE, self.content(streams[0]).decode())
        self.assertRefused(refusal("stdout", "trace"), *scratch.ARGUMENTS, "trace", stdout=self.opened("trace"))
        self.prepare(export=everything() + group("lone"))
        self.assertEqual(self.run_tool(stdout=self.opened("both"), stderr=self.opened("both")).status, 255)
        self.assertRegex(self.content("both").decode(), rf"(?s)308 NOTICE.*\ntqldif2v6: {PROCESSING} ERROR: .*\n$")

    def test_may_be_the_null_device_whatever_else_it_is(self):
        """As it may be anything else than the input. A regular file may not be so."""
        self.prepare()
        self.assertSucceeded(self.run_tool())
        expected = self.output()
        null = {"stdout": os.open(os.devnull, os.O_WRONLY), "stderr": os.open(os.devnull, os.O_WRONLY)}
        for descriptor in null.values():
            self.addCleanup(os.close, descriptor)
        for output, trace in itertools.product(("output.ldif", "/dev/null"), ((), ("/dev/null",), ("trace",))):
            with self.subTest(output=output, trace=trace):
                self.prepare()
                run = self.run_tool("input.ldif", output, "10", "10", *trace, **null)
                self.assertEqual(run.status, 0)
                if output == "output.ldif":
                    self.assertOutput(expected)
        self.prepare("output")
        self.assertRefused(refusal("stdout", "output.ldif"), stdout=self.opened("output.ldif"))

    def test_can_be_named_as_output_when_they_are_a_pipe(self):
        self.prepare()
        self.assertSucceeded(self.run_tool())
        expected = self.output().decode()
        run = self.run_tool("input.ldif", NAMES["stdout"], "10", "10")
        self.assertSucceeded(run)
        records = re.sub(r"^tqldif2v6: .*\n", "", run.notices, flags=re.MULTILINE)
        self.assertEqual(re.sub(r"installDate: \d{14}", "", records), expected)
        for stream in STREAMS:
            with self.subTest(stream=stream):
                self.prepare()
                self.assertRefused(refusal(stream, NAMES[stream]), "input.ldif", NAMES[stream], "10", "10",
                                   **{stream: self.opened("file")})


if __name__ == "__main__":
    scratch.main()
