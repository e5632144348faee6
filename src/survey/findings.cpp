#include "survey/findings.h"

#include <algorithm>
#include <iterator>

// By FindingId.
static constexpr FindingKind kinds[] = {
    {"entry-begins-with-continuation", STOPS, "The entry begins with the continuation of another line.",
     "Write a comment before it on one line; remove a line of blanks alone.", FOLDED_COMMENT},
    {"user-without-authority", STOPS, "The user has no secAuthority.", "Add the attribute or remove the user.",
     USER_WITHOUT_AUTHORITY},
    {"user-without-name", STOPS, "The user has no principalName.", "Add the attribute or remove the user.",
     USER_WITHOUT_NAME},
    {"users-entry-without-authority", STOPS, "The entry under cn=Users has no secAuthority.",
     "Add the attribute or remove the entry.", USERS_ENTRY_WITHOUT_AUTHORITY},
    {"users-entry-without-dn", STOPS, "The entry under cn=Users has no secDN.",
     "Add the attribute or remove the entry.", USERS_ENTRY_WITHOUT_DN},
    {"map-without-authority", STOPS, "The map has no secAuthority in its DN.", "Mend its DN or remove it.",
     MAP_WITHOUT_AUTHORITY},
    {"map-without-dn", STOPS, "The map has no secDN.", "Add the attribute or remove the map.", MAP_WITHOUT_DN},
    {"incomplete-dn", STOPS, "The entry does not begin with a complete dn: line.", "Mend its first line.",
     INCOMPLETE_DN},
    {"dn-without-comma", STOPS, "The DN has no comma, so the entry belongs to no user.", "Mend its DN or remove it.",
     DN_WITHOUT_COMMA},
    {"owner-dn-too-long", STOPS, "The entry names too long an owner DN.", "Shorten it to 19,998 characters at most.",
     OWNER_DN_TOO_LONG},
    {"user-without-map", STOPS, "The user has no secMap entry.",
     "Add its secMap entry, whose secDN must be the user's DN, or remove the user.", USER_WITHOUT_MAP},
    {"group-without-map", STOPS, "The group has no secMap entry.",
     "Add its secMap entry, whose secDN must be the group's DN, or remove the group.", GROUP_WITHOUT_MAP},
    {"user-without-own-entry", STOPS, "The entry belongs to a user without a secUser entry of its own.",
     "Add that entry, or remove all others of the user.", USER_WITHOUT_OWN_ENTRY},
    {"group-without-own-entry", STOPS, "The map belongs to a group without a secGroup entry.",
     "Add that entry or remove this one.", GROUP_WITHOUT_OWN_ENTRY},
    {"group-without-name", STOPS, "The group has no cn.", "Add the attribute or remove the group.", GROUP_WITHOUT_NAME},
    {"name-too-long", STOPS, "The name is too long.", "Shorten it to 1,022 characters at most.", NAME_TOO_LONG},
    {"dn-too-long", STOPS, "The DN is too long, the old or the new one.", "Shorten it to 4,094 characters at most.",
     DN_TOO_LONG},
    {"policy-without-authority", STOPS, "The policy has no secAuthority in its DN.", "Mend its DN or remove it.",
     POLICY_WITHOUT_AUTHORITY},
    {"line-without-colon", STOPS, "A line of the entry has no colon.",
     "Mend the line; one that continues another begins with a blank.", LINE_WITHOUT_COLON},
    {"doubled-entry", STOPS, "Another entry of the same kind belongs to the same user or group.", "Remove one of them.",
     DOUBLED},
    {"too-many-lines", STOPS, "The entry has more lines than can be gathered of it.",
     "Remove lines from it: 49 are gathered, of a policy 499.", ROW_OVERRUN},
    {"unknown-class", STOPS, "What is left of the entry behind a broken line is of an unknown class.",
     "Shorten its lines of 4,095 characters and more, and take out carriage returns that begin a line.", UNKNOWN_CLASS},
    {"entry-too-long", STOPS, "The entry has more than 250,000 lines.", "Remove lines from it.", ENTRY_TOO_LONG},
    {"nothing-gathered", STOPS, "The entries that remain cannot be gathered.", "Try other slot counts.",
     NOTHING_GATHERED},

    {"looks-like-bookkeeping", LOSES, "The line is dropped: it holds the name of an attribute that is.",
     "Reword the value."},
    {"line-lost", LOSES,
     "The line is dropped: what stood for it in the record is dropped, or of another attribute; or it is no line of its "
     "own once it is written.",
     "Reword the value, or remove the line."},
    {"line-taken", LOSES,
     "The line is in another record, or in none: an entry with too many lines takes the place of its entry.",
     "Remove lines from that entry, of which entry-in-another-row tells."},
    {"value-replaced", LOSES, "Another value of the attribute takes its place.", "Remove one of the two values."},

    {"base-64-in-new-dn", CHANGES, "The name is in base 64, and the new DN gets that text.",
     "Write the name in plain characters."},
    {"special-character-in-new-dn", CHANGES, "The name has a character that a DN must escape, and the new DN does not.",
     "Escape it in the new DN, or change the name."},
    {"domain-id-mistaken", CHANGES,
     "The secDomainId that is added has another name than the new DN, or an authority in base 64.",
     "Add the right one to the user."},
    {"domain-mistaken", CHANGES,
     "The new DN is of another domain than the old one, or a policy's than its user's: the names of the default domain "
     "and of the subdomains are looked for anywhere in a DN.",
     "Write the old DN otherwise, or mend the new one."},
    {"name-from-another-line", CHANGES, "The new DN gets its name from a line of another attribute.",
     "Put the line with the name before it."},
    {"new-dn-twice", CHANGES, "Another record has the same new DN.", "Give one of the two another name."},
    {"entry-in-another-row", CHANGES, "The entry is written over that of another user or group, or takes its lines.",
     "Remove lines from it: 49 are gathered, of a policy 499."},
    {"unknown-class-name", CHANGES,
     "The class does not count: its name is not known in this spelling, or stands behind another class.",
     "Write it as in secUser or secuser, behind objectClass: and a blank, on one line, in front of other classes."},
    {"longer-class-name", CHANGES, "The class is taken for a known one, whose name it begins with or holds.",
     "Rename the class, or set the entry aside."},
    {"version-line", CHANGES, "The version line is taken for the DN of the first entry.",
     "Remove it, or put an empty line behind it."},
    {"byte-order-mark", CHANGES, "The byte-order mark is taken for a part of the first line.", "Remove it."},
    {"change-record", CHANGES, "The change record is not applied; it is converted like an entry.",
     "Export content records."},
    {"nul-byte", CHANGES, "What stands behind a NUL byte in its line is gone.", "Remove the byte."},
    {"carriage-return", CHANGES, "What stands behind a carriage return inside a line is gone.",
     "Remove the character."},
    {"long-line", CHANGES, "A line of 4,095 characters or more is broken apart.",
     "Shorten it; in an entry that is copied as it is folding helps, too."},
    {"oversized-entry", CHANGES, "The entry has 250,000 lines or more and is copied unconverted.",
     "Remove lines from it."},
    {"dropped-in-part", CHANGES,
     "The line is folded in an entry of 250,000 lines or more, where each piece is dropped or stays by itself.",
     "Write it on one line."},
    {"record-runs-on", CHANGES,
     "The record that follows in the output begins without an empty line before it: the entry, of 250,000 lines or "
     "more, does not end with a whole line and an empty one.",
     "Put an empty line behind it, and mend its last line."},
    {"folded-comment", CHANGES, "What continues a comment is taken for more of the line before it.",
     "Write the comment on one line, or remove it."},

    {"value-taken-for-attribute", CHANGES, "A value that holds the name of an attribute is taken for that attribute.",
     "Reword the value."},
    {"entry-without-dn", CHANGES,
     "The entry does not begin with its DN: it may be the rest of the one before, or none at all.",
     "See whether a line of blanks parts the two; remove what is no entry."},
    {"second-dn", CHANGES, "The entry has a second dn: line, and is taken for one entry: it may be two.",
     "See whether an empty line is missing before it."},
    {"version-stays", CHANGES,
     "A version is not 6.0 in the output: it is not known in this spelling, or not the first.",
     "Write it as in version: 5.1, once in the entry."},
    {"dn-loses-blank", CHANGES, "The owner's DN loses a blank that is part of a name, beside a comma.",
     "Write the comma as \\2C and the blank as \\20."},
    {"dn-stays", CHANGES, "The dn: line of the map is in the record, too: it is not known in this spelling.",
     "Write it as dn: or DN:."},

    {"input-not-writable", SURROUNDINGS, "The conversion opens its input for writing, which is not allowed.",
     "Give yourself write permission."},
    {"input-name-too-long", SURROUNDINGS, "The name of the input is too long for the conversion.",
     "Use a name of 4,091 characters at most."},
    {"work-file-not-possible", SURROUNDINGS, "The work file cannot be made beside the input.",
     "Put the input into a folder in which you may write and nothing has the name of the work file, under a name of 251 "
     "characters at most."},
    {"work-file-left", SURROUNDINGS, "A work file from an earlier run is there and would be converted as well.",
     "Remove it."},
    {"no-room", SURROUNDINGS, "There is not room enough for the work file, the notes and the output.",
     "Make room on the disk."},
    {"not-ldif", SURROUNDINGS, "The input is not LDIF text.", "Unpack it, or export it anew."},
    {"empty-input", SURROUNDINGS, "There is no entry in the input.", "Export it anew."},
    {"nothing-to-convert", SURROUNDINGS, "There is no user and no group in the input.",
     "See whether it is the export of the registry."},
};
static_assert(std::size(kinds) == NUMBER_OF_FINDINGS);

const FindingKind& kindOf(FindingId id) { return kinds[id]; }

const char* nameOf(Effect effect) {
  static constexpr const char* names[] = {"stops", "loses", "changes", "surroundings"};
  return names[effect];
}

const char* nameOf(At at) {
  static constexpr const char* names[] = {nullptr, "given", "others"};
  return names[at];
}

FindingId findingOf(DetailText problem) {
  const auto isOfProblem = [&](const FindingKind& kind) { return kind.failure == problem; };
  return static_cast<FindingId>(std::find_if(std::begin(kinds), std::end(kinds), isOfProblem) - std::begin(kinds));
}
