#!/usr/bin/env python3
"""Runs tqldif2v6-account over generated inputs and what the tool makes of them, and over spoilt outputs.

    account_agreement.py --tool PATH --check PATH --account PATH [--seeds FROM-TO] [--kind hostile|lifelike|both]
                         [--jobs N] [--keep FOLDER]

How the lines that an account must call lost are found, from the two files alone:

- Each entry of the input goes to the records of the output that bear its name: a copied entry to those with its own
  first line, an entry of a user or group to those with the new name of its owner, which the manual gives and which
  must be there. Entries of one owner are those that name the same DN. Policy data goes nowhere and is no loss.
- What the manual says is respelled is respelled: the first `secuuid` of a user's and a group's entry, blanks around
  the commas of `secdn`, the version of the registry.
- A line that stands in these records, letter for letter, is not lost; where it was cut off at a NUL or a carriage
  return, the account must say something of it or its entry. Any other one is lost, but for first lines and object
  classes of entries that are merged, a line whose value stands there under the same attribute name in other letter
  case, as text or in base 64, and the bookkeeping of the directory server, by its attribute's name.

The check must have foretold just these losses, and the changes of which the account tells.

Some lines may be called lost or not (see `mayBeLost`): those are where the wording leaves it open.
"""

import base64
import random
import re
import sys
from collections import Counter, defaultdict
from typing import NamedTuple

import ldif
import runs

LINES_IN = ("kept", "renamed", "replaced", "absorbed", "bookkeeping", "looks_like_bookkeeping", "not_written", "lost")
LINES_OUT = ("kept", "renamed", "added")
MEMBERS = {
    "entries": {"input", "copied", "merged", "not_written"},
    "records": {"users", "groups", "policies", "containers", "resource_credentials", "straight_through"},
    "lines": {"input", "output", "added", *LINES_IN},
}
BOOKKEEPING = (b"xoq-entryuuid", b"aclentry", b"aclpropagate", b"aci", b"acl", b"control")

CLASSES = ((b" secUser", "user"), (b" secuser", "user"), (b" secPolicyData", "data"), (b" secpolicydata", "data"),
           (b" secPolicy", "policy"), (b" secpolicy", "policy"), (b" secMap", "map"), (b" secmap", "map"),
           (b" secGroup", "group"), (b" secgroup", "group"), (b" secAuthorityInfo", "authority"),
           (b" secauthorityinfo", "authority"), (b" container", "container"), (b" Container", "container"),
           (b" secResCreds", "credentials"), (b" secrescreds", "credentials"))


# Which records an entry goes to.

def kindOf(entry):
    """By the class as it was read; of an entry that is gathered, by the class unfolded."""
    kind = kindByClass(entry, entry.stored)
    if kind in ("other", "authority", "container"):
        return kind
    return kindByClass(entry, [line.text for line in entry.lines])


def kindByClass(entry, lines):
    first = entry.lines[0].text.lower()
    for line in lines:
        if b"objectClass:" in line or b"objectclass:" in line:
            for text, kind in CLASSES:
                if text in line:
                    return finerKind(kind, first)
    return "other"


def finerKind(kind, first):
    if kind == "user" and b"cn=users,secauthority=" in first:
        return "users entry"
    if kind == "map":
        return "user map" if b"cn=users" in first else "group map"
    if kind == "policy" and b"cn=policies,secauthority=" in first:
        return "other"
    return kind


def withoutCommaBlanks(text):
    return re.sub(b" *, *", b",", text)


def valueOf(entry, name):
    """The value of the first line that holds `name`: before its first colon in any letter case, behind it in lower."""
    for line in entry.lines:
        text = line.text
        colon = text.find(b":") + 1
        place = (text[:colon].lower() + text[colon:]).find(name + b":")
        if place >= 0:
            return text[place + len(name) + 1:].lstrip(b" ")
    return b""


def authorityIn(dn):
    found = re.search(b"secauthority[^,]*", dn, re.IGNORECASE)
    return found[0] if found else b""


