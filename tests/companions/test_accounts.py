#!/usr/bin/env python3
"""What became of every entry and line of small inputs, worked out by hand.

    test_accounts.py TOOL ACCOUNT
"""
import base64
import json
import os
import sys
import tempfile
import unittest

import folder as folders
from folder import INPUT, OUTPUT, Folder
from pieces import (BERT, BERTS_MAP, BERTS_USERS, HELD, LINE, PLENTY, UNIT, credentials, entry, folded, group, line_of,
                    lines, map_of, map_of_group, oversized_unit, policy, policy_data, unit, user, users_entry, WEB)

AUTHORITY_INFO = entry("dn: secAuthority=Default", "objectclass: secAuthorityInfo", "version: 5.1")


def counts(**named):
    """All counts of lines, those that are not named being 0; the sums are worked out of them."""
    names = ("kept", "renamed", "replaced", "absorbed", "bookkeeping", "looks_like_bookkeeping", "not_written", "lost")
    lines = {name: named.pop(name, 0) for name in names}
    added = named.pop("added", 0)
    assert not named
    return lines | {"added": added, "input": sum(lines.values()), "output": lines["kept"] + lines["renamed"] + added}


def first_record(output):
    return output[:output.find(b"\n\n") + 2]


def record_of(output, begin):
    """The record with this begin."""
    return first_record(output[output.find(begin):])


def without_record(output, begin):
    return output.replace(record_of(output, begin), b"")


def last_line_before(output, line):
    """With the last line in the place of another one."""
    lines_of_it = output.splitlines(True)
    return b"".join(lines_of_it[:line - 1] + lines_of_it[-1:] + lines_of_it[line - 1:-1])


