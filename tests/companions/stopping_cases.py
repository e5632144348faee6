"""Inputs by hand for the findings that stop a run, and beside them inputs that only just have none.

What is expected of each is worked out from the rules of the conversion, never from what a program says. The entries in
question come first, so that their lines count from 1.
"""
from typing import NamedTuple

from pieces import (BERT, BERTS_DATA, BERTS_MAP, BERTS_POLICY, BERTS_USERS, CREW, CREWS_MAP, GROUP, GROUP_MAP, HELD,
                    LINE, MAP, PLENTY, POLICY_ROW, REGISTRY, REGISTRY_LINES, ROW, UNIT, USER, WITHOUT_AUTHORITY,
                    WITHOUT_NAME, beside, beside_alone, changes, credentials, entry, folded, group, line_of, lines, loses,
                    map_dn, map_of, map_of_group, own_dn, policy, policy_data, shown, shown_alone, stops, unit, user,
                    users_dn, users_entry)

ATTRIBUTES = (
    shown("user without an authority stops the run",
          (entry(*WITHOUT_AUTHORITY), MAP), stops("user-without-authority", 1, BERT), ends=((1, 1),)),
    beside("user-without-authority", "user with a domain identifier needs no authority",
           (entry(*WITHOUT_AUTHORITY, "secDomainId: Default%bert"), MAP)),
    shown("user without a name stops the run",
          (entry(*WITHOUT_NAME), MAP), stops("user-without-name", 1, BERT), ends=((1, 1),)),
    shown("user with a domain identifier needs a name nevertheless",
          (entry(*WITHOUT_NAME, "secDomainId: Default%bert"), MAP), stops("user-without-name", 1, BERT)),
    shown("name of a user is not known in capital letters",
          (entry(*WITHOUT_NAME, "PRINCIPALNAME: bert"), MAP), stops("user-without-name", 1, BERT)),
    shown("empty name of a user is none",
          (entry(*WITHOUT_NAME, "principalName:"), MAP), stops("user-without-name", 1, BERT)),
    beside("user-without-name", "name of a user is known in small letters",
           (entry(*WITHOUT_NAME, "principalname: bert"), MAP), shows=("dn: principalName=bert,",)),
    shown("entry under cn=Users without an authority stops the run",
          (USER, MAP, entry(f"dn: {BERTS_USERS}", "objectclass: secUser", "principalName: bert",
                            "secDomainId: Default%bert", "secDN: cn=bert,o=example")),
          stops("users-entry-without-authority", 10, BERTS_USERS), ends=((1, 1),)),
    beside("users-entry-without-authority", "authority of an entry under cn=Users is found in any case of its name",
           (USER, MAP, entry(f"dn: {BERTS_USERS}", "objectclass: secUser", "principalName: bert",
                             "SECAUTHORITY: Default", "secDN: cn=bert,o=example"))),
    shown("entry under cn=Users without a secDN stops the run",
          (USER, MAP, entry(f"dn: {BERTS_USERS}", "objectclass: secUser", "principalName: bert",
                            "secAuthority: Default")),
          stops("users-entry-without-dn", 10, BERTS_USERS), ends=((1, 1),)),
    beside("users-entry-without-dn", "blanks around the commas of the secDN under cn=Users do not matter",
           (USER, map_of("bert").replace(b"bert,o", b"bert, o"),
            entry(f"dn: {BERTS_USERS}", "objectclass: secUser", "principalName: bert", "secAuthority: Default",
                  "secDN: cn=bert, o=example"))),
    shown("map of a user without an authority in its DN stops the run",
          (USER, MAP, entry("dn: cn=x,cn=Users,o=example", "objectclass: secMap", "secDN: cn=bert,o=example")),
          stops("map-without-authority", 10, "cn=x,cn=Users,o=example"), ends=((1, 1),)),
    shown("map of a group without an authority in its DN stops the run",
          (GROUP, GROUP_MAP, entry("dn: cn=x,cn=Groups,o=example", "objectclass: secMap", "secDN: cn=crew,o=example")),
          stops("map-without-authority", 9, "cn=x,cn=Groups,o=example"), ends=((1, 1),)),
    beside("map-without-authority", "authority in the DN of a map is known in any case",
           (USER, entry("dn: cn=x,CN=USERS,SECAUTHORITY=default", "objectclass: secMap", "secDN: cn=bert,o=example"))),
    shown("map of a user without a secDN stops the run",
          (USER, MAP, entry("dn: cn=x,cn=Users,secAuthority=Default", "objectclass: secMap", "cn: x")),
          stops("map-without-dn", 10, "cn=x,cn=Users,secAuthority=Default"), ends=((1, 1),)),
    shown("map of a group without a secDN stops the run",
          (GROUP, GROUP_MAP, entry("dn: cn=x,cn=Groups,secAuthority=Default", "objectclass: secMap", "cn: x")),
          stops("map-without-dn", 9, "cn=x,cn=Groups,secAuthority=Default"), ends=((1, 1),)),
    beside("map-without-dn", "secDN of a map is found in any case of its name",
           (USER, entry(f"dn: {BERTS_MAP}", "objectclass: secMap", "SECDN: cn=bert,o=example"))),
    shown("group without a name stops the run",
          (entry(f"dn: {CREW}", "objectclass: secGroup"), GROUP_MAP), stops("group-without-name", 1, CREW),
          ends=((1, 1),)),
    shown("name of a group is not known in mixed case",
          (entry(f"dn: {CREW}", "objectclass: secGroup", "Cn: crew"), GROUP_MAP), stops("group-without-name", 1, CREW)),
    beside("group-without-name", "name of a group is known in capital letters",
           (entry(f"dn: {CREW}", "objectclass: secGroup", "CN: crew"), GROUP_MAP), shows=("dn: cn=crew,cn=Groups,",)),
)

