#!/usr/bin/env python3
"""Runs tqldif2v6-check over generated inputs and compares what it foretells with runs of the tool.

    check_agreement.py --tool PATH --check PATH [--seeds FROM-TO] [--kind hostile|lifelike|both] [--jobs N]
                       [--keep FOLDER]
"""

import re
import sys

import ldif
import runs

RUN = {"users_slots", "groups_slots", "exit", "code", "line", "dn", "passes", "output_bytes", "work_file_bytes",
       "memory_bytes"}
COUNTS = {"entries", "users", "groups", "policies", "policy_data", "maps", "resource_credentials", "straight_through"}
PROBLEM = {"line", "dn", "id", "effect", "at", "text"}
EFFECTS = ("stops", "loses", "changes", "surroundings")


def errorOf(conversion):
    """The number of the error message and the line of the entry that it is about, each None where there is none."""
    message = re.search(r"^tqldif2v6: (\d+) ERROR: (.*)", conversion.stderr, re.MULTILINE)
    if not message:
        return None, None
    # Of two entries of one kind the message is about the one that it names first.
    about = message[2].partition(" is of the same kind and owner as the entry ")[0]
    line = re.search(r" \(line (\d+)\)", about)
    return int(message[1]), int(line[1]) if line else None


def expectedRun(text, conversion):
    """What the report must say of the run; the DN apart."""
    code, line = errorOf(conversion)
    return {"exit": conversion.status, "code": code, "line": line, "passes": conversion.stdout.count(" 380928313 "),
            "output_bytes": len(conversion.output) if conversion.status == 0 else None,
            "work_file_bytes": conversion.work_file_bytes if conversion.has(310) else None}


def compareRun(text, said, conversion):
    found = said["run"]
    expected = expectedRun(text, conversion)
    differences = []
    for name, value in expected.items():
        differences += runs.differs(name, value, found[name])
    dn = runs.inJSON(ldif.dnsByLine(text).get(expected["line"]))
    if not runs.sameText(dn, found["dn"]):
        differences += runs.differs("dn", dn, found["dn"])
    if not isinstance(found["memory_bytes"], int) or found["memory_bytes"] < 1:
        differences.append(f"memory_bytes: {found['memory_bytes']!r}")
    return differences + runs.differs("verdict", "stops" if conversion.status else "converts", said["verdict"])


def compareCounts(counts, conversion):
    """With what the tool counts; its users are entries, those of the report have one for each owner."""
    if not conversion.has(310):
        return []
    _, _, policies, policy_data, maps, credentials, *straight = numbers = conversion.numbers(310)
    expected = {"entries": sum(numbers), "policies": policies, "policy_data": policy_data, "maps": maps,
                "resource_credentials": credentials, "straight_through": sum(straight)}
    differences = []
    for name, value in expected.items():
        differences += runs.differs(f"counts, {name}", value, counts[name])
    return differences


def checkProblem(text, problem):
    """Whether one problem is well formed and names a line of the input."""
    if set(problem) != PROBLEM:
        return [f"members of a problem: {sorted(problem)}"]
    faults = []
    if problem["effect"] not in EFFECTS or not isinstance(problem["text"], str) or not problem["text"].strip():
        faults.append(f"problem: {problem}")
    if (problem["at"] in ("given", "others")) != (problem["effect"] == "stops") or not problem["id"]:
        faults.append(f"problem: {problem}")
    if problem["line"] is not None:
        if problem["line"] not in ldif.dnsByLine(text):
            return faults + [f"problem in a line where none begins: {problem}"]
        dn = runs.inJSON(ldif.dnsByLine(text)[problem["line"]])
        if not runs.sameText(dn, problem["dn"]):
            faults += runs.differs(f"dn of the problem {problem}", dn, problem["dn"])
    elif problem["dn"] is not None:
        faults.append(f"a problem without a line has a DN: {problem}")
    return faults


def checkReport(text, report):
    said = report.said
    if set(said) != {"verdict", "counts", "run", "problems"} or set(said["run"]) != RUN or set(
            said["counts"]) != COUNTS:
        return [f"members: {sorted(said)}, {sorted(said.get('run', ()))}, {sorted(said.get('counts', ()))}"]
    faults = runs.differs("exit status", 1 if said["problems"] else 0, report.status)
    for problem in said["problems"]:
        faults += checkProblem(text, problem)
    return faults + runs.shownSecrets(text, said)


def stopping(said, places):
    return [problem for problem in said["problems"] if problem["effect"] == "stops" and problem["at"] in places]


def compareSlotsOfAll(said, conversion):
    """The slots taken where none are given, with those that a run with enough of them has filled."""
    if not conversion.has(313):
        return []
    filled = tuple(max(number, 1) for number in conversion.numbers(313)[:2])
    used = said["run"]["users_slots"], said["run"]["groups_slots"]
    # Where white space at its end parts a DN from the others, its owner fills two slots, and the run fails.
    if conversion.status and all(one <= other for one, other in zip(used, filled)):
        return []
    return runs.differs("slots for all", filled, used)


def compareAt(programs, text, slots):
    """(differences, report, run of the tool) for these slot counts, None for none given."""
    report = runs.ask(programs["check"], ["--all"], {runs.INPUT: text}, slots or ())
    if report.said is None:
        return report.faults, None, None
    differences = report.faults + checkReport(text, report)
    if differences:
        return differences, None, None
    used = report.said["run"]["users_slots"], report.said["run"]["groups_slots"]
    if slots:
        differences += runs.differs("slots", slots, used)
    conversion = runs.convert(programs["tool"], text, slots or used, traced=True)
    differences += compareRun(text, report.said, conversion) + compareCounts(report.said["counts"], conversion)
    if bool(stopping(report.said, ("given",))) != bool(conversion.status):
        differences.append(f"the run ends with {conversion.status}, the problems that stop it are "
                           f"{stopping(report.said, ('given',))}")
    return differences, report, conversion


def examine(programs, case, _):
    text = case.input
    differences, reports, conversions = [], {}, {}
    for slots in dict.fromkeys(((case.max_users, case.max_groups), *runs.SLOTS, None)):
        found, reports[slots], conversions[slots] = compareAt(programs, text, slots)
        differences += [f"{'without slots' if slots is None else slots}: {one}" for one in found]
    if None in reports.values():
        return differences
    differences += compareSlots(reports, conversions)
    short = runs.ask(programs["check"], [], {runs.INPUT: text})
    if short.said is None:
        return differences + short.faults
    for name in ("verdict", "run", "counts"):
        differences += runs.differs(f"{name} without --all", reports[None].said[name], short.said[name])
    return differences + runs.differs("exit status without --all", reports[None].status, short.status)


def compareSlots(reports, conversions):
    """What the reports for one input say of each other's slot counts."""
    differences = compareSlotsOfAll(reports[None].said, conversions[100, 100])
    failing = [slots for slots, conversion in conversions.items() if conversion.status]
    for slots, report in reports.items():
        if failing and not stopping(report.said, ("given", "others")):
            differences.append(f"{slots}: no problem stops the conversion, but with slots {failing} it fails")
    return differences


if __name__ == "__main__":
    sys.exit(runs.main("Compare what tqldif2v6-check foretells with runs of the tool.", ("tool", "check"), examine))
