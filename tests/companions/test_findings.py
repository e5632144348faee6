#!/usr/bin/env python3
"""Every finding of the check: an input by hand that shows it and nothing else, one beside it that does not, and what
the tool really does with both. Then the rules of check_rules.py.

usage: test_findings.py CHECK TOOL
"""
import bz2
import gzip
import json
import lzma
import os
import re
import shutil
import sys
import tempfile
from pathlib import Path

import check_rules
import folder as folders
from changing_cases import CHANGING
from folder import (GOOD, INPUT, OUTPUT, REJECTED, WORK_FILE, Folder, Skipped, as_somebody, check_report, check_verdict,
                    differs, found_by)
from pieces import (GROUP, GROUP_MAP, MAP, PLENTY, REGISTRY, USER, credentials, entry, line_of, map_of,
                    oversized_unit, unit, user)
from stopping_cases import NEVER, STOPPING

project = Path(__file__).resolve().parent.parent.parent
SLOTS = ((1, 1), (2, 1), PLENTY)
CASES = (*STOPPING, *CHANGING)
IN_SMALL_FILE_SYSTEM = 'mount -t tmpfs -o "$1" none . && cp ../input.ldif "$PWD" && cd "$PWD" || exit 99; shift; "$@"'


def line_named(run):
    """The line of the input that the tool's error message names first, or None."""
    named = re.search(rb"\(line (\d+)\)", run.stderr)
    return int(named[1]) if named else None


# What the tool does.

def check_conversion(folder, case, given, said):
    run = folder.convert(case.slots)
    faults = differs("exit status of the tool", 255 if given else 0, run.returncode)
    faults += differs("passes that the tool tells of", (run.stdout + run.stderr).count(b"380928313"),
                      said["run"]["passes"])
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

def every_identifier_is_shown_and_has_a_neighbour():
    source = (project / "src" / "survey" / "findings.cpp").read_text(encoding="utf-8")
    identifiers = re.findall(r'^    \{"([\w-]+)", [A-Z]+,', source, re.MULTILINE)
    shown = {finding.id for case in CASES if case.beside is None for finding in case.findings} | set(AROUND)
    neighbours = {case.beside for case in CASES} | set(AROUND)
    return (differs("not shown", sorted(NEVER), sorted(set(identifiers) - shown))
            + differs("without a neighbour", sorted(NEVER), sorted(set(identifiers) - neighbours))
            + differs("no identifiers", [], sorted(shown - set(identifiers)))
            + [f"{case.rule}: shows {case.beside}" for case in CASES
               if case.beside in {finding.id for finding in case.findings}])


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
        return faults


def what_no_run_has_left_in_the_place_of_the_work_file_stops_the_run():
    makers = {"symbolic link": lambda path: path.symlink_to("nowhere"), "folder": lambda path: path.mkdir(),
              "hard link": lambda path: path.hardlink_to(path.parent / "other"), "pipe": os.mkfifo}
    faults = []
    for make in makers.values():
        with Folder(REGISTRY) as folder:
            folder.write("other", b"")
            make(folder.path / WORK_FILE)
            faults += around(folder, ["work-file-not-possible"]) + agrees(folder, INPUT)
    with Folder(REGISTRY) as folder:  # another user's
        folder.path.chmod(0o777)
        (folder.path / INPUT).chmod(0o666)
        folder.write(WORK_FILE, b"")
        (folder.path / WORK_FILE).chmod(0o666)
        faults += around(folder, ["work-file-not-possible"], **as_somebody()) + agrees(folder, INPUT, **as_somebody())
    return faults


def an_input_that_may_not_be_written_stops_the_run():
    with Folder(REGISTRY) as folder:
        folder.path.chmod(0o777)
        (folder.path / INPUT).chmod(0o444)
        whom = as_somebody()
        run = folder.check("--json", INPUT, **whom)
        said = json.loads(run.stdout)
        faults = around(folder, ["input-not-writable"], **whom) + check_verdict(said, True)
        converted = folder.run(folders.programs["tool"], INPUT, OUTPUT, *PLENTY, **whom)
        faults += differs("the tool", (255, True), (converted.returncode, b" 380928304 " in converted.stderr))
        faults += differs("message foretold", 380928304, said["run"]["code"])
        (folder.path / INPUT).chmod(0o666)
        return faults + around(folder, [], **whom)


def a_folder_or_a_name_that_takes_no_work_file_stops_the_run():
    """A name in a file system has 255 characters at most, and the work file's is four longer than the input's."""
    faults = []
    with Folder(REGISTRY) as folder:
        for length, findings in ((251, []), (252, ["work-file-not-possible"])):
            name = "n" * length
            folder.write(name, REGISTRY)
            faults += around(folder, findings, name) + agrees(folder, name)
        (folder.path / INPUT).chmod(0o666)
        for mode, findings in ((0o777, []), (0o755, ["work-file-not-possible"])):
            folder.path.chmod(mode)
            faults += around(folder, findings, **as_somebody()) + agrees(folder, INPUT, **as_somebody())
    return faults


def agrees(folder, name, **whom):
    """The run is the one foretold."""
    said = json.loads(folder.check("--json", name, **whom).stdout)["run"]
    (folder.path / OUTPUT).unlink(missing_ok=True)
    (folder.path / OUTPUT).touch(0o666)
    (folder.path / OUTPUT).chmod(0o666)
    run = folder.run(folders.programs["tool"], name, OUTPUT, *PLENTY, **whom)
    (folder.path / OUTPUT).unlink()
    ends = (255, True) if said["code"] == 380928304 else (0, False)
    return differs(f"the run of {name[:9]}", ends, (run.returncode, b" 380928304 " in run.stderr))


