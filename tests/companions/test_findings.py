#!/usr/bin/env python3
"""Every finding of the check: an input by hand that shows it and nothing else, one beside it that does not, and what the
tool really does with both. Then what the check shows of values, what it splits, and how it fails.

usage: test_findings.py CHECK TOOL
"""
import bz2
import gzip
import json
import lzma
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from finding_cases import (BERT, BERTS_MAP, CASES, CREW, GROUP, GROUP_MAP, MAP, NEVER, PLENTY, REGISTRY, ROW, UNIT, USER,
                           Finding, credentials, entry, folded, line_of, lines, map_of, own_dn, policy, policy_data,
                           unit, user)

project = Path(__file__).resolve().parent.parent.parent
NOBODY = 65534
INPUT, OUTPUT, WORK_FILE, GOOD, REJECTED = "input.ldif", "output.ldif", "input.ldif.tmp", "good.ldif", "rejected.ldif"
SLOTS = ((1, 1), (2, 1), PLENTY)
IN_SMALL_FILE_SYSTEM = 'mount -t tmpfs -o "$1" none . && cp ../input.ldif "$PWD" && cd "$PWD" || exit 99; shift; "$@"'

check = tool = scratch = ""


class Skipped(Exception):
    """A rule that cannot be looked at here."""


class Folder:
    """A scratch folder with an input, gone at the end."""
    def __init__(self, text=None):
        self.text = text

    def __enter__(self):
        self.path = Path(tempfile.mkdtemp(dir=scratch))
        if self.text is not None:
            self.write(INPUT, self.text)
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.path)

    def write(self, name, content):
        (self.path / name).write_bytes(content)

    def read(self, name):
        return (self.path / name).read_bytes()

    def names(self):
        return sorted(os.listdir(self.path))

    def run(self, *command, **more):
        return subprocess.run([str(word) for word in command], cwd=self.path, stdin=subprocess.DEVNULL, check=False,
                              env={"PATH": os.environ["PATH"], "TZ": "UTC"}, timeout=60, **{"capture_output": True} | more)

    def check(self, *arguments, **more):
        return self.run(check, *arguments, **more)

    def convert(self, slots, name=INPUT):
        """Converts into a new output; returns the run, and removes what it leaves besides."""
        (self.path / OUTPUT).unlink(missing_ok=True)
        run = self.run(tool, name, OUTPUT, *slots)
        (self.path / f"{name}.tmp").unlink(missing_ok=True)
        return run


def differs(what, expected, found):
    """A list of the sentence that says so, or an empty one."""
    return [] if expected == found else [f"{what}: expected {expected!r}, found {found!r}"]


def text_of(run):
    return (run.stdout + run.stderr).decode("utf-8", "replace")


# What the check says as JSON.

def found_by(said):
    return sorted((Finding(*(one[name] for name in Finding._fields)) for one in said["problems"]), key=str)


def check_report(folder, findings, arguments):
    """Asks for JSON. Returns it, or None, and what is wrong with it."""
    before = folder.names()
    run = folder.check("--json", INPUT, *arguments)
    faults = differs("exit status", 1 if findings else 0, run.returncode) + differs("standard error", b"", run.stderr)
    faults += differs("files", before, folder.names())
    try:
        said = json.loads(run.stdout)
    except ValueError as error:
        return None, faults + [f"no JSON: {error}"]
    expected = sorted(findings, key=str)
    found = found_by(said)
    faults += [f"not found: {tuple(one)}" for one in expected if one not in found]
    faults += [f"found: {tuple(one)}" for one in found if one not in expected]
    faults += [f"found more than once: {tuple(one)}" for one in sorted(set(found)) if found.count(one) > 1]
    return said, faults


def check_verdict(said, is_stopped):
    return (differs("verdict", "stops" if is_stopped else "converts", said["verdict"])
            + differs("exit status foretold", 255 if is_stopped else 0, said["run"]["exit"]))