def ownerOf(entry, kind):
    """The DN of the user or group, in a form that can be compared."""
    dn = valueOf(entry, b"dn")
    if kind in ("user", "group"):
        owner = entry.lines[0].text[3:]
    elif kind == "users entry":
        owner = b"secAuthority=" + valueOf(entry, b"secauthority").split(b":")[0] + b"," + valueOf(entry, b"secdn")
    elif kind in ("policy", "data"):
        owner = dn.partition(b",")[2]
    else:
        owner = authorityIn(dn) + b"," + valueOf(entry, b"secdn")
    return withoutCommaBlanks(owner.strip(ldif.WHITE)).lower()


def isInDefaultDomain(dn):
    return b"secauthority=default" in dn.lower() and b"cn=subdomains" not in dn.lower()


def newName(beginning, names, entry, owner, authority):
    """The first line of the owner's record, in lower case."""
    name = b""
    for line in entry.lines:
        found = next((name for name in names if name in line.text), None)
        if found:
            name = line.text[line.text.find(found) + len(found):].lstrip(b" ")
            break
    domain = b"secauthority=default" if isInDefaultDomain(owner) else authority + b",cn=subdomains,secauthority=default"
    return (beginning % name + domain).lower()


def namesOf(entry, kind, owners):
    """The names that the entry's record can have: that of its owner for each entry that calls itself the owner's."""
    if kind in ("user", "users entry", "user map", "policy"):
        owner = domain_dn = ownerOf(entry, kind)
        beginning, authority = b"dn: principalName=%s,cn=Users,", owner.partition(b",")[0]
        if kind == "policy":
            domain_dn = withoutCommaBlanks(valueOf(entry, b"dn"))
            beginning, authority = b"dn: cn=Policy,cn=Policies,principalName=%s,cn=Users,", authorityIn(domain_dn)
        return {newName(beginning, (b"principalName:", b"principalname:"), own, domain_dn, authority)
                for own in owners["user", owner]}
    if kind in ("group", "group map"):
        owner = ownerOf(entry, kind)
        return {newName(b"dn: cn=%s,cn=Groups,", (b"cn:", b"CN:"), own, owner, owner.partition(b",")[0])
                for own in owners["group", owner]}
    return set() if kind == "data" else {entry.lines[0].text}


def kindsAndNames(entries):
    """(entry, its kind, the first lines of its records) for each entry; new names are in lower case."""
    kinds = [kindOf(entry) for entry in entries]
    owners = defaultdict(list)
    for entry, kind in zip(entries, kinds):
        if kind in ("user", "group"):
            owners[kind, ownerOf(entry, kind)].append(entry)
    return [(entry, kind, namesOf(entry, kind, owners)) for entry, kind in zip(entries, kinds)]


# Which of its lines are missing there.

class Found(NamedTuple):
    """The lines of the input that an account must call lost, those that it may and those that are there in part alone,
    by number."""
    lost: dict       # number: (text, entry, lines of the records)
    may_be_lost: dict
    cut: dict        # number: (text, entry)
    faults: list


def respelled(entry, kind):
    """The entry's lines as they are found in the output if nothing else befalls them."""
    texts = [line.text for line in entry.lines]
    if kind in ("user", "users entry", "group"):
        place = next((place for place, text in enumerate(texts) if b"secuuid: " in text), None)
        if place is not None:
            texts[place] = texts[place].replace(b"secuuid: ", b"secUUID: ", 1)
    if kind == "authority":
        place = next((place for place, text in enumerate(texts) if b"version: " in text), None)
        if place is not None:
            texts[place] = re.sub(rb"(version: +)([^ ].{,2}|.{,0})", rb"\g<1>6.0", texts[place], count=1)
    if kind not in ("other", "authority", "container"):
        texts = [withoutCommaBlanks(text) if b"secdn:" in text else text for text in texts]
    return texts


def isMerged(kind):
    return kind in ("user", "users entry", "user map", "group", "group map")


def bareName(text):
    return (ldif.nameOf(text) or b"").strip(ldif.WHITE).lower()


