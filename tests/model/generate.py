#!/usr/bin/env python3
"""Seeded inputs for the converter: lifelike exports, which must convert, and hostile small ones.

As a program it writes one lifelike export of any size:
    generate.py --lifelike --seed N --users U --groups G [--order grouped|class|shuffled] FILE
"""

import argparse
import base64
import random
from typing import NamedTuple, Optional


class Case(NamedTuple):
    input: bytes
    work: Optional[bytes]     # left-over work file
    max_users: int
    max_groups: int


class Style:
    """How entries are put on paper: folding, line ends, comments and blank lines."""

    def __init__(self, rng):
        self.fold = rng.choice([0, 76, 76, 76, 30, 120])
        self.end = rng.choice([b"\n", b"\n", b"\r\n"])
        self.comments = rng.random() < 0.4
        self.final_newline = rng.random() < 0.85
        self.changetype = rng.random() < 0.25

    def render(self, lines, rng):
        pieces = []
        if self.comments and rng.random() < 0.3:
            pieces.append(b"# entry-id: %d" % rng.randrange(10000))
            if rng.random() < 0.3:
                pieces.append(b"")
        for line in lines:
            if self.fold and len(line) > self.fold and not line.startswith(b" "):
                pieces.append(line[:self.fold])
                rest = line[self.fold:]
                step = self.fold - 1
                pieces += [b" " + rest[i:i + step] for i in range(0, len(rest), step)]
            else:
                pieces.append(line)
            if self.comments and rng.random() < 0.02:
                pieces.append(b"# kept for reference")
        pieces.append(b"")
        return b"".join(piece + self.end for piece in pieces)


FIRST = ("anna", "bernd", "carla", "dieter", "eva", "franz", "grit", "hans", "ina", "jdoe", "karl", "lena")
LAST = ("Abel", "Brandt", "Conrad", "Dorn", "Ebert", "Falk", "Gross", "Haas", "Iven", "Jung")
DOMAINS = ("Default", "Default", "Default", "default", "DEFAULT", "Sales", "Emea", "Labs2")
NAMES_OF_CLASS = {"user": ("secUser", "secuser"), "data": ("secPolicyData", "secpolicydata"),
                  "policy": ("secPolicy", "secpolicy"), "map": ("secMap", "secmap"), "group": ("secGroup", "secgroup")}


def anyCase(rng, text):
    """`text` in a letter case that still compares equal."""
    return rng.choice([text, text, text, text.lower(), text.upper()])


def classLines(rng, kind):
    attribute = rng.choice(("objectClass", "objectclass"))
    lines = [f"{attribute}: {rng.choice(NAMES_OF_CLASS[kind])}"]
    if rng.random() < 0.7:
        lines.insert(rng.choice((0, len(lines))), f"{attribute}: top")
    if rng.random() < 0.3:
        lines.append(f"{attribute}: cimManagedElement")
    return lines


def bookkeeping(rng):
    lines = []
    if rng.random() < 0.5:
        name = rng.choice(("xoq-entryuuid", "XOQ-ENTRYUUID"))
        lines.append(f"{name}: {rng.getrandbits(64):016x}")
    if rng.random() < 0.3:
        lines.append("aclentry: group:CN=ADMINS:normal:rwsc:sensitive:rwsc")
    if rng.random() < 0.2:
        lines.append(rng.choice(("aclpropagate: TRUE", "aclPropagate: FALSE")))
    if rng.random() < 0.1:
        lines.append(rng.choice(("aci: (target=x)", "acl: none", "ACI: (target=y)")))
    return lines


def describing(rng):
    lines = []
    for _ in range(rng.choice((0, 1, 1, 2, 3))):
        text = " ".join(rng.choice(FIRST + LAST) for _ in range(rng.randrange(1, 25)))
        kind = rng.randrange(4)
        if kind == 0:
            lines.append("description:: " + base64.b64encode(text.encode()).decode())
        elif kind == 1:
            lines.append("mail: " + text.split()[0] + "@example.org")
        elif kind == 2:
            lines.append("telephoneNumber: +49 %d" % rng.randrange(10 ** 6))
        else:
            lines.append("description: " + text)
    return lines


