"""Rules of the check besides its findings, each a function that returns what is wrong: what it shows of values, its
text, what it splits, its command line, and how it fails itself.
"""
import json
import os
import re
import subprocess

from folder import (GOOD, INPUT, REJECTED, WORK_FILE, Folder, Skipped, as_somebody, check_report, check_verdict, differs,
                    text_of)
from pieces import (BERT, LINE, MAP, PLENTY, REGISTRY, ROW, USER, entry, folded, group, line_of, lines, map_dn, map_of,
                    map_of_group, own_dn, policy, policy_data, unit, user, users_entry)

SLOTS = ((1, 1), (2, 1), PLENTY)


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


# Values.

SECRET = "hunter2|aHVudGVyMg"   # stands in values only, once in base 64
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
            faults += [f"{options}: shown: {line!r}" for line in shown.splitlines() if re.search(SECRET, line)]
            faults += [f"{options}: not shown: {line.partition(':')[0]}" for line in SHOWN
                       if not re.search(rf"\b{line.partition(':')[0]}\b", shown)]
            shown = text_of(folder.check(*options, "--values", INPUT))
            faults += [f"{options} --values: not shown: {line}" for line in SHOWN
                       if line.partition(": ")[2] not in shown]
    return faults


def values_are_shown_as_they_stand():
    for line in ("description: x", "description:: eA==", "description:< file:///x", "description:x"):
        with Folder(user("bert", line) + map_of("bert", "description: map's") + REGISTRY) as folder:
            shown = line if line != "description:x" else "description: x"
            text = folder.check("--values", INPUT).stdout.decode()
            if f"line 5: {BERT}, {shown}\n" not in text:
                return [f"{line!r} is not shown in {text!r}"]
    return []


def values_are_only_shown_by_splitting_when_they_are_asked_for():
    with Folder(WITH_SECRETS) as folder:
        shown = text_of(folder.check("--all", "--split", GOOD, REJECTED, INPUT))
        return [f"shown: {line!r}" for line in shown.splitlines() if re.search(SECRET, line)]


def control_characters_do_not_reach_the_terminal():
    escape = "\x1B[2J\x9B\x07"
    text = user("bert" + escape) + map_of("carl", "note: " + escape) + unit("description: xoq-entryuuid: " + escape)
    with Folder(text + REGISTRY) as folder:
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
        text = run.stdout.decode()
        return (differs("listed", {"user-without-map": users, "looks-like-bookkeeping": units}, listed(text))
                + differs("speaks of more", False, " more" in text) + differs("exit status", 1, run.returncode))


def json_lists_everything_always():
    with Folder(LONE_USERS + REGISTRY) as folder:
        return differs("problems", 24, len(json.loads(folder.check("--json", INPUT).stdout)["problems"]))


def findings_of_many_users_come_in_the_order_of_the_users():
    """Whatever is made at the same time: two thousand users are one half of what is."""
    users, lines_of_one = 9_000, 9
    names = [f"n{number}" for number in range(users)]
    for number in range(500, users, 1000):
        names[number] = f"n{number}+x"
    for number, first in ((4, 3), (2_501, 5), (4_201, 5), (6_502, 4_100)):
        names[number] = names[first]
    text = b"".join(user(f"u{number}", principal=name) + map_of(f"u{number}") for number, name in enumerate(names))
    expected = [(identifier, 1 + lines_of_one * number) for number, name in enumerate(names)
                for identifier, holds in (("special-character-in-new-dn", "+" in name),
                                          ("new-dn-twice", number in (4, 2_501, 4_201, 6_502))) if holds]
    with Folder(text) as folder:
        problems = json.loads(folder.check("--json", INPUT).stdout)["problems"]
        return differs("findings", expected, [(problem["id"], problem["line"]) for problem in problems])


def text_says_what_will_happen_and_what_to_do():
    with Folder(USER + REGISTRY) as folder:
        text = folder.check(INPUT).stdout.decode()
        parts = ("user-without-map (stops)", "has no secMap entry", "Add its secMap entry", f"line 1: {BERT}")
        return [f"lacks {part!r}" for part in parts if part not in text]