def bareValue(text):
    return withoutCommaBlanks(ldif.valueOf(text)).strip(ldif.WHITE)


def decodedValue(text):
    """The value, one in base 64 as the text that it is; malformed, it is compared as it stands."""
    value = ldif.valueOf(text)
    if text.partition(b":")[2][:1] == b"<":
        return "the file", value
    if value[:1] != b":":
        return value
    digits = value[1:].strip(b" \t").rstrip(b"=")
    try:
        return base64.b64decode(digits + b"=" * (-len(digits) % 4), validate=True)
    except ValueError:
        return value


def isNoLoss(text, kind, there):
    """Whether nothing is lost by a line that is not there, letter for letter."""
    holds_bookkeeping = any(name + b":" in text.lower() for name in BOOKKEEPING)  # then it is dropped from any entry
    if isMerged(kind) and ldif.nameOf(text) in (b"objectclass", b"objectClass") and not holds_bookkeeping:
        return True
    name = ldif.nameOf(text)
    return name is not None and any(
        (ldif.nameOf(other) or b"").lower() == name.lower() and decodedValue(other) == decodedValue(text)
        for other in there)


def mayBeLost(text, kind, there):
    """Whether it is left open how a line that is not there is to be taken: what replaced it differs in blanks alone, at
    the ends of name or value or around commas, it is one more DN of its entry, an object class in an odd spelling, or
    bookkeeping that another value of the same attribute replaces."""
    name = bareName(text)
    of_same_name = [other for other in there if bareName(other) == name]
    return (name == b"dn" or isMerged(kind) and name == b"objectclass" or name in BOOKKEEPING and bool(of_same_name)
            or any(bareValue(other) == bareValue(text) for other in of_same_name))


def partedRecords(output):
    """The lines of each record. One that ends with a cut line, which lacks its newline, has the empty line behind it for
    that, and is followed by the next at once."""
    for record in ldif.wholeEntries(output):
        lines = [line.text for line in record.lines]
        begins = [i for i in range(1, len(lines))
                  if lines[i].startswith(b"dn:") and len(lines[i - 1]) >= ldif.LINE_ROOM]
        for begin, end in zip([0, *begins], [*begins, len(lines)]):
            yield lines[begin:end]


def missingLines(text, output, can_be_taken=False):
    """The lines that are not where they belong; of a policy that another one can have taken there may be none."""
    records = defaultdict(list)
    for lines in partedRecords(output):
        for name in {lines[0], lines[0].lower()}:
            records[name].append(lines)
    found = Found({}, {}, {}, [])
    for entry, kind, names in kindsAndNames(ldif.entries(text)):
        if kind == "data":
            continue
        own_records = [record for name in names for record in records[name]]
        if own_records or entry.is_long:
            findMissing(entry, kind, own_records, found)
        elif not entry.lines[0].text:  # it begins with a carriage return, and is blank once it is written
            found.may_be_lost[entry.lines[0].number] = entry.lines[0].text, entry, Counter()
        elif kind == "policy" and can_be_taken:
            found.may_be_lost[entry.lines[0].number] = entry.lines[0].text, entry, Counter()
            findMissing(entry, kind, [], found)
        elif entry.lines[0].text.lower().startswith(b"dn:"):  # what has no DN may have lost its first line
            found.faults.append(f"entry of line {entry.number}: no record is called {names or 'like its owner'}"[:300])
    return found