class Person:
    """One user of the export; each entry depends on the seed and the number only."""

    def __init__(self, seed, number):
        rng = random.Random(f"{seed} user {number}")
        self.key = f"{seed} user {number}"
        self.name = f"{rng.choice(FIRST)}{number}"
        self.surname = rng.choice(LAST)
        self.domain = rng.choice(DOMAINS)
        escaped = rng.random() < 0.05
        common = f"{self.surname}\\, {self.name}" if escaped else f"{self.name}"
        self.comma = "," if escaped else rng.choice((",", ",", ",", ", ", " , "))
        self.parts = [f"cn={common}", rng.choice(("ou=people", "ou=staff")), "o=example"]
        self.uuid = f"{rng.getrandbits(64):016x}"
        self.kinds = ["user", "map"]
        if rng.random() < 0.8:
            self.kinds.insert(0, "Users")
        if rng.random() < 0.4:
            self.kinds.append("policy")
        if rng.random() < 0.3:
            self.kinds.append("data")
        rng.shuffle(self.kinds)

    def dn(self, comma):
        return comma.join(self.parts)

    def suffix(self):
        """The registry's DN in which the user's Users and map entries stand."""
        if self.domain.lower() == "default":
            return f"secAuthority={self.domain}"
        return f"secAuthority={self.domain},cn=Subdomains,secAuthority=Default"

    def lines(self, kind):
        rng = random.Random(f"{self.key} {kind}")
        owner = anyCase(rng, f"secAuthority={self.domain},{self.dn(',')}")
        classes = classLines(rng, "user" if kind == "Users" else kind)
        if kind == "user":
            if ", " in self.comma:
                owner = f"secAuthority={self.domain}{self.comma}{self.dn(self.comma)}"
            body = [f"{rng.choice(('secAuthority', 'secauthority'))}: {self.domain}",
                    f"{rng.choice(('principalName', 'principalName', 'principalname'))}: {self.name}",
                    f"{rng.choice(('secuuid', 'secUUID'))}: {self.uuid}", "secLoginType: Default:LDAP",
                    f"secAcctValid: {rng.choice(('TRUE', 'FALSE'))}"]
            return self.finish(rng, f"dn: {owner}", classes, body)
        if kind == "Users":
            text = f"cn=Users,{self.suffix()}"
            body = [f"secAuthority: {self.domain}", f"principalName: {self.name}",
                    f"{rng.choice(('secDN', 'secdn'))}: {self.dn(self.comma)}", f"cn: {self.name}",
                    f"secPwdLastChanged: 20{rng.randrange(10, 24)}0102030405.0Z"]
            return self.finish(rng, f"dn: principalName={self.name},{anyCase(rng, text)}", classes, body)
        if kind == "map":
            body = [f"{rng.choice(('secdn', 'secDN'))}: {self.dn(self.comma)}", f"secUUID: {self.uuid}",
                    f"cn: {self.uuid}"]
            return self.finish(rng, f"dn: cn={self.uuid},{anyCase(rng, 'cn=Users,' + self.suffix())}", classes, body)
        if kind == "policy":
            body = ["cn: Policy", "secMaxFailedLogins: %d" % rng.randrange(10), "secPwdMinLen: 8"]
            if rng.random() < 0.2:
                body.append("control: 1.2.840.113556.1.4.805 true")
            return self.finish(rng, f"dn: cn=Policy,{owner}", classes, body)
        body = ["cn: PolicyData", "secPwdFailures: %d" % rng.randrange(5)]
        return self.finish(rng, f"dn: cn=PolicyData,{owner}", classes, body)

    @staticmethod
    def finish(rng, dn, classes, body):
        body = body + describing(rng) + bookkeeping(rng)
        rng.shuffle(body)
        return [line.encode() for line in [dn] + classes + body]


class Group:
    kinds = ("group", "map")

    def __init__(self, seed, number):
        rng = random.Random(f"{seed} group {number}")
        self.key = f"{seed} group {number}"
        self.name = f"staff{number}"
        self.domain = rng.choice(DOMAINS)
        self.uuid = f"{rng.getrandbits(64):016x}"
        self.members = [f"member: cn={rng.choice(FIRST)},o=example" for _ in range(rng.choice((0, 1, 3, 8)))]

    def lines(self, kind):
        rng = random.Random(f"{self.key} {kind}")
        dn = f"cn={self.name},o=example"
        if kind == "group":
            body = [f"secuuid: {self.uuid}", f"{rng.choice(('cn', 'cn', 'CN'))}: {self.name}"] + self.members
            line0 = "dn: " + anyCase(rng, f"secAuthority={self.domain},{dn}")
            return Person.finish(rng, line0, classLines(rng, "group"), body)
        body = [f"secDN: {rng.choice((dn, dn.replace(',', ', ')))}", f"cn: {self.uuid}"]
        suffix = f"cn=Groups,secAuthority={self.domain}"
        return Person.finish(rng, f"dn: cn={self.uuid},{suffix}", classLines(rng, "map"), body)


def registryEntries(rng):
    """The entries that belong to no user and no group."""
    entries = [
        ["dn: o=example", "objectClass: organization", "o: example", "xoq-entryuuid: 1"],
        ["dn: secAuthority=Default", "objectClass: top", "objectClass: secAuthorityInfo", "secAuthority: Default",
         f"version: {rng.choice(('5.0', '5.1', '4.10', '   5.0'))}", "XOQ-ENTRYUUID: 2"],
        ["dn: cn=Users,secAuthority=Default", "objectClass: container", "cn: Users"],
        ["dn: cn=Groups,secAuthority=Default", "objectclass: Container", "cn: Groups"],
        ["dn: cn=ResCreds,secAuthority=Default", "objectClass: container", "cn: ResCreds", "aclentry: x",
         "xoq-entryuuid: 3"],
        ["dn: cn=host,cn=ResCreds,secAuthority=Default", "objectClass: secResCreds", "cn: host", "ACI: y"],
        ["dn: cn=Policy,cn=Policies,secAuthority=Default", "objectClass: secPolicy", "cn: Policy", "secPwdMinLen: 8"],
    ]
    if rng.random() < 0.3:
        entries[1].append("installDate: 20010101010101.0Z")
    return [[line.encode() for line in entry] for entry in entries if rng.random() < 0.8]