def text_marks_what_stops_at_other_slot_counts_only():
    with Folder(USER + MAP + USER + MAP + REGISTRY) as folder:
        once = folder.check(INPUT, 1, 1).stdout.decode()
        given = folder.check(INPUT, 2, 1).stdout.decode()
        return (differs("with slots for one", 2, once.count("(at other slot counts)"))
                + differs("with slots for two", 0, given.count("(at other slot counts)")))


def slot_counts_to_choose_from_have_the_passes_of_their_runs():
    """Two slots make 56 passes of 111 groups."""
    groups = b"".join(group(f"g{i}") + map_of_group(f"g{i}") for i in range(111))
    for content, rows in ((groups, [[1, 111, 1], [1, 56, 2], [1, 12, 10], [1, 2, 56]]), (unit(), [[1, 1, 0]])):
        with Folder(content) as folder:
            text = folder.check(INPUT).stdout.decode()
            table = re.findall(r"^ +(\d+) +(\d+) +(\d+) +\d+ +1\.0", text, re.MULTILINE)
            faults = differs("rows", rows, [[int(number) for number in row] for row in table])
            for users_slots, groups_slots, passes in rows:
                said = folder.convert((users_slots, groups_slots)).stdout.count(b" 380928313 ")
                faults += differs(f"passes with {users_slots} and {groups_slots}", passes, said)
            if faults:
                return faults
    return []


def slot_counts_that_are_given_have_the_passes_of_the_forecast():
    """A user who is there twice takes two passes, where all owners have a slot."""
    with Folder(USER + MAP + USER + MAP) as folder:
        text = folder.check(INPUT, 1, 1).stdout.decode()
        said = folder.convert((1, 1)).stdout.count(b" 380928313 ")
        table = re.findall(r"^ +1 +1 +(\d+) +\d+ +1\.0", text, re.MULTILINE)
        return differs("passes", (2, ["2"]), (said, table))


def what_a_failure_leaves_over_is_no_failure_of_its_own():
    """Entries of 49 and 101 lines run on into the rows of others: once they are shorter, all is gathered."""
    def text(most):
        long = [f"a{number}: x" for number in range(most)]
        return b"".join((user("a"), map_of("b"), users_entry("b"), map_of("c"), users_entry("a", *long[:44]), user("b"),
                         user("d"), user("e"), policy_data("c", *long), map_of("a"), map_of("d"), map_of("e"),
                         user("c")))
    with Folder(text(98)) as folder:
        said = json.loads(folder.check("--json", INPUT, 2, 2).stdout)
        faults = differs("found", ["too-many-lines"],
                         [problem["id"] for problem in said["problems"] if problem["at"] == "given"])
    with Folder(text(10)) as folder:
        return faults + differs("mended", 0, folder.convert((2, 2)).returncode)


def a_run_that_ends_while_it_prepares_holds_nothing_of_what_stands_behind():
    other = unit(line_of(LINE - 1)) * 100   # more than a window of the input
    large = unit(*["note: something"] * 100_000)
    ends = b"# a comment that goes on\n in the next line\n" + unit()

    def foretold(text):
        with Folder(text) as folder:
            return json.loads(folder.check("--json", INPUT).stdout)["run"]["memory_bytes"]

    alone, behind, before = (foretold(other + text) for text in (ends, ends + b"\n" + large, large + ends))
    return (differs("with a large entry behind", alone, behind)
            + differs("with a large one before: so much more", True, before - alone > len(large)))


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


def owners_of_an_entry_that_falls_apart_are_rejected_together():
    """A line that begins with a carriage return is blank in the work file; what stands behind it is Carl's map."""
    broken = user("bert", "\rx", f"dn: {map_dn('carl')}", "objectclass: secMap", "secDN: cn=carl,o=example")
    faults = []
    # Bert has no map, or Carl no entry of his own.
    for first, second in ((user("carl"), broken), (broken, user("carl")), (broken, MAP)):
        with Folder(first + second + REGISTRY) as folder:
            folder.check("--split", GOOD, REJECTED, INPUT)
            faults += (differs("rejected", first + second, folder.read(REJECTED))
                       + differs("good", REGISTRY, folder.read(GOOD)))
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