def findMissing(entry, kind, records, found):
    there = Counter(line for record in records for line in record)
    texts = respelled(entry, kind)
    wanted = Counter(texts)
    for place, (line, text) in enumerate(zip(entry.lines, texts)):
        if place == 0 and (isMerged(kind) or kind == "policy"):
            continue
        detail = line.text, entry, there
        # Behind a line that is blank once it is written, a record reads as two.
        if entry.is_long or any(not other.text for other in entry.lines[:place]):
            found.may_be_lost[line.number] = detail
        elif text in there:
            if line.is_cut:
                found.cut[line.number] = line.text, entry
            # In which of several records, and which of several equal lines of the entry?
            if len(records) > 1 or wanted[text] > there[text]:
                found.may_be_lost[line.number] = detail
        elif isNoLoss(text, kind, there):
            if len(records) > 1:
                found.may_be_lost[line.number] = detail
        elif mayBeLost(text, kind, there):
            found.may_be_lost[line.number] = detail
        elif bareName(text) not in BOOKKEEPING:
            found.lost[line.number] = detail
        elif bareName(text) != ldif.nameOf(text).lower():  # with a tab before it, it only looks like one
            found.may_be_lost[line.number] = detail


# What an account says.

def checkShape(said):
    wanted = {"verdict", "first_difference", "entries", "records", "lines", "losses", "changes"}
    if set(said) != wanted:
        return [f"members: {sorted(said)}"]
    return [f"members of {name}: {sorted(said[name])}" for name, members in MEMBERS.items()
            if set(said[name]) != members]


def checkSums(said, text, output):
    lines, entries = said["lines"], said["entries"]
    faults = runs.differs("lines of the input, by sum", sum(lines[name] for name in LINES_IN), lines["input"])
    faults += runs.differs("lines of the output, by sum", sum(lines[name] for name in LINES_OUT), lines["output"])
    faults += runs.differs("entries, by sum", entries["copied"] + entries["merged"] + entries["not_written"],
                           entries["input"])
    faults += runs.differs("entries of the input", len(ldif.entries(text)), entries["input"])
    faults += runs.differs("lines of the input", ldif.lineCount(text), lines["input"])
    faults += runs.differs("lines of the output", ldif.lineCount(output), lines["output"])
    return faults + [f"a count below nothing: {said[part]}" for part in MEMBERS if min(said[part].values()) < 0]


def checkListed(said, text):
    """The losses are all that is counted as lost; the lines of a long entry that is missing are counted alone."""
    if said["verdict"] == "differs" and any(entry.is_long for entry in ldif.entries(text)):
        return []
    ways = Counter(loss["how"] for loss in said["losses"])
    return [fault for way in ("lost", "looks_like_bookkeeping")
            for fault in runs.differs(f"lines {way}", said["lines"][way], ways[way])]


def checkDifference(said):
    difference = said["first_difference"]
    if said["verdict"] == "complete":
        return runs.differs("first_difference", None, difference)
    if said["verdict"] != "differs" or not isinstance(difference, dict) or not difference.get("text"):
        return [f"verdict {said['verdict']!r} with first_difference {difference!r}"]
    return runs.differs("members of first_difference", {"input_line", "output_line", "text"}, set(difference))


def checkCounts(said, text, conversion):
    """With the counts of the tool's last message."""
    users, groups, policies, credentials, straight, policy_data = conversion.numbers(315)
    expected = {"users": users, "groups": groups, "policies": policies, "containers": policies,
                "resource_credentials": credentials, "straight_through": straight}
    faults = runs.differs("records", expected, said["records"])
    copied = straight + policies + credentials
    entries = len(ldif.entries(text))
    faults += runs.differs("entries", {"input": entries, "copied": copied, "not_written": policy_data,
                                       "merged": entries - copied - policy_data}, said["entries"])
    not_written = sum(len(entry.lines) for entry in ldif.entries(text) if kindOf(entry) == "data")
    return faults + runs.differs("lines not written", not_written, said["lines"]["not_written"])