def line_named(run):
    """The line of the input that the tool's error message names first, or None."""
    named = re.search(rb"\(line (\d+)\)", run.stderr)
    return int(named[1]) if named else None


# What the tool does.

def check_conversion(folder, case, given, said):
    run = folder.convert(case.slots)
    faults = differs("exit status of the tool", 255 if given else 0, run.returncode)
    if given:
        faults += differs("line that the tool names", line_named(run), said["run"]["line"])
        if len(given) == 1 and line_named(run) is not None:
            faults += differs("line that the tool names", given[0].line, line_named(run))
        return faults
    output = folder.read(OUTPUT)
    faults += [f"the output lacks {part!r}" for part in case.shows if as_bytes(part) not in output]
    return faults + [f"the output shows {part!r}" for part in case.lacks if as_bytes(part) in output]


def as_bytes(part):
    return part if isinstance(part, bytes) else part.encode()


def check_other_slots(folder, case):
    faults = []
    for status, all_slots in ((255, case.ends), (0, case.converts)):
        for slots in all_slots:
            faults += differs(f"exit status of the tool with slots {slots}", status, folder.convert(slots).returncode)
    return faults


def check_split(folder, case):
    """What stops goes to one file, all else to the other, which converts with any slot counts and has nothing that
    stops."""
    folder.check("--split", GOOD, REJECTED, INPUT)
    if not {GOOD, REJECTED} <= set(folder.names()):
        return [f"not split: {folder.names()}"]
    good, rejected = folder.read(GOOD), folder.read(REJECTED)
    stopping = [finding for finding in case.findings if finding.effect == "stops"]
    if not stopping:
        return differs("bytes rejected", 0, len(rejected)) + ([] if good == case.text else ["good is not the input"])
    faults = differs("bytes of both", len(case.text), len(good) + len(rejected))
    faults += [f"not rejected: {finding.id}" for finding in stopping
               if (finding.dn or "").encode() not in rejected.replace(b"\n ", b"")]
    for slots in SLOTS:
        faults += differs(f"exit status for good with slots {slots}", 0, folder.convert(slots, GOOD).returncode)
    said = json.loads(folder.check("--json", GOOD).stdout)
    return faults + [f"stops in good: {one['id']}" for one in said["problems"] if one["effect"] == "stops"]


def check_case(case):
    with Folder(case.text) as folder:
        given = [finding for finding in case.findings if finding.at == "given"]
        said, faults = check_report(folder, case.findings, case.slots)
        if said is None:
            return faults
        return (faults + check_verdict(said, bool(given)) + check_conversion(folder, case, given, said)
                + check_other_slots(folder, case) + check_split(folder, case))


# Rules, each a function that returns what is wrong.

def an_ordinary_registry_has_no_finding():
    with Folder(REGISTRY) as folder:
        said, faults = check_report(folder, (), ())
        counts = {"entries": 16, "users": 1, "groups": 1, "policies": 1, "policy_data": 1, "maps": 2,
                  "resource_credentials": 2, "straight_through": 7}
        faults += differs("counts", counts, said["counts"]) + check_verdict(said, False)
        faults += differs("slots", (1, 1), (said["run"]["users_slots"], said["run"]["groups_slots"]))
        for slots in SLOTS:
            faults += check_report(folder, (), slots)[1]
            run = folder.convert(slots)
            faults += differs("the tool", (0, b""), (run.returncode, run.stderr))
        return faults + differs("words for people", True, b"o problem" in folder.check(INPUT).stdout)


def an_ordinary_registry_may_have_other_line_ends_comments_and_a_version():
    text = b"# an export\nversion: 1\n\n\n" + REGISTRY + b"\n\n# its end\n"
    faults = []
    for content in (text, text.replace(b"\n", b"\r\n"), text.rstrip(b"\n")):
        with Folder(content) as folder:
            faults += check_report(folder, (), ())[1]
    return faults


