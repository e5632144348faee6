"""LDIF text read a second time, slow and plain: its lines, its entries and their places.

A line of blanks ends an entry, a line that begins with "#" is left out, one that begins with a blank continues the line
before it. A NUL ends its line. The tool reads a line in pieces of 4095 characters at most, each a line of its own.
"""

import bisect
import functools
from typing import NamedTuple

LINE_ROOM = 4095    # characters that one read delivers, the line end included
WHITE = b" \t\n\v\f\r"


class Line(NamedTuple):
    number: int     # in the file, of its first piece
    text: bytes     # unfolded, without its line end
    is_cut: bool    # at a NUL or a carriage return with more text behind it


class Entry(NamedTuple):
    start: int      # the place of its first line
    end: int        # behind the blank line that ends it, or behind its last line at the end of the file
    number: int     # of its first line
    lines: list     # Line
    stored: list    # its lines as read, folded; without line ends
    is_long: bool   # a line of it does not fit in one read of the tool, folded or not


class Piece(NamedTuple):
    start: int
    end: int
    number: int
    text: bytes     # up to a NUL
    is_cut: bool


def pieces(text, room):
    start, number = 0, 1
    while start < len(text):
        newline = text.find(b"\n", start, start + room)
        end = newline + 1 if newline >= 0 else min(start + room, len(text))
        content = text[start:end].rstrip(b" \r\n\0")
        yield Piece(start, end, number, text[start:end].split(b"\0", 1)[0], b"\0" in content or b"\r" in content)
        number += newline >= 0
        start = end


def isBlank(line):
    return not line.strip(b" \r\n")


def withoutLineEnd(line):
    return line.split(b"\n", 1)[0].split(b"\r", 1)[0]


@functools.lru_cache(maxsize=8)
def entries(text, room=LINE_ROOM):
    """The entries as the tool reads them, or with whole lines for the length of the text as `room`.

    They are shared between the callers.
    """
    found = []
    inside = False
    for piece in pieces(text, room):
        if isBlank(piece.text):
            if inside:
                found[-1] = found[-1]._replace(end=piece.end)
            inside = False
        elif not piece.text.startswith(b"#"):
            line = Line(piece.number, withoutLineEnd(piece.text), piece.is_cut)
            if not inside:
                found.append(Entry(piece.start, piece.end, piece.number, [line], [], False))
                inside = True
            elif piece.text.startswith(b" "):
                last = found[-1].lines[-1]
                found[-1].lines[-1] = last._replace(text=last.text + withoutLineEnd(piece.text[1:]),
                                                    is_cut=last.is_cut or piece.is_cut)
            else:
                found[-1].lines.append(line)
            found[-1].stored.append(withoutLineEnd(piece.text))
            found[-1] = found[-1]._replace(end=piece.end, is_long=found[-1].is_long or piece.end - piece.start
                                           >= LINE_ROOM or len(found[-1].lines[-1].text) >= LINE_ROOM)
    return found


def wholeEntries(text):
    return entries(text, max(len(text), 1))


def lineCount(text):
    return sum(len(entry.lines) for entry in wholeEntries(text))


def nameOf(line):
    """What stands before the first colon, or None."""
    name, colon, _ = line.partition(b":")
    return name if colon else None


def valueOf(line):
    return line.partition(b":")[2].lstrip(b" ")


def dnOf(entry):
    """The DN as the programs show it, or None where the first line is no dn: line or is base 64."""
    first = entry.lines[0].text
    if first[:3].lower() != b"dn:" or first[3:4] == b":":
        return None
    return first[3:].lstrip(b" ").rstrip(WHITE)


@functools.lru_cache(maxsize=8)
def dnsByLine(text):
    """For the number of each line, folded ones counted once, the DN of its entry.

    A line that a NUL begins ends the entry before it; one that it leaves blank in front of an entry counts with that.
    """
    found = entries(text)
    dns = {line.number: dnOf(entry) for entry in found for line in entry.lines}
    ends = {entry.end: dnOf(entry) for entry in found}
    for piece in pieces(text, LINE_ROOM):
        if piece.end in ends:
            if text[piece.start] == 0:
                dns[piece.number] = ends[piece.end]
        elif b"\0" in text[piece.start:piece.end] and isBlank(piece.text):
            behind = bisect.bisect_left(found, piece.end, key=lambda entry: entry.start)
            if behind < len(found):
                dns[piece.number] = dnOf(found[behind])
    return dns