def checkLosses(said, text, output):
    found = missingLines(text, output)
    faults = list(found.faults)
    told = {}
    for loss in said["losses"]:
        if set(loss) != {"line", "dn", "attribute", "how"} or loss["line"] in told:
            faults.append(f"a loss in another shape, or twice: {loss}")
        told[loss.get("line")] = loss
    if found.faults:
        return faults
    for number in sorted(set(found.lost) - set(told)):
        faults.append(f"line {number} is missing and not called lost: {found.lost[number][0][:200]!r}")
    for number, loss in sorted(told.items()):
        known = found.lost.get(number) or found.may_be_lost.get(number)
        faults += checkLoss(loss, *known) if known else [f"called lost, but there: {loss}"]
    known = set(told) | {change["line"] for change in said["changes"]}
    for number, (line, entry) in sorted(found.cut.items()):
        if not {number, entry.number} & known:
            faults.append(f"line {number} is cut off behind {line[-100:]!r}, and nothing says so")
    ways = Counter(loss["how"] for loss in said["losses"])
    if ways["replaced"] > said["lines"]["replaced"]:
        faults.append(f"{ways['replaced']} lines replaced, but {said['lines']['replaced']} counted")
    return faults


def checkLoss(loss, text, entry, there):
    faults = []
    if not entry.is_long:
        name = ldif.nameOf(text)
        is_name = name and re.fullmatch(rb"[\w.;-]+", name)
        for name, value in (("attribute", name if is_name else loss["attribute"] and name), ("dn", ldif.dnOf(entry))):
            if not runs.sameText(runs.inJSON(value), loss[name]):
                faults += runs.differs(f"{name} of the loss {loss}", runs.inJSON(value), loss[name])
    has_name = any(bareName(other) == bareName(text) for other in there)
    looks = [name for name in BOOKKEEPING if name + b":" in text.lower()]
    # Control lines are kept in users and groups, where they can be lost in another way.
    if not (loss["how"] == "lost" and not set(looks) - {b"control", b"aclpropagate"}
            or loss["how"] == "replaced" and has_name or loss["how"] == "looks_like_bookkeeping" and looks):
        faults.append(f"lost in another way: {loss}")
    return faults


def account(programs, text, output):
    return runs.ask(programs["account"], ["--all"], {runs.INPUT: text, runs.OUTPUT: output})


def judged(report, text, output):
    """What holds of any account."""
    if report.said is None:
        return report.faults
    faults = report.faults + checkShape(report.said)
    if faults:
        return faults
    nothing_lost = report.said["verdict"] == "complete" and not report.said["losses"] and not report.said["changes"]
    faults += runs.differs("exit status", 0 if nothing_lost else 1, report.status)
    return (faults + checkSums(report.said, text, output) + checkListed(report.said, text)
            + checkDifference(report.said) + runs.shownSecrets(text + b"\n\n" + output, report.said))


def isEntangled(findings):
    """Whether an output need not be that of its entries one by one."""
    return any(finding["id"] == "entry-in-another-row" for finding in findings)


def foretoldLosses(report):
    return sorted(problem["line"] for problem in report.said["problems"] if problem["effect"] == "loses")


def changesIn(findings):
    """Which of several records of one new DN comes first depends on the slot counts, which an account does not know."""
    return sorted((one["id"], one["line"]) for one in findings
                  if one["effect"] == "changes" and one["id"] != "new-dn-twice")


def checkForetold(report, said):
    """Whether the check has foretold just the losses and changes."""
    if report.said is None:
        return report.faults
    return (runs.differs("lines of losses, by the check", sorted(loss["line"] for loss in said["losses"]),
                         foretoldLosses(report))
            + runs.differs("changes, by the check", changesIn(said["changes"]), changesIn(report.said["problems"])))


def checkTaken(report, text, output):
    """Whether the check has foretold the losses of a run in which an entry takes the row of another one."""
    found = missingLines(text, output, can_be_taken=True)
    foretold = foretoldLosses(report)
    faults = found.faults + runs.differs("lines foretold once", sorted(set(foretold)), foretold)
    faults += [f"line {number} is missing and not foretold: {found.lost[number][0][:200]!r}"
               for number in sorted(set(found.lost) - set(foretold))]
    return faults + [f"line {number} is foretold to be lost, but there"
                     for number in sorted(set(foretold) - set(found.lost) - set(found.may_be_lost))]


def recordsOf(output):
    """The records in an order that does not depend on the slot counts, without install dates."""
    return sorted(re.sub(rb"(?i)installdate: [^\n]*", b"", b"\n".join(line.text for line in record.lines))
                  for record in ldif.wholeEntries(output))