def lifelikeEntries(seed, users, groups, order):
    """The entries' lines, one entry at a time, so that a large export needs no memory."""
    rng = random.Random(f"{seed} registry")
    yield from registryEntries(rng)
    if order == "grouped":
        for makers, count in ((Person, users), (Group, groups)):
            for number in range(count):
                owner = makers(seed, number)
                for kind in owner.kinds:
                    yield owner.lines(kind)
        return
    if order == "class":
        for kind in ("user", "Users", "policy", "data", "map"):
            for number in range(users):
                person = Person(seed, number)
                if kind in person.kinds:
                    yield person.lines(kind)
        for kind in Group.kinds:
            for number in range(groups):
                yield Group(seed, number).lines(kind)
        return
    places = [(Person, number, kind) for number in range(users) for kind in Person(seed, number).kinds]
    places += [(Group, number, kind) for number in range(groups) for kind in Group.kinds]
    rng.shuffle(places)
    for maker, number, kind in places:
        yield maker(seed, number).lines(kind)


def lifelikePieces(seed, users, groups, order):
    rng = random.Random(f"{seed} style")
    style = Style(rng)
    previous = b"# exported registry" + style.end * 2 if style.comments else b""
    for lines in lifelikeEntries(seed, users, groups, order):
        if style.changetype:
            lines.insert(1, b"changetype: add")
        yield previous
        previous = style.render(lines, rng)
    if not style.final_newline:
        previous = previous[:-2 * len(style.end)]
    yield previous


def lifelikeCase(seed):
    rng = random.Random(f"{seed} case")
    order = rng.choice(("grouped", "class", "shuffled"))
    users, groups = rng.choice((0, 1, 2, 3, 5, 8)), rng.choice((0, 1, 2, 4))
    text = b"".join(lifelikePieces(seed, users, groups, order))
    return Case(text, None, rng.choice((1, 2, 3, 10)), rng.choice((1, 2, 3, 10)))


# Hostile cases: a small export with a few things done to it.

LENGTHS = (1020, 1022, 1023, 1024, 1025, 4092, 4093, 4094, 4095, 4096, 4097, 8188, 8189, 8190, 8191, 8192)

STRAY_LINES = (
    b"xsecdn: cn=other,o=example", b"seccn: z", b"secCN: z", b"control: 1.2.3 true", b"Control: x", b"CONTROL: y",
    b"aclEntry: a", b"ACLENTRY: b", b"acl: c", b"ACL: d", b"Acl: e", b"aci: f", b"ACI: g", b"aclpropagate: TRUE",
    b"xoq-entryuuid: 5", b"XOQ-ENTRYUUID: 6", b"Xoq-EntryUUID: 7", b"xoq-entryuuid:8", b"secDomainId: Default%x",
    b"SECDOMAINID: y", b"SECUUID: 1", b"secuuid: 2", b"secuuid:3", b"dn: cn=again,secAuthority=Default", b"DN: again",
    b"Dn: again", b"changetype: add", b"changetype: modify", b"# changetype: a comment", b"# a comment", b"#",
    b"objectclass: top", b"objectClass: person", b"ObjectClass: secUser", b"objectClass: secUserX",
    b"objectClass:secGroup", b"description: see ACL: x", b"description: my objectClass: secUser notes",
    b"description: objectclass: top secMap", b"description: objectClass: x", b"note: cn: inside", b"xcn: longer",
    b"note: principalName: inside", b"xprincipalname: longer", b"note: secauthority: inside",
    b"note: secAuthority: inside", b"xsecauthority: Labs", b"note: secdn: cn=a , o=b", b"note: version: 1",
    b"version: 5.0", b"version:  4", b"note: installDate: never", b"mail: x", b"MAIL: y", b"mail: z", b"\t", b"\tx: y",
    b"x", b"nocolon", b" ", b" continued", b" : continued", b"  secUser", b":", b"::", b"a:", b"principalName: other",
    b"PrincipalName: other", b"principalname:\tother", b"principalName:", b"cn:", b"cn:    ", b"CN: other",
    b"secAuthority: Labs", b"secAuthority: Default:x", b"secDN: cn=other,o=example", b"secdn:", b"secdn:: Y249YQ==",
    b"dn:: Y249YQ==", b"dn: secAuthority=Default,cn=anna0,ou=people,o=example", b"-", b"add: mail",
)