def a_name_of_4092_characters_stops_the_run():
    with Folder(REGISTRY) as folder:
        longest = "." + "/" * (4091 - 1 - len(INPUT)) + INPUT
        faults = around(folder, [], longest) + around(folder, ["input-name-too-long"], "./" + longest[1:])
        for name, status in ((longest, 0), ("./" + longest[1:], 255)):
            faults += differs(f"{len(name)} characters, the tool", status, folder.convert(PLENTY, name).returncode)
            run = json.loads(folder.check("--json", name).stdout)["run"]
            faults += differs(f"{len(name)} characters", (status, 380928314 if status else None),
                              (run["exit"], run["code"]))
        return faults


def in_file_system(folder, options, *command):
    return folder.run("unshare", "--mount", "--map-root-user", "sh", "-c", IN_SMALL_FILE_SYSTEM, "sh", options,
                      *command, cwd=folder.path / "disk")


def a_disk_without_room_is_found():
    """The work file and the output take as much as the input each."""
    users = b"".join(user(f"u{i}", line_of(4000)) + map_of(f"u{i}") for i in range(100))
    with Folder(users + REGISTRY) as folder:
        (folder.path / "disk").mkdir()
        if in_file_system(folder, "size=8m", "true").returncode != 0:
            raise Skipped("this user may not mount")
        faults = []
        for size, findings, status in (("size=8m", [], 0), ("size=900k", ["no-room"], 255)):
            run = in_file_system(folder, size, folders.programs["check"], "--json", INPUT)
            faults += differs(f"findings with {size}", findings, [one.id for one in found_by(json.loads(run.stdout))])
            run = in_file_system(folder, size, folders.programs["tool"], INPUT, OUTPUT, *PLENTY)
            faults += differs(f"the tool with {size}", status, run.returncode)
        return faults


UNIT_ALONE = unit("ou: Other")


def packed_text_and_other_text_is_no_ldif():
    faults = []
    text = REGISTRY.decode()
    for what, content in (("gzip", gzip.compress(REGISTRY)), ("bzip2", bz2.compress(REGISTRY)),
                          ("xz", lzma.compress(REGISTRY)), ("UTF-16", text.encode("utf-16")),
                          ("UTF-16, the other way round", b"\xFE\xFF" + text.encode("utf-16-be")),
                          ("UTF-16 without a mark", text.encode("utf-16-le")),
                          ("the same, the other way round", text.encode("utf-16-be"))):
        with Folder(content) as folder:
            found = {one.id for one in found_by(json.loads(folder.check("--json", INPUT).stdout))}
            faults += differs(what, {"not-ldif"}, found & {"not-ldif", "empty-input", "nothing-to-convert"})
    for content, findings in ((b"name,class\nbert,secUser\n", ["not-ldif"]),
                              (b"name;class\n\nbert;secUser\n", ["not-ldif"]),
                              (b"\xEF\xBB\xBFname,class\nbert,secUser\n", ["byte-order-mark", "not-ldif"]),
                              (b"version: 1\n" + UNIT_ALONE, ["version-line", "nothing-to-convert"]),
                              (b"# ours\nversion: 1\n" + UNIT_ALONE, ["version-line", "nothing-to-convert"]),
                              (b"\xEF\xBB\xBF" + UNIT_ALONE, ["byte-order-mark", "nothing-to-convert"]),
                              (REGISTRY.replace(b"description: another", b"description: \xE9"), [])):
        with Folder(content) as folder:
            faults += around(folder, findings)
    return faults


def an_input_without_entries_is_empty():
    faults = []
    for content, findings in ((b"", ["empty-input"]), (b"\n# a comment\n \n\n", ["empty-input"]),
                              (GROUP + GROUP_MAP, [])):
        with Folder(content) as folder:
            faults += around(folder, findings)
    return faults


def an_input_without_users_and_groups_is_no_registry():
    faults = []
    for content, findings in ((unit("ou: Other"), ["nothing-to-convert"]), (credentials(), ["nothing-to-convert"]),
                              (GROUP + GROUP_MAP, []), (USER + MAP, []),
                              # Without an empty line behind a long entry what follows in the output runs on in it.
                              (oversized_unit()[:-1], ["nothing-to-convert"]),
                              (oversized_unit()[:-2] + b"\0\n\n" + unit(),
                               ["nothing-to-convert", "nul-byte", "record-runs-on"]),
                              (credentials() + oversized_unit()[:-1], ["nothing-to-convert", "record-runs-on"])):
        with Folder(content) as folder:
            faults += around(folder, findings)
    return faults


AROUND = {
    "work-file-left": a_work_file_of_an_earlier_run_is_found,
    "input-not-writable": an_input_that_may_not_be_written_stops_the_run,
    "work-file-not-possible": a_folder_or_a_name_that_takes_no_work_file_stops_the_run,
    "input-name-too-long": a_name_of_4092_characters_stops_the_run,
    "no-room": a_disk_without_room_is_found,
    "not-ldif": packed_text_and_other_text_is_no_ldif,
    "empty-input": an_input_without_entries_is_empty,
    "nothing-to-convert": an_input_without_users_and_groups_is_no_registry,
}


RULES = (every_identifier_is_shown_and_has_a_neighbour, *AROUND.values(),
         what_no_run_has_left_in_the_place_of_the_work_file_stops_the_run, *check_rules.RULES)


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
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as folders.scratch:
        os.chmod(folders.scratch, 0o755)
        for name, program in zip(("check", "tool"), sys.argv[1:]):
            folders.programs[name] = shutil.copy(program, os.path.join(folders.scratch, name))  # that anybody may run
        sys.exit(main())
