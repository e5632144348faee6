"""What the inputs by hand are made of: entries, and a registry in which all is well, which follows them."""
from typing import NamedTuple

PLENTY = (10, 10)   # slots for more users and groups than any case has
ROW, POLICY_ROW = 50, 500   # lines that fill the room of one entry
LINE = 4095         # characters that one read delivers, the line end included
HELD = 250_000      # lines of an entry that are no longer held


class Finding(NamedTuple):
    id: str
    effect: str
    at: str     # None where the effect is not that a run ends
    line: int
    dn: str


class Case(NamedTuple):
    rule: str
    text: bytes
    findings: tuple = ()
    slots: tuple = PLENTY       # given to the check and to the tool
    beside: str = None          # the identifier that it only just does not show
    ends: tuple = ()            # other slot counts with which a run ends, too
    converts: tuple = ()        # and with which one succeeds
    shows: tuple = ()           # what stands in the output
    lacks: tuple = ()           # and what does not


def stops(identifier, line, dn, at="given"):
    return Finding(identifier, "stops", at, line, dn)


def loses(identifier, line, dn):
    return Finding(identifier, "loses", None, line, dn)


def changes(identifier, line, dn):
    return Finding(identifier, "changes", None, line, dn)


# Entries, each with the empty line behind it. A name stands for a person or a group of o=example.

def entry(*lines):
    return b"".join((line if isinstance(line, bytes) else line.encode()) + b"\n" for line in (*lines, ""))


def own_dn(name, authority="Default"):
    return f"secAuthority={authority},cn={name},o=example"


def map_dn(name, authority="Default"):
    return f"cn=map-{name},cn=Users,secAuthority={authority}"


def group_map_dn(name, authority="Default"):
    return f"cn=map-{name},cn=Groups,secAuthority={authority}"


def users_dn(name):
    return f"principalName={name},cn=Users,secAuthority=Default"


def user(name, *more, authority="Default", principal=None):
    """Four lines and more."""
    return entry(f"dn: {own_dn(name, authority)}", "objectclass: secUser", f"secAuthority: {authority}",
                 f"principalName: {principal or name}", *more)


def map_of(name, *more, authority="Default"):
    """Three lines and more."""
    return entry(f"dn: {map_dn(name, authority)}", "objectclass: secMap", f"secDN: cn={name},o=example", *more)


def users_entry(name, *more):
    """Five lines and more."""
    return entry(f"dn: {users_dn(name)}", "objectclass: secUser", "secAuthority: Default", f"principalName: {name}",
                 f"secDN: cn={name},o=example", *more)


def policy(name, *more):
    """Three lines and more."""
    return entry(f"dn: cn=Policy,{own_dn(name)}", "objectclass: secPolicy", "cn: Policy", *more)


def policy_data(name, *more):
    """Three lines and more."""
    return entry(f"dn: cn=Data,{own_dn(name)}", "objectclass: secPolicyData", "cn: Data", *more)


def group(name, *more, cn=None, authority="Default"):
    """Three lines and more."""
    return entry(f"dn: {own_dn(name, authority)}", "objectclass: secGroup", f"cn: {cn or name}", *more)


def map_of_group(name, *more, authority="Default"):
    """Three lines and more."""
    return entry(f"dn: {group_map_dn(name, authority)}", "objectclass: secMap", f"secDN: cn={name},o=example", *more)


def unit(*more):
    """Two lines and more, copied straight through."""
    return entry(f"dn: {UNIT}", "objectclass: organizationalUnit", *more)


# Copied as it stands, for its length.
def oversized_unit(*more):
    return unit(*more, *lines(HELD - 2 - len(more)))


def credentials(*more):
    """Three lines and more."""
    return entry(f"dn: {WEB}", "objectclass: secResCreds", "cn: web", *more)


def line_of(length, begin="description: "):
    """A line of so many characters, without its line end."""
    return begin + "x" * (length - len(begin))


def folded(line, length=4000):
    return "\n ".join(line[i:i + length] for i in range(0, len(line), length))


def lines(count):
    return ["mail: x"] * count


