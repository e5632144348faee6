#!/usr/bin/env python3
"""Checks of the model against cases worked out by hand."""

import time
import unittest

import generate
import model
from model import FREE, Message, convert

NEW_YEAR = time.struct_time((2024, 3, 2, 15, 4, 5, 5, 62, 0))


def entry(*lines):
    return b"".join(line.encode("latin-1") + b"\n" for line in lines) + b"\n"


USER = entry("dn: secAuthority=Default,cn=jdoe,o=example", "objectClass: secUser", "secAuthority: Default",
             "principalName: jdoe")
USER_MAP = entry("dn: cn=m1,cn=Users,secAuthority=Default", "objectClass: secMap", "secdn: cn=jdoe,o=example")
USERS_ENTRY = entry("dn: principalName=jdoe,cn=Users,secAuthority=Default", "objectClass: secUser",
                    "secAuthority: Default", "principalName: jdoe", "secDN: cn=jdoe, o=example")
POLICY = entry("dn: cn=Policy,secAuthority=Default,cn=jdoe,o=example", "objectClass: secPolicy", "cn: Policy",
               "control: x")
GROUP = entry("dn: secAuthority=Default,cn=staff,o=example", "objectClass: secGroup", "cn: staff")
GROUP_MAP = entry("dn: cn=m2,cn=Groups,secAuthority=Default", "objectClass: secMap", "secDN: cn=staff,o=example")
USER_RECORD = (b"dn: principalName=jdoe,cn=Users,secAuthority=default\nobjectClass: secUser\nsecAuthority: Default\n"
               b"principalName: jdoe\nsecDomainId: Default%jdoe\nsecdn: cn=jdoe,o=example\n\n")
GROUP_RECORD = (b"dn: cn=staff,cn=Groups,secAuthority=default\nobjectClass: secGroup\ncn: staff\n"
                b"secDN: cn=staff,o=example\n\n")


def person(name, *more, domain="Default"):
    return (entry(f"dn: secAuthority={domain},cn={name}", "objectClass: secUser", f"secAuthority: {domain}",
                  f"principalName: {name}", *more)
            + entry(f"dn: cn=m-{name},cn=Users,secAuthority={domain}", "objectClass: secMap", f"secdn: cn={name}"))


def errors(result):
    return [message.code for message in result.messages if message.stream == "stderr"]


def codes(result):
    return [message.code - 380928000 for message in result.messages]


def echoed(result):
    return b"".join(item for item in result.stdout if isinstance(item, bytes))


def traceText(result):
    return b"".join(item for item in result.trace if isinstance(item, bytes))


class ModelTest(unittest.TestCase):
    def succeeds(self, text, output, *arguments, **more):
        result = convert(text, *arguments, **more)
        self.assertEqual(errors(result), [])
        self.assertEqual(result.output, output)
        self.assertEqual(result.status, 0)
        return result

    def fails(self, text, code, output=b"", *arguments, **more):
        result = convert(text, *arguments, **more)
        self.assertEqual(errors(result), [code])
        self.assertEqual(result.output, output)
        self.assertEqual(result.status, 255)
        return result