def every_identifier_is_shown_and_has_a_neighbour():
    source = (project / "src" / "survey" / "findings.cpp").read_text(encoding="utf-8")
    identifiers = re.findall(r'^    \{"([\w-]+)", [A-Z]+,', source, re.MULTILINE)
    shown = {finding.id for case in CASES if case.beside is None for finding in case.findings} | set(AROUND)
    neighbours = {case.beside for case in CASES} | set(AROUND)
    return (differs("not shown", sorted(NEVER), sorted(set(identifiers) - shown))
            + differs("without a neighbour", sorted(NEVER), sorted(set(identifiers) - neighbours))
            + differs("no identifiers", [], sorted(shown - set(identifiers))))


AUTHORITY = ("dn: secAuthority=Default", "objectclass: secAuthorityInfo")
# By what the run makes of it: a value that holds the name of an attribute, and is taken for that attribute.
TAKEN_FOR_OTHERS = (
    ("description: version 6.0", entry(*AUTHORITY, "description: version: 5.0", "version: 5.1")),
    ("no install date", entry(*AUTHORITY, "description: installDate: 1", "version: 5.1")),
    ("description: secUUID", user("carl", "description: secuuid: 1", "secuuid: 2") + map_of("carl")),
    ("no domain identifier", user("carl", "description: secDomainId: 1") + map_of("carl")),
    ("policy containers with a changetype", user("carl", "description: changetype: x") + map_of("carl")),
)


def a_value_that_the_run_takes_for_another_attribute_is_a_change():
    faults = []
    for what, text in TAKEN_FOR_OTHERS:
        with Folder(text + REGISTRY) as folder:
            said = json.loads(folder.check("--json", INPUT).stdout)
            faults += differs(what, ["changes"], [one["effect"] for one in said["problems"]])
    return faults


# What is around an input. Each function returns what is wrong; AROUND says which identifiers they show.

def around(folder, findings, name=INPUT, **more):
    run = folder.check("--json", name, **more)
    found = [finding.id for finding in found_by(json.loads(run.stdout))] if run.stdout else run.stderr
    return differs(f"findings of {name[:9]!r}...", sorted(findings), found)


def a_work_file_of_an_earlier_run_is_found():
    with Folder(REGISTRY) as folder:
        folder.write("input.tmp", USER)
        faults = around(folder, [])
        folder.write(WORK_FILE, b"")
        faults += around(folder, ["work-file-left"])
        (folder.path / WORK_FILE).unlink()
        (folder.path / WORK_FILE).symlink_to("nowhere")
        return faults + around(folder, ["work-file-left"])


def an_input_that_may_not_be_written_stops_the_run():
    with Folder(REGISTRY) as folder:
        folder.path.chmod(0o777)
        (folder.path / INPUT).chmod(0o444)
        whom = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        run = folder.check("--json", INPUT, **whom)
        said = json.loads(run.stdout)
        faults = around(folder, ["input-not-writable"], **whom) + check_verdict(said, True)
        converted = folder.run(tool, INPUT, OUTPUT, *PLENTY, **whom)
        faults += differs("the tool", (255, True), (converted.returncode, b" 380928304 " in converted.stderr))
        faults += differs("message foretold", 380928304, said["run"]["code"])
        (folder.path / INPUT).chmod(0o666)
        return faults + around(folder, [], **whom)


def a_name_of_4092_characters_stops_the_run():
    with Folder(REGISTRY) as folder:
        longest = "." + "/" * (4091 - 1 - len(INPUT)) + INPUT
        faults = around(folder, [], longest) + around(folder, ["input-name-too-long"], "./" + longest[1:])
        for name, status in ((longest, 0), ("./" + longest[1:], 255)):
            faults += differs(f"{len(name)} characters, the tool", status, folder.convert(PLENTY, name).returncode)
            run = json.loads(folder.check("--json", name).stdout)["run"]
            faults += differs(f"{len(name)} characters", (status, 380928314 if status else None), (run["exit"], run["code"]))
        return faults