# Lines that the merge and the writers look at closely.
WATCHED_LINES = (
    b"control: 1", b"Control: 2", b"CONTROL: 3", b"note: see control: 4", b"aclEntry: a", b"ACLEntry: b", b"Acl: c",
    b"aclPropagate: d", b"ACLPROPAGATE: e", b"Aci: f", b"XOQ-ENTRYUUID:7", b"Xoq-EntryUUID: 8", b"xoq-entryuuid:9",
    b"note: see xoq-entryuuid: 1", b"Dn: again", b"DN: again", b"dn: again", b"Objectclass: x", b"OBJECTCLASS: secMap",
    b"note: objectclass: top", b"seccn: z", b"cn: one", b"CN: two", b"secAuthority: Labs", b"SECAUTHORITY: Labs",
    b"note: secAuthority: inside", b"secdn: cn=b", b"mail: x", b"MAIL: y", b"xmail: z", b"m:", b"changetype: add",
)

STRAY_ENTRIES = (
    (b"dn: o=stray", b"objectClass: organization"),
    (b"dn: cn=box,o=stray", b"objectClass: container"),
    (b"dn: cn=rescreds,o=stray", b"objectclass: Container", b"aclEntry: x", b"note: see aci: y"),
    (b"dn: cn=x,cn=ResCreds", b"objectClass: secrescreds", b"control: z", b"cn: x"),
    (b"dn: cn=x\rcn=ResCreds", b"objectClass: container"),
    (b"dn: cn=y", b"note: a\robjectClass: secGroup", b"cn: y"),
    (b"dn: secAuthority=Other", b"objectClass: secAuthorityInfo", b"version: 5"),
    (b"dn: secAuthority=Other", b"objectClass: secAuthorityInfo", b"version:  5\rabc"),
    (b"dn: secAuthority=Other", b"objectclass: secauthorityinfo", b"note: version: 5.12", b"installdate: x"),
    (b"dn: cn=Policies, secAuthority=Default", b"objectClass: secPolicy"),
    (b"dn: cn=p,cn=policies,secauthority=Default", b"objectClass: secPolicy"),
    (b"dn: cn=loose", b"objectClass: secPolicy"),
    (b"dn: cn=loose", b"objectClass: secPolicyDataY"),
    (b"dn: cn=m,cn=Users,secAuthority=Default", b"objectClass: secMap", b"secDN: cn=nobody,o=example"),
    (b"dn: cn=m,cn=USERS,o=x", b"objectClass: secMap", b"secDN: cn=nobody,o=example"),
    (b"dn: cn=m,cn=Groups,o=x", b"objectClass: secMap"),
    (b"dn: cn=m,cn=Groups,secAuthority=Default", b"objectClass: secMap"),
    (b"cn: first", b"dn: cn=second", b"objectClass: secGroup"),
    (b"ab", b"objectClass: secGroup"),
    (b"ab", b"objectClass: secUser", b"secDomainId: x"),
    (b"x", b"objectClass: secGroup"),
    (b"note: only this",),
    (b" starts as a continuation", b"objectClass: top"),
    (b"objectClass: secGroup",),
    (b"objectClass: secUser", b"secDomainId: x"),
)


class HostileEntry:
    def __init__(self, kind, lines):
        self.kind = kind
        self.lines = lines