class Accounts(unittest.TestCase):
    def account(self, text, slots=PLENTY, spoil=lambda output: output):
        with Folder(text) as folder:
            run = folder.convert(slots)
            self.assertEqual(run.returncode, 0, run.stderr)
            folder.write(OUTPUT, spoil(folder.read(OUTPUT)))
            done = folder.run(folders.programs["account"], "--json", INPUT, OUTPUT)
        self.status = done.returncode
        return json.loads(done.stdout)

    def expect(self, text, lines, entries, records, losses=(), **how):
        said = self.account(text, **how)
        self.assertEqual(said["verdict"], "complete", said["first_difference"])
        self.assertEqual(said["lines"], lines)
        self.assertEqual(said["entries"], dict(zip(("input", "copied", "merged", "not_written"), entries)))
        self.assertEqual({name: count for name, count in said["records"].items() if count}, records)
        self.assertEqual([(one["line"], one["dn"], one["attribute"], one["how"]) for one in said["losses"]],
                         list(losses))
        self.assertEqual(self.status, 1 if said["losses"] or said["changes"] else 0)

    def test_a_user_of_three_entries_and_14_lines_has_7_lines_of_output(self):
        # Of the entry under cn=Users stay five but its DN, of the others one description; the identifier is added.
        self.expect(user("bert", "description: x") + map_of("bert", "description: x") + users_entry("bert"),
                    counts(kept=5, renamed=1, absorbed=8, added=1), (3, 0, 3, 0), {"users": 1})

    def test_policy_data_with_an_access_list_are_not_written_whatever_they_hold(self):
        self.expect(user("bert") + map_of("bert") + policy_data("bert", "aclEntry: x", "description: acl: x"),
                    counts(kept=4, renamed=1, absorbed=2, not_written=5, added=1), (3, 0, 2, 1), {"users": 1})

    def test_a_value_of_the_user_that_holds_acl_looks_like_bookkeeping(self):
        self.expect(user("bert", "description: see acl: x") + map_of("bert"),
                    counts(kept=4, renamed=1, absorbed=2, looks_like_bookkeeping=1, added=1), (2, 0, 2, 0),
                    {"users": 1},
                    [(5, BERT, "description", "looks_like_bookkeeping")])

    def test_a_value_of_the_map_that_holds_acl_looks_like_bookkeeping(self):
        self.expect(user("bert") + map_of("bert", "description: see acl: x"),
                    counts(kept=4, renamed=1, absorbed=2, looks_like_bookkeeping=1, added=1), (2, 0, 2, 0),
                    {"users": 1},
                    [(9, BERTS_MAP, "description", "looks_like_bookkeeping")])

    def test_a_value_of_both_that_holds_acl_looks_like_bookkeeping_twice(self):
        self.expect(user("bert", "description: acl: a") + map_of("bert", "description: acl: b"),
                    counts(kept=4, renamed=1, absorbed=2, looks_like_bookkeeping=2, added=1), (2, 0, 2, 0),
                    {"users": 1},
                    [(5, BERT, "description", "looks_like_bookkeeping"),
                     (10, BERTS_MAP, "description", "looks_like_bookkeeping")])

    def test_a_value_whose_replacement_is_dropped_is_lost(self):
        self.expect(user("bert", "description: own") + map_of("bert", "description: acl: b"),
                    counts(kept=4, renamed=1, absorbed=2, looks_like_bookkeeping=1, lost=1, added=1), (2, 0, 2, 0),
                    {"users": 1}, [(5, BERT, "description", "lost"),
                                   (10, BERTS_MAP, "description", "looks_like_bookkeeping")])

    def test_a_user_of_60_lines_behind_others_is_complete(self):
        # The last one has nobody's row to run on into. Another one before it has six lines of output of its seven.
        extra = [f"x{i}: {i}" for i in range(56)]
        self.expect(user("anna") + map_of("anna") + user("bert", *extra) + map_of("bert"),
                    counts(kept=4 + 60, renamed=2, absorbed=4, added=2), (4, 0, 4, 0), {"users": 2})

    def failed(self, text):
        """How the lines are told that an output does not have, by their numbers, and their counts."""
        with Folder(text) as folder:
            folder.write(OUTPUT, b"")
            done = folder.run(folders.programs["account"], "--json", INPUT, OUTPUT)
        said = json.loads(done.stdout)
        self.assertEqual(said["lines"]["input"], sum(said["lines"][name] for name in counts() if name not in
                                                     ("input", "output", "added")))
        return {one["line"]: one["how"] for one in said["losses"]}, said["lines"]

    def test_every_line_of_an_entry_that_ends_the_run_is_told(self):
        # Without a name it has no identifier of its domain.
        told, lines = self.failed(entry("dn: secAuthority=Default,cn=bert,o=example", "objectclass: secUser", "cn: b",
                                        " ert", "description: acl: x", "XOQ-ENTRYUUID: 1"))
        self.assertEqual(told, {1: "lost", 2: "lost", 3: "lost", 5: "looks_like_bookkeeping"})
        self.assertEqual((lines["lost"], lines["looks_like_bookkeeping"], lines["bookkeeping"]), (3, 1, 1))

    def test_every_line_of_an_entry_that_begins_with_a_continuation_is_told(self):
        told, lines = self.failed(entry(" rest", f"dn: {UNIT}", "objectclass: organizationalUnit"))
        self.assertEqual((told, lines["lost"]), ({1: "lost", 2: "lost", 3: "lost"}, 3))

    def test_policy_data_that_end_the_run_are_not_written(self):
        told, lines = self.failed(entry(" rest", "objectclass: secPolicyData"))
        self.assertEqual((told, lines["not_written"]), ({}, 2))

    def long_entries(self, text, **how):
        """The lines of the entries that are named as those that may have run on."""
        said = self.account(text, **how)
        self.assertEqual(said["verdict"], "differs")
        return [change["line"] for change in said["changes"] if change["id"] == "entry-in-another-row"]

    def test_a_policy_that_fills_its_row_is_named_where_it_has_taken_another_one(self):
        # Carl's entry fills its row, too, and has the pass to itself.
        text = (user("bert") + map_of("bert") + policy("bert", *lines(500 - 3)) + user("anna") + map_of("anna")
                + policy("anna") + user("carl", *lines(50 - 5)) + map_of("carl"))
        self.assertEqual(self.long_entries(text, slots=(2, 1)), [10])

    def test_an_entry_of_more_lines_is_named_though_its_record_is_as_it_should_be(self):
        text = (user("bert") + map_of("bert") + users_entry("carl") + user("carl") + map_of("carl")
                + users_entry("bert", *lines(60 - 6)))
        # All of Carl's entry is gone under the rest of Bert's.
        self.assertEqual(self.long_entries(text, slots=(2, 1)), [25])

    def test_entries_that_fill_their_rows_are_not_named_for_what_happened_to_another(self):
        text = (user("anna") + map_of("anna") + user("bert", *lines(50 - 5)) + map_of("bert")
                + policy_data("bert", *lines(50)))
        spoil = lambda output: output.replace(b"\nprincipalName: anna\n", b"\nprincipalName: Anna\n")
        self.assertEqual(self.long_entries(text, spoil=spoil), [])

    def test_an_entry_with_a_dn_in_base_64_is_copied(self):
        self.expect(entry("dn:: b3U9T3RoZXI=", "objectclass: organizationalUnit", "description: xoq-entryuuid: 9"),
                    counts(kept=2, looks_like_bookkeeping=1), (1, 1, 0, 0), {"straight_through": 1},
                    [(3, None, "description", "looks_like_bookkeeping")])

    def test_a_line_of_5000_characters_is_kept_and_its_rest_added(self):
        self.expect(unit(line_of(5000)), counts(kept=3, added=1), (1, 1, 0, 0), {"straight_through": 1})

    def test_a_long_line_that_begins_with_a_carriage_return_is_lost_though_its_end_stays(self):
        # Its first 4,095 characters read as a blank line, behind which the rest begins an entry.
        text = credentials("\r" + "x" * (LINE - 1) + "objectclass: secResCreds", "mail: x")
        self.expect(text, counts(kept=4, lost=1, added=1), (1, 1, 0, 0), {"resource_credentials": 2},
                    [(4, WEB, None, "lost")])

    def test_a_line_that_begins_with_a_carriage_return_is_blank_in_the_work_file_and_lost(self):
        self.expect(b"\r" + credentials(), counts(kept=2, lost=1), (1, 1, 0, 0), {"resource_credentials": 1},
                    [(1, None, None, "lost")])

    def test_a_value_that_loses_to_another_is_replaced(self):
        self.expect(user("bert", "description: own") + map_of("bert", "description: map's"),
                    counts(kept=5, renamed=1, absorbed=2, replaced=1, added=1), (2, 0, 2, 0), {"users": 1},
                    [(5, BERT, "description", "replaced")])

    def test_a_value_that_is_only_spelled_otherwise_is_replaced_and_no_loss(self):
        self.expect(user("bert", "mail: b") + map_of("bert", "MAIL: b"),
                    counts(kept=5, renamed=1, absorbed=2, replaced=1, added=1), (2, 0, 2, 0), {"users": 1})

    def test_a_value_in_base_64_is_that_of_its_text(self):
        texts = ("Same", "M\u00fcller", *("x" * length for length in (1, 2, 3, 47, 48, 49, 96, 97)))
        encoded = [(text, ": " + base64.b64encode(text.encode()).decode()) for text in texts]
        same = (*encoded, *((code, text) for text, code in encoded), ("Same", ":U2FtZQ"), ("Same", ":  U2FtZQ== \t"),
                (": U2FtZQ==", ": U2FtZQ"))
        others = (("Same1", ": U2FtZQ=="), ("Sam", ": U2FtZQ=="), (": U2FtZQ==", "Samf"), ("U2FtZQ==", ": U2FtZQ=="),
                  ("Same", ": U2FtZR9="), ("x" * 48, ": " + base64.b64encode(b"x" * 49).decode()),
                  ("x" * 49, ": " + base64.b64encode(b"x" * 48).decode()), (": U2FtZQ==", ": U2FtZg=="),
                  # What is no base 64 is the same as no text.
                  ("Sam", ": U2Ft!"), ("Sam!", ": U2Ft!"), ("Sam", ": U2FtZ"), ("SamZ", ": U2FtZ"), ("Same", ": U2FtZQ==A"),
                  ("Same", ": U2Ft=ZQ=="), (": U2Ft!a", ": U2Ft!b"), (": AFE=", ": Q"), (": UQ==", ": Q"),
                  # The address of a file that has the value.
                  ("< file:///x", ": PCBmaWxlOi8vL3g="), ("<file:///x", " <file:///x"), (" <file:///x", "<file:///x"))
        for is_same, values in ((True, same), (False, others)):
            for own, maps in values:
                # Many lines are compared in another way.
                for more in ((), tuple(f"a: {number}" for number in range(300))):
                    with self.subTest(own=own, maps=maps, more=len(more)):
                        said = self.account(user("bert", f"description:{own}" if own[0] in ":< " else f"description: {own}")
                                            + map_of("bert", f"DESCRIPTION:{maps}" if maps[0] in ":< "
                                                     else f"DESCRIPTION: {maps}", *more))
                        self.assertEqual(said["lines"]["replaced"], 1)
                        self.assertEqual([one["line"] for one in said["losses"]], [] if is_same else [5])

    def test_so_are_lines_of_a_long_record(self):
        # Of the user's lines one is equal to one of the map, and one has its value in another spelling. The group,
        # whose description is replaced, has nothing to do with them.
        own = ["a: 1298", "A: 1299", *(f"a: {number}" for number in range(298))]
        said = self.account(user("bert", *own) + map_of("bert", *(f"a: {1000 + number}" for number in range(300)))
                            + group("crew", "description: own") + map_of_group("crew", "description: map's"))
        self.assertEqual((said["verdict"], said["lines"]),
                         ("complete", counts(kept=304 + 4, renamed=2, absorbed=3 + 2, replaced=299 + 1, added=1)))
        self.assertEqual([(one["line"], one["how"]) for one in said["losses"]],
                         [*((line, "replaced") for line in range(7, 305)), (305 + 304 + 4, "replaced")])

    def test_lines_that_are_dropped_do_not_replace_one_another(self):
        self.expect(unit("description: xoq-entryuuid: 1", "description: xoq-entryuuid: 2"),
                    counts(kept=2, looks_like_bookkeeping=2), (1, 1, 0, 0), {"straight_through": 1},
                    [(line, UNIT, "description", "looks_like_bookkeeping") for line in (3, 4)])
        self.expect(unit("description: xoq-entryuuid: 1", "description: x"), counts(kept=3, replaced=1), (1, 1, 0, 0),
                    {"straight_through": 1}, [(3, UNIT, "description", "replaced")])

    def test_a_line_that_is_renamed_is_absorbed_by_one_that_is_equal_to_it_in_the_input(self):
        # The map's identifier keeps its name.
        for uuid, absorbed, replaced in (("secuuid: 47", 3, 0), ("secUuid: 47", 2, 1), ("secuuid: 4\n 7", 3, 0)):
            self.expect(user("bert", uuid) + map_of("bert", "secuuid: 47"),
                        counts(kept=5, renamed=1, absorbed=absorbed, replaced=replaced, added=1), (2, 0, 2, 0),
                        {"users": 1})

    def test_uuids_and_versions_are_renamed(self):
        self.expect(AUTHORITY_INFO + user("bert", "secuuid: 1") + map_of("bert"),
                    counts(kept=2 + 4, renamed=1 + 2, absorbed=2, added=1 + 1), (3, 1, 2, 0),
                    {"users": 1, "straight_through": 1})

    def test_bookkeeping_is_told_from_losses(self):
        self.expect(user("bert", "aclEntry: x", "XOQ-EntryUUID: 1", "aclPropagate: TRUE") + map_of("bert", "aci: x"),
                    counts(kept=4, renamed=1, absorbed=2, bookkeeping=4, added=1), (2, 0, 2, 0), {"users": 1})

    def test_a_policy_is_copied_behind_a_container_of_four_lines(self):
        self.expect(user("bert") + map_of("bert") + policy("bert", "control: x"),
                    counts(kept=4 + 2, renamed=2, absorbed=2, bookkeeping=1, added=1 + 4), (3, 1, 2, 0),
                    {"users": 1, "policies": 1, "containers": 1})

    def test_a_group_keeps_its_control_lines_and_credentials_do_not(self):
        self.expect(group("crew", "CONTROL: x") + map_of_group("crew") + credentials("control: x"),
                    counts(kept=4 + 3, renamed=1, absorbed=2, bookkeeping=1), (3, 1, 2, 0),
                    {"groups": 1, "resource_credentials": 1})

    def test_records_that_a_cut_line_has_run_together_are_told_apart(self):
        # Folded, so that it can be read. In the work file it is two lines: the second is dropped, and has the newline.
        cut = "x: " + "y" * (LINE - 5) + "\n " + "yyacl: z"
        text = b"".join(user(name) + map_of(name, cut) for name in ("anna", "bert", "carl"))
        self.expect(text + group("staff") + map_of_group("staff"),
                    counts(kept=3 * 5 + 3, renamed=4, absorbed=3 * 2 + 2, added=3), (8, 0, 8, 0),
                    {"users": 3, "groups": 1})

    def test_so_are_those_of_one_new_dn_whose_lengths_differ(self):
        cut = "x: " + "y" * (LINE - 5) + "\n " + "yyacl: z"
        anna = user("anna", "note: long", principal="bert") + map_of("anna", cut)
        bert = user("bert") + map_of("bert", cut)
        for text in (anna + bert, bert + anna):
            self.expect(text + group("staff") + map_of_group("staff"),
                        counts(kept=6 + 5 + 3, renamed=3, absorbed=3 * 2, added=2), (6, 0, 6, 0),
                        {"users": 2, "groups": 1})

    def written(self, text, *options):
        with Folder(text) as folder:
            self.assertEqual(folder.convert(PLENTY).returncode, 0)
            return folder.run(folders.programs["account"], *options, INPUT, OUTPUT).stdout.decode()

    def test_each_line_that_is_gone_is_told_with_the_line_in_its_place(self):
        # The user's lines 5 to 8 stand in front of the map's 13 to 15. Of x and z each, the merge takes the map's line
        # for the user's; z is found in the name of another attribute.
        text = (user("bert", "mail: own", "x: 1", "z: 1", "x: acl: 2") + map_of("bert", "mail: map's", "x: acl: 3", "yz: 2"))
        for options, lines in ((("--all",), ("line 5  replaced  mail  by line 13",
                                             "line 6  lost  x  by line 14, which is dropped",
                                             "line 7  lost  z  by line 15")),
                               (("--entry", BERT, "--values"), ("line 5  replaced  mail: own  by line 13: mail: map's",
                                                                "line 7  lost  z: 1  by line 15: yz: 2"))):
            shown = self.written(text, *options)
            for line in lines:
                self.assertIn(f"  {line}\n", shown)

    def test_each_of_several_values_is_told_with_the_one_in_its_own_place(self):
        shown = self.written(user("bert", "mail: a", "mail: b") + map_of("bert", "mail: c", "mail: d"), "--all")
        for line in ("line 5  replaced  mail  by line 11", "line 6  replaced  mail  by line 12"):
            self.assertIn(f"  {line}\n", shown)

    def test_another_value_that_stays_has_not_taken_the_place_of_one_that_is_gone(self):
        # Of three entries, too: there the map is merged with the entry under cn=Users before.
        for more in (b"", users_entry("bert", "sn: Bert")):
            shown = self.written(user("bert", "mail: a", "mail: b") + map_of("bert", "altMail: c") + more, "--all")
            self.assertIn("  line 5  lost  mail  by line 11\n", shown)
        shown = self.written(user("bert", "x: a", "x: b") + map_of("bert", "x: acl: c"), "--all")
        self.assertIn("  line 5  lost  x  by line 11, which is dropped\n", shown)

    def test_a_value_that_is_dropped_takes_no_place_of_one_that_is_dropped_itself(self):
        shown = self.written(user("bert", "x: acl: a", "x: b") + map_of("bert", "x: acl: c"), "--all")
        self.assertIn("  line 5  replaced  x  by line 6\n", shown)

    def test_of_several_lines_that_one_is_told_which_says_the_same(self):
        text = user("bert", "mail: b", "x: y") + map_of("bert", "mail: a", "mail:: Yg==", "mail: B")
        self.assertIn("  line 5  replaced  mail  by line 12\n", self.written(text, "--all"))

    def test_so_is_one_of_a_user_of_three_entries(self):
        shown = self.written(user("bert", "cn: Bert") + map_of("bert", "secCn: b") + users_entry("bert", "mail: x"),
                             "--all")
        self.assertIn("  line 5  lost  cn  by line 10\n", shown)

    def test_a_line_that_is_added_replaces_others(self):
        # The user gets a secDomainId, which wins over that under cn=Users.
        shown = self.written(user("bert") + map_of("bert") + users_entry("bert", "secDomainId: Other%b"), "--all")
        self.assertIn("  line 15  replaced  secDomainId  by a line that is added\n", shown)

    def test_each_line_of_a_long_entry_is_told_with_the_one_in_its_place(self):
        # The user's lines begin in line 5, the map in line 46, the entry under cn=Users in line 50, with five of its own.
        names = [f"x{number}" for number in range(40)]
        shown = self.written(user("bert", *(f"{name}: own" for name in names)) + map_of("bert")
                             + users_entry("bert", *(f"{name}: other" for name in reversed(names))), "--all")
        for number, name in enumerate(names):
            self.assertIn(f"  line {94 - number}  replaced  {name}  by line {5 + number}\n", shown)

    def test_a_line_that_is_dropped_itself_replaces_none(self):
        text = unit("description: XOQ-ENTRYUUID: 1", "description: XOQ-ENTRYUUID: 2", "description: kept")
        shown = self.written(text, "--all")
        for line in (3, 4):
            self.assertIn(f"  line {line}  replaced  description  by line 5\n", shown)

    def test_a_line_that_is_blank_once_it_is_written_is_lost_for_that(self):
        shown = self.written(b"\r" + credentials(), "--all")
        self.assertIn("  line 1  lost  (no attribute name)  (blank once it is written)\n", shown)

    def test_lines_of_an_entry_that_are_blank_once_they_are_written_are_listed_together(self):
        shown = self.written(user("bert") + map_of("bert", "\rone: 1", "\rtwo: 2"), "--all")
        self.assertRegex(shown, "once they are written\n.*blank once it is written[)]\n.*blank once it is written[)]\n")

    def test_a_second_dn_of_a_merged_entry_is_not_merged(self):
        for own, place in (((), 9), (("dn: too",), 10)):  # whether the user keeps one or not
            shown = self.written(user("bert", *own) + map_of("bert", "DN: again"), "--all")
            self.assertIn(f"  line {place}  lost  DN  (not merged)\n", shown)

    def test_the_lines_of_a_missing_record_are_lost_with_it(self):
        with Folder(user("bert", "mail: x") + map_of("bert", "mail: y")) as folder:
            folder.write(OUTPUT, b"")
            shown = folder.run(folders.programs["account"], "--all", INPUT, OUTPUT).stdout.decode()
        self.assertIn("  line 5  lost  mail\n", shown)

    def test_what_is_left_of_a_long_comment_has_no_name(self):
        shown = self.written(b"#" + b"c" * (LINE - 1) + b"secret: x\n" + unit(), "--all")
        self.assertIn("  line 1  kept  (no attribute name)\n", shown)
        self.assertNotIn("secret", shown)

    def test_an_entry_of_250000_lines_is_copied_line_by_line(self):
        self.expect(oversized_unit("xoq-entryuuid: 9"), counts(kept=249999, bookkeeping=1), (1, 1, 0, 0),
                    {"straight_through": 1})

    def test_an_entry_of_250000_lines_that_are_all_dropped_leaves_no_record(self):
        self.expect(unit() + entry(*["xoq-entryuuid: 9"] * HELD) + unit(), counts(kept=4, bookkeeping=HELD), (3, 3, 0, 0),
                    {"straight_through": 2})

    def test_the_rest_of_a_long_comment_in_an_entry_of_250000_lines_is_added(self):
        self.expect(oversized_unit()[:-1] + b"#" + b"c" * (LINE - 1) + b"x: y\na: b\n\n",
                    counts(kept=HELD + 1, added=1), (1, 1, 0, 0), {"straight_through": 1})

    def test_a_line_behind_one_that_a_nul_cuts_in_an_entry_of_250000_lines_is_lost(self):
        said = self.account(oversized_unit()[:-1] + b"a: b\0c\nsn: d\ne: f\n\n")
        self.assertEqual((said["verdict"], said["lines"]), ("complete", counts(kept=HELD + 2, lost=1)))
        self.assertEqual([(one["line"], one["attribute"]) for one in said["losses"]], [(HELD + 2, "sn")])

    def test_a_nul_in_the_last_line_of_an_entry_of_250000_lines_leaves_the_next_one_alone(self):
        said = self.account(oversized_unit()[:-1] + b"a: b\0c\n\n" + oversized_unit())
        self.assertEqual((said["verdict"], said["lines"], said["losses"]), ("complete", counts(kept=2 * HELD + 1), []))

    def test_every_line_of_a_missing_entry_of_250000_lines_is_lost_but_what_is_dropped_anyway(self):
        said = self.account(unit() + oversized_unit("xoq-entryuuid: 9"), spoil=lambda output: first_record(output))
        self.assertEqual((said["verdict"], said["lines"]), ("differs", counts(kept=2, lost=HELD - 1, bookkeeping=1)))
        self.assertEqual([one["line"] for one in said["losses"]], [4, 5, *range(7, 4 + HELD)])
        self.assertEqual({one["how"] for one in said["losses"]}, {"lost"})

    def test_an_entry_of_250000_lines_is_answered_for_line_by_line(self):
        head = [f"line 5: {UNIT}: copied", "  line 5  kept  dn", "  line 6  kept  objectclass"]
        for more, third in (("xoq-entryuuid: 9", "bookkeeping  xoq-entryuuid"), ("note: x\n y", "kept  note")):
            shown = self.written(credentials() + oversized_unit(more), "--entry", UNIT)
            answer = shown[:shown.index("\n\n")].splitlines()
            self.assertEqual(answer[:4], [*head, f"  line 7  {third}"])
            fourth = 9 if "\n" in more else 8
            self.assertEqual(answer[4:], [f"  line {number}  kept  mail" for number in range(fourth, fourth + HELD - 3)])

    def test_what_is_odd_about_an_entry_of_250000_lines_is_a_change(self):
        odd = ("description: a\n xoq-entryuuid: 9", "dn: x", "changetype: add", "# c\n d", line_of(5000), "ou: b\0")
        long_user = user("bert", *lines(HELD), *odd)
        said = self.account(b"\xef\xbb\xbf" + unit() + long_user + entry("ou: x", *lines(HELD))[:-1] + credentials())
        found = [(one["id"], one["line"]) for one in said["changes"]]
        more = 8 + HELD   # the first line behind those of the user
        self.assertEqual(sorted(found), sorted([
            ("byte-order-mark", 1), ("oversized-entry", 4), ("dropped-in-part", more), ("second-dn", more + 2),
            ("change-record", more + 3), ("folded-comment", 4), ("long-line", more + 6), ("nul-byte", more + 7),
            ("record-runs-on", 4), ("entry-without-dn", more + 9),
            ("unknown-class-name", more + 9 + HELD + 2)]))

    def test_a_record_runs_on_in_an_entry_of_250000_lines_without_a_whole_end(self):
        for text, changes in ((oversized_unit()[:-2] + b"\0\n\n" + unit(), ["nul-byte", "record-runs-on"]),
                              (credentials() + oversized_unit()[:-1], ["record-runs-on"]), (oversized_unit()[:-1], [])):
            self.assertEqual([one["id"] for one in self.account(text)["changes"]], changes)

    def test_a_line_behind_an_entry_of_250000_lines_without_a_newline_counts(self):
        text = user("bert", "secDomainId: Default%bert") + map_of("bert") + oversized_unit()[:-2]
        for end in (b"", b"\n"):
            said = self.account(text + end)
            self.assertEqual((said["verdict"], said["lines"]),
                             ("complete", counts(kept=5 + HELD, renamed=1, absorbed=2)))
        said = self.account(text, spoil=lambda output: output.replace(b"principalName: bert", b"principalName: Bert"))
        self.assertEqual(said["verdict"], "differs")
        self.assertEqual(self.account(oversized_unit()[:-2])["lines"], counts(kept=HELD))

    def test_each_entry_of_250000_lines_has_one_head(self):
        shown = self.written(2 * oversized_unit(), "--all")
        self.assertEqual([line for line in shown.splitlines() if line.startswith("line")],
                         [f"line {number}: {UNIT}: copied" for number in (1, HELD + 2)])

    def test_the_lines_that_read_as_nothing_stand_apart_from_those_that_are_copied(self):
        shown = self.written(b"\r" + credentials(), "--all")
        self.assertEqual([line.rpartition(": ")[2] for line in shown.splitlines() if line.startswith("line 1:")],
                         ["lines of it read as nothing once they are written", "copied"])

    def test_slot_counts_make_no_difference(self):
        registry = b"".join(user(name) + map_of(name) for name in ("anna", "bert", "carl"))
        for slots in ((1, 1), (2, 1), (3, 3)):
            self.expect(registry, counts(kept=12, renamed=3, absorbed=6, added=3), (6, 0, 6, 0), {"users": 3},
                        slots=slots)

    def test_a_missing_record_has_lost_all_its_lines(self):
        said = self.account(unit() + user("bert") + map_of("bert"), spoil=first_record)
        self.assertEqual((said["verdict"], self.status), ("differs", 1))
        self.assertEqual(said["lines"], counts(kept=2, lost=7))
        first = said["first_difference"]
        self.assertEqual((first["input_line"], first["output_line"]), (4, None))
        self.assertIn("is missing", first["text"])

    def test_a_missing_policy_or_container_is_named_by_the_policy(self):
        # The user has four lines and its map three, each with an empty line behind it; the policy comes then.
        for begin in (b"dn: cn=Policy,cn=Policies,principalName=bert,", b"dn: cn=Policies,principalName=bert,"):
            said = self.account(user("bert") + map_of("bert") + policy("bert"),
                                spoil=lambda output, begin=begin: without_record(output, begin))
            first = said["first_difference"]
            self.assertEqual((first["input_line"], first["output_line"]), (10, None), begin)
            self.assertRegex(first["text"], "container.*is missing" if b"=Policy," not in begin else "entry is missing")

    def test_a_changed_container_is_not_taken_for_the_policy(self):
        # The record of the user has six lines: the map's secDN and the added identifier are among them.
        said = self.account(user("bert") + map_of("bert") + policy("bert"),
                            spoil=lambda output: output.replace(b"objectclass: container", b"objectclass: other"))
        first = said["first_difference"]
        self.assertEqual((first["input_line"], first["output_line"]), (10, 8), first)
        self.assertIn("is not the container", first["text"])

    def test_a_changed_record_of_a_user_is_named_by_the_first_entry_that_is_merged_into_it(self):
        # The policy of three lines, and policy data, come first.
        said = self.account(policy("bert") + policy_data("bert") + user("bert") + map_of("bert"),
                            spoil=lambda output: output.replace(b"secDN: cn=bert", b"secDN: cn=Bert"))
        self.assertEqual((said["first_difference"]["input_line"], said["first_difference"]["output_line"]), (9, 1))

    def test_a_missing_record_has_lost_what_is_not_dropped_on_its_way(self):
        # Access lists of entries that are copied stay.
        said = self.account(unit("aci: 1"), spoil=lambda output: output.replace(b"aci: 1\n", b""))
        self.assertEqual(said["lines"], counts(lost=3, added=2))
        self.assertEqual([one["line"] for one in said["losses"]], [1, 2, 3])

    def test_line_ends_of_another_kind_are_differences_and_no_lines(self):
        said = self.account(unit(), spoil=lambda output: output.replace(b"\n", b"\r\n"))
        self.assertEqual((said["verdict"], said["lines"]), ("differs", counts(lost=2, added=2)))

    def test_bookkeeping_is_none_of_what_a_missing_record_has_lost(self):
        said = self.account(unit("XOQ-ENTRYUUID: 1") + user("bert", "aclEntry: x", "description: acl: x")
                            + map_of("bert"), spoil=lambda output: b"")
        self.assertEqual(said["lines"], counts(bookkeeping=2, looks_like_bookkeeping=1, lost=2 + 4 + 3))

    def test_what_cannot_be_converted_is_lost_but_for_policy_data(self):
        with Folder(user("bert") + policy_data("bert")) as folder:
            folder.write(OUTPUT, b"")
            done = folder.run(folders.programs["account"], "--json", INPUT, OUTPUT)
        said = json.loads(done.stdout)
        self.assertEqual((said["verdict"], done.returncode), ("differs", 1))
        self.assertEqual(said["lines"], counts(lost=4, not_written=3))

    def test_a_changed_byte_is_found_with_its_line_in_both_files(self):
        said = self.account(unit() + user("bert") + map_of("bert"),
                            spoil=lambda output: output.replace(b"principalName: bert", b"principalName: Bert"))
        self.assertEqual((said["verdict"], self.status), ("differs", 1))
        self.assertEqual((said["first_difference"]["input_line"], said["first_difference"]["output_line"]), (4, 4))

    def test_an_empty_line_that_has_moved_is_found(self):
        text = unit("ou: Other") + user("bert") + map_of("bert")
        for line in (1, 5):  # in front of either record
            said = self.account(text, spoil=lambda output: last_line_before(output, line))
            self.assertEqual((said["verdict"], said["first_difference"]["output_line"]), ("differs", line))

    def test_an_output_that_ends_with_a_piece_of_a_line_ends_without_an_empty_line(self):
        # The piece has no line end, and the empty line becomes it.
        self.expect(user("bert") + map_of("bert", folded(line_of(LINE))),
                    counts(kept=5, renamed=1, absorbed=2, added=1), (2, 0, 2, 0), {"users": 1})

    def test_a_doubled_record_is_found(self):
        said = self.account(unit() + user("bert") + map_of("bert"), spoil=lambda output: output + first_record(output))
        self.assertEqual((said["verdict"], self.status), ("differs", 1))
        first = said["first_difference"]
        self.assertIn("more often", first["text"])
        # Behind the unit's two lines, the user's six of output, and their empty lines.
        self.assertEqual((first["input_line"], first["output_line"]), (1, 3 + 7 + 1))

    def test_each_of_two_equal_entries_needs_a_record_of_its_own(self):
        # So many that some are found by the way of others.
        text = b"".join(2 * entry(f"dn: ou={i}", "objectclass: organizationalUnit") for i in range(40))
        said = self.account(text)
        self.assertEqual((said["verdict"], said["records"]["straight_through"], self.status), ("complete", 80, 0))
        said = self.account(text, spoil=lambda output: output.replace(first_record(output), b"", 1))
        # The entries and records have three lines each.
        self.assertEqual((said["verdict"], said["records"]["straight_through"]), ("differs", 79))
        self.assertEqual((said["first_difference"]["input_line"], said["first_difference"]["output_line"]), (4, None))
        records = text.split(b"\n\n")[:-1:2]
        said = self.account(text, spoil=lambda output: b"".join(record + b"\n\n" for record in records))
        self.assertEqual(said["records"]["straight_through"], 40)

    def test_a_doubled_record_of_a_user_is_named_by_its_own_entry(self):
        said = self.account(unit() + user("bert") + map_of("bert") + user("carl") + map_of("carl"),
                            spoil=lambda output: output + record_of(output, b"dn: principalName=carl,"))
        # Nine lines a user in the input behind three of the unit; seven of each in the output.
        self.assertEqual((said["first_difference"]["input_line"], said["first_difference"]["output_line"]),
                         (3 + 9 + 1, 3 + 7 + 7 + 1))

    def test_the_first_difference_is_one_sentence_of_the_places_and_one_of_what_it_is(self):
        with Folder(unit()) as folder:
            folder.convert(PLENTY)
            output = folder.read(OUTPUT)
            for text, said in ((output + b"dn: o=other\n\n", "line 4 of it. The record is no part of a conversion"),
                               (b"", "line 1 of the input. The record that the conversion makes"),
                               (output.replace(b"Unit", b"unit"), "line 1 of it, line 1 of the input. The record is not")):
                folder.write(OUTPUT, text)
                done = folder.run(folders.programs["account"], INPUT, OUTPUT)
                self.assertIn(f"First difference: {said}", done.stdout.decode())

    def test_an_install_date_may_be_any_but_must_be_one(self):
        for date, verdict in ((b"20300102030405.0Z", "complete"), (b"2030010203040x.0Z", "differs")):
            said = self.account(AUTHORITY_INFO, spoil=lambda output, date=date: output.partition(b"installDate: ")[0]
                                + b"installDate: " + date + b"\n\n")
            self.assertEqual(said["verdict"], verdict)

    def test_an_empty_line_too_many_is_found(self):
        for spoil, line in ((lambda output: output + b"\n", 7), (lambda output: b"\n" + output, 1),
                            (lambda output: output[:-1], 4), (lambda output: output.replace(b"\n\n", b"\n\n\n"), 4)):
            said = self.account(unit() + unit(), spoil=spoil)
            self.assertEqual((said["verdict"], said["first_difference"]["output_line"]), ("differs", line))

    def test_an_empty_line_too_many_behind_an_entry_of_250000_lines_is_found(self):
        # At the end of the text no empty line ends it, and none is written.
        said = self.account(oversized_unit()[:-1], spoil=lambda output: output + b"\n")
        self.assertEqual((said["verdict"], said["first_difference"]["output_line"]), ("differs", HELD + 1))

    MANY_REPLACED = b"".join(user(f"p{i}", "description: own") + map_of(f"p{i}", "description: map's")
                             for i in range(40))
    # Three kinds of findings.
    MANY = MANY_REPLACED + user("bert", "description: acl: x") + map_of("bert") + 12 * unit("changetype: add")

    def summary(self, text, *options):
        with Folder(text) as folder:
            folder.convert((50, 1))
            return folder.run(folders.programs["account"], *options, INPUT, OUTPUT).stdout.decode()

    def more(self, text):
        return [line for line in text.splitlines() if line.endswith("more")]

    def test_ten_of_one_kind_are_shown(self):
        text = self.summary(self.MANY_REPLACED)
        self.assertEqual((text.count(", description\n"), self.more(text)), (10, ["  and 30 more"]))

    def test_of_more_kinds_as_many_are_shown_as_fit_on_a_screen(self):
        text = self.summary(self.MANY)
        self.assertEqual(self.more(text), ["  and 39 more", "  and 11 more"])
        self.assertIn(f"\nlooks_like_bookkeeping:\n  line {40 * 11 + 5}: {BERT}, description\n", text)
        self.assertLessEqual(text.count("\n"), 24)

    def test_of_many_kinds_the_numbers_are_shown(self):
        text = self.summary(self.MANY + user("carl", "secDomainId: x", principal="a+b") + map_of("carl")
                            + unit("description: a\0b", line_of(5000)) + unit("changetype: add", "objectclass: SecUser"))
        self.assertIn("\nreplaced: 40\nlooks_like_bookkeeping: 1\n", text)
        self.assertIn("\nchange-record (changes): 13\n", text)
        self.assertLessEqual(text.count("\n"), 24)

    def test_all_shows_all_changes(self):
        text = self.summary(self.MANY, "--all")
        self.assertEqual(self.more(text), ["  and 30 more"])
        self.assertEqual(text[text.index("\nreplaced:"):].count(f": {UNIT}\n"), 12)

    def test_one_entry_is_answered_for_in_any_case_and_with_any_blanks(self):
        with Folder(user("bert", "description: secret") + map_of("bert") + users_entry("bert")) as folder:
            folder.convert(PLENTY)
            asked = BERTS_USERS.upper().replace(",", " , ").replace("=", " =  ")
            done = folder.run(folders.programs["account"], "--entry", asked, INPUT, OUTPUT)
        lines = done.stdout.decode().splitlines()
        self.assertEqual(lines[0],
                         f"line 11: {BERTS_USERS}: merged into principalName=bert,cn=Users,secAuthority=default")
        self.assertEqual([line.split() for line in lines[1:6]],
                         [["line", "11", "absorbed", "dn"], ["line", "12", "kept", "objectclass"],
                          ["line", "13", "kept", "secAuthority"], ["line", "14", "absorbed", "principalName"],
                          ["line", "15", "absorbed", "secDN"]])

    def test_an_entry_is_answered_for_that_others_stand_before(self):
        shown = self.written(unit() + credentials() + user("bert") + map_of("bert"), "--entry", BERTS_MAP)
        self.assertEqual([line for line in shown.splitlines() if line.startswith("line")],
                         [f"line 13: {BERTS_MAP}: merged into principalName=bert,cn=Users,secAuthority=default"])

    def test_an_entry_whose_dn_is_in_base_64_is_answered_for_by_its_text(self):
        coded = base64.b64encode("cn=Jürgen, o=Example".encode())
        for first in (b"dn:: " + coded, b"DN::" + coded + b" ", b"dn:: " + coded[:9] + b"\n " + coded[9:]):
            shown = self.written(first + unit()[len(f"dn: {UNIT}"):] + unit(), "--entry", "CN=Jürgen,o=example")
            self.assertEqual(shown.count(" kept "), 2, first)
        for first in (b"dn: " + coded, b"cn:: " + coded, b"dn " + coded):
            shown = self.written(first + unit()[len(f"dn: {UNIT}"):] + unit(), "--entry", "CN=Jürgen,o=example")
            self.assertEqual(shown.count(" kept "), 0, first)

    def test_an_entry_is_answered_for_whose_dn_is_not_its_first_line(self):
        for first in (b"version: 1\n", b"\xef\xbb\xbf", unit()[:-1]):
            shown = self.written(first + unit().replace(UNIT.encode(), b"ou=New,\n o=example") + unit(), "--entry",
                                 "OU=new, o=example")
            self.assertEqual([line.partition(":")[0] for line in shown.splitlines() if line.startswith("line")],
                             ["line 1"], first)
        # A DN elsewhere is none.
        self.assertIn("No entry of the input has the DN", self.written(unit("member: ou=New"), "--entry", "ou=New"))

    def test_values_are_shown_when_they_are_asked_for_only(self):
        with Folder(user("bert", "description: hunter2") + map_of("bert", "description: x")) as folder:
            folder.convert(PLENTY)
            for options, isShown in ((("--all",), False), (("--all", "--values"), True), (("--json",), False),
                                     (("--json", "--values"), True)):
                done = folder.run(folders.programs["account"], *options, INPUT, OUTPUT)
                self.assertEqual(b"hunter2" in done.stdout, isShown, options)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.access("/dev/shm", os.W_OK) else None) as scratch:
        folders.scratch = scratch
        folders.programs |= {name: os.path.abspath(path) for name, path in zip(("tool", "account"), sys.argv[1:3])}
        unittest.main(argv=sys.argv[:1])