class RunTest(ModelTest):
    def test_empty_input_gives_empty_output_and_no_pass_messages(self):
        result = self.succeeds(b"", b"")
        self.assertEqual(codes(result), [308, 309, 310, 311, 315])
        self.assertIsNone(result.work)

    def test_slot_counts_of_one_take_several_passes(self):
        text = person("a") + person("b") + person("c") + GROUP + GROUP_MAP
        result = convert(text, None, 1, 1)
        self.assertEqual(result.status, 0)
        self.assertEqual(codes(result), [308, 309, 310, 311] + [312, 313] * 3 + [315])
        order = [line for line in result.output.split(b"\n") if line.startswith(b"dn:")]
        self.assertEqual([line[4:22] for line in order],
                         [b"principalName=a,cn", b"cn=staff,cn=Groups", b"principalName=b,cn", b"principalName=c,cn"])

    def test_a_slot_count_below_one_is_a_usage_error(self):
        self.assertEqual(codes(convert(b"", None, 0, 1)), [314])

    def test_tracing_keeps_the_work_file_and_a_copy_of_it(self):
        result = self.succeeds(USER + USER_MAP, USER_RECORD, tracing=True)
        self.assertEqual(len(result.copy), len(result.work))
        self.assertFalse(result.work.strip(b" \r\n"))
        self.assertTrue(result.copy.startswith(b"dn: secAuthority=Default,cn=jdoe"))

    def test_debug_error_shows_the_input_list_and_nothing_else_of_a_good_run(self):
        result = self.succeeds(USER + USER_MAP, USER_RECORD, debug_error=True)
        self.assertEqual(echoed(result),
                         b"DEBUG_ERROR flag is on................ \n"
                         b"main():  input_ldif_filename           = input.ldif \n"
                         b"main():  output_ldif_filename          = output.ldif \n"
                         b"main():  max_number_of_secuser_slots   = 2 \n"
                         b"main():  max_number_of_secgroup_slots  = 2 \n")

    def test_a_users_entry_with_blanks_in_its_dn_fills_the_users_row_only(self):
        text = USER + USER_MAP + entry("dn: principalName=jdoe, cn=Users, secAuthority=Default", "objectClass: secUser",
                                       "secDomainId: x", "principalName: jdoe")
        # It opens a slot of its own, whose secUser row stays empty.
        result = self.fails(text, 380928302, USER_RECORD, debug_error=True)
        self.assertIn(b"principalName for secUser: null  could not be determined\n", echoed(result))


class ReadingTest(ModelTest):
    def test_lines_are_unfolded_and_comments_and_blank_lines_dropped(self):
        self.succeeds(b"\n# first\n \r\ndn: o=x\r\ndescription: abc\r\n def\r\n#c\r\no: x",
                      b"dn: o=x\ndescription: abcdef\no: x\n\n")

    def test_a_line_of_a_tab_does_not_end_an_entry(self):
        self.succeeds(b"dn: o=x\n\t\no: x\n", b"dn: o=x\n\t\no: x\n\n")

    def test_a_long_line_is_read_in_pieces(self):
        self.succeeds(b"dn: o=x\nx: " + b"y" * 5000 + b"\n",
                      b"dn: o=x\nx: " + b"y" * 4092 + b"\n" + b"y" * 908 + b"\n\n")

    def test_a_line_of_4095_characters_ends_its_entry(self):
        self.succeeds(b"dn: o=x\nx: " + b"y" * 4092 + b"\no: x\n", b"dn: o=x\nx: " + b"y" * 4092 + b"\n\no: x\n\n")

    def test_what_follows_a_nul_is_lost(self):
        self.succeeds(b"dn: o=x\na: b\0c\n\0d: e\nf: g\n", b"dn: o=x\na: b\n\nf: g\n\n")

    def test_blanking_keeps_the_length_but_for_one_character(self):
        self.assertEqual(model.blankLine(b"abcde\n"), b"    \r\n")
        self.assertEqual(model.blankLine(b"a\n"), b"\r\n")
        self.assertEqual(model.blankLine(b"a"), b"\r\n")

    def test_blanks_around_commas(self):
        self.assertEqual(model.commaSpaceEater(b"a ,  b,\tc, d \\, e"), b"a,b,\tc,d \\,e")
        self.assertEqual(model.commaSpaceEater(b" a  "), b" a  ")
        self.assertEqual(model.commaSpaceEater(b"  , ,x"), b",,x")

    def test_an_entry_too_long_for_the_buffer_is_copied_as_it_stands(self):
        long = b"dn: o=x\n#c\nXOQ-ENTRYUUID: 1\nXoq-entryUUID: 2\naci: x\n" + b"a: b\n" * 249996
        expected = long.replace(b"#c\nXOQ-ENTRYUUID: 1\n", b"")
        self.succeeds(long + b"\n" + b"dn: o=y\n", expected + b"\ndn: o=y\n\n")
        self.succeeds(long, expected)