class Mutator:
    """Does single things to a list of entries."""

    def __init__(self, rng, entries):
        self.rng = rng
        self.entries = entries

    def entry(self, kinds=None):
        fitting = [entry for entry in self.entries if entry.lines and (kinds is None or entry.kind in kinds)]
        return self.rng.choice(fitting or [entry for entry in self.entries if entry.lines]
                               or [HostileEntry("stray", [b"dn: o=x"])])

    def line(self, entry, *names):
        """The place of a line with one of the attribute names, or of any line."""
        places = [place for place, line in enumerate(entry.lines)
                  if line.split(b":")[0].lower() in [name.lower() for name in names]]
        return self.rng.choice(places or range(len(entry.lines)))

    def importantLine(self):
        entry = self.entry()
        place = self.line(entry, b"dn", b"objectclass", b"secauthority", b"principalname", b"secdn", b"cn", b"secuuid")
        return entry, place

    # Entries.

    def dropEntry(self):
        self.entries.remove(self.entry()) if len(self.entries) > 1 else None

    def dropOptionalEntry(self):
        fitting = [entry for entry in self.entries if entry.kind in ("Users", "policy", "data", "registry")]
        if fitting:
            self.entries.remove(self.rng.choice(fitting))

    def doubleEntry(self):
        twin = HostileEntry("twin", list(self.entry().lines))
        self.entries.insert(self.rng.randrange(len(self.entries) + 1), twin)

    def doubleUninterestingEntry(self):
        twin = HostileEntry("registry", list(self.entry(("registry",)).lines))
        self.entries.insert(self.rng.randrange(len(self.entries) + 1), twin)

    def moveEntry(self):
        entry = self.entry()
        if entry in self.entries:
            self.entries.remove(entry)
            self.entries.insert(self.rng.randrange(len(self.entries) + 1), entry)

    def shuffleEntries(self):
        self.rng.shuffle(self.entries)

    def addStrayEntry(self):
        stray = HostileEntry("registry", list(self.rng.choice(STRAY_ENTRIES)))
        self.entries.insert(self.rng.randrange(len(self.entries) + 1), stray)

    def addHarmlessEntry(self):
        stray = HostileEntry("registry", list(self.rng.choice(STRAY_ENTRIES[:4] + STRAY_ENTRIES[6:9])))
        self.entries.insert(self.rng.randrange(len(self.entries) + 1), stray)

    def splitEntry(self):
        entry = self.entry()
        entry.lines.insert(self.rng.randrange(1, len(entry.lines) + 1), self.rng.choice((b"", b"  ", b" \r")))

    def joinEntries(self):
        if len(self.entries) > 1:
            place = self.rng.randrange(len(self.entries) - 1)
            self.entries[place].lines += self.entries.pop(place + 1).lines

    def otherDomain(self):
        """One entry of an owner says another domain than the rest."""
        entry = self.entry(("user", "Users", "map", "policy", "data", "group"))
        entry.lines[:] = [line.replace(b"Default", self.rng.choice((b"Labs", b"default", b"Default2")))
                          for line in entry.lines]

    def subdomainInOwner(self):
        component = self.rng.choice((b"cn=subdomains", b"CN=Subdomains", b"ou=secAuthority=x"))
        self.replaceEverywhere(b"ou=people", component)

    def replaceEverywhere(self, old, new):
        for entry in self.entries:
            entry.lines[:] = [line.replace(old, new) for line in entry.lines]

    def replaceSomeText(self):
        old, new = self.rng.choice((
            (b"cn=Users", b"CN=USERS"), (b"cn=Users", b"cn=users"), (b"cn=Users,", b"cn=Users, "),
            (b"ou=people", b"ou=secAuthority"), (b"secUser", b"secuser"), (b"secUser", b"secUserX"),
            (b"secMap", b"SecMap"), (b"o=example", b"o=ex,ample"), (b"o=example", b"o=example "),
            (b"secAuthority=Default", b"secAuthority=Def"), (b"principalName:", b"principalname:"),
            (b"principalName:", b"PrincipalName:"), (b"secAuthority:", b"SECAUTHORITY:"), (b"cn:", b"CN:"),
            (b"cn:", b"Cn:"), (b"secdn:", b"secDN:"), (b"secDN:", b"secdn:"), (b"secDN:", b"xsecdn:"), (b",", b" , "),
            (b",", b", "), (b",", b",\t"), (b": ", b":"), (b": ", b":   "), (b"dn: ", b"DN: "), (b"dn: ", b"dn:"),
            (b"dn: ", b"dn:\t"), (b"Default", b"Default:x"), (b"o=example", b"o=e:f"), (b"cn=Policy", b"cn=Policies"),
            (b"cn=Policy,", b"cn=Policy, "), (b"secPolicy", b"secPolicyData"), (b"example", b"e\0mple")))
        if self.rng.random() < 0.5:
            self.replaceEverywhere(old, new)
        else:
            entry = self.entry()
            entry.lines[:] = [line.replace(old, new) for line in entry.lines]

    # Lines.

    def dropLine(self):
        entry = self.entry()
        del entry.lines[self.rng.randrange(len(entry.lines))]

    def dropImportantLine(self):
        entry, place = self.importantLine()
        del entry.lines[place]

    def doubleLine(self):
        entry = self.entry()
        line = self.rng.choice(entry.lines)
        entry.lines.insert(self.rng.randrange(len(entry.lines) + 1), line)

    def moveLine(self):
        entry = self.entry()
        line = entry.lines.pop(self.rng.randrange(len(entry.lines)))
        entry.lines.insert(self.rng.randrange(len(entry.lines) + 1), line)

    def addStrayLine(self):
        entry = self.entry()
        entry.lines.insert(self.rng.randrange(1, len(entry.lines) + 1), self.rng.choice(STRAY_LINES))

    def addStrayLines(self):
        for _ in range(self.rng.randrange(2, 6)):
            self.addStrayLine()

    def addWatchedLines(self):
        kinds = self.rng.choice((("user", "Users", "map", "group"), ("policy",), ("registry",)))
        for _ in range(self.rng.randrange(1, 5)):
            entry = self.entry(kinds)
            entry.lines.insert(self.rng.randrange(1, len(entry.lines) + 1), self.rng.choice(WATCHED_LINES))

    def addLineFromElsewhere(self):
        entry = self.entry()
        entry.lines.insert(self.rng.randrange(1, len(entry.lines) + 1), self.rng.choice(self.entry().lines))

    def misspell(self):
        entry, place = self.importantLine()
        line = bytearray(entry.lines[place])
        if line:
            line[self.rng.randrange(min(len(line), 30))] = self.rng.choice(b"xX ,:=\tAz0")
        entry.lines[place] = bytes(line)

    def changeCase(self):
        entry, place = self.importantLine()
        name, colon, value = entry.lines[place].partition(b":")
        change = self.rng.choice((bytes.upper, bytes.lower, bytes.swapcase, bytes.title))
        what = self.rng.randrange(3)
        entry.lines[place] = (change(name) if what != 1 else name) + colon + (change(value) if what != 0 else value)

    def changeBlanks(self):
        entry, place = self.importantLine()
        line = entry.lines[place]
        change = self.rng.randrange(7)
        if change == 0:
            comma = self.rng.choice((b", ", b" ,", b"  ,  ", b",\t", b"\t,"))
            line = line.replace(b",", comma, self.rng.choice((1, 9)))
        elif change == 1:
            line = line.replace(b": ", self.rng.choice((b":", b":  ", b":\t", b": \t", b":: ")), 1)
        elif change == 2:
            line += self.rng.choice((b" ", b"   ", b"\t", b" \t ", b"\v", b" ,", b", "))
        elif change == 3:
            line = b" " + line
        elif change == 4:
            line = b"\t" + line
        elif change == 5:
            line = line.replace(b"=", b" = ", 1)
        else:
            line = line.replace(b" ", b"", 1)
        entry.lines[place] = line

    def insertControlCharacter(self):
        entry = self.entry()
        place = self.rng.randrange(len(entry.lines))
        line = entry.lines[place]
        at = self.rng.choice((0, 1, len(line), self.rng.randrange(len(line) + 1)))
        inserted = self.rng.choice((b"\0", b"\t", b"\r", b"\r\r", b"\0\0", b"\xe4", b"%s%n"))
        entry.lines[place] = line[:at] + inserted + line[at:]

    def emptyValue(self):
        entry, place = self.importantLine()
        entry.lines[place] = entry.lines[place].split(b":")[0] + self.rng.choice((b":", b": ", b":    ", b""))

    def strayValue(self):
        entry = self.entry()
        place = self.rng.randrange(1, len(entry.lines)) if len(entry.lines) > 1 else 0
        name = entry.lines[place].split(b":")[0]
        entry.lines[place] = name + b": " + self.rng.choice(STRAY_LINES)

    def beginComment(self):
        entry = self.entry()
        place = self.rng.randrange(len(entry.lines))
        entry.lines[place] = b"#" + entry.lines[place]

    def foldOddly(self):
        entry, place = self.importantLine()
        line = entry.lines[place]
        at = self.rng.randrange(len(line) + 1)
        entry.lines[place:place + 1] = [line[:at], b" " + line[at:]]

    # Lengths.

    def longLine(self):
        entry = self.entry()
        place = self.rng.randrange(len(entry.lines))
        self.stretch(entry, place, self.rng.choice(LENGTHS))

    def longHarmlessLine(self):
        entry = self.entry()
        entry.lines.insert(self.rng.randrange(1, len(entry.lines) + 1), b"description: ")
        length = self.rng.choice(LENGTHS)
        for place, line in enumerate(entry.lines):
            if line == b"description: ":
                self.stretch(entry, place, length, self.rng.choice((b"x", b"ab:c ", b"word ", b"a b,", b"aci:")))
                return

    def stretch(self, entry, place, length, filling=b"x"):
        line = entry.lines[place]
        missing = length - len(line) - self.rng.randrange(2)
        if missing > 0:
            entry.lines[place] = line + (filling * missing)[:missing]

    def longName(self):
        """A principal name or group cn about as long as a name may be."""
        entry = self.entry(("user", "group"))
        place = self.line(entry, b"principalname", b"cn")
        name = entry.lines[place].partition(b":")[0]
        value = b"n" * self.rng.choice((1000, 1020, 1021, 1022, 1023, 1024, 1025, 1100))
        entry.lines[place] = name + b": " + value

    def longOwner(self):
        """An owner's DN grown in all its entries alike."""
        size = self.rng.choice((1000, 3900, 3990, 4000, 4010, 4020, 4025, 4030, 4035, 4040, 4045, 4050, 4060, 4100))
        self.replaceEverywhere(b"o=example", b"o=" + b"e" * (size + self.rng.randrange(-6, 6)))

    def userAtTheLimit(self):
        """One more user, whose new DN line is about as long as it may be."""
        length = self.rng.choice((4096, 4096, 4084, 4072)) + self.rng.randrange(-3, 3)
        rest = len("dn: principalName=p,cn=Users,secAuthority=,cn=Subdomains,secAuthority=default\n")
        domain = b"D" * (length - rest)
        owner = b"secAuthority=" + domain + b",cn=p"
        self.entries += [
            HostileEntry("user", [b"dn: " + owner, b"objectClass: secUser", b"secAuthority: D", b"principalName: p"]),
            HostileEntry("map", [b"dn: cn=m,cn=Users,secAuthority=" + domain, b"objectClass: secMap", b"secdn: cn=p"])]
        policy = self.rng.choice((None, b"cn=Policy", b"cn=secAuthority=default", b"cn=secAuthority"))
        if policy:
            self.entries.append(HostileEntry("policy", [b"dn: " + policy + b"," + owner, b"objectClass: secPolicy"]))

    def longDomain(self):
        size = self.rng.choice((1000, 1990, 3900, 4000, 4010, 4020))
        self.replaceEverywhere(b"Default", b"D" * (size + self.rng.randrange(0, 20)))

    def longDefaultDomain(self):
        self.replaceEverywhere(b"Default", b"default" + b"d" * self.rng.choice((10, 1000, 4000, 4020)))

    def manyLines(self):
        """An entry about as long as a row of its cache matrix."""
        entry = self.entry(self.rng.choice((("user",), ("Users",), ("map",), ("group",), ("data",), ("policy",))))
        width = 500 if entry.kind == "policy" else 50
        wanted = width + self.rng.choice((-3, -2, -1, 0, 0, 0, 1, 2, 10, 60))
        number = 0
        while len(entry.lines) < wanted:
            number += 1
            entry.lines.insert(self.rng.randrange(1, len(entry.lines) + 1), b"extra%d: %d" % (number % 7, number))

    def fullPolicies(self):
        """Policies that fill their rows, for as many users as have one."""
        for entry in self.entries:
            if entry.kind == "policy":
                missing = self.rng.choice((499, 500, 500, 500)) - len(entry.lines)
                entry.lines += [b"extra: %d" % number for number in range(missing)]

    def manyLinesOften(self):
        for _ in range(2):
            self.manyLines()

    MUTATIONS = {  # weight of each
        "dropEntry": 2, "dropOptionalEntry": 3, "doubleEntry": 2, "doubleUninterestingEntry": 3, "moveEntry": 4,
        "shuffleEntries": 4, "addStrayEntry": 3, "addHarmlessEntry": 4, "splitEntry": 1, "joinEntries": 1,
        "otherDomain": 2, "subdomainInOwner": 2, "replaceSomeText": 8, "dropLine": 3, "dropImportantLine": 2,
        "doubleLine": 5, "moveLine": 5, "addStrayLine": 10, "addStrayLines": 5, "addWatchedLines": 10,
        "addLineFromElsewhere": 4,
        "misspell": 3, "changeCase": 6, "changeBlanks": 6, "insertControlCharacter": 5, "emptyValue": 2,
        "strayValue": 5, "beginComment": 2, "foldOddly": 4, "longLine": 3, "longHarmlessLine": 3, "longName": 2,
        "longOwner": 2, "userAtTheLimit": 2, "longDomain": 1, "longDefaultDomain": 1, "manyLines": 5,
        "fullPolicies": 1, "manyLinesOften": 2,
    }

    def mutate(self):
        names = list(self.MUTATIONS)
        name = self.rng.choices(names, [self.MUTATIONS[one] for one in names])[0]
        getattr(self, name)()
        self.entries[:] = [entry for entry in self.entries if entry.lines]