UNIT = "ou=Other,o=example"
WEB = "cn=web,cn=ResCreds,secAuthority=Default"
BERT, BERTS_MAP, BERTS_USERS = own_dn("bert"), map_dn("bert"), users_dn("bert")
BERTS_POLICY, BERTS_DATA = f"cn=Policy,{BERT}", f"cn=Data,{BERT}"
CREW, CREWS_MAP = own_dn("crew"), group_map_dn("crew")

# Everything that an ordinary export has: none of it is worth a word.
REGISTRY = b"""\
dn: o=example
objectclass: organization
o: example
description:: RXhhbXBsZSBUcmFkaW5nLCBaw7xyaWNo
XOQ-ENTRYUUID: 1
aclEntry: group:cn=all:normal:r

# The registry
dn: secAuthority=Default
objectclass: secAuthorityInfo
secAuthority: Default
version: 5.1
xoq-entryuuid: 2
aclPropagate: TRUE

dn: cn=Users,secAuthority=Default
objectclass: container
cn: Users

dn: cn=Groups,secAuthority=Default
objectClass: Container
cn: Groups

dn: cn=Policies,secAuthority=Default
objectclass: container
cn: Policies

dn: cn=Default,cn=Policies,secAuthority=Default
objectclass: secPolicy
cn: Default
secPwdMinLength: 8

dn: cn=anna,o=example
objectclass: person
cn: anna
sn: Alm
description: a line that goes
  on and
  on
# and a comment
description: another

dn: secAuthority=Default,cn=anna,o=example
objectclass: top
objectclass: secUser
secAuthority: Default
principalName: anna
secuuid: 3
secLoginType: Default
xoq-entryuuid: 4
aclEntry: group:cn=all:normal:r
aclPropagate: TRUE
description: folded,\x20
  too

dn: cn=Policy,secAuthority=Default,cn=anna,o=example
objectclass: secPolicy
cn: Policy
secPwdMinLength: 9
ACI: x

dn: secUUID=3,cn=Users,secAuthority=Default
objectclass: secMap
secUUID: 3
secdn: cn=anna , o=example
control: x

dn: principalName=anna,cn=Users,secAuthority=Default
objectclass: secUser
secAuthority: Default
principalName: anna
secDN: cn=anna,o=example

dn: cn=Data,secAuthority=Default,cn=anna,o=example
objectclass: secPolicyData
cn: Data
secLastLogin: 5
acl: x

dn: secAuthority=Default,cn=staff,o=example
objectclass: secGroup
secAuthority: Default
cn: staff
secUUID: 6

dn: secUUID=6,cn=Groups,secAuthority=Default
objectclass: secMap
secUUID: 6
secDN: cn=staff, o=example

dn: cn=ResCreds,secAuthority=Default
objectclass: container
cn: ResCreds

dn: cn=mail,cn=ResCreds,secAuthority=Default
objectclass: secResCreds
cn: mail
secPassword: 7
aclEntry: group:cn=all:normal:r
"""
REGISTRY_LINES = REGISTRY.count(b"\n")


def before_registry(*pieces):
    return b"".join(pieces) + REGISTRY


def shown(rule, pieces, *findings, **more):
    return Case(rule, before_registry(*pieces), findings, **more)


def shown_alone(rule, pieces, *findings, **more):
    return Case(rule, b"".join(pieces), findings, **more)


def beside(identifier, rule, pieces, *findings, **more):
    return Case(rule, before_registry(*pieces), findings, beside=identifier, **more)


def beside_alone(identifier, rule, pieces, *findings, **more):
    return Case(rule, b"".join(pieces), findings, beside=identifier, **more)


# One behind the other they begin in the lines 1 and 6, and what follows in line 10.
USER, MAP = user("bert"), map_of("bert")
# In the lines 1 and 5, and what follows in line 9.
GROUP, GROUP_MAP = group("crew"), map_of_group("crew")

WITHOUT_AUTHORITY = (f"dn: {BERT}", "objectclass: secUser", "principalName: bert")
WITHOUT_NAME = (f"dn: {BERT}", "objectclass: secUser", "secAuthority: Default")