def examineOutput(programs, text, slots, conversion, whole):
    """What the tool made of the text, or left of it, which can be all there is: the records of an output in `whole`."""
    report = account(programs, text, conversion.output)
    faults = judged(report, text, conversion.output)
    if faults:
        return faults
    if conversion.status:
        expected = "complete" if recordsOf(conversion.output) in whole else "differs"
        return runs.differs("verdict on what a failed run left", expected, report.said["verdict"])
    check = runs.ask(programs["check"], ["--all"], {runs.INPUT: text}, slots)
    if report.said["verdict"] == "complete":
        return (checkCounts(report.said, text, conversion) + checkLosses(report.said, text, conversion.output)
                + checkForetold(check, report.said))
    if check.said and isEntangled(check.said["problems"]) and isEntangled(report.said["changes"]):
        return checkTaken(check, text, conversion.output)
    return [f"differs: {report.said['first_difference']}"]


# Spoilt outputs.

def newlineMoved(text, place):
    """The text with its last newline in front of a record."""
    return text[:place] + b"\n" + text[place:-1]


def changedByte(text, rng):
    """The text with one byte changed, outside an install date; None if there is none."""
    dates = [match.span() for match in re.finditer(rb"(?im)^.*installdate: .*$", text)]
    places = [place for place in range(len(text)) if not any(start <= place <= end for start, end in dates)]
    if not places:
        return None
    place = rng.choice(places)
    return text[:place] + bytes([text[place] ^ 1]) + text[place + 1:]


def spoilt(output, other, rng):
    """Outputs that no conversion of the same input leaves, by what was done to them."""
    entries = ldif.wholeEntries(output)
    if not entries:
        return {"the output of another input": other} if ldif.entries(other) else {}
    starts = [entry.start for entry in entries] + [len(output)]
    one = rng.randrange(len(entries))
    record = output[starts[one]:starts[one + 1]]
    line_ends = [match.end() for match in re.finditer(b"\n", output.rstrip(b"\n"))]
    return {"a record removed": output[:starts[one]] + output[starts[one + 1]:],
            "a record doubled": output[:starts[one]] + record + output[starts[one]:],
            "the end cut off": output[:rng.choice(line_ends)] if line_ends else b"",
            "a byte changed": changedByte(output, rng),
            "a newline moved": newlineMoved(output, rng.choice(starts[:-1])) if output.endswith(b"\n") else None,
            "the output of another input": other}


def examineSpoilt(programs, text, output, other, rng):
    faults = []
    for what, spoilt_output in spoilt(output, other, rng).items():
        if spoilt_output is None or spoilt_output == output:
            continue
        report = account(programs, text, spoilt_output)
        found = judged(report, text, spoilt_output)
        if report.said is not None and not found:
            found = runs.differs("verdict", "differs", report.said["verdict"])
        faults += [f"{what}: {one}" for one in found]
    return faults


def examine(programs, case, seed):
    text = case.input
    conversions = {slots: runs.convert(programs["tool"], text, slots)
                   for slots in dict.fromkeys(((case.max_users, case.max_groups), *runs.SLOTS))}
    converted = {slots: conversion.output for slots, conversion in conversions.items() if conversion.status == 0}
    whole = [recordsOf(output) for output in converted.values()]
    differences = []
    for slots, conversion in conversions.items():
        differences += [f"{slots}: {one}" for one in examineOutput(programs, text, slots, conversion, whole)]
    rng = random.Random(f"{seed} spoilt")
    if converted:
        other = runs.convert(programs["tool"], runs.caseOf("lifelike", seed + 1000000).input, (3, 3))
        slots = rng.choice(list(converted))
        differences += [f"{slots}, {one}" for one in examineSpoilt(programs, text, converted[slots], other.output, rng)]
    return differences


if __name__ == "__main__":
    sys.exit(runs.main("Compare the accounts of tqldif2v6-account with the files.", ("tool", "check", "account"),
                       examine))