def in_file_system(folder, options, *command):
    return folder.run("unshare", "--mount", "--map-root-user", "sh", "-c", IN_SMALL_FILE_SYSTEM, "sh", options, *command)


def a_disk_without_room_is_found():
    """The work file and the output take as much as the input each."""
    with Folder(REGISTRY + b"\n" + b"".join(user(f"u{i}", line_of(4000)) + map_of(f"u{i}") for i in range(100))) as outer:
        (outer.path / "disk").mkdir()
        inner = Folder()
        inner.path = outer.path / "disk"
        if in_file_system(inner, "size=8m", "true").returncode != 0:
            raise Skipped("this user may not mount")
        faults = []
        for size, findings, status in (("size=8m", [], 0), ("size=900k", ["no-room"], 255)):
            run = in_file_system(inner, size, check, "--json", INPUT)
            faults += differs(f"findings with {size}", findings, [one.id for one in found_by(json.loads(run.stdout))])
            run = in_file_system(inner, size, tool, INPUT, OUTPUT, *PLENTY)
            faults += differs(f"the tool with {size}", status, run.returncode)
        return faults


def packed_text_and_other_text_is_no_ldif():
    faults = []
    text = REGISTRY.decode()
    for what, content in (("gzip", gzip.compress(REGISTRY)), ("bzip2", bz2.compress(REGISTRY)),
                          ("xz", lzma.compress(REGISTRY)), ("UTF-16", text.encode("utf-16")),
                          ("UTF-16, the other way round", b"\xFE\xFF" + text.encode("utf-16-be")),
                          ("UTF-16 without a mark", text.encode("utf-16-le"))):
        with Folder(content) as folder:
            found = {one.id for one in found_by(json.loads(folder.check("--json", INPUT).stdout))}
            faults += differs(what, {"not-ldif"}, found & {"not-ldif", "empty-input", "nothing-to-convert"})
    for content, findings in ((b"name,class\nbert,secUser\n", ["not-ldif"]), (b"name;class\n\nbert;secUser\n", ["not-ldif"]),
                              (REGISTRY.replace(b"description: another", b"description: \xE9"), [])):
        with Folder(content) as folder:
            faults += around(folder, findings)
    return faults


def an_input_without_entries_is_empty():
    faults = []
    for content, findings in ((b"", ["empty-input"]), (b"\n# a comment\n \n\n", ["empty-input"]), (GROUP + GROUP_MAP, [])):
        with Folder(content) as folder:
            faults += around(folder, findings)
    return faults


def an_input_without_users_and_groups_is_no_registry():
    faults = []
    for content, findings in ((unit("ou: Other"), ["nothing-to-convert"]), (credentials(), ["nothing-to-convert"]),
                              (GROUP + GROUP_MAP, []), (USER + MAP, [])):
        with Folder(content) as folder:
            faults += around(folder, findings)
    return faults


AROUND = {
    "work-file-left": a_work_file_of_an_earlier_run_is_found,
    "input-not-writable": an_input_that_may_not_be_written_stops_the_run,
    "input-name-too-long": a_name_of_4092_characters_stops_the_run,
    "no-room": a_disk_without_room_is_found,
    "not-ldif": packed_text_and_other_text_is_no_ldif,
    "empty-input": an_input_without_entries_is_empty,
    "nothing-to-convert": an_input_without_users_and_groups_is_no_registry,
}


# Values.