PARTNERS = (
    shown("user without a map stops the run", (USER,), stops("user-without-map", 1, BERT), ends=((1, 1),)),
    shown("blank at the end of the DN of a user parts it from a map that comes later",
          (USER.replace(b"example\n", b"example \n"), MAP), stops("user-without-map", 1, BERT),
          stops("user-without-own-entry", 6, BERTS_MAP), ends=((1, 1),)),
    # Bert's own entry opens the first slot and Anna's the last, in which her maps do not find her. Had the first map a
    # slot nevertheless, the second would meet it there, and stop the run before Anna's record does.
    shown_alone("maps that find their user in no slot stay behind while all slots are in use",
                (USER, user("anna").replace(b"example\n", b"example \n"), map_of("anna"), map_of("anna"), MAP),
                stops("user-without-map", 6, own_dn("anna")), stops("user-without-own-entry", 11, map_dn("anna")),
                stops("doubled-entry", 15, map_dn("anna")), slots=(2, 1), ends=((1, 1), (3, 1))),
    beside("user-without-map", "blank at the end of the DN of a user does not matter behind its map",
           (MAP, USER.replace(b"example\n", b"example \n"))),
    shown("secDN in base 64 is not decoded", (USER, entry(f"dn: {BERTS_MAP}", "objectclass: secMap",
                                                          "secDN:: Y249YmVydCxvPWV4YW1wbGU=")),
          stops("user-without-map", 1, BERT), stops("user-without-own-entry", 6, BERTS_MAP)),
    beside("user-without-map", "case and blanks beside commas do not part a map from its user",
           (USER, entry(f"dn: {BERTS_MAP}", "objectclass: secMap", "secDN: CN=Bert , O=Example"))),
    shown("class that stands in a folded DN counts once that is unfolded",
          (entry(f"dn: {BERT}objectc\n lass: secGroup", "objectclass: secUser", "secAuthority: Default",
                 "principalName: bert", "cn: bert"),),
          stops("group-without-map", 1, f"{BERT}objectclass: secGroup"),
          changes("value-taken-for-attribute", 1, f"{BERT}objectclass: secGroup")),
    shown("group without a map stops the run", (GROUP,), stops("group-without-map", 1, CREW), ends=((1, 1),)),
    shown("blank behind a comma in the DN of a group parts it from its map",
          (entry("dn: secAuthority=Default, cn=crew,o=example", "objectclass: secGroup", "cn: crew"), GROUP_MAP),
          stops("group-without-map", 1, "secAuthority=Default, cn=crew,o=example"),
          stops("group-without-own-entry", 5, CREWS_MAP)),
    shown("DN of a group in base 64 is not decoded",
          (entry("dn:: c2VjQXV0aG9yaXR5PURlZmF1bHQsY249Y3JldyxvPWV4YW1wbGU=", "objectclass: secGroup", "cn: crew"),
           GROUP_MAP), stops("group-without-map", 1, None), stops("group-without-own-entry", 5, CREWS_MAP)),
    beside("group-without-map", "case and blanks in the secDN do not part a map from its group",
           (GROUP, entry(f"dn: {CREWS_MAP}", "objectclass: secMap", "secDN: CN=Crew , O=Example"))),
    shown("map without its user stops the run", (MAP,), stops("user-without-own-entry", 1, BERTS_MAP), ends=((1, 1),)),
    shown("entry under cn=Users without its user stops the run",
          (users_entry("bert"),), stops("user-without-own-entry", 1, BERTS_USERS), ends=((1, 1),)),
    shown("policy without its user stops the run",
          (policy("bert"),), stops("user-without-own-entry", 1, BERTS_POLICY), ends=((1, 1),)),
    shown("policy data without its user stops the run",
          (policy_data("bert"),), stops("user-without-own-entry", 1, BERTS_DATA), ends=((1, 1),)),
    shown("blank behind the first comma parts a policy from its user",
          (USER, MAP, entry(f"dn: cn=Policy, {BERT}", "objectclass: secPolicy")),
          stops("user-without-own-entry", 10, f"cn=Policy, {BERT}"), ends=((1, 1),)),
    shown("entry under cn=Users is not known with a blank behind that",
          (USER, MAP, users_entry("bert").replace(b"cn=Users,", b"cn=Users, ")),
          stops("user-without-own-entry", 10, "principalName=bert,cn=Users, secAuthority=Default"), ends=((1, 1),)),
    beside("user-without-own-entry", "blanks beside later commas do not part a policy from its user",
           (USER, MAP, entry("dn: cn=Policy,secAuthority=Default , cn=bert, o=example", "objectclass: secPolicy")),
           shows=("dn: cn=Policy,cn=Policies,principalName=bert,",)),
    shown("map without its group stops the run",
          (GROUP_MAP,), stops("group-without-own-entry", 1, CREWS_MAP), ends=((1, 1),)),
    beside("group-without-own-entry", "map in front of its group finds it", (GROUP_MAP, GROUP)),
    shown("policy whose DN has no comma stops the run",
          (entry("dn: cn=Policy", "objectclass: secPolicy"),), stops("dn-without-comma", 1, "cn=Policy"),
          ends=((1, 1),)),
    shown("policy data whose DN has no comma stops the run",
          (entry("dn: cn=Data", "objectclass: secPolicyData"),), stops("dn-without-comma", 1, "cn=Data")),
    beside("dn-without-comma", "policy whose DN is one component and its user's has a comma",
           (USER, MAP, policy("bert"))),
)


