"""What hostile files are put together from: small entries, and orders in which they stand."""
import itertools


def entry(*lines):
    return b"\n".join(lines) + b"\n\n"


def dn_of(number):
    return b"cn=u%d,o=e" % number


def own_entry(number, *lines, dn=None):
    return entry(b"dn: secAuthority=Default," + (dn or dn_of(number)), b"objectclass: secUser",
                 b"secAuthority: Default", b"principalName: u%d" % number, *lines)


def map_entry(number, *lines, dn=None):
    return entry(b"dn: cn=m%d,cn=Users,secAuthority=Default" % number, b"objectclass: secMap",
                 b"secDN: " + (dn or dn_of(number)), *lines)


def entry_below_users(number, *lines):
    return entry(b"dn: principalName=u%d,cn=Users,secAuthority=Default" % number, b"objectclass: secUser",
                 b"secAuthority: Default", b"principalName: u%d" % number, b"secDN: " + dn_of(number), *lines)


def policy(number, *lines):
    return entry(b"dn: cn=Policy,secAuthority=Default," + dn_of(number), b"objectclass: secPolicy", *lines)


def policy_data(number, *lines):
    return entry(b"dn: cn=Data,secAuthority=Default," + dn_of(number), b"objectclass: secPolicyData", *lines)


def group(number):
    return entry(b"dn: secAuthority=Default,cn=g%d" % number, b"objectclass: secGroup", b"cn: g%d" % number)


def map_of_group(number):
    return entry(b"dn: cn=m%d,cn=Groups,secAuthority=Default" % number, b"objectclass: secMap",
                 b"secDN: cn=g%d" % number)


def credential(number, *lines):
    return entry(b"dn: cn=r%d" % number, b"objectclass: secResCreds", *lines)


def other_entry(number, *lines):
    return entry(b"dn: cn=x%d" % number, *lines)


def with_lines(maker, *lines):
    return lambda number: maker(number, *lines)


def with_dn(maker, dn):
    return lambda number: maker(number, dn=dn(number))


def count(size, makers):
    return max(size // sum(len(maker(0)) for maker in makers), 1)


def each(*makers):
    """All entries of one owner together."""
    return lambda size: (maker(number) for number in range(count(size, makers)) for maker in makers)


def apart(*makers):
    """All entries of one kind together, every other kind from its end."""
    def pieces(size):
        owners = range(count(size, makers))
        for kind, maker in enumerate(makers):
            yield from map(maker, reversed(owners) if kind % 2 else owners)
    return pieces


def each_and_rarely(every, rare, *makers):
    """All entries of one owner together; every so many owners have a large one besides."""
    def pieces(size):
        share = rare(0), *(maker(0) for maker in makers for _ in range(every))
        for number in range(max(size // sum(map(len, share)), 1) * every):
            yield from (maker(number) for maker in makers)
            if number % every == 0:
                yield rare(number)
    return pieces


def pair(user_lines, lines_of_map):
    """One user with a long entry and a long map."""
    return lambda size: (own_entry(0, *user_lines(size)), map_entry(0, *lines_of_map(size)))


def repeated(text):
    block = text * max(10_000 // len(text), 1)
    return lambda size: itertools.repeat(block, size // len(block))


def numbered(name, lines, value=b"v"):
    return [b"%s%d: %s" % (name, number, value) for number in range(lines)]


def filled(name, lines):
    """Lines that fill half of a file."""
    return lambda size: numbered(name, lines, b"v" * (size // (2 * lines) - 9))


def folded(columns, length):
    return b"jpegPhoto:: A" + (b"\n " + b"A" * (columns - 1)) * (length // columns)