SECRET = "hunter2"      # stands in values only
SHOWN = ("note: acl: S1-hunter2", "description: S2-hunter2", "cn: S3-hunter2", "info: acl: S4-hunter2 goes on")
WITH_SECRETS = b"".join((
    user("bert", SHOWN[1], SHOWN[2], principal="a,hunter2"),
    map_of("bert", "description: T2-hunter2", "secCn: T3-hunter2", SHOWN[0], folded(SHOWN[3], 15),
           "hunter2 no name: acl: x", "hunter2-\N{LATIN SMALL LETTER E WITH ACUTE}: acl: x"),
    # What begins in the middle of a value looks like an attribute.
    map_of("carl", folded(line_of(4095) + "hunter2: acl: hunter2")), user("carl"),
    unit(line_of(4095) + "hunter2: xoq-entryuuid: hunter2"),
    policy("carl", line_of(4095) + "hunter2: acl: hunter2"),
    user("dora", "hunter2"), map_of("dora"),
    b"description: one\n  \n hunter2: acl: hunter2\n\n",
    entry("userPassword: hunter2", "changetype: add"),
    entry("dn:: aHVudGVyMg==", "objectclass: secGroup", "cn: hunter2"),
    entry(f"dn: {own_dn('emil')}", "objectclass: secUser", "secAuthority: Default", "PRINCIPALNAME: hunter2"),
    map_of("emil"), entry(b"dn: ou=Other,o=example", b"description: hunter2\0hunter2"), REGISTRY))


def values_are_only_shown_when_they_are_asked_for():
    faults = []
    with Folder(WITH_SECRETS) as folder:
        for options in (["--all"], ["--json"]):
            shown = text_of(folder.check(*options, INPUT))
            faults += [f"{options}: shown: {line!r}" for line in shown.splitlines() if SECRET in line or "aHVudGVyMg" in line]
            faults += [f"{options}: not shown: {line.partition(':')[0]}" for line in SHOWN
                       if not re.search(rf"\b{line.partition(':')[0]}\b", shown)]
            shown = text_of(folder.check(*options, "--values", INPUT))
            faults += [f"{options} --values: not shown: {line}" for line in SHOWN if line.partition(": ")[2] not in shown]
    return faults


def values_are_only_shown_by_splitting_when_they_are_asked_for():
    with Folder(WITH_SECRETS) as folder:
        shown = text_of(folder.check("--all", "--split", GOOD, REJECTED, INPUT))
        return [f"shown: {line!r}" for line in shown.splitlines() if SECRET in line]


def control_characters_do_not_reach_the_terminal():
    escape = "\x1B[2J\x9B\x07"
    with Folder(user("bert" + escape) + map_of("carl", "note: " + escape) + unit("description: xoq-entryuuid: " + escape)
                + REGISTRY) as folder:
        faults = []
        for arguments in ((INPUT,), ("--values", INPUT), ("missing" + escape,), ("--split", escape, escape, INPUT)):
            faults += [f"{arguments}: shown: {line!r}" for line in text_of(folder.check(*arguments)).split("\n")
                       if re.search("[\0-\x1F\x7F-\x9F]", line)]
        return faults


# Text.

LONE_USERS = b"".join(user(f"u{i}") + unit("description: xoq-entryuuid: 1") for i in range(12))


def listed(text):
    """The numbers of the lines listed under each identifier, in the order of the text."""
    under = {}
    for line in text.splitlines():
        kind = re.match(r"([a-z]+[a-z0-9-]*) \((\w+)\)", line)
        if kind:
            numbers = under.setdefault(kind[1], [])
        number = re.match(r" +line (\d+): ", line)
        if number:
            numbers.append(int(number[1]))
    return under


def text_begins_with_the_verdict_and_goes_on_with_the_counts():
    faults = []
    for content, words in ((REGISTRY, "succeeds"), (LONE_USERS + REGISTRY, "stops.* 380928302 .*line 1\\b")):
        with Folder(content) as folder:
            text = folder.check(INPUT).stdout.decode()
            first, _, rest = text.partition("\n")
            if not re.search(words, first):
                faults.append(f"first line: {first!r}")
            places = [rest.find("ntries"), rest.find("users"), rest.find("user-without-map") % (len(rest) + 1)]
            faults += differs("order", sorted(places), places)
    return faults


