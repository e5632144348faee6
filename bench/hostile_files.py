"""The hostile files: sizes that nobody has thought of, and rules broken, to make a converter take long.

Every file has about the size that is asked for; numbers of passes are those of a file of 50 MB.
"""
from typing import Callable, Iterable, NamedTuple

from hostile_pieces import (apart, credential, each, each_and_rarely, entry, entry_below_users, filled, folded, group,
                            map_entry, map_of_group, numbered, other_entry, own_entry, pair, policy, policy_data,
                            repeated, with_dn, with_lines)


class Hostile(NamedTuple):
    what: str
    users: int   # slots
    groups: int
    status: int  # with which the tool ends
    pieces: Callable[[int], Iterable[bytes]]  # of a file of about so many bytes


MANY = 1_000_000  # slots for everybody
CONVERTED, REFUSED = 0, 255

FULL = 43     # lines that every entry may have beside those it has anyway
LONG = 4000   # characters of a line that is not too long
PHOTO = folded(76, 4_000_000)
# In the work file it is two lines, the second of which is dropped, and with it the newline.
LONG_AND_DROPPED = b"x: " + b"y" * 2092 + b"\n " + b"y" * 2000 + b"acl: z"


def lines_of_length(length):
    return [b"note%d: %s" % (number, b"x" * (length - len(b"note0: "))) for number in range(10)]


def in_brackets(number):
    """The two characters differ as the two cases of a letter do, but are no letters."""
    return format(number, "020b").translate({ord("0"): "[", ord("1"): "{"}).encode()


def bracket_dn(number):
    return b"cn=%s,o=e" % in_brackets(number)


def long_dn(number):
    return b"cn=%s%06d%s,o=e" % (b"n" * 800, number, b"n" * 200)


def blank_dn(number):
    return b"cn=u%d   ,  ou=people ,   o=e" % number


def trailing_dn(number):
    return blank_dn(number) + b" " * 10


def comma_dn(number):
    return b"cn=u%d%s ,o=e" % (number, b" , ou=x" * 500)


def wide_dn(number):
    return b"cn=u%d%s,%so=e" % (number, b" " * 1990, b" " * 1990)