# A run reads lines of an unfolded line in pieces of LINE characters. Where a piece begins with a blank it continues the
# one before it, which is the only way for a secDN to become too long: here the owner's DN has the length given.
def map_with_owner_dn_of(length):
    text = "secDN: cn=" + "x" * (length - len("secAuthority=Default,cn="))
    place = LINE
    while place < len(text):
        text = text[:place] + " " + text[place:]
        place += LINE
    return entry("dn: cn=x,cn=Users,secAuthority=Default", "objectclass: secMap", folded(text))


SUBDOMAIN = "s" * (3031 - len("secAuthority="))     # with a name of 1,000 characters the new DN line has 4,094


def subdomain_user(authority, name="n" * 1000):
    return (entry(f"dn: {own_dn('bert', authority)}", "objectclass: secUser", "secAuthority: Sub",
                  f"principalName: {name}"), map_of("bert", authority=authority))


def policy_of_subdomain(authority):
    return entry(f"dn: cn=Policy,{own_dn('bert', authority)}", "objectclass: secPolicy", "cn: Policy")


# The new DN line of a policy is this much longer than that of its user.
POLICY_BEGIN = len("cn=Policy,cn=Policies,")
LONG_DN = "secAuthority=Default,cn=" + "b" * 4066       # with its name a line of 4,094 characters
FOLDED_DN = "secAuthority=Default,cn=" + "b" * 4500