class ClassificationTest(unittest.TestCase):
    CASES = [
        ("all lower case", [b"dn: x", b"objectclass: secgroup"], model.SECGROUP),
        ("another case", [b"dn: x", b"objectClass: SecGroup"], model.UNINTERESTING),
        ("another case of the attribute", [b"dn: x", b"ObjectClass: secGroup"], model.UNINTERESTING),
        ("policy data", [b"dn: x", b"objectClass: secPolicyData"], model.SECPOLICYDATA),
        ("policy", [b"dn: x", b"objectClass: secPolicy"], model.SECPOLICY),
        ("credentials container", [b"dn: cn=ResCreds,o=x", b"objectClass: container"], model.RESCREDS),
        ("container", [b"dn: cn=RESCREDS,o=x", b"objectClass: container"], model.CONTAINER),
        ("credentials", [b"dn: x", b"objectClass: secResCreds"], model.SECRESCREDS),
        ("no blank", [b"dn: x", b"objectClass:secUser"], model.UNINTERESTING),
        ("longer name", [b"dn: x", b"objectClass: secUserX"], model.SECUSER),
        ("inside a value", [b"dn: x", b"description: my objectClass: secUser notes"], model.SECUSER),
        ("first line that names a class", [b"dn: x", b"objectClass: top", b"objectClass: secMap",
                                           b"objectClass: secUser"], model.SECMAP),
        ("empty", [], model.UNINTERESTING),
    ]

    def test_cases(self):
        for name, lines, code in self.CASES:
            with self.subTest(name):
                run = model.Conversion(b"", None, 1, 1, False, False, model.Names(), None)
                run.object = lines
                self.assertEqual(run.classOfEntry(), code)


class AdjustmentTest(ModelTest):
    def authority(self, *lines):
        return convert(entry("dn: secAuthority=x", "objectClass: secAuthorityInfo", *lines), now=NEW_YEAR).output

    def test_version_and_install_date(self):
        head = b"dn: secAuthority=x\nobjectClass: secAuthorityInfo\n"
        date = b"installDate: 20240302030405.0Z\n\n"
        self.assertEqual(self.authority("version: 5.0"), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("version:   4.10"), head + b"version:   6.00\n" + date)
        self.assertEqual(self.authority("version: 5"), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("version: "), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("version: 5\rx"), head + b"version: 6.0\n" + date)
        self.assertEqual(self.authority("x: 1", "INSTALLDATE: y"), head + b"x: 1\nINSTALLDATE: y\n\n")

    def test_only_the_first_lowercase_uuid_line_is_renamed(self):
        text = GROUP[:-1] + b"secuuid: 1\nsecuuid: 2\n\n" + GROUP_MAP
        self.succeeds(text, GROUP_RECORD.replace(b"secDN", b"secUUID: 1\nsecuuid: 2\nsecDN"))

    def test_a_user_without_principal_name_stops_the_run(self):
        result = self.fails(USER.replace(b"principalName: jdoe\n", b""), 380928302, debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"tweekObjectInObjectArray():  obtainAttributeValueFromObjArray('principalName') failure.  EXITING. \n"
            b"tweekObjectInObjectArray():  secUser object is =dn: secAuthority=Default,cn=jdoe,o=example\n\n"))

    def test_a_domain_identifier_that_is_there_needs_no_attributes(self):
        result = convert(entry("dn: secAuthority=x,cn=y", "objectClass: secUser", "SECDOMAINID: z"))
        self.assertEqual(codes(result), [308, 309, 310, 311, 312, 313, 302])

    def test_an_entry_that_starts_with_a_continuation_line_stops_the_run(self):
        result = self.fails(entry("dn: o=x") + entry(" x"), 380928302, b"dn: o=x\n\n", debug_error=True)
        self.assertTrue(echoed(result).endswith(b"obtainAttributeFromObjectArray():  object =  x\n\n"))


