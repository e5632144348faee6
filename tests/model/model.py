"""The conversion written a second time, slow and plain, for comparison with the tool.

`convert` takes the bytes of the input and gives everything a run leaves behind: the two files, the exit status, the
messages with their texts, the standard output and the trace lines whose wording is fixed. Functions carry the tool's
own names. Lines are C strings: a line that holds a NUL ends there. Failures of the machine (full disk, no memory) are
left out.
"""

import re
import time
from typing import NamedTuple

LINE_ROOM = 4095          # characters that one read of a line delivers at most
ENTRY_BUFFER_LINES = 250000
OWNER_DN_ROOM = 20000     # these three with the terminating NUL
SCRATCH_ROOM = 4096
NAME_ROOM = 1024
COLUMNS = 50
POLICY_COLUMNS = 500

(UNINTERESTING, SECUSER, SECPOLICYDATA, SECPOLICY, SECGROUP, SECMAP, AUTHORITY, RESCREDS, SECRESCREDS,
 CONTAINER) = range(10)

STEP_FAILED = 380928302
SLOT_OCCUPIED = 380928303
USAGE = 380928314

WHITE = b" \t\n\v\f\r"
USERS_TEXT = b"cn=users,secauthority="

CLASS_TEXTS = [
    (b" secUser", SECUSER), (b" secuser", SECUSER),
    (b" secPolicyData", SECPOLICYDATA), (b" secpolicydata", SECPOLICYDATA),
    (b" secPolicy", SECPOLICY), (b" secpolicy", SECPOLICY),
    (b" secMap", SECMAP), (b" secmap", SECMAP),
    (b" secGroup", SECGROUP), (b" secgroup", SECGROUP),
    (b" secAuthorityInfo", AUTHORITY), (b" secauthorityinfo", AUTHORITY),
    (b" container", CONTAINER), (b" Container", CONTAINER),
    (b" secResCreds", SECRESCREDS), (b" secrescreds", SECRESCREDS),
]

CLASS_TRACE = [
    b"   The object class is UNINTERESTING_OBJECTCLASS  \n\n",
    b"   The object class is SECUSER_OBJECTCLASS  \n\n",
    b"   The object class is SECPOLICYDATA_OBJECTCLASS  \n\n",
    b"   The object class is SECPOLICY_OBJECTCLASS  \n\n",
    b"   The object class is SECGROUP_OBJECTCLASS  \n\n",
    b"   The object class is SECMAP_OBJECTCLASS  \n\n",
    b"   The object class is SECAUTHORITYINFO_OBJECTCLASS  \n\n",
    b"   The object class is RESCREDS_CONTAINER (not really an object class) \n\n",
    b"   The object class is SECRESCREDS_OBJECTCLASS (not really an object class) \n\n",
    b"   The object class is CONTAINER_OBJECTCLASS \n\n",
]

EXCLUDED_FROM_MERGE = {
    b"objectclass:", b"objectClass:", b"XOQ-ENTRYUUID:", b"xoq-entryuuid:", b"control:", b"Control:",
    b"aclpropagate:", b"aclPropagate:", b"aclentry:", b"aclEntry:", b"acl:", b"ACL:", b"aci:", b"ACI:",
}

NOT_COPIED = (b"XOQ-ENTRYUUID: ", b"xoq-entryuuid: ")
NOT_COPIED_OF_OVERSIZED = (b"XOQ-ENTRYUUID:", b"xoq-entryuuid:")
NOT_WRITTEN = (b"xoq-entryuuid:", b"aclentry:", b"aci:", b"acl:")
NOT_WRITTEN_WITH_CONTROL = NOT_WRITTEN + (b"control:",)

MATRICES = {  # name: (columns, move operation, end of the occupied line)
    "secUser_matrix":
        (COLUMNS, b"moveSecUserObjectFromObjectArrayToSecUserMatrix", b"EXITING.\n"),
    "Users_secUser_matrix":
        (COLUMNS, b"moveUsersSecUserObjectFromObjectArrayToUsersSecUserMatrix", b"EXITING. \n"),
    "secPolicyData_matrix":
        (COLUMNS, b"moveSecPolicyDataObjectFromObjectArrayToSecPolicyDataMatrix", b"EXITING. \n"),
    "secPolicy_matrix":
        (POLICY_COLUMNS, b"moveSecPolicyObjectFromObjectArrayToSecPolicyMatrix", b"EXITING. \n"),
    "secMap_for_secUser_matrix":
        (COLUMNS, b"moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix", b"EXITING. \n"),
    "secGroup_matrix":
        (COLUMNS, b"moveSecGroupObjectFromObjectArrayToSecGroupMatrix", b"EXITING. \n"),
    "secMap_for_secGroup_matrix":
        (COLUMNS, b"moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix", b"EXITING. \n"),
}

# Ends of trace lines that are put behind the name of a table's move operation or a processor, for the check on
# superfluous lines.
DYNAMIC_TEMPLATES = (
    [move + end for _, move, _ in MATRICES.values() for end in (b"():  FUNCTION ENTRY \n", b"():  FUNCTION EXIT \n")]
    + [b"process%sObjectFromTempInputLDIFFile():  FUNCTION " % kind + end
       for kind in (b"SecUser", b"SecPolicyData", b"SecPolicy", b"SecGroup", b"SecMap")
       for end in (b"ENTRY. \n", b"EXIT. \n")]
    + [b"   The object class is "]
)


class Message(NamedTuple):
    stream: str           # "stdout" or "stderr"
    code: int
    arguments: tuple = ()
    text: bytes = None    # what stands behind the severity, where all of it is known


class Complaint(NamedTuple):
    code: int
    fault: bytes          # with a place for each entry, and for a number of lines
    remedy: bytes


USER_WITHOUT_AUTHORITY = Complaint(
    STEP_FAILED, b"The user %s has no secAuthority", b"Add the attribute or remove the user.")
USER_WITHOUT_NAME = Complaint(
    STEP_FAILED, b"The user %s has no principalName", b"Add the attribute or remove the user.")
FOLDED_COMMENT = Complaint(
    STEP_FAILED, b"The entry %s begins with the continuation of another line, such as a folded comment",
    b"Write the comment on one line or remove it.")
ENTRY_TOO_LONG = Complaint(STEP_FAILED, b"The entry %s has more than 250,000 lines", b"Remove lines from it.")
UNKNOWN_CLASS = Complaint(
    STEP_FAILED, b"The entry %s of the work file is of an unknown class",
    b"It may be the rest of an entry with a line of 4,095 characters or more.")
DN_TOO_LONG = Complaint(
    STEP_FAILED, b"The entry %s has too long a DN, old or new", b"Shorten it to 4,094 characters at most.")
NOTHING_GATHERED = Complaint(
    STEP_FAILED, b"The entry %s and all others that remain cannot be gathered", b"Try other slot counts.")
INCOMPLETE_DN = Complaint(
    STEP_FAILED, b"The entry %s does not begin with a complete dn: line", b"Mend its first line.")
DN_WITHOUT_COMMA = Complaint(
    STEP_FAILED, b"The entry %s has a DN without a comma and so belongs to no user", b"Mend its DN or remove it.")
USERS_ENTRY_WITHOUT_AUTHORITY = Complaint(
    STEP_FAILED, b"The entry %s under cn=Users has no secAuthority", b"Add the attribute or remove the entry.")
USERS_ENTRY_WITHOUT_DN = Complaint(
    STEP_FAILED, b"The entry %s under cn=Users has no secDN", b"Add the attribute or remove the entry.")
MAP_WITHOUT_AUTHORITY = Complaint(
    STEP_FAILED, b"The map %s has no secAuthority in its DN", b"Mend its DN or remove it.")
MAP_WITHOUT_DN = Complaint(STEP_FAILED, b"The map %s has no secDN", b"Add the attribute or remove the map.")
OWNER_DN_TOO_LONG = Complaint(
    STEP_FAILED, b"The entry %s names too long an owner DN", b"Shorten it to 19,998 characters at most.")
USER_WITHOUT_MAP = Complaint(
    STEP_FAILED, b"The user %s has no secMap entry", b"Add its secMap entry or remove the user.")
GROUP_WITHOUT_MAP = Complaint(
    STEP_FAILED, b"The group %s has no secMap entry", b"Add its secMap entry or remove the group.")
USER_WITHOUT_OWN_ENTRY = Complaint(
    STEP_FAILED, b"The entry %s belongs to a user without a secUser entry of its own",
    b"Add that entry or remove this one.")
GROUP_WITHOUT_OWN_ENTRY = Complaint(
    STEP_FAILED, b"The map %s belongs to a group without a secGroup entry", b"Add that entry or remove this one.")
GROUP_WITHOUT_NAME = Complaint(STEP_FAILED, b"The group %s has no cn", b"Add the attribute or remove the group.")
NAME_TOO_LONG = Complaint(
    STEP_FAILED, b"The entry %s has too long a name", b"Shorten it to 1,022 characters at most.")
POLICY_WITHOUT_AUTHORITY = Complaint(
    STEP_FAILED, b"The policy %s has no secAuthority in its DN", b"Mend its DN or remove it.")
LINE_WITHOUT_COLON = Complaint(
    STEP_FAILED, b"The entry %s has a line without a colon",
    b"Mend the line; one that continues another begins with a blank.")
DOUBLED = Complaint(
    SLOT_OCCUPIED, b"The entry %s is of the same kind and owner as the entry %s", b"Remove one of them.")
ROW_OVERRUN = Complaint(
    SLOT_OCCUPIED, b"The entry %s has more than the %d lines that can be gathered of it", b"Remove lines from it.")