def smallEntries(rng, seed, users, groups, order):
    entries = [HostileEntry("registry", lines) for lines in registryEntries(rng)] if rng.random() < 0.4 else []
    owned = []
    for maker, count in ((Person, users), (Group, groups)):
        for number in range(count):
            owner = maker(seed, number)
            owned += [HostileEntry(kind, owner.lines(kind)) for kind in owner.kinds]
    if order == "class":
        owned.sort(key=lambda entry: entry.kind)
    elif order == "shuffled":
        rng.shuffle(owned)
    return entries + owned


def hostileText(rng, entries, style):
    separators = (b"", b"", b"", b"", b"", b"", b"", b"", style.end, b" " + style.end, b"\r\n", b"\n\n")
    text = b"".join(rng.choice(separators) + style.render(entry.lines, rng) for entry in entries)
    if rng.random() < 0.02:
        text = text.replace(b"\n\n", b"\n\t\n", 1)
    if not style.final_newline:
        text = text.rstrip(b"\r\n")
        if rng.random() < 0.3:
            text += rng.choice((b"\nx", b"x", b"\0", b" ", b"\n \0"))
    return text


def workText(rng, entries):
    """What a preparation pass leaves of the entries, a few of them taken already."""
    text = bytearray()
    for entry in entries:
        taken = rng.random() < 0.2
        for line in entry.lines:
            line = line.replace(b"secuuid: ", b"secUUID: ")
            if line.startswith((b"secdn:", b"secDN:")) and rng.random() < 0.9:
                line = line.replace(b" ,", b",").replace(b", ", b",")
            text += b" " * (len(line) - 1) + b"\r\n" if taken and line else line + b"\n"
        text += b"\n"
    return bytes(text)