class WorkFileTest(ModelTest):
    def test_credentials_are_copied_last_without_bookkeeping(self):
        text = entry("dn: cn=h", "objectClass: secResCreds", "ACI: x", "note: see Control: y", "cn: h")
        text += USER + USER_MAP
        self.succeeds(text, USER_RECORD + b"dn: cn=h\nobjectClass: secResCreds\ncn: h\n\n")

    def test_a_left_over_work_file_is_converted_too(self):
        self.succeeds(GROUP + GROUP_MAP, USER_RECORD + GROUP_RECORD,
                      USER[:-1] + b"secDomainId: Default%jdoe\n\n" + USER_MAP)

    def test_an_unknown_class_in_the_work_file_stops_the_run(self):
        result = self.fails(b"", 380928302, b"", b"dn: o=x\n\n", debug_error=True)
        self.assertIn(b"main():  ERROR:  The object class of this object was unrecognizable.  EXITING. \n",
                      echoed(result))

    def test_a_comment_before_a_blank_line_is_blanked_in_the_entrys_place(self):
        # The entry is read a second time, and its row is taken.
        result = self.fails(b"", 380928303, b"", b"#c\n\n" + GROUP, debug_error=True)
        self.assertEqual(result.work, b" \r\n\n" + GROUP)
        self.assertIn(b"moveSecGroupObjectFromObjectArrayToSecGroupMatrix():  Destination slot is already occupied."
                      b"  EXITING. \nsecGroup_matrix = dn: secAuthority=Default,cn=staff,o=example\n\n", echoed(result))

    def test_a_comment_before_a_blank_line_doubles_a_credentials_entry(self):
        credentials = b"dn: cn=h\nobjectClass: secResCreds\n\n"
        self.succeeds(b"", credentials * 2, b"#c\n\n" + credentials)

    def test_a_nul_ends_the_line_and_the_blanking_goes_on_behind_it(self):
        text = b"dn: o=x,secAuthority=y\nobjectClass: secGroup\ncn: a\0b\n\n" + GROUP_MAP
        result = self.fails(b"", 380928302, b"dn: cn=a,cn=Groups,o=x,cn=Subdomains,secAuthority=default\n", text,
                            tracing=True)
        # The rest of the line is blank to the reader and ends the entry.
        self.assertEqual(result.work, b" " * 21 + b"\r\n" + b" " * 20 + b"\r\n" + b"   \r\n\0b\n\n"
                         + b"".join(model.blankLine(line + b"\n") for line in GROUP_MAP.split(b"\n")[:3]) + b"\n")

    def test_a_single_character_at_the_end_grows(self):
        result = self.fails(b"", 380928302, b"", b"dn: a,b\nobjectClass: secGroup\nx", tracing=True)
        self.assertEqual(result.work, b" " * 6 + b"\r\n" + b" " * 20 + b"\r\n\r\n")

    def test_codes_before_the_resume_position_are_left_for_the_final_copy(self):
        result = convert(entry("dn: cn=h", "objectClass: secResCreds") + person("a") + person("b"), None, 1, 1)
        self.assertEqual(result.status, 0)
        self.assertTrue(result.output.endswith(b"\n\ndn: cn=h\nobjectClass: secResCreds\n\n"))