LENGTHS = (
    shown("principal name of 1,023 characters stops the run",
          (user("bert", principal="n" * 1023), MAP), stops("name-too-long", 1, BERT), ends=((1, 1),)),
    beside("name-too-long", "principal name of 1,022 characters is converted",
           (user("bert", principal="n" * 1022), MAP), shows=(f"dn: principalName={'n' * 1022},cn=Users,",)),
    shown("group's name of 1,023 characters stops the run",
          (group("crew", cn="n" * 1023), GROUP_MAP), stops("name-too-long", 1, CREW), ends=((1, 1),)),
    beside("name-too-long", "group's name of 1,022 characters is converted",
           (group("crew", cn="n" * 1022), GROUP_MAP), shows=(f"dn: cn={'n' * 1022},cn=Groups,",)),
    shown("new DN line of 4,095 characters stops the run",
          subdomain_user(SUBDOMAIN + "s"), stops("dn-too-long", 1, own_dn("bert", SUBDOMAIN + "s")), ends=((1, 1),)),
    beside("dn-too-long", "new DN line of 4,094 characters is converted", subdomain_user(SUBDOMAIN),
           shows=(f"dn: principalName={'n' * 1000},cn=Users,secAuthority={SUBDOMAIN},cn=Subdomains,",)),
    shown("new DN line of 4,095 characters of a policy stops the run",
          (*subdomain_user(SUBDOMAIN[POLICY_BEGIN - 1:]), policy_of_subdomain(SUBDOMAIN[POLICY_BEGIN - 1:])),
          stops("dn-too-long", 10, f"cn=Policy,{own_dn('bert', SUBDOMAIN[POLICY_BEGIN - 1:])}"), ends=((1, 1),)),
    beside("dn-too-long", "new DN line of 4,094 characters of a policy is converted",
           (*subdomain_user(SUBDOMAIN[POLICY_BEGIN:]), policy_of_subdomain(SUBDOMAIN[POLICY_BEGIN:]))),
    shown("first line without room for a DN stops the run",
          (entry("dn", "objectclass: secGroup", "cn: crew"),), stops("incomplete-dn", 1, None), ends=((1, 1),)),
    shown("DN line that is broken apart stops the run",
          (entry(folded(f"dn: {FOLDED_DN},o=example"), "objectclass: secUser", "secAuthority: Default",
                 "principalName: bert"),),
          changes("long-line", 1, f"{FOLDED_DN},o=example"), stops("incomplete-dn", 1, f"{FOLDED_DN},o=example")),
    beside("incomplete-dn", "DN needs no blank behind dn:",
           (entry(f"dn:{BERT}", "objectclass: secUser", "secAuthority: Default", "principalName: bert"), MAP)),
    beside("incomplete-dn", "DN line of 4,094 characters is converted",
           (entry(f"dn: {LONG_DN}", "objectclass: secUser", "secAuthority: Default", "principalName: bert"),
            entry(f"dn: {BERTS_MAP}", "objectclass: secMap", LONG_DN.replace("secAuthority=Default,", "secDN: "))),
           shows=("dn: principalName=bert,",)),
    shown("owner DN of 19,999 characters stops the run",
          (USER, MAP, map_with_owner_dn_of(19_999)),
          changes("long-line", 12, "cn=x,cn=Users,secAuthority=Default"),
          stops("owner-dn-too-long", 10, "cn=x,cn=Users,secAuthority=Default"), ends=((1, 1),)),
    beside("owner-dn-too-long", "owner DN of 19,998 characters is only nobody's",
           (USER, MAP, map_with_owner_dn_of(19_998)),
           changes("long-line", 12, "cn=x,cn=Users,secAuthority=Default"),
           stops("user-without-own-entry", 10, "cn=x,cn=Users,secAuthority=Default")),
)


# The entries that are gathered.
class Kind(NamedTuple):
    name: str
    before: tuple   # entries, without which it is no part of anything
    line: int       # in which it begins
    make: object    # a function of more lines
    lines: int      # of its own
    added: int      # by the conversion
    dn: str
    row: int = ROW  # lines that fill its row
    behind: tuple = ()
    is_optional: bool = False   # a record can do without it

    def of(self, count):
        """One that has so many lines in its row, and what goes with it."""
        return (*self.before, self.make(*lines(count - self.lines - self.added)), *self.behind)


def of_bert(make):
    return lambda *more: make("bert", *more)


def of_crew(make):
    return lambda *more: make("crew", *more)


KINDS = (
    Kind("user's own entry", (), 1, of_bert(user), 4, 1, BERT, behind=(MAP,)),
    Kind("map of a user", (USER,), 6, of_bert(map_of), 3, 0, BERTS_MAP),
    Kind("entry under cn=Users", (USER, MAP), 10, of_bert(users_entry), 5, 1, BERTS_USERS, is_optional=True),
    Kind("policy", (USER, MAP), 10, of_bert(policy), 3, 0, BERTS_POLICY, POLICY_ROW, is_optional=True),
    Kind("policy data", (USER, MAP), 10, of_bert(policy_data), 3, 0, BERTS_DATA, is_optional=True),
    Kind("group's own entry", (), 1, of_crew(group), 3, 0, CREW, behind=(GROUP_MAP,)),
    Kind("map of a group", (GROUP,), 5, of_crew(map_of_group), 3, 0, CREWS_MAP),
)


def too_many_lines(kind):
    """Alone in the memory an entry may fill its row; beside others it takes what stands behind it."""
    others = stops("too-many-lines", kind.line, kind.dn, "others")
    yield beside("too-many-lines", f"{kind.name} of {kind.row - 1} lines is converted with any slot counts",
                 kind.of(kind.row - 1), converts=((1, 1), (2, 1), (2, 2)))
    yield shown(f"{kind.name} of {kind.row} lines is converted with slots for one, and may stop other runs",
                kind.of(kind.row), others, slots=(1, 1), ends=() if kind.is_optional else ((2, 2),))
    yield shown(f"{kind.name} of {kind.row + 1} lines stops a run with slots for one",
                kind.of(kind.row + 1), stops("too-many-lines", kind.line, kind.dn), slots=(1, 1))
    yield beside_alone("entry-in-another-row", f"{kind.name} of {kind.row + 1} lines beside a free slot takes nothing",
                       kind.of(kind.row + 1), others, slots=(2, 2), ends=((1, 1),))