def leftOver(rng, seed):
    kind = rng.randrange(10)
    entries = smallEntries(rng, f"{seed} old", rng.randrange(3), rng.randrange(2), rng.choice(("grouped", "shuffled")))
    entries = [entry for entry in entries if entry.kind != "registry" or rng.random() < 0.1]
    if kind == 0:
        return rng.choice((b"", b"\n", b"   \r\n", b"# only a comment\n", b"# a comment\n\n", b"dn: cn=cut", b"x",
                           b"\0",
                           b"#c\n\n#d\n", b"dn: cn=h,cn=ResCreds\nobjectClass: secResCreds\n\n",
                           b"#c\n\ndn: cn=h,cn=ResCreds\nobjectClass: secResCreds\naci: x\n\n",
                           b"dn: cn=h,cn=ResCreds\nobjectClass: secResCreds\ncn: h\0\nx: 1\n\n",
                           b"\n\0\ndn: cn=h\nobjectClass: secResCreds\n#c\nx\0"))
    if kind <= 4 and entries:
        mutator = Mutator(rng, entries)
        for _ in range(rng.choice((1, 1, 2))):
            mutator.mutate()
    text = workText(rng, entries)
    if kind == 5:
        style = Style(rng)
        style.fold, style.end = rng.choice((20, 40, 76)), rng.choice((b"\n", b"\n", b"\r\n"))
        text = b"".join(style.render(entry.lines, rng) for entry in entries)
    if kind == 6 and b"\n" in text:
        breaks = [place for place, character in enumerate(text) if character == 10]
        at = rng.choice(breaks) + 1
        comment = rng.choice((b"# a comment\n", b"# a comment\n\n", b"\n# c\n\n", b"#changetype:\n"))
        text = text[:at] + comment + text[at:]
    if kind == 7 and text:
        at = rng.randrange(len(text))
        text = text[:at] + rng.choice((b"\0", b"\0\0", b"\r", b"\0\n", b"\n\0")) + text[at:]
    if kind == 8:
        # An owner DN about as long as its buffer, in a folded line: longer lines would not be read as one.
        length = rng.choice((4050, 4070, 4080, 12000, 19999, 20000, 20001, 30000)) - len("secAuthority=Default,")
        value = b"cn=" + b"v" * (length - 3 - rng.randrange(3))
        value = b"\n ".join(value[at:at + 3990] for at in range(0, len(value), 3990))
        text = (b"dn: cn=m,cn=%s,secAuthority=Default\nobjectClass: secMap\nsecDN: %s\n\n"
                % (rng.choice((b"Users", b"Groups")), value)) + text
    if kind == 9 or rng.random() < 0.1:
        text = text.rstrip(b"\n")
        if text and rng.random() < 0.3:
            text = text[:rng.randrange(len(text))]
        elif text and rng.random() < 0.3:
            text += rng.choice((b"\nx", b"\nx\0", b"\n ", b"\n\nx"))
    return text