class CacheTest(ModelTest):
    def test_second_entry_of_a_kind_stops_the_run(self):
        result = self.fails(USER + USER + USER_MAP, 380928303, debug_error=True)
        self.assertIn(b"Destination slot is already occupied.  EXITING.\nsecUser_matrix = dn: ", echoed(result))

    def test_owners_compare_without_case_and_blanks_around_commas_on_the_user_side(self):
        text = USER.replace(b"Default,cn=jdoe,", b"DEFAULT , CN=Jdoe, ") + USER_MAP
        result = convert(text)
        self.assertEqual(result.status, 0)
        self.assertTrue(result.output.startswith(b"dn: principalName=jdoe,cn=Users,secAuthority=default\n"))

    def test_a_group_with_blanks_around_commas_finds_no_map(self):
        self.fails(GROUP.replace(b"Default,", b"Default, ") + GROUP_MAP, 380928302,
                   b"dn: cn=staff,cn=Groups,secAuthority=default\n")

    def test_trailing_blanks_in_a_users_dn_part_it_from_its_map(self):
        self.fails(USER.replace(b"o=example\n", b"o=example \n") + USER_MAP, 380928302,
                   b"dn: principalName=jdoe,cn=Users,secAuthority=default\n")

    def test_a_policy_with_a_blank_behind_its_first_comma_opens_a_slot_of_its_own(self):
        self.fails(USER + USER_MAP + POLICY.replace(b"Policy,", b"Policy, "), 380928302, USER_RECORD)

    def test_a_map_without_authority_stops_the_run(self):
        result = self.fails(entry("dn: cn=m,cn=Users", "objectClass: secMap", "secdn: x"), 380928302, debug_error=True)
        self.assertIn(b"learnIndexOfAssociatedSecUserDN(): Missing secAuthority in dn: cn=m,cn=Users\n", echoed(result))

    def test_a_group_map_without_secdn_stops_the_run_in_free_wording(self):
        result = self.fails(entry("dn: cn=m,secAuthority=x", "objectClass: secMap"), 380928302)
        self.assertIn(FREE, result.stdout)

    def test_a_row_of_fifty_lines_is_read_and_released_with_the_next_row(self):
        more = ["x%d: 1" % number for number in range(45)]    # with secDomainId fifty lines
        # The first record runs on into the second user's lines; the second user then has no row.
        expected = entry("dn: principalName=a,cn=Users,secAuthority=default", "objectClass: secUser",
                         "secAuthority: Default", "principalName: a", *more, "secDomainId: Default%a",
                         "dn: secAuthority=Default,cn=b", "objectClass: secUser", "secAuthority: Default",
                         "principalName: b", "secDomainId: Default%b", "secdn: cn=a")
        result = self.fails(person("a", *more) + person("b"), 380928302, expected, debug_error=True)
        self.assertIn(b"principalName for secUser: null", echoed(result))

    def test_a_row_longer_than_the_table_stops_the_run(self):
        self.fails(person("a", *["x%d: 1" % number for number in range(46)]), 380928303, b"", None, 1, 1)
        self.assertEqual(convert(person("a", *["x%d: 1" % number for number in range(45)]), None, 1, 1).status, 0)

    def test_a_policy_released_with_the_row_before_it_stays_counted(self):
        def policyOf(name, lines):
            return entry(f"dn: cn=Policy,secAuthority=Default,cn={name}", "objectClass: secPolicy",
                         *["x: 1"] * (lines - 2))
        text = person("a") + policyOf("a", 500) + person("b") + policyOf("b", 3)
        # The release of the first policy takes the second along, so that the counter stays at 1: the second pass has
        # room for one policy, the fourth user's opens a slot without its user in the third.
        result = convert(text + person("c") + policyOf("c", 3) + person("d") + policyOf("d", 3), None, 2, 1)
        self.assertEqual(codes(result), [308, 309, 310, 311] + [312, 313] * 3 + [302])
        records = [record.split(b",cn=Users")[0] for record in result.output.split(b"\n\n")]
        self.assertEqual(records, [
            b"dn: principalName=a", b"dn: cn=Policies,principalName=a", b"dn: cn=Policy,cn=Policies,principalName=a",
            b"dn: principalName=b", b"dn: cn=Policies,principalName=b",
            b"dn: principalName=c", b"dn: cn=Policies,principalName=c", b"dn: cn=Policy,cn=Policies,principalName=c",
            b"dn: principalName=d", b""])


