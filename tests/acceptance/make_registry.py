#!/usr/bin/env python3
"""A made-up registry of some two hundred users: its entries in the old layout, and what version 6 must make of them.

usage: make_registry.py FOLDER

Writes people.ldif and registry.ldif, one file a naming context, into the folder. Always the same registry.

An entry is its DN and a list of (attribute, value) pairs; a value is text or bytes. Names that are part of a DN are
ASCII and free of commas, as the conversion needs them; a comma inside a DN is written \\2C, as the server writes it.
"""
import base64
import random
import sys
import uuid
from dataclasses import dataclass
from pathlib import Path

PEOPLE = "dc=example,dc=com"
REGISTRY = "secAuthority=Default"
USERS = 200
GROUPS = 20

SUBDOMAINS = ("Sales", "Field Service")
OLD_DOMAINS = {"Default": REGISTRY} | {name: f"secAuthority={name},cn=Subdomains,{REGISTRY}" for name in SUBDOMAINS}
NEW_DOMAINS = {name: domain[: -len("Default")] + "default" for name, domain in OLD_DOMAINS.items()}

GIVEN_NAMES = ("Ada", "Bruno", "Clara", "Daniel", "Eszter", "Fiona", "Georg", "Hana", "Ingrid", "Jan",
               "Klara", "Luc", "Marek", "Nora", "Otto", "Petra", "Quentin", "Rosa", "Stefan", "Tove")
SURNAMES = ("Berg", "Costa", "Dahl", "Evans", "Farkas", "Grant", "Hughes", "Ito", "Jansen", "Kovac")

# Values that the export writes as they are, folds, or encodes in base 64.
DESCRIPTIONS = (
    "Shift lead, north office; on call on weekdays",
    "Kümmert sich um Zürich und Łódź, täglich",
    " begins with a blank",
    ": begins with a colon",
    "<begins with an angle bracket",
    "ends with a blank ",
    "two\nlines",
    "a=b, c=d + \"quoted\" \\ # all in one",
    "key: value, 12:30 to 17:00",
    "long, " + "and on, " * 60 + "to the end",
    "lang, " + "und größer, " * 40 + "bis zum Ende",
    "x" * 3000,
)
ACCESS = "access-id:cn=Registry Server,ou=Services,dc=example,dc=com:object:ad:normal:rwsc:sensitive:rwsc:critical:rwsc"

ENTRY_UUID = {"XOQ-ENTRYUUID"}
ENTRY_UUID_AND_ACCESS_LISTS = ENTRY_UUID | {"aclEntry"}
ALL_BOOKKEEPING = ENTRY_UUID_AND_ACCESS_LISTS | {"aclPropagate"}


def classes(*names):
    return [("objectClass", name) for name in names]


def without(attributes, names):
    return [(name, value) for name, value in attributes if name not in names]


def values_by_name(attributes):
    values = {}
    for name, value in attributes:
        values.setdefault(name, []).append(value)
    return values


def attributes_of(values):
    return [(name, value) for name, several in values.items() for value in several]


@dataclass
class User:
    name: str
    authority: str
    person: tuple  # the entry of the person, outside the registry
    own: list  # attributes of the entry below the person
    mapping: list
    users_entry: list | None  # attributes of the second entry, under cn=Users
    policy: list | None
    policy_data: list | None

    def old_entries(self):
        person = self.person[0]
        own = f"secAuthority={self.authority},{person}"
        users = f"cn=Users,{OLD_DOMAINS[self.authority]}"
        yield self.person
        yield own, self.own
        yield f"secuuid={dict(self.mapping)['secuuid']},{users}", self.mapping
        if self.users_entry:
            yield f"principalName={self.name},{users}", self.users_entry
        if self.policy:
            yield f"cn=Policy,{own}", self.policy
        if self.policy_data:
            yield f"cn=PolicyData,{own}", self.policy_data

    def new_entries(self):
        dn = f"principalName={self.name},cn=Users,{NEW_DOMAINS[self.authority]}"
        yield self.person
        yield dn, self.merged()
        if self.policy:
            yield f"cn=Policies,{dn}", classes("container", "top") + [("cn", "Policies")]
            yield f"cn=Policy,cn=Policies,{dn}", without(self.policy, ENTRY_UUID_AND_ACCESS_LISTS)

    def merged(self):
        """The map gives the UUID and the DN; an identifier of the domain is made up where there is none. The entry
        under cn=Users, if any, gives the object classes and the authority, and those of its other values that have
        no counterpart."""
        values = values_by_name(without(self.own, ALL_BOOKKEEPING))
        for name in ("secuuid", "secDN"):
            values[name] = [dict(self.mapping)[name]]
        values.setdefault("secDomainId", [f"{values['secAuthority'][0]}%{self.name}"])
        if self.users_entry:
            for name, others in values_by_name(without(self.users_entry, ALL_BOOKKEEPING)).items():
                if name in ("objectClass", "secAuthority"):
                    values[name] = others
                else:
                    counterparts = values.get(name, [])
                    values[name] = counterparts + others[len(counterparts):]
        values["secUUID"] = values.pop("secuuid")
        return attributes_of(values)