LEFT_OVER_HINT = b" A work file from an earlier run was converted as well and can be the cause."


class Free:
    """Stands for any number of lines of free wording."""
    def __repr__(self):
        return "FREE"


FREE = Free()


class Loose(NamedTuple):
    """A trace text whose indentation is free."""
    text: bytes


class RegionStart(NamedTuple):
    """Marks the place from which the texts of the next RegionEnd are looked for."""


class RegionEnd(NamedTuple):
    """Texts that stand, in any order, between the last RegionStart and the text `until`."""
    texts: tuple
    until: bytes


class Exit(Exception):
    pass


class Names(NamedTuple):
    input: bytes = b"input.ldif"
    output: bytes = b"output.ldif"
    trace: bytes = b"trace.txt"

    @property
    def work(self):
        return self.input + b".tmp"


class Result(NamedTuple):
    status: int
    output: bytes         # None when the output file was never made
    work: bytes           # None when there is no work file at the end
    messages: list        # Message, in order
    stdout: list          # bytes, Message and FREE, in order
    trace: list           # bytes, Loose, RegionStart, RegionEnd and FREE, in order
    copy: bytes           # TEMPORARY_INPUT_LDIF_FILE, None when it was not made


class Stream:
    """An open file: its bytes and a position."""

    def __init__(self, data):
        self.data = data
        self.position = 0

    def getNextLine(self):
        """The next line as a C string, or None at the end of the file."""
        start = self.position
        if start >= len(self.data):
            return None
        newline = self.data.find(b"\n", start, start + LINE_ROOM)
        end = newline + 1 if newline >= 0 else min(start + LINE_ROOM, len(self.data))
        self.position = end
        return bytes(self.data[start:end]).split(b"\0", 1)[0]

    def overwrite(self, start, text):
        self.data[start:start + len(text)] = text
        self.position = start + len(text)


class Matrix:
    def __init__(self, name, rows):
        self.name = name.encode()
        self.columns, self.move_name, self.occupied_end = MATRICES[name]
        self.cells = [None] * (rows * self.columns)
        self.occupied = 0

    def first(self, slot):
        return self.cells[slot * self.columns]

    def row(self, slot):
        """The lines from the row's start to the first empty cell, which may lie in a later row."""
        lines = []
        cell = slot * self.columns
        while cell < len(self.cells) and self.cells[cell] is not None:
            lines.append(self.cells[cell])
            cell += 1
        return lines

    def entryThatReaches(self, slot):
        """The slot whose entry's tail the row seems to hold, or None."""
        def beginsEntry(place):
            return (self.first(place) or b"")[:3].lower() == b"dn:"

        def followsFullRow(place):
            return place > 0 and self.cells[place * self.columns - 1] is not None

        if beginsEntry(slot) or not followsFullRow(slot):
            return None
        slot -= 1
        while not beginsEntry(slot) and followsFullRow(slot):
            slot -= 1
        return slot

    def release(self, slot):
        cell = slot * self.columns
        if self.cells[cell] is not None:
            self.occupied -= 1
        while cell < len(self.cells) and self.cells[cell] is not None:
            self.cells[cell] = None
            cell += 1


def isBlank(line):
    return not line.strip(b" \r\n")


def blankLine(line):
    return b" " * (max(len(line), 2) - 2) + b"\r\n"


def trim(text):
    return text.rstrip(WHITE)


def cutAtLineEnd(text):
    for place, character in enumerate(text):
        if character in (13, 10):
            return text[:place]
    return text


def commaSpaceEater(text):
    first = bytearray()
    for character in text:
        if character == 32 and first and first[-1] == 44:
            continue
        first.append(character)
    second = bytearray()
    for character in first:
        if character == 44:
            while second and second[-1] == 32:
                second.pop()
        second.append(character)
    return bytes(second)


def findIgnoringCase(text, wanted):
    """Where `wanted` first stands in `text` in any letter case, or -1."""
    return text.lower().find(wanted.lower())


def shown(text):
    """`text` without what could move a terminal: such characters, and bytes that are not UTF-8, become \\xNN."""
    def escaped(match):
        return "".join("\\x%02X" % byte for byte in match[0].encode("utf-8", "surrogateescape"))
    # A byte that is not UTF-8 is decoded as a character from U+DC80 to U+DCFF.
    decoded = text.decode("utf-8", "surrogateescape")
    return re.sub("[\0-\x1f\x7f-\x9f\udc80-\udcff]", escaped, decoded).encode("utf-8")


def shownLines(text):
    return b"\n".join(shown(line) for line in text.split(b"\n"))


# The value may begin with anything but "=": the end of a base-64 text is no component of a DN.
COMPONENT = re.compile(rb" *(?:[A-Za-z][A-Za-z0-9-]*|[0-9][0-9.]*) *= *[^ =]")


def isDN(text):
    components = [bytearray()]
    escaped = False
    for character in text:
        if not escaped and character in b",;":
            components.append(bytearray())
            continue
        escaped = not escaped and character == 92
        components[-1].append(character)
    return all(COMPONENT.match(component) for component in components)


def shownDN(line0):
    """The DN behind the "dn:" of `line0` as a message shows it, or None if it is none."""
    if line0 is None or line0[:3].lower() != b"dn:":
        return None
    dn = trim(line0[3:].lstrip(b" "))
    return shown(dn) if isDN(dn) else None


def normalised(line0):
    return trim(commaSpaceEater(cutAtLineEnd(line0)))


def containsAny(text, wanted):
    return any(one in text for one in wanted)