def without_room(kind):
    """An entry that fills its row swallows the next one, for which room is then kept until the end. With slots for two
    there is room for one from then on: the fourth entry stays behind when its user is written."""
    make = {"entry under cn=Users": users_entry, "policy": policy, "policy data": policy_data}[kind.name]
    others = (piece for name in ("carl", "dora", "emil") for piece in (user(name), map_of(name), make(name)))
    return shown(f"{kind.name} of {kind.row} lines leaves too little room for later ones",
                 (*kind.of(kind.row), *others), stops("too-many-lines", kind.line, kind.dn, "others"),
                 slots=(1, 1), ends=((2, 1),))


OTHER_MAP_DN = "cn=again,cn=Users,secAuthority=Default"
OTHER_MAP = entry(f"dn: {OTHER_MAP_DN}", "objectclass: secMap", "secDN: cn=bert,o=example")
SECOND_MAP_OF_ANNA, SECOND_MAP_OF_BERT = map_dn("second-anna"), map_dn("second-bert")


def second_map(name, *more):
    return entry(f"dn: {map_dn('second-' + name)}", "objectclass: secMap", f"secDN: cn={name},o=example", *more)


def doubled(kind):
    second = kind.make()
    first_lines = b"".join((*kind.before, kind.make(), *kind.behind)).count(b"\n")
    return shown(f"{kind.name} that is there twice stops the run", (*kind.before, kind.make(), *kind.behind, second),
                 stops("doubled-entry", first_lines + 1, kind.dn), ends=((1, 1),))


def runs_on(line, dn):
    """What is found about an entry that takes the row of another user."""
    return changes("entry-in-another-row", line, dn), stops("too-many-lines", line, dn, "others")


def annas_policy_taken(lines_before):
    """All of Anna's policy in the registry but its bookkeeping, which is its last line."""
    dn = f"cn=Policy,{own_dn('anna')}"
    first = lines_before + REGISTRY[:REGISTRY.index(f"dn: {dn}".encode())].count(b"\n") + 1
    return (loses("line-taken", line, dn) for line in range(first, first + 4))