def both_files_can_be_read_whatever_the_umask_is():
    with Folder(USER + REGISTRY) as folder:
        folder.check("--split", GOOD, REJECTED, INPUT, umask=0o777)
        return differs("modes", [0o600] * 2, [(folder.path / name).stat().st_mode & 0o777 for name in (GOOD, REJECTED)])


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


def a_name_that_a_run_takes_for_its_work_file_is_refused():
    """A run for the input, or for one of the two that it is split into."""
    faults = []
    for names in ((GOOD, WORK_FILE, INPUT), (WORK_FILE, REJECTED, INPUT), (GOOD, f"{GOOD}.tmp", INPUT),
                  (f"{REJECTED}.tmp", REJECTED, INPUT), (GOOD, REJECTED, f"{GOOD}.tmp"),
                  (GOOD, REJECTED, f"./{REJECTED}.tmp")):
        with Folder(USER + REGISTRY) as folder:
            if names[2] != INPUT:
                (folder.path / INPUT).rename(folder.path / names[2])
            before = folder.names()
            faults += differs(f"{names}: exit status", 2, folder.check("--split", *names).returncode)
            faults += differs(f"{names}: files", before, folder.names())
    return faults


def earlier_files_stay_where_the_second_one_may_not_be_replaced():
    """In a folder in which nobody may rename what another one owns."""
    if os.geteuid() != 0:
        raise Skipped("only root can give files to others")
    whom = as_somebody()
    with Folder(USER + REGISTRY) as folder:
        for name in (GOOD, REJECTED):
            folder.write(name, b"earlier\n")
        (folder.path / INPUT).chmod(0o644)
        os.chown(folder.path / GOOD, whom["user"], whom["group"])
        folder.path.chmod(0o1777)
        run = folder.check("--split", GOOD, REJECTED, INPUT, **whom)
        return (differs("exit status", 2, run.returncode) + differs("good", b"earlier\n", folder.read(GOOD))
                + differs("rejected", b"earlier\n", folder.read(REJECTED))
                + differs("files", sorted((GOOD, INPUT, REJECTED)), folder.names()))


def a_folder_that_may_not_be_read_takes_both_files():
    with Folder(USER + REGISTRY) as folder:
        (folder.path / INPUT).chmod(0o644)
        (folder.path / "folder").mkdir()
        (folder.path / "folder").chmod(0o333)
        folder.path.chmod(0o755)
        run = folder.check("--split", "folder/a", "folder/b", INPUT, **as_somebody())
        (folder.path / "folder").chmod(0o755)
        return (differs("exit status", 1, run.returncode) + differs("error", b"", run.stderr)
                + differs("files", ["a", "b"], sorted(os.listdir(folder.path / "folder"))))


def split_that_cannot_be_written_leaves_everything_as_it_was():
    faults = []
    for names in ((GOOD, "nowhere/rejected"), ("nowhere/good", REJECTED), (GOOD, "folder"), ("folder", REJECTED),
                  (GOOD, ""), ("", REJECTED), (GOOD, "pipe"), ("pipe", REJECTED), (GOOD, "link"), ("link", REJECTED),
                  (GOOD, "loose"), ("loose", REJECTED)):
        with Folder(USER + REGISTRY) as folder:
            (folder.path / "folder").mkdir()
            os.mkfifo(folder.path / "pipe")
            (folder.path / "link").symlink_to(REJECTED if names[0] == GOOD else GOOD)
            (folder.path / "loose").symlink_to("nowhere")
            for name in (GOOD, REJECTED):
                folder.write(name, b"earlier\n")
            run = folder.check("--split", *names, INPUT)
            faults += differs(f"{names}: exit status", 2, run.returncode)
            faults += differs(f"{names}: files", sorted(["folder", GOOD, INPUT, "link", "loose", "pipe", REJECTED]),
                              folder.names())
            faults += differs(f"{names}: links", [True] * 2,
                              [(folder.path / name).is_symlink() for name in ("link", "loose")])
            faults += differs(f"{names}: pipe", True, (folder.path / "pipe").is_fifo())
            for name in (GOOD, REJECTED):
                faults += differs(f"{names}: {name}", b"earlier\n", folder.read(name))
            faults += differs(f"{names}: says something", True, run.stderr.startswith(b"tqldif2v6-check: "))
    return faults


