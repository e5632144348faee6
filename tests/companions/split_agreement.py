#!/usr/bin/env python3
"""Runs tqldif2v6-check --split over generated inputs: its first file must convert, and both together be the input.

    split_agreement.py --tool PATH --check PATH [--seeds FROM-TO] [--kind hostile|lifelike|both] [--jobs N]
                       [--keep FOLDER]
"""

import os
import stat
import sys

import ldif
import runs

GOOD, REJECTED = "good.ldif", "rejected.ldif"
ROW, POLICY_ROW = 50, 500   # lines that fill the room of one entry


def pieces(text):
    """The entries of `text`, each with the comments and blank lines before it and the blank line that ends it, and what
    stands behind the last one."""
    ends = [0] + [entry.end for entry in ldif.entries(text)]
    return [text[start:end] for start, end in zip(ends, ends[1:])], text[ends[-1]:]


def divides(text, good, rejected):
    """Whether each piece of `text` stands, whole and in order, in exactly one of two texts, which hold nothing else.

    Where pieces are equal there is more than one way to say which piece went where, so all of them are followed: the
    places in `good` that can be reached when the pieces so far are shared out. That fixes the place in `rejected`.
    """
    if len(good) + len(rejected) != len(text):
        return False
    entries, rest = pieces(text)
    places, taken = {0}, 0
    for piece in [*entries, rest]:
        places = ({place + len(piece) for place in places if good.startswith(piece, place)}
                  | {place for place in places if rejected.startswith(piece, taken - place)})
        taken += len(piece)
    return len(good) in places


def fillsItsRow(entry):
    """Whether such an entry can run into the next one's row. A user gains a line in its conversion."""
    text = b"\n".join(line.text for line in entry.lines)
    is_policy = b"secpolicy" in text.lower() and b"secpolicydata" not in text.lower()
    return entry.is_long or len(entry.lines) + 1 >= (POLICY_ROW if is_policy else ROW)


def checkFiles(text, folder, left):
    faults = []
    for name in (GOOD, REJECTED):
        mode = stat.S_IMODE(os.stat(os.path.join(folder, name)).st_mode)
        faults += runs.differs(f"mode of {name}", "0o600", oct(mode))
        left[name] = runs.read(folder, name)
    if not divides(text, left[GOOD], left[REJECTED]):
        faults.append("the files are not the input, shared out")
    faults += runs.differs("entries in both", len(ldif.entries(text)),
                           sum(len(ldif.entries(content)) for content in left.values()))
    return faults


def examine(programs, case, _):
    text = case.input
    left = {}
    report = runs.ask(programs["check"], ["--all", "--split", GOOD, REJECTED], {runs.INPUT: text},
                      leaves=(GOOD, REJECTED), then=lambda folder: checkFiles(text, folder, left))
    differences = report.faults
    if len(left) != 2:
        return differences
    problems = report.said["problems"]
    differences += runs.differs("exit status", 1 if problems else 0, report.status)
    if (left[REJECTED] and not any(problem["effect"] == "stops" for problem in problems)
            and not any(fillsItsRow(entry) for entry in ldif.entries(text))):
        differences.append(f"rejected although nothing stops the conversion: {left[REJECTED][:300]!r}")
    for slots in runs.SLOTS:
        conversion = runs.convert(programs["tool"], left[GOOD], slots)
        if conversion.status or conversion.stderr:
            differences.append(f"{slots}: {GOOD} does not convert: {conversion.stderr[:300]!r}")
    return differences


if __name__ == "__main__":
    sys.exit(runs.main("Compare what tqldif2v6-check splits with the input and the tool.", ("tool", "check"), examine))