ROWS = (
    *(case for kind in KINDS for case in too_many_lines(kind)),
    # The next user, or the next group, loses an entry to it that no record can do without.
    *(shown(f"{kind.name} of {ROW} lines stops a run with slots for two", kind.of(ROW),
            stops("too-many-lines", kind.line, kind.dn), changes("entry-in-another-row", kind.line, kind.dn),
            slots=(2, 2)) for kind in KINDS if not kind.is_optional),
    shown("policy of 500 lines swallows that of the next user", KINDS[3].of(POLICY_ROW),
          *runs_on(10, BERTS_POLICY), *annas_policy_taken(9 + POLICY_ROW + 1),
          slots=(2, 1), shows=("\ndn: cn=Policy,secAuthority=Default,cn=anna,o=example\n",),
          lacks=("dn: cn=Policy,cn=Policies,principalName=anna,",)),
    shown("entry under cn=Users of 50 lines swallows that of the next user", KINDS[2].of(ROW),
          *runs_on(10, BERTS_USERS),
          slots=(2, 1), shows=("\ndn: principalName=bert,cn=Users,secAuthority=default\nobjectclass: secUser\n",
                               "\nsecDN: cn=anna,o=example\n")),
    shown("entry under cn=Users of 51 lines writes over that of the next user",
          (USER, MAP, users_entry("carl"), user("carl"), map_of("carl"), users_entry("bert", *lines(ROW + 1 - 6))),
          *runs_on(25, BERTS_USERS),
          slots=(2, 1), ends=((1, 1),)),
    shown("entry that runs on into the rows of several users is found once",
          (USER, MAP, *(piece for name in ("carl", "dora") for piece in (users_entry(name), user(name), map_of(name))),
           users_entry("bert", *lines(2 * ROW + 1 - 6))),
          *runs_on(40, BERTS_USERS),
          slots=(3, 1), ends=((1, 1),)),
    *(without_room(kind) for kind in KINDS if kind.is_optional),
    # None of them would be missing for a run once Bert's entry has been mended.
    *(beside("user-without-own-entry", f"entries behind one of too many lines are there, with slots for {slots}",
             (user("bert", *lines(ROW + 10)), user("carl"), user("dora"), user("emil"),
              *(map_of(name) for name in ("emil", "dora", "carl", "bert"))),
             stops("too-many-lines", 1, BERT), slots=(slots, 1)) for slots in (1, 2, 3, 4)),
    beside("user-without-own-entry", "entry that one of too many lines has run over is there",
           (MAP, user("carl"), user("bert", *lines(2 * ROW + 10)), user("dora"), map_of("carl"), map_of("dora")),
           stops("too-many-lines", 10, BERT), slots=(3, 1)),
    beside("user-without-name", "name behind the lines that fill a row is there",
           (entry(*WITHOUT_NAME, *lines(ROW), "principalName: bert"), MAP), stops("too-many-lines", 1, BERT),
           slots=(1, 1)),
    shown("user of too many lines who has no map has two problems",
          (user("bert", *lines(ROW + 10)), user("carl"), map_of("carl")), stops("too-many-lines", 1, BERT),
          stops("user-without-map", 1, BERT), slots=(2, 1)),
    # Carl still counts as gathered when he is gone, which would leave room for two of the three behind him.
    beside("user-without-own-entry", "entries in the passes behind one of too many lines are there",
           (MAP, user("carl"), user("bert", *lines(ROW + 10)), map_of("carl"),
            *(user(name) for name in ("dora", "emil", "fritz", "gerd")),
            *(map_of(name) for name in ("dora", "emil", "fritz", "gerd"))), stops("too-many-lines", 10, BERT),
           changes("entry-in-another-row", 10, BERT), slots=(3, 1)),
    shown("entry of too many lines is not to blame for what is missing in a later pass",
          (MAP, user("carl"), user("bert", *lines(ROW + 10)), map_of("carl"), user("dora"), map_of("dora"),
           map_of("emil"), policy("emil", *lines(POLICY_ROW))), stops("too-many-lines", 10, BERT),
          changes("entry-in-another-row", 10, BERT), stops("user-without-own-entry", 88, map_dn("emil")),
          stops("too-many-lines", 92, f"cn=Policy,{own_dn('emil')}"), slots=(2, 1)),
    beside("entry-in-another-row", "policy data of 50 lines swallows what is not written anyway", KINDS[4].of(ROW),
           stops("too-many-lines", 10, BERTS_DATA, "others"), slots=(2, 1)),
    beside("entry-in-another-row", "policy of 499 lines leaves that of the next user alone",
           KINDS[3].of(POLICY_ROW - 1), slots=(2, 1), shows=("dn: cn=Policy,cn=Policies,principalName=anna,",)),
    beside("entry-in-another-row", "policy of 500 lines in the last slot takes nothing",
           (policy("carl"), user("carl"), map_of("carl"), *KINDS[3].of(POLICY_ROW)),
           stops("too-many-lines", 23, BERTS_POLICY, "others"), slots=(2, 1)),
    *(doubled(kind) for kind in KINDS),
    shown("two whole users of one DN are converted with slots for one, and stop other runs",
          (USER, MAP, USER, MAP), stops("doubled-entry", 10, BERT, "others"),
          stops("doubled-entry", 15, BERTS_MAP, "others"), changes("new-dn-twice", 10, BERT),
          slots=(1, 1), ends=((2, 1), PLENTY)),
    shown_alone("second map that a pass leaves behind is without its user in the next one",
                (USER, MAP, REGISTRY, b"\n", OTHER_MAP),
                stops("user-without-own-entry", 9 + REGISTRY_LINES + 2, OTHER_MAP_DN),
                stops("doubled-entry", 9 + REGISTRY_LINES + 2, OTHER_MAP_DN, "others"), slots=(2, 1), ends=(PLENTY,)),
    # Without its blank the first DN reads as one under cn=Users, so that both entries go into that row.
    shown_alone("of two entries of one row the second one is doubled, whatever they look like",
                (entry("dn: secAuthority=Default,cn=users, secauthority=Y", "objectclass: secUser", "secuuid: 1"),
                 entry("dn: secUUID=2,cn=Users,secAuthority=Default", "objectclass: secUser", "secAuthority: Default",
                       "secDN: cn=users,secauthority=Y")),
                stops("user-without-authority", 1, "secAuthority=Default,cn=users, secauthority=Y"),
                stops("user-without-name", 5, "secUUID=2,cn=Users,secAuthority=Default"),
                stops("doubled-entry", 5, "secUUID=2,cn=Users,secAuthority=Default", "others"), slots=(1, 1)),
    shown_alone("what passes leave of two users is met in the order of their first entries left",
                (user("anna"), map_of("anna"), user("bert"), map_of("bert"), user("anna"), user("bert"),
                 second_map("bert", "no colon"), second_map("anna", "no colon")),
                stops("line-without-colon", 34, SECOND_MAP_OF_ANNA), stops("line-without-colon", 29, SECOND_MAP_OF_BERT),
                stops("doubled-entry", 19, own_dn("anna"), "others"), stops("doubled-entry", 24, BERT, "others"),
                stops("doubled-entry", 34, SECOND_MAP_OF_ANNA, "others"),
                stops("doubled-entry", 29, SECOND_MAP_OF_BERT, "others"), slots=(1, 1), ends=(PLENTY,)),
    # Carl's data fill the row of Dora's, too: one more counts as gathered than are, so that Fritz's have to wait for
    # the fourth pass, which has no user to them.
    shown_alone("policy data of too many lines keep others from being gathered with their user",
                (user("anna"), map_of("anna"), user("bert"), map_of("bert"), user("carl"), user("dora"), map_of("carl"),
                 map_of("dora"), policy_data("dora"), policy_data("carl", *lines(ROW + 10)), user("emil"),
                 map_of("emil"), policy_data("emil"), user("fritz"), map_of("fritz"), policy_data("fritz")),
                stops("too-many-lines", 41, f"cn=Data,{own_dn('carl')}"), slots=(2, 1)),
    beside("doubled-entry", "one entry of each kind is no doubled one",
           (USER, MAP, users_entry("bert"), policy("bert"), policy_data("bert"), GROUP, GROUP_MAP)),
)