# What may stand for the owners' organisation: text that moves a terminal, or that makes their DNs none.
ODD_ORGANISATIONS = (b"o=ex\xc3\xa4mple", b"o=\x1b[2Jx", b"o=\xc2\x9bx", b"o=\x9bx", b"o=x\x7f", b"o=a\tb",
                     b"o=\xe2\x82x", b"o=", b"o==", b"o=x=", b"o", b"o=a;b=c", b"o=a;b", b"o=a\\,b", b"o=a\\\\",
                     b"o =x", b"1.2=x", b"o+u=x")


def withOddOrganisation(seed, *texts):
    """The texts, in a few cases with an odd organisation. Other cases do not depend on these choices."""
    rng = random.Random(f"{seed} organisation")
    if rng.random() >= 0.08:
        return texts
    odd = rng.choice(ODD_ORGANISATIONS)
    return tuple(text if text is None else text.replace(b"o=example", odd) for text in texts)


def hostileCase(seed):
    rng = random.Random(f"{seed} hostile")
    style = Style(rng)
    if rng.random() < 0.5:
        style.fold, style.end = 0, b"\n"
    users, groups = rng.choice((1, 1, 2, 2, 3, 4, 5)), rng.choice((0, 0, 1, 1, 2, 3))
    entries = smallEntries(rng, seed, users, groups, rng.choice(("grouped", "grouped", "class", "shuffled")))
    if style.changetype:
        for entry in entries:
            entry.lines.insert(1, b"changetype: add")
    mutator = Mutator(rng, entries)
    for _ in range(rng.choice((1, 1, 1, 2, 2, 3))):
        mutator.mutate()
    text = hostileText(rng, entries, style)
    work = leftOver(rng, seed) if rng.random() < 0.2 else None
    if work is not None and rng.random() < 0.25:    # so that the work file ends as the earlier run left it
        text = rng.choice((b"", b"\n", b"dn: o=x\n", b"dn: o=x\nobjectClass: container"))
    text, work = withOddOrganisation(seed, text, work)
    return Case(text, work, rng.choice((1, 1, 2, 2, 3, 4)), rng.choice((1, 1, 2, 3, 4)))


def main():
    parser = argparse.ArgumentParser(description="Write a lifelike registry export.")
    parser.add_argument("--lifelike", action="store_true", required=True)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--users", type=int, default=10)
    parser.add_argument("--groups", type=int, default=3)
    parser.add_argument("--order", choices=("grouped", "class", "shuffled"), default="grouped")
    parser.add_argument("file")
    arguments = parser.parse_args()
    with open(arguments.file, "wb") as file:
        for piece in lifelikePieces(arguments.seed, arguments.users, arguments.groups, arguments.order):
            file.write(piece)


if __name__ == "__main__":
    main()