@dataclass
class Group:
    name: str
    authority: str
    listing: tuple  # the entry of the group outside the registry
    own: list
    mapping: list

    def old_entries(self):
        yield self.listing
        yield f"secAuthority={self.authority},{self.listing[0]}", self.own
        yield f"secuuid={dict(self.mapping)['secuuid']},cn=Groups,{OLD_DOMAINS[self.authority]}", self.mapping

    def new_entries(self):
        yield self.listing
        values = values_by_name(without(self.own, ALL_BOOKKEEPING))
        values.pop("secuuid", None)
        values["secUUID"] = [dict(self.mapping)["secuuid"]]
        values["secDN"] = [dict(self.mapping)["secDN"]]
        yield f"cn={self.name},cn=Groups,{NEW_DOMAINS[self.authority]}", attributes_of(values)


@dataclass
class Registry:
    frame: list  # suffixes, containers, authorities and shared policies: copied through
    credentials: list  # the container of the resource credentials and what is in it
    users: list
    groups: list

    def old_entries(self):
        """The frame, then the other entries in a random order, each after its parent."""
        entries = list(self.credentials)
        for owner in self.users + self.groups:
            entries.extend(owner.old_entries())
        order = random.Random(6)
        position = {}
        for dn, _ in entries:
            parent = dn.partition(",")[2]
            position[dn] = max(order.random(), position.get(parent, 0) + 1e-9)
        return self.frame + sorted(entries, key=lambda entry: position[entry[0]])

    def new_entries(self, install_date):
        """install_date: what the conversion gives to an authority without one."""
        for dn, attributes in self.frame:
            values = values_by_name(without(attributes, ENTRY_UUID))
            if "secAuthorityInfo" in values["objectClass"]:
                values["version"] = ["6.0" + values["version"][0][3:]]
                values.setdefault("installDate", [install_date])
            yield dn, attributes_of(values)
        for dn, attributes in self.credentials:
            yield dn, without(attributes, ENTRY_UUID_AND_ACCESS_LISTS)
        for owner in self.users + self.groups:
            yield from owner.new_entries()


