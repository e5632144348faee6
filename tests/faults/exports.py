"""Exports, piece by piece: a function named for a class gives one entry of it."""


def entry(*lines):
    return "".join(f"{line}\n" for line in lines) + "\n"


def authority():
    return entry("dn: secAuthority=Default", "objectclass: secAuthorityInfo", "secAuthority: Default", "version: 5.1")


def container():
    return entry("dn: cn=Users,secAuthority=Default", "objectclass: container", "cn: Users",
                 "xoq-entryuuid: 1")


def folded():
    return entry("dn: ou=People,o=example", "objectclass: organizationalUnit", "ou: People", "description: a line that",
                 "  goes on", "  and on")


def common_policy():
    return entry("dn: cn=Default,cn=Policies,secAuthority=Default", "objectclass: secPolicy", "cn: Default")


def user(name, *more, authority="Default"):
    return entry(f"dn: secAuthority={authority},cn={name},o=example", "objectclass: secUser",
                 f"secAuthority: {authority}", f"principalName: {name}", "secuuid: 1", *more)


def users_entry(name, *more, authority="Default"):
    return entry(f"dn: principalName={name},cn=Users,secAuthority={authority}", "objectclass: secUser",
                 f"secAuthority: {authority}", f"principalName: {name}", f"secDN: cn={name}, o=example", *more)


def policy(name, *more, authority="Default"):
    return entry(f"dn: cn=Policy,secAuthority={authority},cn={name},o=example", "objectclass: secPolicy", "cn: Policy",
                 *more)


def policy_data(name, *more, authority="Default"):
    return entry(f"dn: cn=Data,secAuthority={authority},cn={name},o=example", "objectclass: secPolicyData", "cn: Data",
                 *more)


def map_of_user(name, *more, authority="Default"):
    return entry(f"dn: cn=m-{name},cn=Users,secAuthority={authority}", "objectclass: secMap",
                 f"secDN: cn={name}, o=example", *more)


def group(name, *more):
    return entry(f"dn: secAuthority=Default,cn={name},o=example", "objectclass: secGroup", f"cn: {name}", *more)


def map_of_group(name, *more):
    return entry(f"dn: cn=m-{name},cn=Groups,secAuthority=Default", "objectclass: secMap",
                 f"secDN: cn={name}, o=example", *more)


def credentials_container(*more):
    return entry("dn: cn=ResCreds,secAuthority=Default", "objectclass: container", "cn: ResCreds", *more)


def credentials(name, *more):
    return entry(f"dn: cn={name},cn=ResCreds,secAuthority=Default", "objectclass: secResCreds", f"cn: {name}", *more)


def unit(*more):
    return entry("dn: ou=Other,o=example", "objectclass: organizationalUnit", *more)


def padding(length):
    """Lines of 100 bytes, and one of up to 199, of this length in total; 20 at least."""
    full = (length - 20) // 100
    return ["description: " + "x" * 86] * full + ["description: " + "y" * (length - 100 * full - 14)]


def users(count, *more):
    """Whole users, with maps."""
    return "".join(user(f"u{i}", *more) + map_of_user(f"u{i}") for i in range(count))


def everything():
    """Every class, two users, one of them with all a user can have, and a group; maps before their owners."""
    return (authority() + container() + folded() + common_policy() + map_of_user("anna") + user("anna") + group("staff")
            + credentials_container() + policy_data("anna") + users_entry("anna", "mail: anna@example")
            + user("bert") + policy("anna") + map_of_group("staff") + credentials("web") + map_of_user("bert"))


EVERYTHING_DNS = [
    "secAuthority=Default", "cn=Users,secAuthority=Default", "ou=People,o=example",
    "cn=Default,cn=Policies,secAuthority=Default", "principalName=anna,cn=Users,secAuthority=default",
    "cn=Policies,principalName=anna,cn=Users,secAuthority=default",
    "cn=Policy,cn=Policies,principalName=anna,cn=Users,secAuthority=default",
    "principalName=bert,cn=Users,secAuthority=default", "cn=staff,cn=Groups,secAuthority=default",
    "cn=ResCreds,secAuthority=Default", "cn=web,cn=ResCreds,secAuthority=Default"]