class Conversion:
    def __init__(self, input_bytes, work, max_users, max_groups, debug_error, tracing, names, now):
        self.input = input_bytes
        self.work = None if work is None else bytearray(work)
        self.max_users = max_users
        self.max_groups = max_groups
        self.debugError = debug_error
        self.tracing = tracing
        self.debug = False
        self.names = names
        self.now = now
        self.output = None
        self.copy = None
        self.messages = []
        self.stdout = []
        self.trace_items = []
        self.object = []
        self.objectClass = UNINTERESTING
        self.changetypeSeen = False
        self.tifp = None
        self.overruns = {}                # by table: the slot whose release ran on last, how far, its first line
        self.firstSteppedOver = None      # a position, None while none was taken in this pass
        self.atLeastOneObjectProcessed = False
        self.left_over = None if work is None else len(work)
        self.preparing = False
        self.entries_read = 0             # of the input
        self.to_work = [0] * 10           # entries of the input by class
        self.to_output = [0] * 10
        self.users_expected = 0
        self.passes = 0
        self.work_size = 0
        self.entry_size = 0               # bytes of the work file that the last entry takes
        self.gathered_size = 0
        self.stepped_over_line0 = None    # of the first entry of this pass that should have been gathered
        self.flush_failure = None
        self.users_written = 0
        self.groups_written = 0
        self.policies_written = 0
        self.credentials_written = 0
        self.policy_data_gathered = 0

    # The three channels.

    def trace(self, template, *values):
        if self.debug:
            self.trace_items.append(template % values if values else template)

    def traceItem(self, item):
        if self.debug:
            self.trace_items.append(item)

    def continued(self, template, *values):
        """A trace line that continues the line before it: 45 blanks in."""
        if self.debug:
            self.trace_items.append(b" " * 45 + template % values)

    def print(self, template, *values):
        self.stdout.append(shownLines(template % values if values else template))

    def echo(self, template, *values):
        if self.debugError:
            self.print(template, *values)

    def report(self, template, *values):
        self.trace(template, *values)
        self.echo(template, *values)

    def notice(self, code, text, *values):
        message = Message("stdout", code, (), text % values if values else text)
        self.messages.append(message)
        self.stdout.append(message)

    def fail(self, message):
        self.traceItem(FREE)
        self.messages.append(message)
        raise Exit

    def complain(self, complaint, line0, *more):
        self.fail(self.message(complaint, line0, *more))

    def complainInFreeWording(self, complaint, line0, *more):
        self.traceItem(FREE)
        self.stdout.append(FREE)
        self.complain(complaint, line0, *more)

    # The texts of the failures.

    def message(self, complaint, line0, *more):
        return self.messageAbout(complaint, self.entryText(line0, self.numberOf(line0)), *more)

    def messageAbout(self, complaint, *values):
        text = complaint.fault % values + b", and the conversion has stopped. " + complaint.remedy
        return Message("stderr", complaint.code, (), text + LEFT_OVER_HINT if self.left_over else text)

    def messageOfMissing(self, complaint, slot, missing, present):
        """An entry that had too many lines is to blame when its release has taken what is missing, or when it has kept
        up the counter of the table of the entry that is there, which therefore came late."""
        for table, (first, last, line0) in self.overruns.items():
            if table is missing and first < slot <= last or table is present:
                return self.message(ROW_OVERRUN._replace(code=STEP_FAILED), line0, table.columns - 1)
        return self.message(complaint, present.first(slot) if present is not None else None)

    def release(self, matrix, slot, dns):
        lines = matrix.row(slot)
        if len(lines) > matrix.columns and slot + 1 < len(dns) and dns[slot + 1] is not None:
            self.overruns.pop(matrix, None)
            self.overruns[matrix] = slot, slot + (len(lines) - 1) // matrix.columns, lines[0]
        matrix.release(slot)

    def entryText(self, line0, number):
        return (shownDN(line0) or b"whose DN cannot be shown") + (b"" if number is None else b" (line %d)" % number)

    def numberOf(self, line0):
        """The line of the input where the entry begins, or None."""
        if line0 is None:
            return None
        if self.preparing:
            return self.firstLinesOfInput()[self.entries_read - 1][0]
        return next(iter(self.numbersOf(line0)), None)

    def numbersOf(self, line0):
        wanted = normalised(line0)
        return [number for number, first in self.firstLinesOfInput() if normalised(first) == wanted]

    def firstLinesOfInput(self):
        """For each entry of the input the number of its first line and that line unfolded."""
        found = []
        stream = Stream(self.input)
        number = 1
        begun = False
        while True:
            start = stream.position
            line = stream.getNextLine()
            if line is None:
                return found
            if isBlank(line):
                begun = False
            elif not line.startswith(b"#"):
                if not begun:
                    found.append((number, cutAtLineEnd(line)))
                    begun = unfolding = True
                elif unfolding and line.startswith(b" "):
                    found[-1] = (found[-1][0], cutAtLineEnd(found[-1][1] + line[1:]))
                else:
                    unfolding = False
            number += self.input.count(b"\n", start, stream.position)

    def complainAboutOccupied(self, matrix, slot):
        longer = matrix.entryThatReaches(slot)
        if longer is not None:
            self.complain(ROW_OVERRUN, matrix.first(longer), matrix.columns - 1)
        earlier, later = matrix.first(slot), self.object[0]
        if normalised(earlier) != normalised(later):
            first, second = self.numberOf(earlier), self.numberOf(later)
        else:
            # A single match is taken for the later entry: the earlier one then came from an earlier run.
            first, second = ([None, None] + self.numbersOf(later)[:2])[-2:]
        self.fail(self.messageAbout(DOUBLED, self.entryText(later, second), self.entryText(earlier, first)))

    # The run.

    def run(self):
        status = 255
        try:
            self.main()
            status = 0
        except Exit:
            pass
        return Result(status, None if self.output is None else bytes(self.output),
                      None if self.work is None else bytes(self.work),
                      self.messages, self.stdout, self.trace_items, self.copy)

    def main(self):
        if self.max_users < 1 or self.max_groups < 1:
            self.fail(Message("stderr", USAGE))
        self.debug = self.tracing
        if self.debugError:
            self.print(b"DEBUG_ERROR flag is on................ \n")
            self.inputList(self.print)
        self.trace(b"main():  FUNCTION ENTRY  \n")
        self.trace(b"main():  INPUT LIST: \n")
        self.inputList(self.trace)
        self.output = bytearray()
        self.notice(380928308, b"The conversion begins.")
        self.notice(380928309, b"The entries of the input are being sorted into the output and the work file. "
                    + (b"There is no work file from an earlier run." if self.left_over is None else
                       b"A work file from an earlier run is there, and its %d bytes will be converted as well."
                       % self.left_over))
        self.copyOriginalInputFileToTempInputFile()
        self.work_size = len(self.work)
        work, output = self.to_work, self.to_output
        self.notice(380928310, b"The work file is ready. Entries in it: users %d, groups %d, policies %d, policy data"
                    b" %d, maps %d, resource credentials %d. Entries copied to the output: authority information %d,"
                    b" policies %d, containers %d, others %d.",
                    work[SECUSER], work[SECGROUP], work[SECPOLICY], work[SECPOLICYDATA], work[SECMAP],
                    self.credentialsExpected(), output[AUTHORITY], output[SECPOLICY], output[CONTAINER],
                    output[UNINTERESTING])
        self.notice(380928311, b"The passes over the work file begin, with slots for %d users and %d groups.",
                    self.max_users, self.max_groups)
        self.trace(b"\nmain():  The temporary input ldif file has been created.  \n")
        self.trace(b"         BEGIN MAIN PROCESSING LOOP.                      \n")
        if self.tracing:
            self.trace(b"main():  Preserve a copy of the temporary input file  \n")
            self.trace(b"         The system command to be executed is:    %s  \n",
                       b"cp %s TEMPORARY_INPUT_LDIF_FILE  \n" % self.names.work)
            self.copy = bytes(self.work)
        self.allocateObjectCache()
        self.atLeastOneObjectProcessed = True
        while self.atLeastOneObjectProcessed:
            self.onePass()
        self.ending()

    def inputList(self, write):
        write(b"main():  input_ldif_filename           = %s \n", self.names.input)
        write(b"main():  output_ldif_filename          = %s \n", self.names.output)
        write(b"main():  max_number_of_secuser_slots   = %d \n", self.max_users)
        write(b"main():  max_number_of_secgroup_slots  = %d \n", self.max_groups)

    def credentialsExpected(self):
        return self.to_work[RESCREDS] + self.to_work[SECRESCREDS]

    def passesExpected(self):
        """About how many passes there will be, as far as the input tells."""
        gathering = max(-(-self.users_expected // self.max_users), -(-self.to_work[SECGROUP] // self.max_groups))
        return max(self.passes, gathering + (1 if self.credentialsExpected() else 0))

    def onePass(self):
        self.trace(b"main():  Beginning new iteration of outer loop to make another pass on the input file. \n")
        self.passes += 1
        self.stepped_over_line0 = None
        self.atLeastOneObjectProcessed = False
        self.tifp = Stream(self.work)
        if self.firstSteppedOver is not None:
            self.tifp.position = self.firstSteppedOver
            self.firstSteppedOver = None
        announced = False
        while True:
            result = self.getNextObjectFromTemporaryInputLDIFFile()
            if result == -1 and not self.object:
                break
            if not announced:
                self.notice(380928312, b"Pass %d of about %d over the work file is under way.", self.passes,
                            self.passesExpected())
                announced = True
            self.trace(b"\nmain():  Another object WAS read successfully.  \n")
            self.trace(b"         next_available_object_slot = %d  \n", len(self.object))
            self.trace(b"         THE OBJECT READ WAS:  \n")
            self.traceEntry()
            self.determineTheObjectsObjectClass()
            if self.objectClass not in (RESCREDS, SECRESCREDS):
                self.atLeastOneObjectProcessed = True
            self.dispatch()
            self.trace(b"\nmain():  This is the end of the inner loop \n")
        self.trace(b"\nmain():  getNextObjectFromTemporaryInputLDIFFile() has reached the end of the temporary input"
                   b" LDIF file. \n")
        self.tifp = None
        if self.atLeastOneObjectProcessed:
            if self.secUser_dn_count == 0 and self.secGroup_dn_count == 0:
                self.complainInFreeWording(NOTHING_GATHERED, self.stepped_over_line0)
            self.trace(b"\nmain():  Calling copyAllAccumulatedDataToOutputFile() within loop \n")
            self.notice(380928313, b"The users and groups gathered in this pass are being written: users %d, groups %d."
                        b" %d percent of the work file is done.", self.secUser_dn_count, self.secGroup_dn_count,
                        min(100, 100 * self.gathered_size // self.work_size))
            if self.copyAllAccumulatedDataToOutputFile() != 0:
                self.report(b"main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file."
                            b"  EXITING.  \n")
                self.fail(self.flush_failure)
            self.trace(b"\nmain():  Returned from copyAllAccumulatedDataToOutputFile() within loop \n")
        self.trace(b"\nmain():  This is the end of the outer loop \n")

    def traceEntry(self):
        if self.debug:
            for line in self.object:
                self.trace_items.append(line)
            self.trace_items.append(b"\n")

    def dispatch(self):
        code = self.objectClass
        line0 = self.object[0]
        users, groups = self.max_users, self.max_groups
        if code == SECUSER:
            matrix = self.users_entry if USERS_TEXT in line0.lower() else self.user
            gather, count, maximum = self.processSecUserObject, matrix.occupied, users
        elif code == SECGROUP:
            gather, count, maximum = self.processSecGroupObject, self.group.occupied, groups
        elif code == SECPOLICYDATA:
            gather, count, maximum = self.processSecPolicyDataObject, self.policy_data.occupied, users
        elif code == SECMAP and findIgnoringCase(line0, b"cn=Users") >= 0:
            gather, count, maximum = self.processSecMapObject, self.user_map.occupied, users
        elif code == SECMAP:
            gather, count, maximum = self.processSecMapObject, self.group_map.occupied, groups
        elif code == SECPOLICY:
            gather, count, maximum = self.processSecPolicyObject, self.policy.occupied, users
        elif code in (RESCREDS, SECRESCREDS):
            self.stepOverNextObjectFromTemporaryInputLDIFFile()
            return
        else:
            self.report(b"main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n")
            self.complain(UNKNOWN_CLASS, line0)
        if count < maximum:
            gather()
        else:
            self.stepOverNextObjectFromTemporaryInputLDIFFile()

    def ending(self):
        self.trace(b"\nmain():  Calling copyAllAccumulatedDataToOutputFile() at EXIT label \n")
        if self.copyAllAccumulatedDataToOutputFile() != 0:
            self.report(b"main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file during"
                        b" EXIT processing.  \n")
            self.messages.append(self.flush_failure)
        self.trace(b"\nmain():  Returned from copyAllAccumulatedDataToOutputFile() at EXIT label \n")
        self.copyRemainingObjectsToOutputLDIFFile()
        if not self.tracing:
            self.work = None
        self.trace(b"\ndeallocateObjectCache():  FUNCTION ENTRY  \n")
        self.trace(b"\ndeallocateObjectCache():  max_number_of_secuser_slots  = %d  \n", self.max_users)
        self.trace(b"\ndeallocateObjectCache():  max_number_of_secgroup_slots = %d  \n", self.max_groups)
        self.trace(b"\ndeallocateObjectCache():  FUNCTION EXIT  \n")
        self.notice(380928315, b"The conversion is complete. Written: users %d, groups %d, policies %d, resource"
                    b" credentials %d, entries copied as they were %d. Not written: policy data %d.",
                    self.users_written, self.groups_written, self.policies_written, self.credentials_written,
                    sum(self.to_output), self.policy_data_gathered)
        self.trace(b"main():  FUNCTION EXIT  \n")

    # Reading entries.

    def getNextObject(self, stream):
        self.object = []
        start = stream.position
        while True:
            line = stream.getNextLine()
            if line is None:
                return -1
            if isBlank(line):
                if self.object:
                    return 0
                continue
            if line.startswith(b"#"):
                continue
            self.object.append(line)
            if len(self.object) > ENTRY_BUFFER_LINES - 1:
                stream.position = start
                self.object = []
                self.moveNextObjectToOutputLDIFFile(stream)
                return 99

    def moveNextObjectToOutputLDIFFile(self, stream):
        started = False
        while True:
            line = stream.getNextLine()
            if line is None:
                return
            if isBlank(line):
                if not started:
                    continue
                self.output += b"\n"
                return
            if line.startswith(b"#"):
                continue
            started = True
            if not containsAny(line, NOT_COPIED_OF_OVERSIZED):
                self.output += line

    # Attribute lookup and classification.

    def unfold(self, first, index):
        """`first`, cut from line `index`, with the continuation lines behind that line joined."""
        text = cutAtLineEnd(first)
        index += 1
        while index < len(self.object) and self.object[index].startswith(b" "):
            text = cutAtLineEnd(text + self.object[index][1:])
            index += 1
        return text

    def obtainAttributeValueFromObjArray(self, name):
        self.trace(b"obtainAttributeValueFromObjArray():  FUNCTION ENTRY \n")
        self.trace(b"    Seeking the value of attribute:  %s\n", name)
        key = name.lower() + b":"
        for index, line in enumerate(self.object):
            colon = line.find(b":")
            folded = line[:colon + 1].lower() + line[colon + 1:]
            place = folded.find(key)
            if place >= 0:
                value = self.unfold(line[place + len(key):].lstrip(b" "), index)
                self.trace(b"   The attribute value at index %d returned is:   %s \n", index, value)
                return value
        self.trace(b"obtainAttributeValueFromObjArray():  ERROR:  Attribute not found. \n")
        self.trace(b"obtainAttributeValueFromObjArray():  FUNCTION EXIT \n")
        return None

    def obtainAttributeFromObjectArray(self, index):
        # Called while tracing is off only.
        if self.object[index].startswith(b" "):
            self.echo(b"obtainAttributeFromObjectArray():  ERROR:  The object at the specified index is a"
                      b" 'continuation' line.  Exiting. \n")
            self.echo(b"obtainAttributeFromObjectArray():  object = %s\n", self.object[index])
            self.complain(FOLDED_COMMENT, self.unfold(self.object[0], 0))
        return self.unfold(self.object[index], index)

    def classOfEntry(self):
        for line in self.object:
            if b"objectClass:" not in line and b"objectclass:" not in line:
                continue
            for text, code in CLASS_TEXTS:
                if text in line:
                    if code == CONTAINER and containsAny(self.object[0], (b"cn=ResCreds", b"cn=rescreds")):
                        return RESCREDS
                    return code
        return UNINTERESTING

    def determineTheObjectsObjectClass(self):
        self.objectClass = self.classOfEntry()
        self.trace(b"\ndetermineTheObjectsObjectClass():    \n")
        self.trace(CLASS_TRACE[self.objectClass])

    # The preparation pass.

    def copyOriginalInputFileToTempInputFile(self):
        self.trace(b"copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING OFF \n")
        self.trace(b"copyOriginalInputFileToTempInputFile():  FUNCTION ENTRY \n")
        self.trace(b"copyOriginalInputFileToTempInputFile():  The temporary input file name = %s \n", self.names.work)
        self.debug = False
        if self.work is None:
            self.work = bytearray()
        self.preparing = True
        stream = Stream(self.input)
        while True:
            result = self.getNextObject(stream)
            self.entries_read += 1
            if result == 99:
                self.to_output[UNINTERESTING] += 1
                continue
            if not self.object:
                break
            self.determineTheObjectsObjectClass()
            dn_line = self.obtainAttributeFromObjectArray(0)
            self.tweekObjectInObjectArray()
            code = self.objectClass
            if (code in (UNINTERESTING, AUTHORITY, CONTAINER)
                    or code == SECPOLICY and findIgnoringCase(dn_line, b"cn=Policies,secAuthority=") >= 0):
                self.writeToOutput()
                self.to_output[code] += 1
            else:
                self.writeToWorkFile()
                self.to_work[code] += 1
                if code == SECUSER and USERS_TEXT not in dn_line.lower():
                    self.users_expected += 1
        self.preparing = False
        self.debug = self.tracing
        self.trace(b"copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n")

    def logicalLines(self):
        return [self.obtainAttributeFromObjectArray(index) for index, line in enumerate(self.object)
                if not line.startswith(b" ")]

    def writeToOutput(self):
        for line in self.logicalLines():
            if not containsAny(line, NOT_COPIED):
                self.output += line + b"\n"
        self.output += b"\n"

    def writeToWorkFile(self):
        for line in self.logicalLines():
            if b"secdn:" in line:
                line = commaSpaceEater(line)
            self.work += line + b"\n"
        self.work += b"\n"

    def tweekObjectInObjectArray(self):
        if self.objectClass == AUTHORITY:
            self.convertVersion()
            if not any(findIgnoringCase(line, b"installDate: ") >= 0 for line in self.object):
                self.object.append(time.strftime("installDate: %Y%m%d%I%M%S.0Z", self.now).encode())
        if self.objectClass == SECUSER:
            self.addDomainIdentifier()
        if self.objectClass in (SECUSER, SECGROUP):
            for index, line in enumerate(self.object):
                if b"secuuid: " in line:
                    self.object[index] = line.replace(b"secuuid: ", b"secUUID: ", 1)
                    break

    def convertVersion(self):
        for index, line in enumerate(self.object):
            place = line.find(b"version: ")
            if place < 0:
                continue
            start = place + len(b"version:")
            while line[start:start + 1] == b" ":
                start += 1
            value = cutAtLineEnd(line[start:])
            self.object[index] = line[:start] + b"6.0" + line[start + min(len(value), 3):]
            return

    def addDomainIdentifier(self):
        if any(findIgnoringCase(line, b"secDomainId: ") >= 0 for line in self.object):
            return
        authority = self.obtainAttributeValueFromObjArray(b"secAuthority")
        if authority is None:
            self.echo(b"tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('secAuthority') failure."
                      b"  EXITING. \n")
            self.echo(b"object is:  %s\n", self.object[0])
            self.complain(USER_WITHOUT_AUTHORITY, self.unfold(self.object[0], 0))
        principal = self.obtainAttributeValueFromObjArray(b"principalName")
        if principal is None:
            self.echo(b"tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('principalName') failure."
                      b"  EXITING. \n")
            self.echo(b"tweekObjectInObjectArray():  secUser object is =%s\n", self.object[0])
            self.complain(USER_WITHOUT_NAME, self.unfold(self.object[0], 0))
        self.object.append(b"secDomainId: " + authority + b"%" + principal)

    # The work file.

    def getNextObjectFromTemporaryInputLDIFFile(self):
        stream = self.tifp
        name = b"getNextObjectFromTemporaryInputLDIFFile():  "
        self.trace(b"getNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n")
        self.object = []
        start = stream.position
        self.trace(b"getNextObjectFromTemporaryInputLDIFFile():  filePositionBeforeReadingObject = %d  \n", start)
        result = -1
        begin = None
        while True:
            line_start = stream.position
            line = stream.getNextLine()
            if line is None:
                break
            if begin is None and not isBlank(bytes(stream.data[line_start:stream.position])):
                begin = line_start  # of a line that a NUL makes blank, too
            if isBlank(line):
                if self.object:
                    result = 0
                    break
                continue
            if b"changetype:" in line:
                self.changetypeSeen = True
            if line.startswith(b"#"):
                continue
            if len(self.object) >= ENTRY_BUFFER_LINES:
                self.complainInFreeWording(ENTRY_TOO_LONG, self.object[0])
            self.object.append(line)
        self.entry_size = stream.position - begin if begin is not None else 0
        self.trace(b"\ngetNextObjectFromTemporaryInputLDIFFile():  The object read is:   \n")
        if self.debug:
            for index, line in enumerate(self.object):
                self.trace(b"   object[%d] = %s", index, line)
        stream.position = start
        self.trace(b"getNextObjectFromTemporaryInputLDIFFile():  filePositionBeforeReadingObject = %d  \n", start)
        pad = b" " * len(name)
        self.trace(b"%sfilePositionAfterReadingObject = %d  \n", pad, start)
        self.trace(b"%sTHESE VALUES SHOULD BE EQUAL SINCE THIS FUNCTION RESTORES THE FILE    \n", pad)
        self.trace(b"%sPOSITION TO THE BEGINNING OF THE OBJECT THAT IT READS.                \n", pad)
        self.trace(b"getNextObjectFromTemporaryInputLDIFFile():  Returning rc = %d \n", result)
        self.trace(b"%snext_available_object_slot = %d \n", pad, len(self.object))
        self.trace(b"getNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT   \n")
        return result

    def deleteNextObjectFromTemporaryInputLDIFFile(self):
        self.trace(b"deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n")
        stream = self.tifp
        lines = 0
        while True:
            start = stream.position
            line = stream.getNextLine()
            if line is None:
                break
            if isBlank(line):
                if lines > 0:
                    break
                continue
            lines += 1
            stream.overwrite(start, blankLine(line))
        self.trace(b"deleteNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT  \n")

    def stepOverNextObjectFromTemporaryInputLDIFFile(self):
        self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION ENTRY  \n")
        stream = self.tifp
        if self.firstSteppedOver is None:
            self.firstSteppedOver = stream.position
        if self.stepped_over_line0 is None and self.objectClass not in (RESCREDS, SECRESCREDS):
            self.stepped_over_line0 = self.object[0]
        lines = 0
        while True:
            line = stream.getNextLine()
            if line is None:
                self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile():  getNextLine() has reached EOF."
                           b"  Exiting loop. \n")
                break
            self.trace(b"\nstepOverNextObjectFromTemporaryInputLDIFFile() - The next line returned from getNextLine()"
                       b" is:   \n")
            self.trace(b"%s \n", line)
            self.trace(b"The line read contains %d characters \n", len(line))
            if isBlank(line):
                self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile() - The line IS a blank line.   \n")
                if lines > 0:
                    self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile() - This blank line terminates the"
                               b" object   \n")
                    self.traceItem(Loose(b"and will cause this function to return.  \n"))
                    break
                self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile() - This blank line precedes the object"
                           b"   \n")
                continue
            self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile() - The line IS NOT a blank line.   \n")
            self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile() - This is an actual line of the object  \n")
            lines += 1
        self.trace(b"stepOverNextObjectFromTemporaryInputLDIFFile():  FUNCTION EXIT \n")

    def copyRemainingObjectsToOutputLDIFFile(self):
        self.trace(b"\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION ENTRY  \n")
        self.tifp = Stream(self.work)
        while True:
            result = self.getNextObjectFromTemporaryInputLDIFFile()
            if result == -1 and not self.object:
                break
            self.trace(b"\ncopyRemainingObjectsToOutputLDIFFile():  Another object WAS read successfully.  \n")
            self.trace(b"           next_available_object_slot = %d  \n", len(self.object))
            self.trace(b"\ncopyRemainingObjectsToOutputLDIFFile():  THE OBJECT READ WAS:  \n")
            self.traceEntry()
            self.determineTheObjectsObjectClass()
            if self.objectClass not in (RESCREDS, SECRESCREDS):
                self.report(b"copyRemainingObjectsToOutputLDIFFile():  ERROR:  The object class of this object was"
                            b" unrecognizable.  EXITING. \n")
                self.complain(UNKNOWN_CLASS, self.object[0])
            for line in self.object:
                if not containsAny(line.lower(), NOT_WRITTEN_WITH_CONTROL):
                    self.output += line
            self.object = []
            self.output += b"\n"
            self.credentials_written += 1
            self.deleteNextObjectFromTemporaryInputLDIFFile()
        self.trace(b"\ncopyRemainingObjectsToOutputLDIFFile():  getNextObjectFromTemporaryInputLDIFFile() has reached"
                   b" the end of the temporary input LDIF file. \n")
        self.tifp = None
        self.trace(b"\ncopyRemainingObjectsToOutputLDIFFile():  FUNCTION EXIT  \n")

    # The object cache.

    def allocateObjectCache(self):
        self.trace(b"\nallocateObjectCache():  FUNCTION ENTRY  \n")
        self.trace(b"\nallocateObjectCache():  max_number_of_secuser_slots  = %d  \n", self.max_users)
        self.trace(b"\nallocateObjectCache():  max_number_of_secgroup_slots = %d  \n", self.max_groups)
        self.trace(b"\nallocateObjectCache():  FUNCTION EXIT  \n")
        self.secUser_dn = [None] * self.max_users
        self.secPolicy_dn = [None] * self.max_users
        self.secGroup_dn = [None] * self.max_groups
        self.user = Matrix("secUser_matrix", self.max_users)
        self.users_entry = Matrix("Users_secUser_matrix", self.max_users)
        self.policy_data = Matrix("secPolicyData_matrix", self.max_users)
        self.policy = Matrix("secPolicy_matrix", self.max_users)
        self.user_map = Matrix("secMap_for_secUser_matrix", self.max_users)
        self.group = Matrix("secGroup_matrix", self.max_groups)
        self.group_map = Matrix("secMap_for_secGroup_matrix", self.max_groups)
        self.next_available_secUser_dn_slot = 0
        self.next_available_secGroup_dn_slot = 0
        self.secUser_dn_count = 0
        self.secGroup_dn_count = 0
        self.saved_secUser_dn = b""
        self.saved_secGroup_dn = b""

    def move(self, matrix, slot):
        self.trace(matrix.move_name + b"():  FUNCTION ENTRY \n")
        if matrix.first(slot) is not None:
            self.report(matrix.move_name + b"():  Destination slot is already occupied.  " + matrix.occupied_end)
            self.echo(b"%s = %s\n", matrix.name, matrix.first(slot))
            self.complainAboutOccupied(matrix, slot)
        cell = slot * matrix.columns
        for line in self.object:
            if cell >= len(matrix.cells):
                self.complainInFreeWording(ROW_OVERRUN, self.object[0], matrix.columns - 1)
            matrix.cells[cell] = line
            cell += 1
        self.object = []
        matrix.occupied += 1
        self.gathered_size += self.entry_size
        if matrix is self.policy_data:
            self.policy_data_gathered += 1
        if matrix is self.user_map and self.debug:
            self.trace(b"moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix():  The secMap object moved"
                       b" is: \n")
            for index, line in enumerate(matrix.row(slot)):
                self.traceItem(Loose(b"secMap_for_secUser_matrix[%d][%d] = %s " % (slot, index, line)))
        self.trace(matrix.move_name + b"():  FUNCTION EXIT \n")

    def copySecPolicyDNFromObjectArrayToSecPolicyDNArray(self, slot):
        self.trace(b"copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION ENTRY \n")
        dn = self.object[0][3:].lstrip(b" ")
        self.secPolicy_dn[slot] = dn
        self.trace(b"copySecPolicyDNFromObjectArrayToSecPolicyDNArray(): \n")
        self.trace(b"   The secPolicy dn copied was:   %s \n", dn)
        self.trace(b"   The secGroup dn was copied to slot %d \n", slot)
        self.trace(b"copySecPolicyDNFromObjectArrayToSecPolicyDNArray():  FUNCTION EXIT \n")

    # Finding the owner.

    def dnTextOfLine0(self):
        """What stands before the DN text in line 0, and the DN text with its line end."""
        line0 = self.object[0]
        text = line0[3:].lstrip(b" ")
        if not text.endswith(b"\n"):
            self.complainInFreeWording(INCOMPLETE_DN, line0)
        return line0[:len(line0) - len(text)], text

    def checkOwnerDN(self, owner):
        if len(owner) + 1 > OWNER_DN_ROOM:
            self.complainInFreeWording(OWNER_DN_TOO_LONG, self.object[0])
        return owner

    def authorityOf(self, dn):
        """The component of `dn` from its first "secAuthority" on, or None."""
        place = findIgnoringCase(dn, b"secAuthority")
        return None if place < 0 else dn[place:].split(b",", 1)[0]

    def learnIndexOfAssociatedSecUserDN(self):
        self.trace(b"learnIndexOfAssociatedSecUserDN():  FUNCTION ENTRY \n")
        self.traceItem(RegionStart())
        kind = b""
        before = None                     # the text of line 0 before the key, when the key lies in line 0
        if self.objectClass == SECUSER and USERS_TEXT in self.object[0].lower():
            kind = b"   The input object is a 'Users' SECUSER object \n"
            authority = self.obtainAttributeValueFromObjArray(b"secAuthority")
            dn = self.obtainAttributeValueFromObjArray(b"secDN")
            if authority is None or dn is None:
                self.complainInFreeWording(
                    USERS_ENTRY_WITHOUT_AUTHORITY if authority is None else USERS_ENTRY_WITHOUT_DN, self.object[0])
            key = saved = self.checkOwnerDN(
                b"secAuthority=" + authority.split(b":", 1)[0] + b"," + commaSpaceEater(dn))
        elif self.objectClass == SECUSER:
            before, key = self.dnTextOfLine0()
            saved = key
        elif self.objectClass in (SECPOLICY, SECPOLICYDATA):
            before, text = self.dnTextOfLine0()
            comma = text.find(b",")
            if comma < 0:
                self.complainInFreeWording(DN_WITHOUT_COMMA, self.object[0])
            before += text[:comma + 1]
            key = saved = text[comma + 1:]
        else:
            kind = b"   The input object is a SECMAP object \n"
            owner = self.obtainAttributeValueFromObjArray(b"secdn")
            dn = self.obtainAttributeValueFromObjArray(b"dn")
            if dn is None:
                self.complainInFreeWording(INCOMPLETE_DN, self.object[0])
            authority = self.authorityOf(dn)
            if authority is None or owner is None:
                self.traceItem(FREE)
                self.echo(b"learnIndexOfAssociatedSecUserDN(): Missing secAuthority in dn: %s\n", dn)
                self.complain(MAP_WITHOUT_AUTHORITY if authority is None else MAP_WITHOUT_DN, self.object[0])
            key = saved = self.checkOwnerDN(authority + b"," + commaSpaceEater(owner))

        key = commaSpaceEater(self.checkOwnerDN(trim(key) + b"\n"))
        if before is None:
            saved = key
        else:
            saved = commaSpaceEater(saved)
            self.object[0] = before + key
        self.traceItem(RegionEnd((kind, b"   Its DN is  ", b"   The computed saved_secUser_dn is:  ",
                                  b"   Its strlen is:  "), b"BEGIN SEARCH WITHIN secUser_dn ARRAY"))
        index = -1
        for slot in range(self.next_available_secUser_dn_slot):
            if self.secUser_dn[slot].lower() == key.lower():
                index = slot
                break
        if index >= 0:
            self.trace(b"learnIndexOfAssociatedSecUserDN():  The SECUSER DN WAS FOUND !!!  \n")
            self.trace(b"     The index returned is:    %d \n", index)
            self.trace(b"     The saved secUser dn is:  %s", saved)
        else:
            self.trace(b"learnIndexOfAssociatedSecUserDN():  The SECUSER DN WAS NOT FOUND  \n")
        if not saved.endswith(b"\n"):
            saved += b"\n"
        self.saved_secUser_dn = saved
        return index

    def learnIndexOfAssociatedSecGroupDN(self):
        self.trace(b"learnIndexOfAssociatedSecGroupDN():  FUNCTION ENTRY \n")
        self.traceItem(RegionStart())
        before = None
        if self.objectClass == SECGROUP:
            kind = b"   The input object is a SECGROUP object \n"
            before, key = self.dnTextOfLine0()
            saved = key
        else:
            kind = b"   The input object is a SECMAP object \n"
            owner = self.obtainAttributeValueFromObjArray(b"secDN")
            dn = self.obtainAttributeValueFromObjArray(b"dn")
            if dn is None:
                self.complainInFreeWording(INCOMPLETE_DN, self.object[0])
            authority = self.authorityOf(dn)
            if authority is None:
                self.traceItem(FREE)
                self.echo(b"learnIndexOfAssociatedSecGroupDN(): Missing secAuthority in dn: %s\n", dn)
                self.complain(MAP_WITHOUT_AUTHORITY, self.object[0])
            if owner is None:
                self.complainInFreeWording(MAP_WITHOUT_DN, self.object[0])
            key = saved = self.checkOwnerDN(authority + b"," + commaSpaceEater(owner))

        key = self.checkOwnerDN(trim(key) + b"\n")
        if before is None:
            saved = key
        else:
            self.object[0] = before + key
        self.traceItem(RegionEnd((kind, b"   Its DN is  ", b"   The computed saved_secUser_dn is:  "),
                                 b"BEGIN SEARCH WITHIN secGroup_dn ARRAY"))
        index = -1
        for slot in range(self.next_available_secGroup_dn_slot):
            self.trace(b"   secGroup_dn[%d] =  %s \n", slot, self.secGroup_dn[slot])
            if self.secGroup_dn[slot].lower() == key.lower():
                index = slot
                break
        if index >= 0:
            self.trace(b"learnIndexOfAssociatedSecGroupDN():  The SECGROUP DN WAS FOUND !!!  \n")
            self.trace(b"     The index returned is:     %d \n", index)
            self.trace(b"     The saved secGroup dn is:  %s", saved)
        else:
            self.trace(b"learnIndexOfAssociatedSecGroupDN():  The SECGROUP DN WAS NOT FOUND  \n")
        if not saved.endswith(b"\n"):
            saved += b"\n"
        self.saved_secGroup_dn = saved
        return index

    # The class processors.

    def openUserSlot(self):
        slot = self.next_available_secUser_dn_slot
        self.secUser_dn[slot] = self.saved_secUser_dn
        return slot

    def openGroupSlot(self):
        slot = self.next_available_secGroup_dn_slot
        self.secGroup_dn[slot] = self.saved_secGroup_dn
        return slot

    def countUserSlot(self):
        self.next_available_secUser_dn_slot += 1
        self.secUser_dn_count += 1

    def countGroupSlot(self):
        self.next_available_secGroup_dn_slot += 1
        self.secGroup_dn_count += 1

    def processUserSide(self, name, gather):
        self.trace(name + b"():  FUNCTION ENTRY. \n")
        slot = self.learnIndexOfAssociatedSecUserDN()
        if slot != -1:
            gather(slot)
            self.deleteNextObjectFromTemporaryInputLDIFFile()
        elif self.next_available_secUser_dn_slot < self.max_users:
            gather(self.openUserSlot())
            self.countUserSlot()
            self.deleteNextObjectFromTemporaryInputLDIFFile()
        else:
            self.stepOverNextObjectFromTemporaryInputLDIFFile()
        self.trace(name + b"():  FUNCTION EXIT. \n")

    def processSecUserObject(self):
        def gather(slot):
            matrix = self.users_entry if USERS_TEXT in self.object[0].lower() else self.user
            self.move(matrix, slot)
        self.processUserSide(b"processSecUserObjectFromTempInputLDIFFile", gather)

    def processSecPolicyDataObject(self):
        self.processUserSide(b"processSecPolicyDataObjectFromTempInputLDIFFile",
                             lambda slot: self.move(self.policy_data, slot))

    def processSecPolicyObject(self):
        def gather(slot):
            self.copySecPolicyDNFromObjectArrayToSecPolicyDNArray(slot)
            self.move(self.policy, slot)
        self.processUserSide(b"processSecPolicyObjectFromTempInputLDIFFile", gather)

    def processSecGroupObject(self):
        self.trace(b"processSecGroupObjectFromTempInputLDIFFile():  FUNCTION ENTRY. \n")
        slot = self.learnIndexOfAssociatedSecGroupDN()
        if slot != -1:
            self.move(self.group, slot)
            self.deleteNextObjectFromTemporaryInputLDIFFile()
        elif self.next_available_secGroup_dn_slot < self.max_groups:
            self.move(self.group, self.openGroupSlot())
            self.countGroupSlot()
            self.deleteNextObjectFromTemporaryInputLDIFFile()
        else:
            self.stepOverNextObjectFromTemporaryInputLDIFFile()
        self.trace(b"processSecGroupObjectFromTempInputLDIFFile():  FUNCTION EXIT. \n")

    def traceObjectArray(self):
        if self.debug:
            for index, line in enumerate(self.object):
                self.traceItem(Loose(b"object[%d] = %s " % (index, line)))

    def processSecMapObject(self):
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  FUNCTION ENTRY \n")
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The object array is: \n")
        self.traceObjectArray()
        if findIgnoringCase(self.object[0], b"cn=Users") >= 0:
            self.trace(b"processSecMapObjectFromTempInputLDIFFile():  secMap is associated with a secUser \n")
            self.processSecMapOfUser()
        else:
            self.trace(b"processSecMapObjectFromTempInputLDIFFile():  secMap is associated with a secGroup \n")
            self.processSecMapOfGroup()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  FUNCTION EXIT. \n")
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The object array is:\n")
        self.traceObjectArray()

    def processSecMapOfUser(self):
        slot = self.learnIndexOfAssociatedSecUserDN()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  learnIndexOfAssociatedSecUserDN() returned index ="
                   b" %d \n", slot)
        if slot != -1:
            self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The secUser DN was FOUND in the secUser_dn"
                       b" array! \n")
            self.continued(b"secUser_dn = %s \n", self.secUser_dn[slot])
            self.continued(b"Calling moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix( %d ) \n", slot)
            self.move(self.user_map, slot)
            self.continued(b"Calling deleteNextObjectFromTemporaryInputLDIFFile \n")
            self.deleteNextObjectFromTemporaryInputLDIFFile()
            return
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The secUser DN was NOT FOUND! \n")
        self.continued(b"This is the first entry for this secUser. \n")
        slot = self.next_available_secUser_dn_slot
        if slot >= self.max_users:
            self.trace(b"processSecMapObjectFromTempInputLDIFFile():  A slot IS NOT AVAILABLE for this secUser/secMap"
                       b" \n")
            self.continued(b"next_available_secUser_dn_slot = %d \n", slot)
            self.continued(b"Stepping over this secMap object in the temporary input LDIF file \n")
            self.stepOverNextObjectFromTemporaryInputLDIFFile()
            return
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  A slot IS AVAILABLE for this secUser/secMap \n")
        self.continued(b"next_available_secUser_dn_slot = %d \n", slot)
        self.openUserSlot()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The next_available_secUser_dn_slot is %d \n", slot)
        self.continued(b"Added the following entry to the secUser_dn array.\n")
        self.continued(b"secUser_dn[%d] = %s", slot, self.secUser_dn[slot])
        self.continued(b"Calling moveSecMapForSecUserObjectFromObjectArrayToSecMapForSecUserMatrix( %d ) \n", slot)
        self.move(self.user_map, slot)
        self.countUserSlot()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  Deleting this secMap object from the temporary input"
                   b" LDIF file \n")
        self.deleteNextObjectFromTemporaryInputLDIFFile()

    def processSecMapOfGroup(self):
        slot = self.learnIndexOfAssociatedSecGroupDN()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  learnIndexOfAssociatedSecGroupDN() returned index ="
                   b" %d \n", slot)
        if slot != -1:
            self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The secGroup DN was FOUND in the secGroup_dn"
                       b" array! \n")
            self.continued(b"secGroup_dn = %s", self.secGroup_dn[slot])
            self.continued(b"Calling moveSecMapForSecGroupObjectFromObjectArrayToSecMapForSecGroupMatrix( %d ) \n",
                           slot)
            self.move(self.group_map, slot)
            self.continued(b"Calling deleteNextObjectFromTemporaryInputLDIFFile() \n")
            self.deleteNextObjectFromTemporaryInputLDIFFile()
            return
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The secGroup DN was NOT FOUND! \n")
        self.continued(b"This is the first entry for this secGroup. \n")
        slot = self.next_available_secGroup_dn_slot
        if slot >= self.max_groups:
            self.trace(b"processSecMapObjectFromTempInputLDIFFile():  A slot IS NOT AVAILABLE for this"
                       b" secGroup/secMap \n")
            self.continued(b"next_available_secGroup_dn_slot = %d \n", slot)
            self.continued(b"Stepping over this secMap object in the temporary input LDIF file \n")
            self.stepOverNextObjectFromTemporaryInputLDIFFile()
            return
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  A slot IS AVAILABLE for this secGroup/secMap \n")
        self.continued(b"next_available_secGroup_dn_slot = %d \n", slot)
        self.openGroupSlot()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  The next_available_secGroup_dn_slot is %d \n", slot)
        self.continued(b"Added the following entry to the secGroup_dn array.\n")
        self.continued(b"secGroup_dn[%d] = %s", slot, self.secGroup_dn[slot])
        self.continued(b"Calling moveSecMapForSecGroupObjectFromObjectArrayToSecGroupForSecUserMatrix( %d ) \n", slot)
        self.move(self.group_map, slot)
        self.countGroupSlot()
        self.trace(b"processSecMapObjectFromTempInputLDIFFile():  Deleting this secMap object from the temporary input"
                   b" LDIF file \n")
        self.deleteNextObjectFromTemporaryInputLDIFFile()

    # New DNs.

    def learnName(self, matrix, slot, first, second):
        """The value behind `first` or `second` in the entry's first line that holds either."""
        name = b""
        for line in matrix.row(slot):
            wanted = first if first in line else second
            place = line.find(wanted)
            if place >= 0:
                name = line[place + len(wanted):].lstrip(b" ")
                break
        if len(name) + 1 > NAME_ROOM:
            self.complainInFreeWording(NAME_TOO_LONG, matrix.first(slot))
        return cutAtLineEnd(name)

    def learnPrincipalNameFromSecUserObject(self, slot):
        name = self.learnName(self.user, slot, b"principalName:", b"principalname:")
        if not name:
            self.trace(b"learnPrincipalNameFromSecUserObject():  ERROR: secUser principal name could not be found. \n")
            self.traceItem(Loose(b"The input file may be corrupt."))
            self.echo(b"learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n")
            self.echo(b"secUser is: %s\n", self.user.first(slot) or b"null")
        return name

    def learnCNFromSecGroupObject(self, slot):
        name = self.learnName(self.group, slot, b"cn:", b"CN:")
        if not name:
            self.trace(b"learnCNFromSecGroupObject():  ERROR: secGroup cn could not be found. \n")
            self.traceItem(Loose(b"The input file may be corrupt."))
            self.echo(b"learnCNFromSecGroupObject():  ERROR: secGroup cn could not be found. \n")
            self.echo(b"secGroup is: %s\n", self.group.first(slot) or b"null")
        return name

    def checkScratch(self, text, line0):
        if len(text) + 1 > SCRATCH_ROOM:
            self.complainInFreeWording(DN_TOO_LONG, line0)
        return text

    def inDefaultDomain(self, dn, line0):
        lowered = self.checkScratch(dn, line0).lower()
        return b"secauthority=default" in lowered and b"cn=subdomains" not in lowered

    def ownerLine(self, beginning, owner_dn, line0):
        if self.inDefaultDomain(owner_dn, line0):
            return self.checkScratch(beginning + b",secAuthority=default\n", line0)
        return self.checkScratch(beginning + b"," + owner_dn.split(b",", 1)[0]
                                 + b",cn=Subdomains,secAuthority=default\n", line0)

    def createNewSecUserDN(self, slot):
        name = self.learnPrincipalNameFromSecUserObject(slot)
        if not name:
            self.trace(b"createNewSecUserDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n")
            self.echo(b"createNewSecUserDN():  principalName for secUser: %s  could not be determined\n",
                      self.user.first(slot) or b"null")
            if self.user.first(slot) is not None:
                self.flush_failure = self.message(USER_WITHOUT_NAME, self.user.first(slot))
            else:
                self.flush_failure = self.messageOfMissing(USER_WITHOUT_OWN_ENTRY, slot, self.user, next(
                    (matrix for matrix in (self.user_map, self.users_entry, self.policy, self.policy_data)
                     if matrix.first(slot) is not None), None))
            return -1
        self.secUser_dn[slot] = self.ownerLine(b"dn: principalName=" + name + b",cn=Users", self.secUser_dn[slot],
                                               self.user.first(slot))
        return 0

    def createNewSecGroupDN(self, slot):
        name = self.learnCNFromSecGroupObject(slot)
        if not name:
            self.trace(b"createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.  Returning ERROR. \n")
            self.print(b"createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n")
            dn = self.secGroup_dn[slot]
            self.print(b"createNewSecGroupDN():  secGroup:  %s\n",
                       dn if shownDN(b"dn:" + dn) else b"a DN that cannot be shown")
            if self.group.first(slot) is not None:
                self.flush_failure = self.message(GROUP_WITHOUT_NAME, self.group.first(slot))
            else:
                self.flush_failure = self.messageOfMissing(GROUP_WITHOUT_OWN_ENTRY, slot, self.group,
                                                           self.group_map)
            return -1
        self.secGroup_dn[slot] = self.ownerLine(b"dn: cn=" + name + b",cn=Groups", self.secGroup_dn[slot],
                                                self.group.first(slot))
        return 0

    def createNewSecPolicyDN(self, slot):
        dn = self.secPolicy_dn[slot]
        if dn is None:
            return 0
        name = self.learnPrincipalNameFromSecUserObject(slot)
        if not name:
            self.trace(b"createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED.  Returning ERROR. \n")
            self.echo(b"createNewSecPolicyDN():  learnPrincipalNameFromSecUserObject FAILED. ERROR. \n")
            self.echo(b"createNewSecPolicyDN():  secPolicy_dn is: %s\n", dn)
            self.flush_failure = self.message(USER_WITHOUT_NAME, self.user.first(slot))
            return -1
        beginning = b"dn: cn=Policy,cn=Policies,principalName=" + name + b",cn=Users,"
        line0 = self.policy.first(slot)
        if self.inDefaultDomain(dn, line0):
            new = beginning + b"secAuthority=default\n"
        else:
            authority = self.authorityOf(dn)
            if authority is None:
                self.traceItem(FREE)
                self.echo(b"createNewSecPolicyDN(): Missing secAuthority in dn: %s\n", dn)
                self.complain(POLICY_WITHOUT_AUTHORITY, line0)
            new = beginning + authority + b",cn=Subdomains,secAuthority=default\n"
        self.secPolicy_dn[slot] = self.checkScratch(new, line0)
        return 0

    # The merge.

    def attributeName(self, line, line0, second):
        colon = line.find(b":")
        if colon < 0:
            self.report(b"mergeObjects():  Colon missing from attribute definition. EXITING. \n")
            self.trace(b"                 The input file could be corrupt.                  \n")
            if second:
                self.echo(b"attributeClone =  %s\n", line)
            else:
                self.echo(b"mergeObjects():  attributeClone = %s\n", line)
            self.complain(LINE_WITHOUT_COLON, line0)
        return line[:colon + 1]

    def mergeObjects(self, first, second):
        first_line0, second_line0 = first[0], second[0]
        first, second = list(first), list(second)
        merged = self.object = []
        for index, line in enumerate(first):
            if b"objectclass:" in line or b"objectClass:" in line:
                merged.append(line)
                first[index] = None
                continue
            name = self.attributeName(line, first_line0, False)
            if name in (b"dn:", b"DN:"):
                merged.append(line)
                first[index] = None
                continue
            if name in EXCLUDED_FROM_MERGE:
                continue
            match = None
            for other, candidate in enumerate(second):
                if candidate is not None and findIgnoringCase(candidate, name) >= 0:
                    match = other
                    break
            if match is None or findIgnoringCase(line, b"secauthority:") >= 0:
                merged.append(line)
            else:
                merged.append(second[match])
            first[index] = None
            if match is not None:
                second[match] = None
        for index, line in enumerate(second):
            if line is None:
                continue
            name = self.attributeName(line, second_line0, True)
            if name in (b"dn:", b"DN:") or name in EXCLUDED_FROM_MERGE:
                continue
            merged.append(line)
            second[index] = None
        if len(merged) > ENTRY_BUFFER_LINES:
            self.complainInFreeWording(ENTRY_TOO_LONG, first_line0)
        self.traceMerge(first, second)

    def traceMerge(self, first, second):
        if not self.debug:
            return
        self.trace(b"\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject1Clone. \n")
        self.trace(b"                   CHECK THESE FOR ERRRORS. \n")
        for index, line in enumerate(first):
            if line is not None:
                self.trace(b"                  inputObject1Clone[%d] = %s ", index, line)
        self.trace(b"\nmergeObjects():  THE FOLLOWING ATTRIBUTES REMAINED UNMERGED WITHIN inputObject2Clone: \n")
        self.trace(b"                   CHECK THESE FOR ERRRORS. \n")
        for index, line in enumerate(second):
            if line is not None:
                self.trace(b"                  inputObject2Clone[%d] = %s ", index, line)
        self.trace(b"mergeObjects():  The merged object is: \n")
        for index, line in enumerate(self.object):
            self.trace(b"                 object[%d] = %s ", index, line)
        self.trace(b"mergeObjects():  FUNCTION EXIT \n")

    # The flush.

    def copyAllAccumulatedDataToOutputFile(self):
        self.trace(b"\n                                       Calling dumpData() first to learn \n")
        self.trace(b"                                       what data will be copied.  \n")
        self.dumpData()
        slot = 0
        while self.secUser_dn_count != 0:
            steps = [(b"createNewSecUserDN", self.createNewSecUserDN),
                     (b"writeSecUserAddToOutputFile", self.writeSecUserAddToOutputFile)]
            if self.secPolicy_dn[slot] is not None:
                steps += [(b"createNewSecPolicyDN", self.createNewSecPolicyDN),
                          (b"writePolicyContainerAddToOutputFile", self.writePolicyContainerAddToOutputFile),
                          (b"writeSecPolicyAddToOutputFile", self.writeSecPolicyAddToOutputFile)]
            for name, step in steps:
                if step(slot) != 0:
                    self.report(b"copyAllAccumulatedDataToOutputFile() - %s() failure.  RETURNING. \n", name)
                    self.echo(b"secUser_dn = %s\n", self.secUser_dn[slot])
                    return -1
            self.secUser_dn[slot] = None
            self.release(self.user, slot, self.secUser_dn)
            self.release(self.users_entry, slot, self.secUser_dn)
            self.release(self.policy_data, slot, self.secUser_dn)
            self.release(self.user_map, slot, self.secUser_dn)
            self.secPolicy_dn[slot] = None
            self.release(self.policy, slot, self.secUser_dn)
            self.secUser_dn_count -= 1
            slot += 1
        slot = 0
        while self.secGroup_dn_count != 0:
            for name, step in [(b"createNewSecGroupDN", self.createNewSecGroupDN),
                               (b"writeSecGroupAddToOutputFile", self.writeSecGroupAddToOutputFile)]:
                if step(slot) != 0:
                    self.report(b"copyAllAccumulatedDataToOutputFile() - %s() failure.  RETURNING. \n", name)
                    self.echo(b"secGroup_dn = %s\n", self.secGroup_dn[slot])
                    return -1
            self.secGroup_dn[slot] = None
            self.release(self.group, slot, self.secGroup_dn)
            self.release(self.group_map, slot, self.secGroup_dn)
            self.secGroup_dn_count -= 1
            slot += 1
        self.next_available_secUser_dn_slot = 0
        self.next_available_secGroup_dn_slot = 0
        self.trace(b"copyAllAccumulatedDataToOutputFile() - Calling dumpData() last to verify \n")
        self.trace(b"                                       that all tables are empty. \n")
        self.dumpData()
        return 0

    def writeLines(self, lines, left_out):
        for line in lines[1:]:
            if not containsAny(line.lower(), left_out):
                self.output += line
        self.output += b"\n"

    def writeSecUserAddToOutputFile(self, slot):
        self.output += self.secUser_dn[slot]
        user, user_map = self.user.first(slot), self.user_map.first(slot)
        if user is None or user_map is None:
            self.report(b"writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n")
            self.traceItem(FREE)
            self.echo(b"secUser_matrix = %s\n", user or b"NULL")
            self.echo(b"secMap_for_secUser_matrix = %s\n", user_map or b"NULL")
            self.fail(self.messageOfMissing(USER_WITHOUT_MAP, slot, self.user_map, self.user))
        self.mergeObjects(self.user.row(slot), self.user_map.row(slot))
        if self.users_entry.first(slot) is not None:
            self.mergeObjects(self.users_entry.row(slot), self.object)
        self.writeLines(self.object, NOT_WRITTEN)
        self.object = []
        self.users_written += 1
        return 0

    def writePolicyContainerAddToOutputFile(self, slot):
        dn = self.secUser_dn[slot]
        self.output += self.checkScratch(b"dn: cn=Policies," + dn[dn.index(b":") + 1:].lstrip(b" "),
                                         self.user.first(slot))
        if self.changetypeSeen:
            self.output += b"changetype: add\n"
        self.output += b"objectclass: container\nobjectclass: top\ncn: Policies\n\n"
        return 0

    def writeSecPolicyAddToOutputFile(self, slot):
        if self.policy.first(slot) is None:
            return 0
        self.output += self.secPolicy_dn[slot]
        self.writeLines(self.policy.row(slot), NOT_WRITTEN_WITH_CONTROL)
        self.policies_written += 1
        return 0

    def writeSecGroupAddToOutputFile(self, slot):
        self.output += self.secGroup_dn[slot]
        if self.group.first(slot) is None or self.group_map.first(slot) is None:
            self.report(b"writeSecGroupAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n")
            self.fail(self.messageOfMissing(GROUP_WITHOUT_MAP, slot, self.group_map, self.group))
        self.mergeObjects(self.group.row(slot), self.group_map.row(slot))
        self.writeLines(self.object, NOT_WRITTEN)
        self.object = []
        self.groups_written += 1
        return 0

    # The dump of the cache.

    def dumpUserCounter(self, name, value):
        self.trace(b"\ndumpData() - %-45s= %d \n", name, value)

    def dumpGroupCounter(self, name, value):
        self.trace(b"\ndumpData() - %-46s= %d \n", name, value)

    def dumpMatrix(self, matrix, slot, empty):
        if matrix.first(slot) is None:
            self.trace(empty % slot if b"%d" in empty else empty)
            return
        for index, line in enumerate(matrix.row(slot)):
            self.trace(b"dumpData() - %s[%d][%d] = %s", matrix.name, slot, index, line)
        self.trace(b"\n")

    def dumpData(self):
        if not self.debug:
            return
        self.trace(b"\n\n\n/*************************************************************/ \n")
        self.trace(b"\ndumpData():  FUNCTION ENTRY \n")
        self.trace(b"/************* THE DATA BELOW IS THE DATA BEFORE *************/ \n")
        self.trace(b"/************* IT HAS BEEN MODIFIED OR COPIED TO *************/ \n")
        self.trace(b"/************* THE OUTPUT FILE.                  *************/ \n")
        self.dumpUserCounter(b"secUser_dn_count", self.secUser_dn_count)
        self.dumpUserCounter(b"numberOfSecUserObjectsInObjectCache", self.user.occupied)
        self.dumpUserCounter(b"numberOfSecPolicyDataObjectsInObjectCache", self.policy_data.occupied)
        self.dumpUserCounter(b"numberOfSecMapForSecUserObjectsInObjectCache", self.user_map.occupied)
        self.dumpUserCounter(b"numberOfUserSecUserObjectsInObjectCache", self.users_entry.occupied)
        self.dumpUserCounter(b"numberOfSecPolicyObjectsInObjectCache", self.policy.occupied)
        self.dumpUserCounter(b"next_available_secUser_dn_slot", self.next_available_secUser_dn_slot)
        for slot in range(self.secUser_dn_count):
            self.trace(b"----------------- BEGIN NEW USER --------------------------------------\n")
            self.dumpDN(b"secUser_dn", self.secUser_dn, slot, b"\ndumpData() - secUser_dn[%d] was NULL \n")
            self.dumpMatrix(self.user, slot, b"\ndumpData() - secUser_matrix[%d][0] was NULL \n")
            self.dumpMatrix(self.users_entry, slot,
                            b"\ndumpData() - No \"Users\" secUser entry for this secUser. \n\n")
            self.dumpMatrix(self.policy_data, slot, b"\ndumpData() - secPolicyData_matrix[%d][0] was NULL \n\n")
            self.dumpDN(b"secPolicy_dn", self.secPolicy_dn, slot, b"\ndumpData() - No secPolicy DN for this user. \n\n")
            self.dumpMatrix(self.policy, slot, b"\ndumpData() - No secPolicy for this user. \n\n")
            self.dumpMatrix(self.user_map, slot, b"\ndumpData() - secMapForSecUser_matrix[%d][0] was NULL \n\n")
        self.trace(b"/*************** END   DUMP OF USER  DATA ABOVE **************/ \n")
        self.trace(b"/*************** BEGIN DUMP OF GROUP DATA BELOW **************/ \n")
        self.dumpGroupCounter(b"secGroup_dn_count", self.secGroup_dn_count)
        self.dumpGroupCounter(b"numberOfSecGroupObjectsInObjectCache", self.group.occupied)
        self.dumpGroupCounter(b"numberOfSecMapForSecGroupObjectsInObjectCache", self.group_map.occupied)
        self.dumpGroupCounter(b"next_available_secGroup_dn_slot", self.next_available_secGroup_dn_slot)
        for slot in range(self.secGroup_dn_count):
            self.trace(b"\n----------------- BEGIN NEW GROUP -----------------------------------\n")
            self.dumpDN(b"secGroup_dn", self.secGroup_dn, slot, b"\ndumpData() - secGroup_dn[%d] was NULL \n\n")
            self.dumpMatrix(self.group, slot, b"\ndumpData() - secGroup_matrix[%d][0] was NULL \n\n")
            self.dumpMatrix(self.group_map, slot, b"\ndumpData() - secMap_for_secGroup_matrix[%d][0] was NULL \n\n")
        self.trace(b"/*************** END   DUMP OF GROUP DATA ABOVE **************/ \n")
        self.trace(b"dumpData():  FUNCTION EXIT \n\n")
        self.trace(b"/*************************************************************/ \n\n\n\n")

    def dumpDN(self, name, table, slot, empty):
        if table[slot] is None:
            self.trace(empty % slot if b"%d" in empty else empty)
        else:
            self.trace(b"\ndumpData() - %s[%d] = %s \n", name, slot, table[slot])


def convert(input_bytes, work=None, max_users=2, max_groups=2, debug_error=False, tracing=False, names=Names(),
            now=None):
    """Runs the conversion. `work` is a left-over work file; `now` a broken-down time, the present one by default."""
    return Conversion(input_bytes, work, max_users, max_groups, debug_error, tracing, names,
                      now or time.localtime()).run()
