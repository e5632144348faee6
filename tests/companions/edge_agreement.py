#!/usr/bin/env python3
"""Runs the companions over inputs at the edges: lines about as long as one can be, entries that just fill their row or
the entry buffer, and compares what they say with real runs.

    edge_agreement.py --tool PATH --check PATH --account PATH [NAME]      only the inputs with this in their names
"""

import argparse
import os
import shutil
import sys
import tempfile

import account_agreement
import check_agreement
import generate
import runs
import split_agreement

EXAMINERS = (check_agreement.examine, split_agreement.examine, account_agreement.examine)
SLOTS = (2, 2)
LENGTHS = (4093, 4094, 4095, 4096, 4097, 8190, 8191, 9000)  # of a line, its line end included
FILLS = ("x", "ab:c ", "a b,", "#")
LINES_ABOUT_A_ROW = (43, 44, 45, 46, 47, 48, 94, 95, 96, 145)  # besides those that an entry has
LINES_ABOUT_A_BUFFER = (249998, 249999, 250000)


def entry(*lines):
    return ("\n".join(lines) + "\n\n").encode()


def user(name, *more):
    return entry(f"dn: secAuthority=Default,cn={name},o=x", "objectClass: secUser", "secAuthority: Default",
                 f"principalName: {name}", f"secuuid: 1{name}", *more)


def userMap(name, *more):
    return entry(f"dn: cn=m{name},cn=Users,secAuthority=Default", "objectClass: secMap", f"secUUID: 1{name}",
                 f"secDN: cn={name},o=x", *more)


def group(name, *more):
    return entry(f"dn: secAuthority=Default,cn={name},o=x", "objectClass: secGroup", "secAuthority: Default",
                 f"cn: {name}", *more)


def groupMap(name, *more):
    return entry(f"dn: cn=g{name},cn=Groups,secAuthority=Default", "objectClass: secMap", f"secDN: cn={name},o=x",
                 *more)


def policy(name, *more, objectClass="secPolicy"):
    return entry(f"dn: cn=Policy,secAuthority=Default,cn={name},o=x", f"objectClass: {objectClass}", *more)


def folded(line):
    return "\n ".join([line[:70]] + [line[i:i + 75] for i in range(70, len(line), 75)])


def longLines():
    """A long line in each kind of entry, in one piece and folded."""
    registry = user("a") + userMap("a") + group("b") + groupMap("b")
    for length in LENGTHS:
        for fill in FILLS:
            value = ("description: " + fill * length)[:length - 1]
            for form, line in (("plain", value), ("folded", folded(value))):
                name = f"line {length} {fill!r} {form}"
                yield name + " copied", registry + entry("dn: o=y", "objectClass: x", line, "z: 1")
                yield name + " user", registry + user("c", line, "zz: 1") + userMap("c")
                yield name + " map", registry + groupMap("c", line) + group("c") + user("d") + userMap("d")
                yield name + " policy", user("a") + userMap("a") + policy("a", line, "zz: 1")
                yield name + " policy data", user("a") + userMap("a") + policy("a", line, objectClass="secPolicyData")
                yield name + " credentials", registry + entry("dn: cn=h,cn=ResCreds", "objectClass: secResCreds", line)


def numbered(count):
    return [f"x{i}: {i}" for i in range(count)]


def fullRows():
    """Entries that fill their row, or nearly, or run on into those of others."""
    for count in LINES_ABOUT_A_ROW:
        lines = numbered(count)
        yield f"rows of {count} more", (b"".join(user(name, *(lines if name in "ac" else ())) + userMap(name)
                                                 for name in "abcd")
                                        + group("g", *lines) + groupMap("g") + group("h") + groupMap("h"))
        yield f"map rows of {count} more", (b"".join(user(name)
                                                     + userMap(name, *(lines if name in "ac" else ()), "y: 1")
                                                     for name in "abcd")
                                            + groupMap("g", *lines) + group("g") + group("h") + groupMap("h", *lines))
        more = numbered(count + 454)
        yield f"policy rows of {count} more", b"".join(user(name) + userMap(name)
                                                       + policy(name, *(more if name in "bc" else ()))
                                                       for name in "abcd")
        yield f"policy data rows of {count} more", b"".join(
            user(name) + userMap(name)
            + policy(name, *(numbered(count + 3) if name in "ad" else ()), objectClass="secPolicyData")
            for name in "abcdefg")


def longEntries():
    for count in LINES_ABOUT_A_BUFFER:
        yield f"entry of {count} lines", (user("a") + userMap("a")
                                          + entry("dn: o=big", "objectClass: x", *["l: 1"] * (count - 2)) + user("c")
                                          + userMap("c"))
        yield f"user of {count} lines", user("a") + userMap("a") + user("d", *["l: 1"] * (count - 5)) + userMap("d")


def main():
    parser = argparse.ArgumentParser(description="Compare the companions with real runs at the edges.")
    for program in ("tool", "check", "account"):
        parser.add_argument(f"--{program}", required=True, type=os.path.abspath)
    parser.add_argument("name", nargs="?", default="")
    arguments = parser.parse_args()
    programs = {name: getattr(arguments, name) for name in ("tool", "check", "account")}
    runs.scratch = tempfile.mkdtemp(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None)
    passed = failed = 0
    try:
        for cases in (longLines(), fullRows(), longEntries()):
            for name, text in cases:
                if arguments.name not in name:
                    continue
                case = generate.Case(text, None, *SLOTS)
                differences = [one for examine in EXAMINERS for one in examine(programs, case, 1)]
                failed, passed = failed + bool(differences), passed + (not differences)
                if differences:
                    print(f"{name}:", *(one[:300] for one in differences), sep="\n    ", flush=True)
    finally:
        shutil.rmtree(runs.scratch)
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