LONG_USER = (f"dn: {BERT}", "objectclass: secUser", "secAuthority: Default",
             folded(line_of(8000, "principalName: ")))   # in two lines

BROKEN = (
    shown("entry that begins behind a line of blanks with the rest of a folded line stops the run",
          (b"dn: ou=Other,o=example\nobjectclass: organizationalUnit\nou: Other\n   \n goes on\n\n",),
          stops("entry-begins-with-continuation", 5, None), ends=((1, 1),)),
    shown("entry that begins with the continuation of a comment stops the run",
          (b"# a comment that\n goes on\ndn: ou=Other,o=example\nobjectclass: organizationalUnit\n\n",),
          stops("entry-begins-with-continuation", 2, None)),
    beside("entry-begins-with-continuation", "comment of two lines in front of an entry is left out",
           (b"# a comment that\n# goes on\n", unit("ou: Other"))),
    shown("line without a colon in a user's own entry stops the run",
          (user("bert", "bookmark"), MAP), stops("line-without-colon", 1, BERT), ends=((1, 1),)),
    shown("line without a colon in a map stops the run",
          (USER, map_of("bert", "bookmark")), stops("line-without-colon", 6, BERTS_MAP), ends=((1, 1),)),
    shown("line without a colon under cn=Users stops the run",
          (USER, MAP, users_entry("bert", "bookmark")), stops("line-without-colon", 10, BERTS_USERS)),
    shown("line without a colon in a group stops the run",
          (group("crew", "bookmark"), GROUP_MAP), stops("line-without-colon", 1, CREW)),
    beside("line-without-colon", "line without a colon in what is not merged passes",
           (USER, MAP, policy("bert", "bookmark"), policy_data("bert", "bookmark"), unit("bookmark"),
            credentials("bookmark")), shows=("\nbookmark\n",)),
    shown("what a broken line leaves of a policy is of an unknown class",
          (USER, MAP, entry(f"dn: {BERTS_POLICY}", "objectclass: secPolicy", line_of(4100), "cn: Policy")),
          changes("long-line", 12, BERTS_POLICY), stops("unknown-class", 10, BERTS_POLICY), ends=((1, 1),)),
    beside("unknown-class", "entry that is copied can be broken apart without harm to the run",
           (unit(line_of(4100), "ou: Other"),), changes("long-line", 3, UNIT)),
    shown("user that grows beyond 250,000 lines stops the run",
          (entry(*LONG_USER, *lines(HELD - 1 - 5)), ), changes("long-line", 4, BERT),
          stops("entry-too-long", 1, BERT), slots=(1, 1)),
    beside("entry-too-long", "user that grows to 250,000 lines has too many for its row, and too long a name",
           (entry(*LONG_USER, *lines(HELD - 2 - 5)), ), changes("long-line", 4, BERT),
           stops("too-many-lines", 1, BERT), stops("name-too-long", 1, BERT), slots=(1, 1)),
)

CARLS_USERS, CARLS_POLICY = users_dn("carl"), f"cn=Policy,{own_dn('carl')}"


def of_carl(*more):
    """Carl without his entry under cn=Users: eight lines and more, with the empty ones."""
    return user("carl", *more), map_of("carl")


def swallowing(*more):
    """Bert, with an entry under cn=Users that fills its row, in the lines 1 to 59."""
    return USER, MAP, users_entry("bert", *more, *lines(ROW - 6 - len(more)))