def text_lists_ten_of_each_kind():
    with Folder(LONE_USERS + REGISTRY) as folder:
        text = folder.check(INPUT).stdout.decode()
        users, units = [1 + 9 * i for i in range(10)], [8 + 9 * i for i in range(10)]
        return (differs("listed", {"user-without-map": users, "looks-like-bookkeeping": units}, listed(text))
                + differs("how often more are spoken of", 2, len(re.findall(r"\b2 more\b.*--all", text)))
                + differs("how often all are counted", 2, len(re.findall(r"\), 12:", text))))


def text_lists_everything_with_all():
    with Folder(LONE_USERS + REGISTRY) as folder:
        run = folder.check("--all", INPUT)
        users, units = [1 + 9 * i for i in range(12)], [8 + 9 * i for i in range(12)]
        return (differs("listed", {"user-without-map": users, "looks-like-bookkeeping": units}, listed(run.stdout.decode()))
                + differs("speaks of more", False, b" more" in run.stdout) + differs("exit status", 1, run.returncode))


def json_lists_everything_always():
    with Folder(LONE_USERS + REGISTRY) as folder:
        return differs("problems", 24, len(json.loads(folder.check("--json", INPUT).stdout)["problems"]))


def text_says_what_will_happen_and_what_to_do():
    with Folder(USER + REGISTRY) as folder:
        text = folder.check(INPUT).stdout.decode()
        return [f"lacks {part!r}" for part in ("user-without-map (stops)", "has no secMap entry", "Add its secMap entry",
                                               f"line 1: {BERT}") if part not in text]


def text_marks_what_stops_at_other_slot_counts_only():
    with Folder(USER + MAP + USER + MAP + REGISTRY) as folder:
        once = folder.check(INPUT, 1, 1).stdout.decode()
        given = folder.check(INPUT, 2, 1).stdout.decode()
        return (differs("with slots for one", 2, once.count("(at other slot counts)"))
                + differs("with slots for two", 0, given.count("(at other slot counts)")))


# Splitting.

REMARK = b"# about the next entry\n# and more of it\n"
BERTS = (USER, policy("bert", "cn: more"), policy_data("bert"))


def each_entry_goes_to_one_file_with_its_owners_others_and_its_comments():
    good = [REGISTRY + b"\n", REMARK + unit("ou: Other"), user("carl") + map_of("carl")]
    rejected = [REMARK + BERTS[0], REMARK + BERTS[1], BERTS[2]]
    with Folder(b"".join(part for pair in zip(good, rejected) for part in pair)) as folder:
        run = folder.check("--split", GOOD, REJECTED, INPUT)
        return (differs("exit status", 1, run.returncode) + differs("good", b"".join(good), folder.read(GOOD))
                + differs("rejected", b"".join(rejected), folder.read(REJECTED))
                + differs("files", [GOOD, INPUT, REJECTED], folder.names()))


def owners_of_entries_that_fill_their_rows_are_rejected():
    faults = []
    for count in (ROW - 1, ROW):
        berts = USER + MAP + policy_data("bert", *lines(count - 3))
        with Folder(berts + REGISTRY) as folder:
            folder.check("--split", GOOD, REJECTED, INPUT)
            faults += differs(f"rejected of {count} lines", berts if count == ROW else b"", folder.read(REJECTED))
    return faults


def what_is_found_besides_does_not_matter_to_the_split():
    text = user("bert", "description: own") + map_of("bert", "description: acl: x") + REGISTRY
    with Folder(text) as folder:
        run = folder.check("--split", GOOD, REJECTED, INPUT)
        return (differs("exit status", 1, run.returncode) + differs("good", text, folder.read(GOOD))
                + differs("rejected", b"", folder.read(REJECTED)))


def nothing_found_splits_with_exit_status_0():
    with Folder(REGISTRY + b"\n# its end\n") as folder:
        run = folder.check("--split", GOOD, REJECTED, INPUT, umask=0)
        return (differs("exit status", 0, run.returncode) + differs("good", folder.read(INPUT), folder.read(GOOD))
                + differs("rejected", b"", folder.read(REJECTED)))