class NewDNTest(ModelTest):
    def firstLine(self, text):
        return convert(text).output.split(b"\n")[0]

    def test_domains(self):
        self.assertEqual(self.firstLine(person("a", domain="Sales")),
                         b"dn: principalName=a,cn=Users,secAuthority=Sales,cn=Subdomains,secAuthority=default")
        self.assertEqual(self.firstLine(person("a", domain="DEFAULT")),
                         b"dn: principalName=a,cn=Users,secAuthority=default")
        self.assertEqual(self.firstLine(person("a").replace(b"cn=a", b"cn=subdomains,cn=a")),
                         b"dn: principalName=a,cn=Users,secAuthority=Default,cn=Subdomains,secAuthority=default")

    def test_names(self):
        self.assertEqual(self.firstLine(person("a").replace(b"principalName: a\n", b"principalname:   jd \r\n")),
                         b"dn: principalName=jd ,cn=Users,secAuthority=default")
        self.assertEqual(self.firstLine(person("a").replace(b"principalName: a", b"principalName:\ta")),
                         b"dn: principalName=\ta,cn=Users,secAuthority=default")
        self.assertEqual(self.firstLine(GROUP.replace(b"cn: staff", b"note: the cn: x\ncn: staff") + GROUP_MAP),
                         b"dn: cn=x,cn=Groups,secAuthority=default")

    def test_an_unknown_spelling_of_the_name_fails_the_flush(self):
        result = self.fails(USER.replace(b"principalName", b"PrincipalName") + USER_MAP, 380928302, debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"learnPrincipalNameFromSecUserObject(): ERROR: secUser principal name could not be found. \n"
            b"secUser is: dn: secAuthority=Default,cn=jdoe,o=example\n\n"
            b"createNewSecUserDN():  principalName for secUser: dn: secAuthority=Default,cn=jdoe,o=example\n"
            b"  could not be determined\n"
            b"copyAllAccumulatedDataToOutputFile() - createNewSecUserDN() failure.  RETURNING. \n"
            b"secUser_dn = secAuthority=Default,cn=jdoe,o=example\n\n"
            b"main():  ERROR:  Failed to copy all accumulated data to the temporary output LDIF file.  EXITING.  \n"))

    def test_a_group_without_cn_is_told_always(self):
        result = self.fails(GROUP.replace(b"cn: ", b"Cn: ") + GROUP_MAP, 380928302)
        self.assertEqual(echoed(result), b"createNewSecGroupDN():  learnCNFromSecGroupObject FAILED.\n"
                         b"createNewSecGroupDN():  secGroup:  secAuthority=Default,cn=staff,o=example\n\n")

    def test_length_limits(self):
        for length, status in ((1022, 0), (1023, 255)):
            text = person("a").replace(b"principalName: a\n", b"principalName: " + b"n" * length + b"\n")
            self.assertEqual(convert(text).status, status, length)
        # "dn: principalName=a,cn=Users,secAuthority=" + domain + ",cn=Subdomains,secAuthority=default\n"
        for length, status in ((4095 - 42 - 36, 0), (4096 - 42 - 36, 255)):
            self.assertEqual(convert(person("a").replace(b"Default", b"D" * length)).status, status, length)


class MergeTest(ModelTest):
    def merged(self, first, second):
        run = model.Conversion(b"", None, 1, 1, False, False, model.Names(), None)
        run.mergeObjects([line + b"\n" for line in first], [line + b"\n" for line in second])
        return [line[:-1] for line in run.object]

    def test_cases(self):
        for name, first, second, merged in [
            ("second wins in the first's place", [b"cn: a", b"x: 1"], [b"cn: b"], [b"cn: b", b"x: 1"]),
            ("first wins for the authority", [b"secAuthority: a"], [b"secauthority: b", b"x: 1"],
             [b"secAuthority: a", b"x: 1"]),
            ("case is ignored", [b"mail: x"], [b"MAIL: y"], [b"MAIL: y"]),
            ("part of a name matches", [b"cn: a"], [b"seccn: z", b"cn: b"], [b"seccn: z", b"cn: b"]),
            ("surplus of the first stays", [b"m: 1", b"m: 2"], [b"m: 3"], [b"m: 3", b"m: 2"]),
            ("surplus of the second is added", [b"m: 1"], [b"m: 2", b"m: 3"], [b"m: 2", b"m: 3"]),
            ("excluded and class lines go", [b"dn: a", b"aclEntry: x", b"ACLEntry: y"],
             [b"dn: b", b"objectclass: z", b"control: 1"], [b"dn: a", b"ACLEntry: y"]),
            ("class text in a value", [b"description: objectclass: x"], [b"description: y"],
             [b"description: objectclass: x", b"description: y"]),
        ]:
            with self.subTest(name):
                self.assertEqual(self.merged(first, second), merged)

    def test_a_line_without_a_colon_stops_the_run(self):
        result = self.fails(USER[:-1] + b"nocolon\n\n" + USER_MAP, 380928302,
                            b"dn: principalName=jdoe,cn=Users,secAuthority=default\n", debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"mergeObjects():  Colon missing from attribute definition. EXITING. \n"
            b"mergeObjects():  attributeClone = nocolon\n\n"))