# Of two entries in one row the later user's is lost to its record, whether it is in the other one's or written over.
TAKEN = (
    shown("line of an entry that another one swallows is taken from its record",
          (*swallowing(), *of_carl(), users_entry("carl", "sn: Carl", "description: see acl: all")),
          *runs_on(10, BERTS_USERS), loses("line-taken", 74, CARLS_USERS),
          loses("looks-like-bookkeeping", 75, CARLS_USERS), slots=(2, 1), shows=("\nsn: Carl\n",)),
    shown("line of an entry that another one is written over is taken from its record",
          (USER, MAP, users_entry("carl", "sn: Carl", "description: see acl: all"), *of_carl(),
           users_entry("bert", *lines(ROW + 10 - 6))),
          *runs_on(27, BERTS_USERS), loses("line-taken", 15, CARLS_USERS),
          loses("looks-like-bookkeeping", 16, CARLS_USERS), slots=(2, 1), lacks=("\nsn: Carl\n",), ends=((1, 1),)),
    shown("lines of a policy that another one swallows are taken with its DN",
          (USER, MAP, policy("bert", *lines(POLICY_ROW - 3)), *of_carl(), policy("carl", "acl: x", "secPwdMinLength: 8")),
          *runs_on(10, BERTS_POLICY), *(loses("line-taken", line, CARLS_POLICY) for line in (520, 521, 522, 524)),
          slots=(2, 1), lacks=("dn: cn=Policy,cn=Policies,principalName=carl,",)),
    shown("policy data that other policy data swallow are no loss",
          (*swallowing(), policy_data("bert", *lines(ROW - 3)), *of_carl(), users_entry("carl", "sn: Carl"),
           policy_data("carl", "secLastLogin: 5")), *runs_on(10, BERTS_USERS),
          stops("too-many-lines", 60, BERTS_DATA, "others"), loses("line-taken", 125, CARLS_USERS), slots=(2, 1)),
    # Carl's entry takes Dora's row, and Bert's both.
    shown("lines of entries that several write over are taken once",
          (USER, MAP, *of_carl("mail: x"), user("dora"), map_of("dora"), users_entry("dora", "sn: Dora"),
           users_entry("carl", "sn: Carl", *lines(ROW + 10 - 7)), users_entry("bert", *lines(2 * ROW + 20 - 6))),
          *runs_on(36, CARLS_USERS), *runs_on(96, BERTS_USERS), loses("line-taken", 34, users_dn("dora")),
          loses("line-taken", 41, CARLS_USERS), slots=(3, 1), lacks=("sn: Dora", "sn: Carl")),
    # Alone it is replaced by the user's own value.
    shown("value that another entry swallows is taken, not replaced",
          (*swallowing(), *of_carl("description: own"), users_entry("carl", "description: other")),
          *runs_on(10, BERTS_USERS), loses("line-taken", 75, CARLS_USERS), slots=(2, 1)),
    beside("line-taken", "line that another entry of the user has, too, is there when one of the two is swallowed",
           (*swallowing(), *of_carl("sn: Carl"), users_entry("carl", "sn: Carl")), *runs_on(10, BERTS_USERS),
           slots=(2, 1)),
    beside("line-taken", "line beside an entry that has room in its row is not taken",
           (USER, MAP, users_entry("bert", *lines(ROW - 1 - 6)), *of_carl(), users_entry("carl", "sn: Carl")),
           slots=(2, 1)),
    beside("entry-in-another-row", "entry that runs on into the row of a user who has none of its kind takes nothing",
           (USER, MAP, users_entry("bert", *lines(ROW + 1 - 6)), *of_carl()),
           stops("too-many-lines", 10, BERTS_USERS, "others"), slots=(2, 1), ends=((1, 1),)),
    shown("line of an entry that swallows another one is lost as without it",
          (*swallowing("description: see acl: all"), *of_carl(), users_entry("carl")), *runs_on(10, BERTS_USERS),
          loses("looks-like-bookkeeping", 15, BERTS_USERS), slots=(2, 1)),
    shown("line of a policy that swallows another one is lost as without it",
          (USER, MAP, policy("bert", "description: see acl: all", *lines(POLICY_ROW - 4))), *runs_on(10, BERTS_POLICY),
          loses("looks-like-bookkeeping", 13, BERTS_POLICY), *annas_policy_taken(9 + POLICY_ROW + 1), slots=(2, 1)),
    shown("line without a colon stops other runs than that in which it is written over",
          (USER, MAP, users_entry("carl", "no colon"), *of_carl(), users_entry("bert", *lines(ROW + 10 - 6))),
          *runs_on(26, BERTS_USERS), loses("line-taken", 15, CARLS_USERS),
          stops("line-without-colon", 10, CARLS_USERS, "others"), slots=(2, 1), ends=((1, 1),)),
    shown_alone("line of an entry of a user who has others of too many lines is taken",
                (*swallowing(), *of_carl(), users_entry("carl", "sn: Carl"), policy_data("carl", *lines(ROW))),
                *runs_on(10, BERTS_USERS), loses("line-taken", 74, CARLS_USERS),
                stops("too-many-lines", 76, f"cn=Data,{own_dn('carl')}", "others"), slots=(3, 1)),
)

STOPPING = (*ATTRIBUTES, *PARTNERS, *LENGTHS, *ROWS, *TAKEN, *BROKEN)

# Told by the check for the sake of completeness; no input can show them.
NEVER = {
    "policy-without-authority": "the DN of a policy holds that of its user; where there is no secAuthority in that, no"
                                " map can name it, and the user is without a map before",
    "nothing-gathered": "of the entries of a kind that a pass gathers at least one is given back, so the next pass has"
                        " room for one more",
}