def both_files_are_their_owners_alone():
    with Folder(USER + REGISTRY) as folder:
        for name in (GOOD, REJECTED):
            folder.write(name, b"earlier\n")
            (folder.path / name).chmod(0o666)
        folder.check("--split", GOOD, REJECTED, INPUT, umask=0)
        modes = [oct((folder.path / name).stat().st_mode & 0o777) for name in (GOOD, REJECTED)]
        return (differs("modes", ["0o600", "0o600"], modes) + differs("rejected", USER, folder.read(REJECTED))
                + differs("good", REGISTRY, folder.read(GOOD)))


def equal_names_are_refused():
    faults = []
    for names in ((INPUT, REJECTED, INPUT), (GOOD, INPUT, INPUT), (GOOD, GOOD, INPUT), (GOOD, f"./{GOOD}", INPUT),
                  (f"./{INPUT}", REJECTED, INPUT), (GOOD, "link", INPUT), ("hard", REJECTED, INPUT)):
        with Folder(USER + REGISTRY) as folder:
            (folder.path / "link").symlink_to(INPUT)
            os.link(folder.path / INPUT, folder.path / "hard")
            run = folder.check("--split", *names)
            faults += differs(f"{names}: exit status", 2, run.returncode)
            faults += differs(f"{names}: files", ["hard", INPUT, "link"], folder.names())
            faults += differs(f"{names}: input", USER + REGISTRY, folder.read(INPUT))
            faults += differs(f"{names}: says something", True, run.stderr.startswith(b"tqldif2v6-check: "))
    return faults


def split_that_cannot_be_written_leaves_nothing():
    faults = []
    for names in ((GOOD, "nowhere/rejected"), ("nowhere/good", REJECTED), (GOOD, "folder"), ("folder", REJECTED)):
        with Folder(USER + REGISTRY) as folder:
            (folder.path / "folder").mkdir()
            run = folder.check("--split", *names, INPUT)
            faults += differs(f"{names}: exit status", 2, run.returncode)
            faults += differs(f"{names}: files", ["folder", INPUT], folder.names())
            faults += differs(f"{names}: says something", True, run.stderr.startswith(b"tqldif2v6-check: "))
    return faults


# The command line, and failures of the check itself.

def a_command_line_that_cannot_be_used_ends_with_2():
    faults = []
    for arguments in ((), (INPUT, "1"), (INPUT, "1", "1", "1"), (INPUT, "0", "1"), (INPUT, "1", "0"), (INPUT, "-1", "1"),
                      (INPUT, "many", "1"), (INPUT, "", "1"), (INPUT, "2147483648", "1"), ("--unknown", INPUT),
                      ("--split", GOOD), ("--split",), ("--split", GOOD, REJECTED), ("--json",), ("-x", INPUT)):
        with Folder(REGISTRY) as folder:
            run = folder.check(*arguments)
            faults += differs(f"{arguments}", (2, b"", True), (run.returncode, run.stdout, b"usage: " in run.stderr))
            faults += differs(f"{arguments}: files", [INPUT], folder.names())
    return faults


def greatest_slot_counts_and_names_behind_two_dashes_are_taken():
    with Folder(REGISTRY) as folder:
        folder.write("--json", REGISTRY)
        return (differs("slots", 0, folder.check(INPUT, 2147483647, 2147483647).returncode)
                + differs("name", 0, folder.check("--", "--json").returncode))


def help_and_version_are_shown_without_an_input():
    with Folder() as folder:
        run = folder.check("--help")
        faults = differs("help", (0, b"", True), (run.returncode, run.stderr, run.stdout.startswith(b"usage: ")))
        faults += [f"help lacks {word}" for word in ("--json", "--all", "--values", "--split", "--help", "--version")
                   if word.encode() not in run.stdout]
        run = folder.check("--version")
        version = re.fullmatch(rb"tqldif2v6-check \d+\.\d+(\.\d+)?\n", run.stdout)
        return faults + differs("version", (0, b"", True), (run.returncode, run.stderr, bool(version)))