class RecordTest(ModelTest):
    def test_user_with_all_entries(self):
        data = entry("dn: cn=data,secAuthority=Default,cn=jdoe,o=example", "objectClass: secPolicyData", "x: 1")
        self.succeeds(data + POLICY + USERS_ENTRY + USER + USER_MAP,
                      b"dn: principalName=jdoe,cn=Users,secAuthority=default\nobjectClass: secUser\n"
                      b"secAuthority: Default\nprincipalName: jdoe\nsecdn: cn=jdoe,o=example\n"
                      b"secDomainId: Default%jdoe\n\n"
                      b"dn: cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\nobjectclass: container\n"
                      b"objectclass: top\ncn: Policies\n\n"
                      b"dn: cn=Policy,cn=Policies,principalName=jdoe,cn=Users,secAuthority=default\n"
                      b"objectClass: secPolicy\ncn: Policy\n\n")

    def test_changetype_seen_adds_a_line_to_the_container(self):
        result = convert(POLICY + USER + USER_MAP.replace(b"secdn", b"note: changetype: x\nsecdn"))
        self.assertIn(b"secAuthority=default\nchangetype: add\nobjectclass: container\n", result.output)

    def test_left_out_lines(self):
        text = USER[:-1] + b"description: see ACL: x\nCONTROL: y\nXoq-entryuuid: z\n\n" + USER_MAP
        self.succeeds(text, USER_RECORD.replace(b"secDomainId", b"CONTROL: y\nsecDomainId"))

    def test_a_user_without_map_stops_behind_its_dn(self):
        result = self.fails(USER, 380928302, b"dn: principalName=jdoe,cn=Users,secAuthority=default\n",
                            debug_error=True)
        self.assertTrue(echoed(result).endswith(
            b"writeSecUserAddToOutputFile():  ERROR:  Passing a NULL pointer to mergeObjects() \n"
            b"secUser_matrix = dn: secAuthority=Default,cn=jdoe,o=example\n\nsecMap_for_secUser_matrix = NULL\n"))


class TraceTest(ModelTest):
    def test_nothing_of_the_preparation_pass_is_traced(self):
        text = traceText(convert(USER + USER_MAP, tracing=True))
        self.assertIn(b"The temporary input file name = input.ldif.tmp \n"
                      b"copyOriginalInputFileToTempInputFile():  TURNING DEBUG TRACING BACK ON \n"
                      b"\nmain():  The temporary input ldif file has been created.  \n", text)

    def test_counters_line_up(self):
        text = traceText(convert(b"", tracing=True))
        columns = {line.index(b"=") for line in text.split(b"\n")
                   if line.startswith(b"dumpData() - ") and b"= 0" in line}
        self.assertEqual(columns, {13 + 45, 13 + 46})


class GeneratorTest(unittest.TestCase):
    def test_lifelike_cases_convert(self):
        for seed in range(1, 60):
            case = generate.lifelikeCase(seed)
            self.assertEqual(convert(*case).status, 0, seed)

    def test_a_case_depends_on_its_seed_only(self):
        self.assertEqual(generate.hostileCase(7), generate.hostileCase(7))


if __name__ == "__main__":
    unittest.main()