def of_every_length(size, lengths):
    """Lines for half of a file, whose names of up to 4,000 characters end in one another."""
    return [b"a" * length + b": v" for length in lengths for _ in range(max(size // 16_000_000, 1))]


def in_brackets_filled(name):
    return lambda size: [b"%s%s: %s" % (name, in_brackets(number), b"v" * (size // 248_000 - 25))
                         for number in range(124_000)]


def alike(beginning, middle, end):
    """Lines for half of a file with names of 2,000 characters that differ in a few."""
    return lambda size: [b"%s%s%06d%s: v" % (beginning, middle[:1000], number, middle[1000:] + end)
                         for number in range(size // 4020)]


def lines_full_of(text):
    return lambda size: [b"y%s: v" % (text * (LONG // len(text))) for _ in range(size // LONG)]


colons = lines_full_of(b"0:1:2:3:4:5:6:7:8:9:")


def failing_at_the_end(size):
    yield from each(with_lines(other_entry, *[b"note: " + b"x" * LONG] * 100))(size - 750_000)
    yield entry(folded(2, 480_000).replace(b"jpegPhoto:: ", b"dn: cn="), b"objectclass: secUser")


def user_in_the_rows_of_others(size):
    yield own_entry(MANY, *numbered(b"x", 200_000, b"v" * (size // 400_000)))
    yield map_entry(MANY)
    yield from each(own_entry, map_entry)(size // 2)


def map_missing_at_the_end(size):
    yield from each(own_entry, map_entry)(size)
    yield own_entry(MANY)


FILES = (
    # Long values, long entries.
    Hostile("users with photos of 4 MB", MANY, 1, REFUSED, each(with_lines(own_entry, PHOTO), map_entry)),
    Hostile("photos of 4 MB in other entries", 1, 1, CONVERTED, each(with_lines(other_entry, PHOTO))),
    Hostile("one entry, a photo of 50 MB", 1, 1, CONVERTED, lambda size: [other_entry(0, folded(76, size))]),
    Hostile("entries of 250,011 short lines", 1, 1, CONVERTED, each(with_lines(other_entry, *[b"a: b"] * 250_010))),
    Hostile("entries of 249,999 short lines", 1, 1, CONVERTED, each(with_lines(other_entry, *[b"a: b"] * 249_998))),
    Hostile("values folded at two columns", 1, 1, CONVERTED, each(with_lines(other_entry, folded(2, 480_000)))),
    Hostile("the last entry fails and has a DN of 240,000 lines", 1, 1, REFUSED, failing_at_the_end),
    Hostile("policies of 499 lines", MANY, 1, CONVERTED,
            each(own_entry, map_entry, with_lines(policy, *numbered(b"p", 497)))),
    Hostile("policy data of 2,400 lines for every 50th user", MANY, 1, CONVERTED,
            each_and_rarely(50, with_lines(policy_data, *numbered(b"d", 2398)), own_entry, map_entry)),

    # Odd lines.
    Hostile("lines of one character, one entry", 1, 1, CONVERTED, repeated(b"a\n")),
    Hostile("lines of a name alone, entries of 100,000", 1, 1, CONVERTED, repeated(b"a:\n" * 100_000 + b"\n")),
    Hostile("entries of a name alone", 1, 1, CONVERTED, repeated(b"a:\n\n")),
    Hostile("lines full of colons", 1, 1, CONVERTED, each(with_lines(other_entry, *[b":" * LONG] * 100))),
    Hostile("lines full of colons, in users and maps", MANY, 1, CONVERTED,
            each(with_lines(own_entry, *numbered(b"x", FULL, b":" * LONG)),
                 with_lines(map_entry, *numbered(b"y", FULL, b":" * LONG)))),
    Hostile("lines full of owner names, in users", MANY, 1, CONVERTED,
            each(with_lines(own_entry, *numbered(b"x", FULL, b"secdn: , " * 400)), map_entry)),
    Hostile("lines full of class names", 1, 1, CONVERTED,
            each(with_lines(other_entry, *[b"objectClass: " + b"secUse " * 500] * 100))),
    Hostile("lines of 4,094 characters in users", MANY, 1, CONVERTED,
            each(with_lines(own_entry, *lines_of_length(4094)), map_entry)),
    Hostile("lines of 4,095 characters in users", MANY, 1, REFUSED,
            each(with_lines(own_entry, *lines_of_length(4095)), map_entry)),
    Hostile("lines of 4,095 characters in other entries", 1, 1, CONVERTED,
            each(with_lines(other_entry, *lines_of_length(4095)))),
    Hostile("lines of 8,190 characters in users", MANY, 1, REFUSED,
            each(with_lines(own_entry, *lines_of_length(8190)), map_entry)),
    Hostile("users whose last line is cut, so that all are one run of lines", MANY, 1, CONVERTED,
            each(own_entry, with_lines(map_entry, LONG_AND_DROPPED))),
    Hostile("lines of 8,190 characters in other entries", 1, 1, CONVERTED,
            each(with_lines(other_entry, *lines_of_length(8190)))),
    Hostile("one line of blanks", 1, 1, CONVERTED, repeated(b" ")),
    Hostile("lines of blanks", 1, 1, CONVERTED, repeated(b" " * 78 + b"\r\n")),
    Hostile("empty lines", 1, 1, CONVERTED, repeated(b"\r\n")),
    Hostile("carriage returns", 1, 1, CONVERTED, repeated(b"\r")),
    Hostile("short comments", 1, 1, CONVERTED, repeated(b"#\n")),
    Hostile("long comments", 1, 1, CONVERTED, repeated(b"#" * 10_000 + b"\n")),
    Hostile("one line without its end", 1, 1, CONVERTED, repeated(b"x")),
    Hostile("NUL bytes", 1, 1, CONVERTED, repeated(b"\0")),
    Hostile("lines of a NUL byte", 1, 1, CONVERTED, repeated(b"\0\n")),

    # Owners.
    Hostile("long DNs that differ in a few characters, one pass", MANY, 1, CONVERTED,
            each(with_dn(own_entry, long_dn), with_dn(map_entry, long_dn))),
    Hostile("long DNs that differ in a few characters, 100 passes", 210, 1, CONVERTED,
            apart(with_dn(own_entry, long_dn), with_dn(map_entry, long_dn))),
    Hostile("DNs that differ in the kind of brackets, one pass", MANY, 1, CONVERTED,
            each(with_dn(own_entry, bracket_dn), with_dn(map_entry, bracket_dn))),
    Hostile("DNs that differ in the kind of brackets, 1,000 passes", 230, 1, CONVERTED,
            apart(with_dn(own_entry, bracket_dn), with_dn(map_entry, bracket_dn))),
    Hostile("blanks beside commas, 1,000 passes", 200, 1, CONVERTED,
            apart(with_dn(own_entry, blank_dn), with_dn(map_entry, trailing_dn))),
    Hostile("blanks beside commas and behind users' DNs, maps first, 1,000 passes", 200, 1, CONVERTED,
            apart(with_dn(map_entry, trailing_dn), with_dn(own_entry, trailing_dn))),
    Hostile("blanks beside commas and behind users' DNs, which makes two owners of each", MANY, 1, REFUSED,
            apart(with_dn(own_entry, trailing_dn), with_dn(map_entry, trailing_dn))),
    Hostile("500 commas with blanks in each DN", MANY, 1, CONVERTED,
            each(with_dn(own_entry, comma_dn), with_dn(map_entry, comma_dn))),
    Hostile("4,000 blanks beside one comma in each DN", MANY, 1, CONVERTED,
            each(with_dn(own_entry, wide_dn), with_dn(map_entry, wide_dn))),
    Hostile("a user doubled", MANY, 1, REFUSED, each(own_entry, own_entry, map_entry)),
    Hostile("one entry of a user again and again", 1, 1, REFUSED, repeated(own_entry(0))),
    Hostile("a user whose lines fill the rows of others", MANY, 1, REFUSED, user_in_the_rows_of_others),
    Hostile("a user without a map, the last one", MANY, 1, REFUSED, map_missing_at_the_end),

    # Passes.
    Hostile("entries of each user far apart, 1,000 passes", 120, 1, CONVERTED,
            apart(own_entry, entry_below_users, map_entry, policy)),
    Hostile("users of 1.2 KB, each in a pass", 1, 1, CONVERTED,
            apart(with_lines(own_entry, *numbered(b"x", 10, b"v" * 50)),
                  with_lines(map_entry, *numbered(b"y", 5, b"v" * 50)))),
    Hostile("every user and map doubled, each in a pass", 1, 1, CONVERTED,
            each(*[with_lines(own_entry, *numbered(b"x", FULL, b"v" * LONG))] * 2,
                 *[with_lines(map_entry, *numbered(b"y", FULL, b"v" * LONG))] * 2)),
    Hostile("groups of two lines, 1,000 passes", 1, 300, CONVERTED, apart(group, map_of_group)),
    Hostile("groups of two lines, each in a pass", 1, 1, CONVERTED, each(group, map_of_group)),
    Hostile("resource credentials alone", 1, 1, CONVERTED, each(credential)),
    Hostile("resource credentials between users, 1,000 passes", 130, 1, CONVERTED,
            each(own_entry, credential, credential, credential, map_entry)),
    Hostile("resource credentials between users, each user in a pass", 1, 1, CONVERTED,
            each(own_entry, credential, credential, credential, map_entry)),

    # Merging.
    Hostile("a user and a map of 40,000 lines, no name in both", MANY, 1, CONVERTED,
            pair(filled(b"x", 40_000), filled(b"y", 40_000))),
    Hostile("a user and a map of 124,000 lines, no name in both", MANY, 1, CONVERTED,
            pair(filled(b"x", 124_000), filled(b"y", 124_000))),
    Hostile("a user and a map of 124,000 lines of one name", MANY, 1, CONVERTED,
            pair(lambda size: [b"a: " + b"v" * (size // 248_000 - 4)] * 124_000,
                 lambda size: [b"a: " + b"v" * (size // 248_000 - 4)] * 124_000)),
    Hostile("a user and a map, names of one letter in every length", MANY, 1, CONVERTED,
            pair(lambda size: of_every_length(size, range(LONG, 0, -1)),
                 lambda size: of_every_length(size, range(1, LONG + 1)))),
    Hostile("a user and a map, names that begin alike", MANY, 1, CONVERTED,
            pair(alike(b"", b"a" * 2000, b"xz"), alike(b"", b"a" * 2000, b"yz"))),
    Hostile("a user and a map, names that end alike", MANY, 1, CONVERTED,
            pair(alike(b"x", b"a" * 2000, b""), alike(b"y", b"a" * 2000, b""))),
    Hostile("a user and a map of 124,000 lines, names that differ in the kind of brackets", MANY, 1, CONVERTED,
            pair(in_brackets_filled(b"x"), in_brackets_filled(b"y"))),
    Hostile("a user of 60,000 short lines, a map full of colons", MANY, 1, CONVERTED,
            pair(lambda _: numbered(b"x", 60_000), colons)),
    Hostile("a user with names of every length, a map full of colons", MANY, 1, CONVERTED,
            pair(lambda size: of_every_length(0, range(LONG, 0, -1)), colons)),
    Hostile("a user with names of every length, a map full of colons behind what ends all of them", MANY, 1, CONVERTED,
            pair(lambda size: of_every_length(0, range(LONG, 0, -1)), lines_full_of(b"ba:"))),
    Hostile("users and maps of 40,000 lines", MANY, 1, REFUSED,
            each(with_lines(own_entry, *numbered(b"x", 40_000)), with_lines(map_entry, *numbered(b"y", 40_000)))),
    Hostile("entries below Users of 40,000 lines for every 801st user", MANY, 1, CONVERTED,
            each_and_rarely(801, with_lines(entry_below_users, *numbered(b"z", 40_000)), own_entry, map_entry)),
    Hostile("three entries of up to 49 lines for each user, no name in two", MANY, 1, CONVERTED,
            each(*[with_lines(maker, *numbered(name, FULL))
                   for maker, name in ((own_entry, b"x"), (map_entry, b"y"), (entry_below_users, b"z"))])),

    # What is found about many lines of one entry.
    Hostile("lines that are dropped, entries of 100,000", 1, 1, CONVERTED,
            each(with_lines(other_entry, *[b"xoq-entryuuid: x"] * 100_000))),
    Hostile("lines that are dropped beside others, resource credentials of 200,000", 1, 1, CONVERTED,
            each(with_lines(credential, *[b"acl: x", b"sn: x", b"sn: acl: x"] * 66_000))),
    Hostile("lines that a NUL byte cuts, entries of 100,000", 1, 1, CONVERTED,
            each(with_lines(other_entry, *[b"a: b\0c"] * 100_000))),
    Hostile("a comment that goes on as lines and comments in turn", 1, 1, CONVERTED,
            lambda size: [entry(b"dn: o=e", (b"#" + b"c" * 4094 + b"x: " + b"c" * 4092) * (size // 8190))]),
    Hostile("a user and a map of 124,000 lines of one name and different values", MANY, 1, CONVERTED,
            pair(lambda size: [b"a: %0*d" % (size // 248_000 - 4, number) for number in range(124_000)],
                 lambda size: [b"a: %0*d" % (size // 248_000 - 4, -number) for number in range(1, 124_001)])),
)