def an_input_that_is_no_file_ends_with_2():
    faults = []
    for name in ("missing", "folder", "pipe", "/dev/null", ""):
        with Folder() as folder:
            (folder.path / "folder").mkdir()
            os.mkfifo(folder.path / "pipe")
            for options in ([], ["--json"], ["--split", GOOD, REJECTED]):
                run = folder.check(*options, name)
                said = re.fullmatch(rb"tqldif2v6-check: [^\n]+\n", run.stderr)
                faults += differs(f"{name!r}, {options}", (2, b"", True), (run.returncode, run.stdout, bool(said)))
            faults += differs("files", ["folder", "pipe"], folder.names())
    return faults


def an_input_that_may_not_be_read_ends_with_2():
    with Folder(REGISTRY) as folder:
        folder.path.chmod(0o755)
        (folder.path / INPUT).chmod(0)
        whom = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        run = folder.check(INPUT, **whom)
        return differs("exit status", (2, b""), (run.returncode, run.stdout))


def a_full_standard_output_ends_with_2():
    faults = []
    with Folder(USER + REGISTRY) as folder, open("/dev/full", "wb") as full:
        for options in ([], ["--json"], ["--all"]):
            run = folder.check(*options, INPUT, capture_output=False, stdout=full, stderr=subprocess.PIPE)
            faults += differs(f"{options}", (2, True), (run.returncode, b"standard output" in run.stderr))
    return faults


RULES = (an_ordinary_registry_has_no_finding, an_ordinary_registry_may_have_other_line_ends_comments_and_a_version,
         every_identifier_is_shown_and_has_a_neighbour, a_value_that_the_run_takes_for_another_attribute_is_a_change,
         *AROUND.values(), values_are_only_shown_when_they_are_asked_for,
         values_are_only_shown_by_splitting_when_they_are_asked_for, control_characters_do_not_reach_the_terminal,
         text_begins_with_the_verdict_and_goes_on_with_the_counts, text_lists_ten_of_each_kind,
         text_lists_everything_with_all, json_lists_everything_always, text_says_what_will_happen_and_what_to_do,
         text_marks_what_stops_at_other_slot_counts_only,
         each_entry_goes_to_one_file_with_its_owners_others_and_its_comments,
         owners_of_entries_that_fill_their_rows_are_rejected, what_is_found_besides_does_not_matter_to_the_split,
         nothing_found_splits_with_exit_status_0, both_files_are_their_owners_alone, equal_names_are_refused,
         split_that_cannot_be_written_leaves_nothing, a_command_line_that_cannot_be_used_ends_with_2,
         greatest_slot_counts_and_names_behind_two_dashes_are_taken, help_and_version_are_shown_without_an_input,
         an_input_that_is_no_file_ends_with_2, an_input_that_may_not_be_read_ends_with_2,
         a_full_standard_output_ends_with_2)


def shortened(text):
    """Without what fills up long lines."""
    return re.sub(r"(.)\1{39,}", lambda run: f"{run[1] * 3}<{len(run[0])}>", text)


def all_checks():
    yield from ((case.rule, lambda case=case: check_case(case)) for case in CASES)
    yield from ((rule.__name__.replace("_", " "), rule) for rule in RULES)


def main():
    checks = failures = 0
    for rule, function in all_checks():
        checks += 1
        try:
            faults = function()
        except Skipped as reason:
            print(f"skipped: {rule}: {reason}")
            continue
        if faults:
            failures += 1
            print(shortened(f"FAILED {rule}: {'; '.join(faults)}"), flush=True)
    print(f"{checks} checks, {failures} failures")
    return 1 if failures or not checks else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    os.umask(0o022)
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as scratch:
        os.chmod(scratch, 0o755)
        # Copies that anybody may run.
        check, tool = (shutil.copy(program, Path(scratch) / name) for program, name in zip(sys.argv[1:], ("check", "tool")))
        sys.exit(main())