# The command line, and failures of the check itself.

UNUSABLE = (
    (), ("--json",), (INPUT, "1"), (INPUT, "1", "1", "1"), (INPUT, "0", "1"), (INPUT, "1", "0"), (INPUT, "-1", "1"),
    (INPUT, "many", "1"), (INPUT, "", "1"), (INPUT, "2147483648", "1"), ("--unknown", INPUT), ("-x", INPUT),
    ("--split",), ("--split", GOOD), ("--split", GOOD, REJECTED), ("--split", GOOD, "--json", INPUT),
    ("--split", "--json", REJECTED, INPUT))


def a_command_line_that_cannot_be_used_ends_with_2():
    faults = []
    for arguments in UNUSABLE:
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
        run = folder.check(INPUT, **as_somebody())
        return differs("exit status", (2, b""), (run.returncode, run.stdout))


def a_full_standard_output_ends_with_2():
    faults = []
    with Folder(USER + REGISTRY) as folder, open("/dev/full", "wb") as full:
        for options in ([], ["--json"], ["--all"]):
            run = folder.check(*options, INPUT, capture_output=False, stdout=full, stderr=subprocess.PIPE)
            faults += differs(f"{options}", (2, True), (run.returncode, b"standard output" in run.stderr))
    return faults


RULES = (owners_of_an_entry_that_falls_apart_are_rejected_together,
         a_name_that_a_run_takes_for_its_work_file_is_refused,
         earlier_files_stay_where_the_second_one_may_not_be_replaced, a_folder_that_may_not_be_read_takes_both_files,
         an_ordinary_registry_has_no_finding, an_ordinary_registry_may_have_other_line_ends_comments_and_a_version,
         slot_counts_to_choose_from_have_the_passes_of_their_runs,
         slot_counts_that_are_given_have_the_passes_of_the_forecast,
         what_a_failure_leaves_over_is_no_failure_of_its_own, both_files_can_be_read_whatever_the_umask_is,
         a_run_that_ends_while_it_prepares_holds_nothing_of_what_stands_behind, values_are_shown_as_they_stand,
         values_are_only_shown_when_they_are_asked_for, values_are_only_shown_by_splitting_when_they_are_asked_for,
         control_characters_do_not_reach_the_terminal, text_begins_with_the_verdict_and_goes_on_with_the_counts,
         text_lists_ten_of_each_kind, text_lists_everything_with_all, json_lists_everything_always,
         findings_of_many_users_come_in_the_order_of_the_users, text_says_what_will_happen_and_what_to_do,
         text_marks_what_stops_at_other_slot_counts_only,
         each_entry_goes_to_one_file_with_its_owners_others_and_its_comments,
         owners_of_entries_that_fill_their_rows_are_rejected, what_is_found_besides_does_not_matter_to_the_split,
         nothing_found_splits_with_exit_status_0, both_files_are_their_owners_alone, equal_names_are_refused,
         split_that_cannot_be_written_leaves_everything_as_it_was, a_command_line_that_cannot_be_used_ends_with_2,
         greatest_slot_counts_and_names_behind_two_dashes_are_taken, help_and_version_are_shown_without_an_input,
         an_input_that_is_no_file_ends_with_2, an_input_that_may_not_be_read_ends_with_2,
         a_full_standard_output_ends_with_2)