class Maker:
    def __init__(self):
        self.random = random.Random(5)

    def uuid(self):
        return str(uuid.UUID(int=self.random.getrandbits(128), version=4))

    def bookkeeping(self):
        """The entry UUID and now and then the access lines of the old server."""
        lines = [("XOQ-ENTRYUUID", self.uuid())]
        if self.random.random() < 0.3:
            lines += [("aclEntry", ACCESS), ("aclEntry", "group:cn=staff,ou=Groups,dc=example,dc=com:normal:rsc")]
        if self.random.random() < 0.3:
            lines.append(("aclPropagate", "TRUE"))
        return lines

    def time(self):
        return "20{:02}{:02}{:02}{:02}{:02}{:02}.0Z".format(
            *(self.random.randrange(low, high) for low, high in ((1, 20), (1, 13), (1, 29), (0, 24), (0, 60), (0, 60))))

    def container(self, name, parent):
        return f"cn={name},{parent}", classes("container", "top") + [("cn", name)] + self.bookkeeping()

    def frame(self):
        yield PEOPLE, classes("top", "organization", "dcObject") + [("dc", "example"), ("o", "Example Trading")]
        for unit in ("People", "Groups"):
            yield f"ou={unit},{PEOPLE}", classes("top", "organizationalUnit") + [("ou", unit)]
        yield (f"ou=Sales,ou=People,{PEOPLE}", classes("top", "organizationalUnit")
               + [("ou", "Sales"), ("description", "Zürich"), ("description", "line " * 1000)])
        authorities = {"Default": [("version", "5.1"), ("installDate", "20031104091532.0Z")],
                       "Sales": [("version", "5.10"), ("installDate", "20050117140803.0Z")],
                       "Field Service": [("version", "5.1.2")]}
        for authority, dated in authorities.items():
            domain = OLD_DOMAINS[authority]
            if authority == "Sales":
                yield self.container("Subdomains", REGISTRY)
            yield (domain, classes("secAuthorityInfo", "top") + [("secAuthority", authority)] + dated
                   + self.bookkeeping())
            for name in ("Users", "Groups", "Policies"):
                yield self.container(name, domain)
            yield f"cn=Default,cn=Policies,{domain}", self.policy_attributes("Default")

    def policy_attributes(self, name):
        attributes = classes("secPolicy", "top") + [
            ("cn", name), ("secPwdMinLength", str(self.random.randrange(6, 16))),
            ("secMaxFailedLogins", str(self.random.randrange(3, 12)))]
        if self.random.random() < 0.5:
            attributes.append(("description", self.random.choice(DESCRIPTIONS)))
        return attributes + self.bookkeeping()

    def user(self, number):
        chance = self.random.random
        given, surname = GIVEN_NAMES[number % 20], SURNAMES[number // 20]
        name = (f"{given[0].lower()}{surname.lower()}{number}", f"{given.lower()}.{surname.lower()}",
                f"{given} {surname}", f"o'{surname.lower()}{number}")[number % 4]
        authority = "Default" if number % 5 < 3 else SUBDOMAINS[number % 5 - 3]
        full_name = f"{given} {surname}" if number % 10 else f"{surname}, {given}"
        name_in_dn = full_name.replace(",", r"\2C")
        person_dn = f"cn={name_in_dn},{'ou=Sales,' if authority == 'Sales' else ''}ou=People,{PEOPLE}"
        person = classes("top", "person", "organizationalPerson", "inetOrgPerson") + [
            ("cn", full_name), ("cn", f"{given} Müller-{surname}"), ("sn", surname), ("givenName", given),
            ("mail", f"{name.replace(' ', '_')}@example.com"), ("description", self.random.choice(DESCRIPTIONS))]
        if number % 40 == 0:
            person.append(("jpegPhoto", self.random.randbytes(6000)))

        identity = self.uuid()
        own = classes(*(("secUser", "top") if chance() < 0.5 else ("top", "secUser"))) + [
            ("secAuthority", authority.upper() if chance() < 0.1 else authority), ("principalName", name),
            ("secLoginType", "Default:LDAP"), ("secAcctValid", "TRUE"), ("secPwdLastChanged", self.time())]
        if chance() < 0.8:
            own.append(("secPwdValid", "TRUE"))
        if chance() < 0.1:
            own.append(("secDomainId", f"{authority}%{name}.old"))
        if chance() < 0.9:
            own.append(("secuuid", identity))
        own += [("description", text) for text in self.random.sample(DESCRIPTIONS, self.random.randrange(3))]

        mapping = classes("secMap", "top") + [("secuuid", identity), ("secDN", person_dn)]
        if chance() < 0.3:
            mapping.append(("secAuthority", "default"))

        users_entry = policy = policy_data = None
        if chance() < 0.4:
            users_entry = classes("top", "secUser", "secRegistryUser") + [
                ("principalName", name), ("secAuthority", authority), ("secDN", person_dn), ("secuuid", identity),
                ("secPwdValid", "FALSE")]
            # Texts of their own, so that the merge never gives one value twice.
            users_entry += [("description", f"Import of {year}, {name}")
                            for year in range(2004, 2004 + self.random.randrange(4))] + self.bookkeeping()
        if chance() < 0.3:
            policy = self.policy_attributes("Policy")
        if chance() < 0.4:
            policy_data = classes("secPolicyData", "top") + [
                ("cn", "PolicyData"), ("secPwdFailCount", "0"), ("secPwdLastUsed", self.time())] + self.bookkeeping()
        return User(name, authority, (person_dn, person), own + self.bookkeeping(), mapping + self.bookkeeping(),
                    users_entry, policy, policy_data)

    def group(self, number, users):
        authority = "Default" if number % 3 else SUBDOMAINS[number % 2]
        name = (f"team{number}", f"field-team {number}")[number % 2]
        dn = f"cn={name},ou=Groups,{PEOPLE}"
        members = self.random.sample(users, self.random.randrange(1, 60))
        listing = classes("top", "groupOfNames") + [("cn", name)] + [("member", user.person[0]) for user in members]
        identity = self.uuid()
        own = classes("secGroup", "top") + [("secAuthority", authority), ("cn", name), ("secuuid", identity)]
        own += [("description", text) for text in self.random.sample(DESCRIPTIONS, self.random.randrange(3))]
        mapping = classes("secMap", "top") + [("secuuid", identity), ("secDN", dn)]
        return Group(name, authority, (dn, listing), own + self.bookkeeping(), mapping + self.bookkeeping())

    def credentials(self, users):
        container = self.container("ResCreds", REGISTRY)
        yield container
        for number, user in enumerate(self.random.sample(users, 12)):
            name = f"resource{number}"
            yield (f"cn={name},{container[0]}", classes("secResCreds", "top") + [
                ("cn", name), ("secResourceUser", f"{user.name}-outside"), ("secResourcePwd", f"schlüssel {number}"),
                ("secDN", user.person[0])] + self.bookkeeping())


def make_registry():
    maker = Maker()
    frame = list(maker.frame())
    users = [maker.user(number) for number in range(USERS)]
    groups = [maker.group(number, users) for number in range(GROUPS)]
    return Registry(frame, list(maker.credentials(users)), users, groups)


def in_context(entries, context):
    return [entry for entry in entries if entry[0].endswith(context)]


def as_bytes(value):
    return value if isinstance(value, bytes) else value.encode()


def write_ldif(path, entries):
    """Every value in base 64: the export, not this file, is to show what the server makes of it."""
    lines = []
    for dn, attributes in entries:
        lines.append(f"dn: {dn}")
        lines += [f"{name}:: {base64.b64encode(as_bytes(value)).decode()}" for name, value in attributes]
        lines.append("")
    path.write_text("\n".join(lines))


def write_old_registry(registry, folder):
    entries = registry.old_entries()
    write_ldif(folder / "people.ldif", in_context(entries, PEOPLE))
    write_ldif(folder / "registry.ldif", in_context(entries, REGISTRY))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    write_old_registry(make_registry(), Path(sys.argv[1]))
